// The arguments of the transfer subcommands: the link options, the
// subcommand's own numbers, names and files, -o, --param-first/--param-last,
// --slots, and the pictures' --width/--height, --frame and --frame-ms, in
// any order.
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
    kExtraOutput = 1,    // -o FILE
    kExtraParams = 2,    // --param-first X --param-last Y
    kExtraSlots = 4,     // --slots N
    kExtraJson = 8,      // --json
    kExtraSize = 16,     // --width W --height H
    kExtraFrame = 32,    // --frame K
    kExtraFrameMs = 64,  // --frame-ms MS
    kExtraMemory = 128,  // --memory M
    kExtraVcard = 256,   // --vcard
    kExtraFind = 512,    // --find TEXT
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
    // A frame's size in dots; 0: the one the phone's image information gives.
    unsigned width = 0;
    unsigned height = 0;
    unsigned frame = 0;         // the frame a PNG shows; 0: not given, the first
    unsigned frameMs = 0;       // how long a GIF shows each frame; 0: not given, 200 ms
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
