// The phone's state between commands, and the form of a command's handler.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "phone_sim/phone_store.h"

namespace velk::phonesim {

// A write that is taking chunks: a ring tone into a slot, or one frame.
struct ChunkedWrite {
    int target = 0;  // slot or frame number
    std::string name;
    std::string param;
    int chunks = 0;  // count + 1
    std::size_t size = 0;
    int nextChunk = 0;
    std::string text;
};

struct PhoneState {
    explicit PhoneState(PhoneStore& s) : store(s) {}

    PhoneStore& store;
    bool echo = true;
    std::string phonebook = "SM";
    std::string characterSet = "GSM";
    std::optional<ChunkedWrite> toneWrite;
    std::optional<ChunkedWrite> frameWrite;
};

// The reply lines of one command, the final line last.
using Reply = std::vector<std::string>;

// `arguments` is the command line behind the matched command text.
using CommandHandler = void (*)(PhoneState& state, std::string_view arguments, Reply& reply);

inline constexpr const char* kOk = "OK";
inline constexpr const char* kError = "ERROR";
// The +CME ERROR codes the phone uses.
inline constexpr int kNotAllowed = 3;
inline constexpr int kMemoryFull = 20;
inline constexpr int kInvalidIndex = 21;
inline constexpr int kNotFound = 22;

inline std::string CmeError(int code) {
    return "+CME ERROR: " + std::to_string(code);
}

}  // namespace velk::phonesim
