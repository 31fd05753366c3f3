// The files of the transfer subcommands. A file holds a text exactly as it
// crosses the library's interface: a tone file the tone's text, an image
// file the frames' 1536-character texts one after the other. A single line
// end at the end of a file is not part of the text, so that a file saved by
// an editor still fits.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace velk::cli {

inline constexpr std::size_t kFrameLength = 1536;
inline constexpr std::size_t kMostFrames = 42;         // what the 16-bit size holds
inline constexpr std::size_t kMostToneLength = 32511;  // the last chunk index is one byte
inline constexpr std::size_t kMostNameLength = 10;     // bytes

// The text of the file at `path` (its last line end dropped), or nothing
// with `problem` set to a sentence that names the file.
std::optional<std::string> ReadTransferFile(const std::string& path, std::string& problem);
// The same, every byte of it: a picture's or a tone's file.
std::optional<std::string> ReadWholeFile(const std::string& path, std::string& problem);

// The file a read goes to, looked at before anything goes to the phone so
// that a transfer never ends in a file it cannot write. A file that Check
// had to create is removed again unless Write filled it.
class OutputFile {
  public:
    explicit OutputFile(std::string path) : path_(std::move(path)) {}
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Why the file cannot be written, as a sentence that names it; nothing
    // when it can. An existing file keeps what it holds.
    std::optional<std::string> Check();
    // Writes `text` as it is. False with `problem` set.
    bool Write(const std::string& text, std::string& problem);

  private:
    std::string path_;
    bool created_ = false;  // by Check, and not yet filled
};

// Why a text cannot be written as a tone, an image, or a name; nothing when
// it can. The texts travel inside AT command lines.
std::optional<std::string> ToneTextProblem(const std::string& text);
std::optional<std::string> ImageTextProblem(const std::string& text);
std::optional<std::string> NameProblem(const std::string& name);

}  // namespace velk::cli
