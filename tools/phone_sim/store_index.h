// index.json of a store directory: the ring tones' slots and names and the
// frame table, in a small JSON form that a person can read and edit:
//
//   {"tones": [{"slot": 1, "name": "Bells"}, ...],
//    "images": [{"name": "Smile", "frames": 1, "first": 1, "param": "250100"}, ...]}
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "phone_sim/phone_store.h"

namespace velk::phonesim {

struct StoreIndex {
    struct ToneEntry {
        int slot = 0;
        std::string name;
    };
    std::vector<ToneEntry> tones;
    std::vector<Image> images;
};

std::string WriteStoreIndex(const StoreIndex& index);
// Nothing when the text is no index of this form; `error` says where.
std::optional<StoreIndex> ReadStoreIndex(const std::string& text, std::string& error);

}  // namespace velk::phonesim
