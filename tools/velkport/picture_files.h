// Pictures in files: PNG and GIF read into grey pictures, bitmaps written
// as a black-and-white PNG or an animated GIF. The file's name decides what
// it holds; what any other file holds is text.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velkport/frame_bitmap.h"

namespace velk::cli {

enum class FileKind {
    kText,
    kPng,   // .png: one frame
    kGif,   // .gif: every frame, animated
    kMidi,  // .mid, .midi: a tone's bytes
};

// By the name's extension, in either case.
FileKind KindOfFile(std::string_view path);

// The most dots a picture read may have on a side, so that a hostile file
// cannot make us allocate without bound.
inline constexpr unsigned kMostPictureSide = 4096;

// The frames of the PNG (one) or GIF (each, as it looks when shown, on
// white) in `bytes`, read from the file `path`. Transparent parts are
// white. Nothing, with `problem` set to a sentence naming the file, when
// the bytes are no picture of that kind.
std::optional<std::vector<GreyPicture>> ReadPng(const std::string& bytes, const std::string& path,
                                                std::string& problem);
std::optional<std::vector<GreyPicture>> ReadGif(const std::string& bytes, const std::string& path,
                                                std::string& problem);

// The bytes of a PNG of one bitmap (a dark dot black, palette index 1) and
// of a GIF of every bitmap, shown `frameMs` milliseconds each and looping.
// Nothing, with `problem` set, when the library failed.
std::optional<std::string> PngOfBitmap(const Bitmap& bitmap, std::string& problem);
std::optional<std::string> GifOfBitmaps(const std::vector<Bitmap>& bitmaps, unsigned frameMs,
                                        std::string& problem);

}  // namespace velk::cli
