// Stored messages as messages and message-get show them: read from the
// library's result blocks of AT+CMGL= or AT+CMGR= in text mode, their
// addresses and texts converted from the phone's character set to UTF-8,
// and printed as JSON or for a terminal.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "velkport/character_set_choice.h"

namespace velk::cli {

// One stored message, as the keys of --json name its parts; UTF-8.
struct Message {
    std::string index;  // raw JSON: a number
    std::string state;
    std::string address;
    std::string timestamp;
    std::string text;
    std::size_t lines = 0;  // of the text, as they came
    // A line of the text filled the library's field (83 bytes, 20 UTF-16
    // units in UCS2): the phone's line may have gone on.
    bool cut = false;
};

// The messages in the blocks of the command at `position` of `result`: a
// header starts one (+CMGL: or +CMGR:), the lines of its text follow it one
// block each. `unread` counts the lines the library could not read.
std::vector<Message> ReadMessages(std::string_view result, std::size_t position,
                                  const CharacterSetChoice& set, std::size_t& unread);

void PrintMessage(std::ostream& out, const Message& message, bool json);

}  // namespace velk::cli
