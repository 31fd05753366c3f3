// The write commands as the phone reads them: a chunk of a ring tone or of an
// image frame, with the check value that guards it.
//
//   AT+RNGW=<slot>,"<name>",2,1,<chunk>,<count>,<rest>,<body>,<check>
//   AT+IMGW=<frame>,"<name>",2,1,<chunk>,<count>,<rest>,"<param>",<body>,<check>
//
// <count> and <rest> are given in chunk 1 only: the item's size is count
// times 128 plus rest, and count + 1 chunks carry it. The body is not
// quoted, so it may hold commas: the fields in front of it are read from the
// left, the check from the right, and the body is what lies between.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velk::phonesim {

struct ChunkLine {
    int target = 0;  // ring-tone slot or frame number
    std::string name;
    int chunkIndex = 0;
    std::optional<int> count;  // chunk 1 only
    std::optional<int> rest;   // chunk 1 only
    std::string param;         // image chunks only, without its quotes
    std::string body;
    int check = 0;
};

// The exclusive-or of the body's bytes and of its length taken as one byte.
uint8_t ChunkCheck(std::string_view body);

// The fields behind "AT+RNGW=" (withParam false) or "AT+IMGW=" (withParam
// true); nothing when the line does not have that shape.
std::optional<ChunkLine> ParseChunkLine(std::string_view arguments, bool withParam);

}  // namespace velk::phonesim
