#include "velkport/transfer_files.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

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
    std::optional<std::string> text = ReadWholeFile(path, problem);
    if (!text) return std::nullopt;
    if (text->ends_with('\n')) text->pop_back();
    if (text->ends_with('\r')) text->pop_back();
    return text;
}

std::optional<std::string> ReadWholeFile(const std::string& path, std::string& problem) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        problem = path + " is a directory, not a file";
        return std::nullopt;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        problem = "cannot read " + path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    std::string text;
    try {
        text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    } catch (const std::exception&) {
        // The stream's buffer throws on a failing read: an I/O error.
        in.setstate(std::ios::badbit);
    }
    if (in.bad()) {
        problem = "cannot read " + path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    return text;
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    if (created_) std::filesystem::remove(path_, ignored);
}

std::optional<std::string> OutputFile::Check() {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path_, error);
    if (fs::is_directory(status)) return path_ + " is a directory, not a file";
    // A pipe would hold the check up until its reader comes; it is tried
    // when the text is there.
    if (fs::is_fifo(status)) return std::nullopt;
    const bool existed = fs::exists(status);
    // Opened for appending, an existing file loses nothing.
    std::ofstream probe(path_, std::ios::binary | std::ios::app);
    if (!probe) return "cannot write " + path_ + ": " + std::strerror(errno);
    created_ = !existed;
    return std::nullopt;
}

bool OutputFile::Write(const std::string& text, std::string& problem) {
    std::ofstream out(path_, std::ios::binary | std::ios::trunc);
    if (out) out.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (out) out.close();
    if (!out) {
        problem = "cannot write " + path_ + ": " + std::strerror(errno);
        return false;
    }
    created_ = false;
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
        return "a name has 1 to " + std::to_string(kMostNameLength) + " bytes, not " +
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
