// The GIF half of picture_files.h, on giflib, in memory both ways.
#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "velkport/picture_files.h"

namespace velk::cli {
namespace {

struct MemoryReader {
    const std::string& bytes;
    std::size_t at = 0;
};

int ReadBytes(GifFileType* gif, GifByteType* buffer, int wanted) {
    auto* reader = static_cast<MemoryReader*>(gif->UserData);
    const std::size_t count =
        std::min(static_cast<std::size_t>(std::max(wanted, 0)), reader->bytes.size() - reader->at);
    // Bytes of a file, no string: nothing to terminate.
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result)
    std::memcpy(buffer, reader->bytes.data() + reader->at, count);
    reader->at += count;
    return static_cast<int>(count);
}

int WriteBytes(GifFileType* gif, const GifByteType* buffer, int count) {
    static_cast<std::string*>(gif->UserData)
        ->append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(count));
    return count;
}

struct GifCloser {
    void operator()(GifFileType* gif) const {
        int ignored = 0;
        DGifCloseFile(gif, &ignored);
    }
};

std::string ErrorText(int error) {
    const char* text = GifErrorString(error);
    return text != nullptr ? text : "error " + std::to_string(error);
}

uint8_t Grey(const GifColorType& colour) {
    return static_cast<uint8_t>((299 * colour.Red + 587 * colour.Green + 114 * colour.Blue + 500) /
                                1000);
}

// The most bytes the frames of one GIF may take as grey pictures: a small
// file may claim many large frames.
constexpr std::size_t kMostFrameBytes = std::size_t{64} << 20;

// One image of the GIF, where it goes on the screen and its colour indexes.
struct ImagePart {
    GifImageDesc place;
    std::vector<GifPixelType> indexes;
};

// Reads the lines of the image whose description was just read; an
// interlaced image sends every eighth line first, then the ones between.
bool ReadImageLines(GifFileType* gif, ImagePart& part) {
    const auto width = static_cast<std::size_t>(part.place.Width);
    const int height = part.place.Height;
    part.indexes.assign(width * static_cast<std::size_t>(height), 0);
    const auto line = [&](int row) {
        return DGifGetLine(gif, part.indexes.data() + static_cast<std::size_t>(row) * width,
                           part.place.Width) == GIF_OK;
    };
    if (!part.place.Interlace) {
        for (int row = 0; row < height; ++row) {
            if (!line(row)) return false;
        }
        return true;
    }
    constexpr int kStart[] = {0, 4, 2, 1};
    constexpr int kStep[] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass) {
        for (int row = kStart[pass]; row < height; row += kStep[pass]) {
            if (!line(row)) return false;
        }
    }
    return true;
}

// Draws an image onto the screen, as a viewer does.
void Draw(const ImagePart& part, const ColorMapObject& colours, int transparent,
          GreyPicture& screen) {
    const GifImageDesc& place = part.place;
    for (int row = 0; row < place.Height; ++row) {
        for (int column = 0; column < place.Width; ++column) {
            const long x = long{place.Left} + column;
            const long y = long{place.Top} + row;
            if (x < 0 || y < 0 || x >= long{screen.width} || y >= long{screen.height}) continue;
            const int index =
                part.indexes[std::size_t(row) * std::size_t(place.Width) + std::size_t(column)];
            if (index == transparent || index >= colours.ColorCount) continue;
            screen.grey[std::size_t(y) * screen.width + std::size_t(x)] =
                Grey(colours.Colors[index]);
        }
    }
}

void Clear(const GifImageDesc& place, GreyPicture& screen) {
    for (long y = std::max(0L, long{place.Top});
         y < std::min(long{screen.height}, long{place.Top} + place.Height); ++y) {
        for (long x = std::max(0L, long{place.Left});
             x < std::min(long{screen.width}, long{place.Left} + place.Width); ++x) {
            screen.grey[std::size_t(y) * screen.width + std::size_t(x)] = 255;
        }
    }
}

