#include "phone_sim/reply_shaper.h"

#include <algorithm>

namespace velk::phonesim {
namespace {

constexpr std::size_t kLargestPiece = 7;
constexpr int kShortestPauseUs = 50;
constexpr int kLongestPauseUs = 400;

}  // namespace

std::string ReplyBytes(const std::string* echoedLine, const std::vector<std::string>& lines,
                       bool noise) {
    std::string bytes;
    if (echoedLine != nullptr) bytes = *echoedLine + "\r\n";
    if (lines.empty()) return bytes;
    bytes += "\r\n";
    for (const std::string& line : lines) {
        if (noise) bytes += "RING\r\n";
        bytes += line;
        bytes += "\r\n";
    }
    return bytes;
}

std::string PromptBytes(const std::string* echoedLine) {
    return (echoedLine != nullptr ? *echoedLine + "\r\n" : std::string()) + "\r\n> ";
}

std::vector<OutputPiece> ShapeReply(std::string bytes, bool split, std::mt19937& random) {
    std::vector<OutputPiece> pieces;
    if (bytes.empty()) return pieces;
    if (!split) {
        pieces.push_back({std::move(bytes), {}});
        return pieces;
    }
    std::uniform_int_distribution<std::size_t> size(1, kLargestPiece);
    std::uniform_int_distribution<int> pause(kShortestPauseUs, kLongestPauseUs);
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t n = std::min(size(random), bytes.size() - at);
        // The first piece goes at once: the phone answers as soon as it can.
        const std::chrono::microseconds before(at == 0 ? 0 : pause(random));
        pieces.push_back({bytes.substr(at, n), before});
        at += n;
    }
    return pieces;
}

}  // namespace velk::phonesim
