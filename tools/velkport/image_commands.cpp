// images, image-get and image-put.
#include <cstring>
#include <iomanip>
#include <string>
#include <vector>

#include "velkport.h"
#include "velkport/json_text.h"
#include "velkport/progress_bar.h"
#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

std::string ImageName(uint8_t id) {
    return "image " + std::to_string(id);
}

struct ImageInfoCopy {
    std::string name;
    uint16_t numbers[5] = {};
    std::vector<uint16_t> frameRanges;  // frames, first frame; one pair an image
};

// Reads the image information and copies it; a failure's exit code otherwise.
int ReadImageInfo(const Transfer& t, ImageInfoCopy& copy) {
    const OperationEnd end = t.link.Run(velk_ReadAnimInfo);
    if (end.kind != OperationEnd::Kind::kFinal || end.message != VELK_MSG_ANIM_INFO_READ) {
        return t.Report(end, {"", "reading the image information"});
    }
    AnimInfoRecord* info = nullptr;
    if (velk_GetAnimInfo(&info) != 1 || info == nullptr) {
        return t.Report(kExitInternal, "the library held no image information after reading it");
    }
    copy.name.assign(info->name, strnlen(info->name, sizeof info->name));
    const uint16_t numbers[5] = {info->infoNumber1, info->infoNumber2, info->infoNumber3,
                                 info->infoNumber4, info->infoNumber5};
    std::copy(std::begin(numbers), std::end(numbers), copy.numbers);
    if (info->frameRanges != nullptr) {
        copy.frameRanges.assign(info->frameRanges, info->frameRanges + info->frameRangeCount);
    }
    return kExitDone;
}

void PrintImagesJson(const Transfer& t, const ImageInfoCopy& info) {
    std::ostream& out = t.io.out;
    out << "{\"name\":" << JsonString(info.name) << ",\"values\":[";
    for (std::size_t i = 0; i < std::size(info.numbers); ++i) {
        out << (i == 0 ? "" : ",") << info.numbers[i];
    }
    out << "],\"images\":[";
    for (std::size_t i = 0; i + 1 < info.frameRanges.size(); i += 2) {
        out << (i == 0 ? "" : ",") << "{\"image\":" << i / 2 + 1
            << ",\"frames\":" << info.frameRanges[i]
            << ",\"firstFrame\":" << info.frameRanges[i + 1] << '}';
    }
    out << ']';
    if (info.frameRanges.size() % 2 != 0) out << ",\"loneValue\":" << info.frameRanges.back();
    out << "}\n";
}

}  // namespace

int ReadFrameRange(const Transfer& t, uint8_t id, FrameRange& range) {
    ImageInfoCopy info;
    if (int code = ReadImageInfo(t, info); code != kExitDone) return code;
    const std::size_t images = info.frameRanges.size() / 2;
    if (id > images) {
        return t.Report(kExitRefused,
                        "the phone lists no image " + std::to_string(id) +
                            (images == 0 ? ": it holds none"
                                         : ": it holds images 1 to " + std::to_string(images)));
    }
    range.frames = info.frameRanges[2u * id - 2];
    range.first = info.frameRanges[2u * id - 1];
    range.width = info.numbers[3];
    range.height = info.numbers[4];
    for (std::size_t i = 1; i < info.frameRanges.size(); i += 2) {
        const unsigned first = info.frameRanges[i];
        if (first > range.first && (range.room == 0 || first - range.first < range.room)) {
            range.room = first - range.first;
        }
    }
    return kExitDone;
}

// Images "Images": value 1 = 3, value 2 = 6, value 3 = 250, value 4 = 96, value 5 = 64
// image  frames  first frame
//     1       1            1
int ListImages(const Transfer& t) {
    ImageInfoCopy info;
    if (int code = ReadImageInfo(t, info); code != kExitDone) return code;
    if (t.args.json) {
        PrintImagesJson(t, info);
        return kExitDone;
    }
    t.io.out << "Images \"" << info.name << "\":";
    for (std::size_t i = 0; i < std::size(info.numbers); ++i) {
        t.io.out << (i == 0 ? " " : ", ") << "value " << i + 1 << " = " << info.numbers[i];
    }
    t.io.out << "\nimage  frames  first frame\n";
    for (std::size_t i = 0; i + 1 < info.frameRanges.size(); i += 2) {
        t.io.out << std::setw(5) << i / 2 + 1 << std::setw(8) << info.frameRanges[i]
                 << std::setw(13) << info.frameRanges[i + 1] << '\n';
    }
    if (info.frameRanges.size() % 2 != 0) {
        t.io.out << "(the table ends with a lone number, " << info.frameRanges.back() << ")\n";
    }
    return kExitDone;
}

