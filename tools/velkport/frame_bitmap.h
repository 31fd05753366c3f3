// A frame as a picture: the phone keeps a frame as hexadecimal digits, rows
// from the top, the dots of a row one after the other with the leftmost in
// the most significant bit of its digit, 1 a dark dot. These functions turn
// such a text into dots and back, and a grey picture into dots, without
// knowing any file format.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

// One bit a dot, stored one byte a dot: 1 dark, 0 light. Rows from the top.
struct Bitmap {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<uint8_t> dots;

    bool Dark(unsigned x, unsigned y) const { return dots[std::size_t{y} * width + x] != 0; }
};

// A picture in grey: 0 black to 255 white, one byte a pixel, rows from the top.
struct GreyPicture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<uint8_t> grey;
};

// The hexadecimal digits a frame of `width` × `height` dots takes: a quarter
// of the dots, the last digit filled up with light dots.
std::size_t FrameDigits(unsigned width, unsigned height);

// The dots of a frame's text (digits in either case). Nothing, with
// `problem` set to a sentence that names the digits a frame of this size
// takes and what the text has, when the text is no such frame.
std::optional<Bitmap> BitmapFromFrame(std::string_view text, unsigned width, unsigned height,
                                      std::string& problem);

// A frame's text of the dots, its digits upper case.
std::string FrameFromBitmap(const Bitmap& bitmap);

// The picture in dark and light dots: Floyd–Steinberg error diffusion, so
// that a grey area keeps its shade as a density of dots. A picture of pure
// black and white comes through dot for dot.
Bitmap Dither(const GreyPicture& picture);

}  // namespace velk::cli
