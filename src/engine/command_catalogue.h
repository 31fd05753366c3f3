// The catalogue: the rows of the command table that have an AT text, with the
// result ids that the solicited decoder gives for the information lines of
// their reply.
#pragma once

#include <cstdint>
#include <span>

#include "engine/command_table.h"

namespace velk {

using CatalogueEntry = CommandRow;

// A view of the command table that passes over the rows without a text.
class CatalogueRange {
  public:
    class Iterator {
      public:
        Iterator(const CommandRow* at, const CommandRow* end) : at_(at), end_(end) {
            SkipTextless();
        }
        const CommandRow& operator*() const { return *at_; }
        Iterator& operator++() {
            ++at_;
            SkipTextless();
            return *this;
        }
        bool operator==(const Iterator& other) const { return at_ == other.at_; }

      private:
        void SkipTextless() {
            while (at_ != end_ && at_->text == nullptr) ++at_;
        }
        const CommandRow* at_;
        const CommandRow* end_;
    };

    Iterator begin() const { return {rows_.data(), rows_.data() + rows_.size()}; }
    Iterator end() const { return {rows_.data() + rows_.size(), rows_.data() + rows_.size()}; }

  private:
    std::span<const CommandRow> rows_ = CommandRows();
};

// All entries, ordered by id.
inline CatalogueRange CatalogueEntries() {
    return {};
}

// The entry of `id`, or nullptr when the id has no text.
const CatalogueEntry* FindCatalogueEntry(int32_t id);

// The AT text of `id`, or nullptr when the id has no text.
const char* CatalogueText(int32_t id);

// The result ids of `id`'s information lines; empty for an id that has no
// text and for one that ends with its final reply alone.
std::span<const int32_t> CatalogueResults(int32_t id);

// The result ids the information lines of `row`'s reply can give, text or
// none: the ids a decoder case may post.
std::span<const int32_t> DecodedResults(const CommandRow& row);

}  // namespace velk
