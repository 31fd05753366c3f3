// The reply lines that carry a ring tone or a frame, in parts of at most 128
// characters:
//
//   +RNGR: <slot>,"<name>",<part>,<parts>,<high>,<low>,"<text>",<check>
//   +IMGR: <frame>,"<name>",<part>,<parts>,<high>,<low>,<param>,"<text>",<check>
//
// A text of up to 128 characters goes as one line with part 255: its
// length stands in place of <high>, and <low> is left empty. A longer one
// goes as parts 1, 2, ... of <parts>; the first states the size as high
// times 128 plus low, the later ones leave both empty. <check> is each
// part's own check value. A frame's text on the line is its four-character
// head "6040" and its characters; <param> is the image's parameter digits
// in quotes when they are six, and is left empty otherwise.
#pragma once

#include <string>
#include <vector>

namespace velk::phonesim {

inline constexpr std::size_t kPartLength = 128;
inline constexpr const char* kFrameHead = "6040";

std::vector<std::string> TonePartLines(int slot, const std::string& name, const std::string& text);
std::vector<std::string> FramePartLines(int frame, const std::string& name,
                                        const std::string& param, const std::string& text);

}  // namespace velk::phonesim
