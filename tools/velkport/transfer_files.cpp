#include "velkport/transfer_files.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

namespace velk::cli {
namespace {

// A zero byte would end the text early, and a line end would end the
// command line the text travels in.
std::optional<std::string> BreakingCharacter(const std::string& text, const char* what) {
    const std::size_t at = text.find_first_of(std::string("\0\r\n", 3));
    if (at == std::string::npos) return std::nullopt;
    return std::string(what) + " holds " + (text[at] == '\0' ? "a zero byte" : "a line end") +
           " at character " + std::to_string(at + 1) +
           ", which cannot travel inside a command line";
}

}  // namespace

std::optional<std::string> ReadTransferFile(const std::string& path, std::string& problem) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        problem = "cannot read " + path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        problem = "cannot read " + path;
        return std::nullopt;
    }
    if (text.ends_with('\n')) text.pop_back();
    if (text.ends_with('\r')) text.pop_back();
    return text;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): where, then what
bool WriteTransferFile(const std::string& path, const std::string& text, std::string& problem) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (out) out.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (out) out.close();
    if (!out) {
        problem = "cannot write " + path + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

std::optional<std::string> ToneTextProblem(const std::string& text) {
    if (text.size() > kMostToneLength) {
        return "the tone has " + std::to_string(text.size()) + " characters; at most " +
               std::to_string(kMostToneLength) + " can be written";
    }
    return BreakingCharacter(text, "the tone");
}

std::optional<std::string> ImageTextProblem(const std::string& text) {
    if (text.empty() || text.size() % kFrameLength != 0) {
        return "the image has " + std::to_string(text.size()) +
               " characters, which is no whole number of frames of " + std::to_string(kFrameLength);
    }
    if (text.size() / kFrameLength > kMostFrames) {
        return "the image has " + std::to_string(text.size() / kFrameLength) + " frames; at most " +
               std::to_string(kMostFrames) + " can be written at once";
    }
    return BreakingCharacter(text, "the image");
}

std::optional<std::string> NameProblem(const std::string& name) {
    if (name.empty() || name.size() > kMostNameLength) {
        return "a name has 1 to " + std::to_string(kMostNameLength) + " characters, not " +
               std::to_string(name.size());
    }
    for (const char c : name) {
        if (c == '"' || static_cast<unsigned char>(c) < 0x20) {
            return "a name cannot hold double quotes or control characters";
        }
    }
    return std::nullopt;
}

}  // namespace velk::cli