// The graphic control of the next image, from an extension record; the
// rest of the record is skipped.
bool ReadExtension(GifFileType* gif, GraphicsControlBlock& control) {
    int code = 0;
    GifByteType* block = nullptr;
    if (DGifGetExtension(gif, &code, &block) != GIF_OK) return false;
    if (code == GRAPHICS_EXT_FUNC_CODE && block != nullptr && block[0] == 4) {
        DGifExtensionToGCB(block[0], block + 1, &control);
    }
    while (block != nullptr) {
        if (DGifGetExtensionNext(gif, &block) != GIF_OK) return false;
    }
    return true;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the bytes, then the name they came by
std::optional<std::vector<GreyPicture>> ReadGif(const std::string& bytes, const std::string& path,
                                                std::string& problem) {
    MemoryReader reader{bytes};
    int error = 0;
    std::unique_ptr<GifFileType, GifCloser> gif(DGifOpen(&reader, &ReadBytes, &error));
    if (!gif) {
        problem = path + " is no GIF picture that can be read (" + ErrorText(error) + ")";
        return std::nullopt;
    }
    if (gif->SWidth <= 0 || gif->SHeight <= 0 || unsigned(gif->SWidth) > kMostPictureSide ||
        unsigned(gif->SHeight) > kMostPictureSide) {
        problem = path + " is a picture of " + std::to_string(gif->SWidth) + " × " +
                  std::to_string(gif->SHeight) + " dots, which no phone has";
        return std::nullopt;
    }
    const std::string damaged = path + " is a damaged GIF picture (";
    GreyPicture screen{
        unsigned(gif->SWidth), unsigned(gif->SHeight),
        std::vector<uint8_t>(std::size_t(gif->SWidth) * std::size_t(gif->SHeight), 255)};
    const GraphicsControlBlock plain{DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};
    GraphicsControlBlock control = plain;
    std::vector<GreyPicture> frames;
    GifRecordType record = UNDEFINED_RECORD_TYPE;
    while (record != TERMINATE_RECORD_TYPE) {
        if (DGifGetRecordType(gif.get(), &record) != GIF_OK) {
            problem = damaged + ErrorText(gif->Error) + ")";
            return std::nullopt;
        }
        if (record == EXTENSION_RECORD_TYPE && !ReadExtension(gif.get(), control)) {
            problem = damaged + ErrorText(gif->Error) + ")";
            return std::nullopt;
        }
        if (record != IMAGE_DESC_RECORD_TYPE) continue;
        if (DGifGetImageDesc(gif.get()) != GIF_OK) {
            problem = damaged + ErrorText(gif->Error) + ")";
            return std::nullopt;
        }
        ImagePart part{gif->Image, {}};
        if (part.place.Width <= 0 || part.place.Height <= 0 ||
            unsigned(part.place.Width) > kMostPictureSide ||
            unsigned(part.place.Height) > kMostPictureSide ||
            (frames.size() + 1) * screen.grey.size() > kMostFrameBytes) {
            problem = path + " has too many or too large frames to be read (frame " +
                      std::to_string(frames.size() + 1) + ")";
            return std::nullopt;
        }
        const ColorMapObject* colours =
            gif->Image.ColorMap != nullptr ? gif->Image.ColorMap : gif->SColorMap;
        if (colours == nullptr) {
            problem = path + " has a frame without colours (frame " +
                      std::to_string(frames.size() + 1) + ")";
            return std::nullopt;
        }
        if (!ReadImageLines(gif.get(), part)) {
            problem = damaged + ErrorText(gif->Error) + ")";
            return std::nullopt;
        }
        const GreyPicture before =
            control.DisposalMode == DISPOSE_PREVIOUS ? screen : GreyPicture{};
        Draw(part, *colours, control.TransparentColor, screen);
        frames.push_back(screen);
        if (control.DisposalMode == DISPOSE_BACKGROUND) Clear(part.place, screen);
        if (control.DisposalMode == DISPOSE_PREVIOUS) screen = before;
        control = plain;
    }
    if (frames.empty()) {
        problem = path + " holds no frame";
        return std::nullopt;
    }
    return frames;
}

std::optional<std::string> GifOfBitmaps(const std::vector<Bitmap>& bitmaps, unsigned frameMs,
                                        std::string& problem) {
    if (bitmaps.empty()) {
        problem = "a GIF needs a frame at least";
        return std::nullopt;
    }
    std::string bytes;
    int error = 0;
    GifFileType* gif = EGifOpen(&bytes, &WriteBytes, &error);
    if (gif == nullptr) {
        problem = std::string("giflib could not make the picture: ") + ErrorText(error);
        return std::nullopt;
    }
    // Index 0 light, 1 dark: the bits are the frame's.
    GifColorType palette[2] = {{255, 255, 255}, {0, 0, 0}};
    ColorMapObject* colours = GifMakeMapObject(2, palette);
    const int width = static_cast<int>(bitmaps.front().width);
    const int height = static_cast<int>(bitmaps.front().height);
    EGifSetGifVersion(gif, true);
    bool done =
        colours != nullptr && EGifPutScreenDesc(gif, width, height, 1, 0, colours) == GIF_OK;
    GifFreeMapObject(colours);
    if (done && bitmaps.size() > 1) {
        // Loops for ever, as a phone shows an animation.
        GifByteType loop[3] = {1, 0, 0};
        done = EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE) == GIF_OK &&
               EGifPutExtensionBlock(gif, 11, "NETSCAPE2.0") == GIF_OK &&
               EGifPutExtensionBlock(gif, 3, loop) == GIF_OK &&
               EGifPutExtensionTrailer(gif) == GIF_OK;
    }
    const int delay = static_cast<int>((frameMs + 5) / 10);  // in hundredths of a second
    for (const Bitmap& bitmap : bitmaps) {
        if (!done) break;
        GraphicsControlBlock control{DISPOSE_DO_NOT, false, delay, NO_TRANSPARENT_COLOR};
        GifByteType extension[4];
        const std::size_t length = EGifGCBToExtension(&control, extension);
        done = EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, int(length), extension) == GIF_OK &&
               EGifPutImageDesc(gif, 0, 0, width, height, false, nullptr) == GIF_OK;
        std::vector<GifPixelType> row(std::size_t(width), 0);
        for (unsigned y = 0; done && y < bitmap.height; ++y) {
            std::copy_n(bitmap.dots.begin() + std::ptrdiff_t(y) * width, width, row.begin());
            done = EGifPutLine(gif, row.data(), width) == GIF_OK;
        }
    }
    const int failure = gif->Error;
    if (EGifCloseFile(gif, &error) != GIF_OK && done) {
        done = false;
    } else if (!done) {
        error = failure;
    }
    if (!done) {
        problem = std::string("giflib could not make the picture: ") + ErrorText(error);
        return std::nullopt;
    }
    return bytes;
}

}  // namespace velk::cli
