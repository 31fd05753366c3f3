// How the reply to one command goes out on the line: the echo (while echo
// is on), a blank line, then each reply line with CR LF. With noise, a RING
// line goes in front of every reply line, as when calls come in during the
// dialogue. With split, the bytes go out in small pieces of random size with
// short pauses between them, as a slow or busy phone sends them.
#pragma once

#include <chrono>
#include <random>
#include <string>
#include <vector>

namespace velk::phonesim {

struct OutputPiece {
    std::string bytes;
    std::chrono::microseconds pause{0};  // before the piece goes out
};

std::string ReplyBytes(const std::string* echoedLine, const std::vector<std::string>& lines,
                       bool noise);

// The prompt for a message's text: the echo, then CR LF "> " with no line
// end after it.
std::string PromptBytes(const std::string* echoedLine);

std::vector<OutputPiece> ShapeReply(std::string bytes, bool split, std::mt19937& random);

}  // namespace velk::phonesim