int ReadImage(const Transfer& t, uint8_t id, const FrameRange& range, ImageCopy& image) {
    ProgressBar bar(t.io.err, t.ShowsProgress(), ImageName(id), range.frames);
    const OperationEnd end = t.link.Run([id] { return velk_ReadAnim(id); },
                                        [&bar](uint32_t message) {
                                            if (message == VELK_MSG_ANIM_READ_PROGRESS) bar.Step();
                                        });
    const bool read = end.kind == OperationEnd::Kind::kFinal && end.message == VELK_MSG_ANIM_READ;
    bar.Finish(read);
    if (!read) return t.Report(end, {ImageName(id), "reading " + ImageName(id)});

    AnimRecord* record = nullptr;
    if (velk_GetAnimData(&record) != 1 || record == nullptr) {
        return t.Report(kExitInternal, "the library held no image after reading it");
    }
    image.name.assign(record->name, std::min<std::size_t>(record->nameLength, 10));
    image.text.assign(reinterpret_cast<const char*>(record->data), record->size);
    image.paramFirst = record->animParamFirst;
    image.paramLast = record->animParamLast;
    return kExitDone;
}

int GetImage(const Transfer& t) {
    const uint8_t id = t.plan.number;
    FrameRange range;
    if (int code = ReadFrameRange(t, id, range); code != kExitDone) return code;
    if (t.plan.kind == FileKind::kPng || t.plan.kind == FileKind::kGif) return GetPicture(t, range);
    ImageCopy image;
    if (int code = ReadImage(t, id, range, image); code != kExitDone) return code;
    const std::string& text = image.text;
    if (!t.Deliver(text)) return kExitFailure;
    t.Summary() << "Read image " << static_cast<unsigned>(id) << " \"" << image.name
                << "\": " << Counted(text.size() / kFrameLength, "frame") << " of " << kFrameLength
                << " characters from frame " << range.first << " (written with --param-first "
                << image.paramFirst << " --param-last " << image.paramLast << ")"
                << (t.args.output.empty() ? "" : ", saved to " + t.args.output) << ".\n";
    if (text.size() % kFrameLength != 0) {
        t.io.err << "velkport " << t.command << ": note: the phone sent "
                 << Counted(text.size(), "character") << ", no whole number of frames.\n";
    }
    return kExitDone;
}

int PutImage(const Transfer& t) {
    const uint8_t id = t.plan.number;
    const std::string& name = t.plan.name;
    std::string text = t.plan.text;
    FrameRange range;
    if (int code = ReadFrameRange(t, id, range); code != kExitDone) return code;
    if (!t.plan.bitmaps.empty()) {
        if (int code = TextOfPictures(t, range, text); code != kExitDone) return code;
    }

    AnimRecord record{};
    record.id = id;
    record.nameLength = static_cast<uint8_t>(name.size());
    name.copy(record.name, sizeof record.name);
    record.size = static_cast<uint16_t>(text.size());
    record.data = reinterpret_cast<uint8_t*>(text.data());
    record.animParamFirst = t.args.paramFirst;
    record.animParamLast = t.args.paramLast;
    const auto frames = static_cast<unsigned>(text.size() / kFrameLength);

    ProgressBar bar(t.io.err, t.ShowsProgress(), ImageName(id), frames);
    const OperationEnd end = t.link.Run([&record] { return velk_WriteAnim(record); },
                                        [&bar](uint32_t message) {
                                            if (message == VELK_MSG_ANIM_WRITE_PROGRESS) bar.Step();
                                        });
    const bool written =
        end.kind == OperationEnd::Kind::kFinal && end.message == VELK_MSG_ANIM_WRITTEN;
    bar.Finish(written);
    if (!written) {
        const int code = t.Report(end, {ImageName(id), "writing " + ImageName(id)});
        if (std::string broken = BrokenWriteSentence(end, ImageName(id), frames); !broken.empty()) {
            t.Report(code, broken);
        }
        return code;
    }
    t.Summary() << "Wrote image " << static_cast<unsigned>(id) << " \"" << name
                << "\": " << Counted(frames, "frame") << " from frame " << range.first << ".\n";
    return kExitDone;
}

}  // namespace velk::cli
