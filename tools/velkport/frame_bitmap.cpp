#include "velkport/frame_bitmap.h"

#include <algorithm>

#include "velkport/hex_bytes.h"

namespace velk::cli {
namespace {

std::string SizeText(unsigned width, unsigned height) {
    return std::to_string(width) + " × " + std::to_string(height) + " dots";
}

}  // namespace

std::size_t FrameDigits(unsigned width, unsigned height) {
    return (std::size_t{width} * height + 3) / 4;
}

std::optional<Bitmap> BitmapFromFrame(std::string_view text, unsigned width, unsigned height,
                                      std::string& problem) {
    const std::size_t digits = FrameDigits(width, height);
    const std::string wanted = "a frame of " + SizeText(width, height) + " is " +
                               std::to_string(digits) + " hexadecimal digits";
    if (text.size() != digits) {
        problem = wanted + ", and its text has " + std::to_string(text.size()) + " characters";
        return std::nullopt;
    }
    const auto bad =
        std::find_if(text.begin(), text.end(), [](char c) { return HexDigitValue(c) < 0; });
    if (bad != text.end()) {
        const auto hex =
            std::count_if(text.begin(), text.end(), [](char c) { return HexDigitValue(c) >= 0; });
        problem = wanted + ", and of its " + std::to_string(text.size()) + " characters " +
                  std::to_string(hex) + " are such digits (the first that is not: character " +
                  std::to_string(bad - text.begin() + 1) + ")";
        return std::nullopt;
    }
    Bitmap bitmap{width, height, std::vector<uint8_t>(std::size_t{width} * height, 0)};
    for (std::size_t i = 0; i < bitmap.dots.size(); ++i) {
        bitmap.dots[i] = static_cast<uint8_t>((HexDigitValue(text[i / 4]) >> (3 - i % 4)) & 1);
    }
    return bitmap;
}

std::string FrameFromBitmap(const Bitmap& bitmap) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text(FrameDigits(bitmap.width, bitmap.height), '0');
    for (std::size_t i = 0; i < bitmap.dots.size(); ++i) {
        if (bitmap.dots[i] == 0) continue;
        const int value = HexDigitValue(text[i / 4]) | (8 >> (i % 4));
        text[i / 4] = kDigits[value];
    }
    return text;
}

Bitmap Dither(const GreyPicture& picture) {
    const unsigned width = picture.width;
    Bitmap bitmap{width, picture.height, std::vector<uint8_t>(picture.grey.size(), 0)};
    // The error carried to the row below and the rest of this row, in
    // sixteenths of a grey step; two rows are all the diffusion reaches.
    std::vector<int> here(width + 2, 0);
    std::vector<int> below(width + 2, 0);
    for (unsigned y = 0; y < picture.height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            const std::size_t at = std::size_t{y} * width + x;
            const int value = picture.grey[at] * 16 + here[x + 1];
            const bool dark = value < 128 * 16;
            bitmap.dots[at] = dark ? 1 : 0;
            const int error = value - (dark ? 0 : 255 * 16);
            // 7/16 to the right, 3/16 below left, 5/16 below, 1/16 below right.
            here[x + 2] += error * 7 / 16;
            below[x] += error * 3 / 16;
            below[x + 1] += error * 5 / 16;
            below[x + 2] += error / 16;
        }
        here.swap(below);
        std::fill(below.begin(), below.end(), 0);
    }
    return bitmap;
}

}  // namespace velk::cli
