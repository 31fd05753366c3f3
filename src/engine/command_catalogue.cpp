#include "engine/command_catalogue.h"

namespace velk {

namespace {

// The results of the cases whose form the line and the selectors choose:
// header and body of each message form.
constexpr int32_t kMessageReadResults[] = {62, 64, 231, 233};
constexpr int32_t kMessageListResults[] = {96, 97, 229, 230};
// One form per service line; only a dial draws them.
constexpr int32_t kServiceReplyResults[] = {101, 107, 108, 109, 110, 111, 112, 113};

}  // namespace

const CatalogueEntry* FindCatalogueEntry(int32_t id) {
    const CommandRow* row = FindCommandRow(id);
    return row != nullptr && row->text != nullptr ? row : nullptr;
}

const char* CatalogueText(int32_t id) {
    const CatalogueEntry* entry = FindCatalogueEntry(id);
    return entry != nullptr ? entry->text : nullptr;
}

std::span<const int32_t> CatalogueResults(int32_t id) {
    const CatalogueEntry* entry = FindCatalogueEntry(id);
    return entry != nullptr ? DecodedResults(*entry) : std::span<const int32_t>();
}

std::span<const int32_t> DecodedResults(const CommandRow& row) {
    switch (row.decode.style) {
        case DecodeStyle::kNone:
            return {};
        case DecodeStyle::kFields:
        case DecodeStyle::kPart:
            return {&row.decode.resultId, 1};
        case DecodeStyle::kMessageRead:
            return kMessageReadResults;
        case DecodeStyle::kMessageList:
            return kMessageListResults;
        case DecodeStyle::kServiceReply:
            return kServiceReplyResults;
    }
    return {};
}

}  // namespace velk
