// `velkport decode`: what a phone's reply lines decode to.
//
//   velkport decode --id N --command TEXT [--list-form N] [--read-form N]
//   velkport decode --unsolicited [--list-form N] [--read-form N]
//
// Reads reply lines from standard input and prints one JSON object per
// result block, in the order the worker would post them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "velkport/command_io.h"
#include "velkport/decode_session.h"

namespace velk::cli {

struct DecodeOptions {
    bool help = false;
    DecodeSetup setup;
};

// The options of `decode`, or nothing with `problem` set to a sentence that
// says what is wrong.
std::optional<DecodeOptions> ParseDecodeOptions(CommandArgs args, std::string& problem);

// Runs `velkport decode`; 0 when done, 2 on bad arguments.
int RunDecode(CommandArgs args, const CommandIo& io);

// The usage text of `decode`, for --help.
extern const char* const kDecodeUsage;

}  // namespace velk::cli
