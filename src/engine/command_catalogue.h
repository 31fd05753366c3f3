// The catalogue of commands: every command id that has an AT text, with that
// text and the result ids that the solicited decoder gives for the
// information lines of its reply. Ids from kFirstCommandId to kLastCommandId
// that are not in the catalogue have no text: they send only the line end.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace velk {

inline constexpr int32_t kFirstCommandId = 13;
inline constexpr int32_t kLastCommandId = 241;

// The most result ids one command's reply can give (AT+CMGR=, AT+CMGL).
inline constexpr size_t kMaxCatalogueResults = 4;

struct CatalogueEntry {
    int32_t id;
    const char* text;  // the AT text before any parameter
    // Result ids of the information lines, 0 ending the list. An empty list:
    // the command ends with its final reply alone.
    std::array<int32_t, kMaxCatalogueResults> results;
};

// All entries, ordered by id.
std::span<const CatalogueEntry> CatalogueEntries();

// The entry of `id`, or nullptr when the id has no text.
const CatalogueEntry* FindCatalogueEntry(int32_t id);

// The AT text of `id`, or nullptr when the id has no text.
const char* CatalogueText(int32_t id);

// The result ids of `id`'s information lines; empty for an id that has no
// text and for one that ends with its final reply alone.
std::span<const int32_t> CatalogueResults(int32_t id);

}  // namespace velk
