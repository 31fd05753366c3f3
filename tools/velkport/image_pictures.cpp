// The images as pictures: image-get into a PNG or an animated GIF,
// image-put from one, and image-show on the terminal. The frames' texts go
// through frame_bitmap.h; the files through picture_files.h.
#include <string>
#include <vector>

#include "velkport/half_block_view.h"
#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

constexpr unsigned kDefaultFrameMs = 200;

std::string ImageName(unsigned id) {
    return "image " + std::to_string(id);
}

std::string SizeText(unsigned width, unsigned height) {
    return std::to_string(width) + " × " + std::to_string(height) + " dots";
}

// The frame size: --width/--height, or the phone's value 4 and value 5.
int FrameSize(const Transfer& t, const FrameRange& range, unsigned& width, unsigned& height) {
    width = t.args.width != 0 ? t.args.width : range.width;
    height = t.args.height != 0 ? t.args.height : range.height;
    if (width == 0 || height == 0) {
        return t.Report(kExitUsage,
                        "the phone's image information gives no frame size (value 4 = " +
                            std::to_string(range.width) + ", value 5 = " +
                            std::to_string(range.height) + "): give it with --width and --height");
    }
    return kExitDone;
}

// Frame `only` of the image (every frame when 0) as bitmaps.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): width, height, then the frame
int BitmapsOfImage(const Transfer& t, const ImageCopy& image, unsigned width, unsigned height,
                   unsigned only, std::vector<Bitmap>& bitmaps) {
    const std::string id = ImageName(t.plan.number);
    const std::size_t frames = (image.text.size() + kFrameLength - 1) / kFrameLength;
    if (frames == 0 || only > frames) {
        return t.Report(kExitFailure,
                        "the phone sent " + Counted(frames, "frame") + " of " + id +
                            (frames == 0 ? ": there is no picture to make"
                                         : ": there is no frame " + std::to_string(only)));
    }
    for (std::size_t k = 1; k <= frames; ++k) {
        if (only != 0 && k != only) continue;
        const std::string_view text =
            std::string_view(image.text).substr((k - 1) * kFrameLength, kFrameLength);
        std::string problem;
        std::optional<Bitmap> bitmap = BitmapFromFrame(text, width, height, problem);
        if (!bitmap) {
            std::string why = "frame " + std::to_string(k);
            why.append(" of ").append(id).append(" is no bitmap: ").append(problem);
            why += "; velkport image-get without a picture file saves its text as it is";
            return t.Report(kExitFailure, why);
        }
        bitmaps.push_back(std::move(*bitmap));
    }
    return kExitDone;
}

// Reads the image and makes its bitmaps: kExitDone or the exit code.
int ReadBitmaps(const Transfer& t, const FrameRange& range, unsigned only, ImageCopy& image,
                std::vector<Bitmap>& bitmaps) {
    unsigned width = 0;
    unsigned height = 0;
    if (int code = FrameSize(t, range, width, height); code != kExitDone) return code;
    if (only > range.frames) {
        return t.Report(kExitUsage, ImageName(t.plan.number) + " has " +
                                        Counted(range.frames, "frame") + ": --frame " +
                                        std::to_string(only) + " names none of them");
    }
    if (int code = ReadImage(t, t.plan.number, range, image); code != kExitDone) return code;
    return BitmapsOfImage(t, image, width, height, only, bitmaps);
}

}  // namespace

int GetPicture(const Transfer& t, const FrameRange& range) {
    const bool png = t.plan.kind == FileKind::kPng;
    const unsigned only = png ? std::max(t.args.frame, 1u) : 0;
    ImageCopy image;
    std::vector<Bitmap> bitmaps;
    if (int code = ReadBitmaps(t, range, only, image, bitmaps); code != kExitDone) return code;
    const unsigned frameMs = t.args.frameMs != 0 ? t.args.frameMs : kDefaultFrameMs;
    std::string problem;
    const std::optional<std::string> bytes =
        png ? PngOfBitmap(bitmaps.front(), problem) : GifOfBitmaps(bitmaps, frameMs, problem);
    if (!bytes) return t.Report(kExitInternal, problem);
    if (!t.Deliver(*bytes)) return kExitFailure;
    const Bitmap& first = bitmaps.front();
    t.Summary() << "Read image " << unsigned{t.plan.number} << " \"" << image.name << "\": ";
    if (png) {
        t.Summary() << "frame " << only << " of " << image.text.size() / kFrameLength
                    << " saved to " << t.args.output << " as a PNG of "
                    << SizeText(first.width, first.height) << ".\n";
    } else {
        t.Summary() << Counted(bitmaps.size(), "frame") << " saved to " << t.args.output
                    << " as an animated GIF of " << SizeText(first.width, first.height) << ", "
                    << frameMs << " ms a frame.\n";
    }
    return kExitDone;
}

int TextOfPictures(const Transfer& t, const FrameRange& range, std::string& text) {
    unsigned width = 0;
    unsigned height = 0;
    if (int code = FrameSize(t, range, width, height); code != kExitDone) return code;
    const std::string& file = t.args.positionals[2];
    const Bitmap& first = t.plan.bitmaps.front();
    if (first.width != width || first.height != height) {
        return t.Report(kExitUsage, file + " is a picture of " +
                                        SizeText(first.width, first.height) +
                                        "; the phone's frames are " + SizeText(width, height) +
                                        (t.args.width != 0 || t.args.height != 0
                                             ? " (--width and --height)"
                                             : " (value 4 and value 5 of its image information)"));
    }
    const std::size_t frames = t.plan.bitmaps.size();
    if (range.room != 0 && frames > range.room) {
        return t.Report(kExitUsage, file + " has " + Counted(frames, "frame") + "; " +
                                        ImageName(t.plan.number) + " has room for " +
                                        std::to_string(range.room) + ", from frame " +
                                        std::to_string(range.first) +
                                        " up to the next image's first frame " +
                                        std::to_string(range.first + range.room));
    }
    if (FrameDigits(width, height) != kFrameLength) {
        return t.Report(kExitUsage, "a frame of " + SizeText(width, height) + " is " +
                                        std::to_string(FrameDigits(width, height)) +
                                        " hexadecimal digits; the library's frames are " +
                                        std::to_string(kFrameLength));
    }
    text.clear();
    for (const Bitmap& bitmap : t.plan.bitmaps) text += FrameFromBitmap(bitmap);
    return kExitDone;
}

// Image 2 "Ball", frame 1 of 3 (96 × 64 dots):
// ...32 lines of half blocks...
int ShowImage(const Transfer& t) {
    FrameRange range;
    if (int code = ReadFrameRange(t, t.plan.number, range); code != kExitDone) return code;
    ImageCopy image;
    std::vector<Bitmap> bitmaps;
    if (int code = ReadBitmaps(t, range, t.args.frame, image, bitmaps); code != kExitDone) {
        return code;
    }
    const std::size_t frames = image.text.size() / kFrameLength;
    for (std::size_t i = 0; i < bitmaps.size(); ++i) {
        const std::size_t number = t.args.frame != 0 ? t.args.frame : i + 1;
        t.io.out << (i == 0 ? "" : "\n") << "Image " << unsigned{t.plan.number} << " \""
                 << image.name << "\", frame " << number << " of " << frames << " ("
                 << SizeText(bitmaps[i].width, bitmaps[i].height) << "):\n";
        for (const std::string& line : HalfBlockLines(bitmaps[i])) t.io.out << line << '\n';
    }
    return kExitDone;
}

}  // namespace velk::cli
