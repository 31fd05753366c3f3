// The arguments of the transfer subcommands: the link options, the
// subcommand's own numbers, names and files, -o, --param-first/--param-last
// and --slots, in any order.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "velkport/command_io.h"
#include "velkport/link_options.h"

namespace velk::cli {

// The options beyond the link options that a subcommand takes.
enum TransferExtra : unsigned {
    kExtraNone = 0,
    kExtraOutput = 1,   // -o FILE
    kExtraParams = 2,   // --param-first X --param-last Y
    kExtraSlots = 4,    // --slots N
    kExtraJson = 8,     // --json
    kExtraMemory = 16,  // --memory M
    kExtraVcard = 32,   // --vcard
    kExtraFind = 64,    // --find TEXT
};

struct TransferArgs {
    LinkOptions link;
    std::vector<std::string> positionals;
    std::string output;  // empty: standard output
    // Each frame's parameter is these two around the frame count; the
    // defaults are those of the images the simulated phone starts with.
    uint8_t paramFirst = 25;
    uint8_t paramLast = 0;
    uint8_t slots = 0;
    bool json = false;
    bool help = false;
    std::string memory = "SM";  // the phone book of the contact subcommands
    bool vcard = false;
    std::string find;  // empty: the whole phone book
};

// Reads `args` for a subcommand that takes the plain arguments named in
// `positionals` ("SLOT NAME FILE") and the `extras`. Nothing, with
// `problem` set, when they do not fit.
std::optional<TransferArgs> ParseTransferArgs(CommandArgs args, std::string_view positionals,
                                              unsigned extras, std::string& problem);

}  // namespace velk::cli
