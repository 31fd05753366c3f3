// The PNG half of picture_files.h, on libpng's simplified interface, which
// keeps libpng's longjmp inside libpng.
#include <png.h>

#include "velkport/picture_files.h"

namespace velk::cli {

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the bytes, then the name they came by
std::optional<std::vector<GreyPicture>> ReadPng(const std::string& bytes, const std::string& path,
                                                std::string& problem) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) {
        problem = path + " is no PNG picture that can be read (" + image.message + ")";
        return std::nullopt;
    }
    if (image.width > kMostPictureSide || image.height > kMostPictureSide) {
        png_image_free(&image);
        problem = path + " is a picture of " + std::to_string(image.width) + " × " +
                  std::to_string(image.height) + " dots, larger than any phone's";
        return std::nullopt;
    }
    image.format = PNG_FORMAT_GRAY;
    GreyPicture picture{image.width, image.height, std::vector<uint8_t>(PNG_IMAGE_SIZE(image))};
    // Transparent parts over white, as a viewer shows them on a page.
    const png_color white{255, 255, 255};
    if (png_image_finish_read(&image, &white, picture.grey.data(), 0, nullptr) == 0) {
        problem = path + " is a damaged PNG picture (" + image.message + ")";
        return std::nullopt;
    }
    return std::vector<GreyPicture>{std::move(picture)};
}

std::optional<std::string> PngOfBitmap(const Bitmap& bitmap, std::string& problem) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = bitmap.width;
    image.height = bitmap.height;
    // Two grey palette entries, light and dark: libpng writes one bit a dot,
    // and the bits are the frame's.
    image.format = PNG_FORMAT_GRAY | PNG_FORMAT_FLAG_COLORMAP;
    image.colormap_entries = 2;
    const uint8_t palette[2] = {255, 0};
    png_alloc_size_t size = 0;
    if (png_image_write_to_memory(&image, nullptr, &size, 0, bitmap.dots.data(), 0, palette) == 0) {
        problem = std::string("libpng could not make the picture: ") + image.message;
        return std::nullopt;
    }
    std::string bytes(size, '\0');
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, bitmap.dots.data(), 0, palette) ==
        0) {
        problem = std::string("libpng could not make the picture: ") + image.message;
        return std::nullopt;
    }
    bytes.resize(size);
    return bytes;
}

}  // namespace velk::cli
