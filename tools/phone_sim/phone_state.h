// The phone's state between commands, and the form of a command's handler.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "phone_sim/character_set.h"
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

// A short message the phone takes after its "> " prompt.
struct PendingMessage {
    bool send = false;  // AT+CMGS sends it; AT+CMGW stores it
    std::string address;
    std::string state;  // of a stored message
};

struct PhoneState {
    explicit PhoneState(PhoneStore& s) : store(s) {}

    PhoneStore& store;
    bool echo = true;
    std::string phonebook = "SM";
    std::string characterSet = kDefaultCharacterSet;
    std::optional<ChunkedWrite> toneWrite;
    std::optional<ChunkedWrite> frameWrite;

    bool textMode = false;                          // AT+CMGF=1; PDU mode at first
    std::array<int, 5> indications{2, 1, 0, 0, 0};  // AT+CNMI: a new message is announced
    int registrationReports = 0;                    // AT+CREG=<n>: 1 sends +CREG: <stat>
    int operatorFormat = 0;                         // AT+COPS=3,<format>: long, short, numeric
    int nextReference = 1;                          // of the next message sent
    std::optional<PendingMessage> pendingMessage;
    // Unsolicited lines that go out after the reply, such as the +CMTI of a
    // message that came in while the computer sent one.
    std::vector<std::string> notices;
};

// The reply lines of one command, the final line last.
using Reply = std::vector<std::string>;

// `arguments` is the command line behind the matched command text.
using CommandHandler = void (*)(PhoneState& state, std::string_view arguments, Reply& reply);

inline constexpr const char* kOk = "OK";
inline constexpr const char* kError = "ERROR";
// The +CME ERROR codes the phone uses.
inline constexpr int kNotAllowed = 3;
inline constexpr int kNotSupported = 4;
inline constexpr int kMemoryFull = 20;
inline constexpr int kInvalidIndex = 21;
inline constexpr int kNotFound = 22;
inline constexpr int kTextTooLong = 24;
inline constexpr int kInvalidText = 25;
inline constexpr int kNumberTooLong = 26;
inline constexpr int kInvalidNumber = 27;
// The +CMS ERROR codes of the message commands.
inline constexpr int kMessageNotAllowed = 302;
inline constexpr int kMessageNotSupported = 303;  // a message command in PDU mode
inline constexpr int kInvalidTextParameter = 305;
inline constexpr int kInvalidMemoryIndex = 321;
inline constexpr int kMessageMemoryFull = 322;

// Who the phone is on the network; a message sent to this number comes back.
inline constexpr const char* kOwnNumber = "+15550100";

inline std::string CmeError(int code) {
    return "+CME ERROR: " + std::to_string(code);
}

inline std::string CmsError(int code) {
    return "+CMS ERROR: " + std::to_string(code);
}

}  // namespace velk::phonesim
