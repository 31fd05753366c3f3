// The preparations of the transfer subcommands: every argument and file is
// read and checked before the link opens, so that a mistake costs no
// transfer.
#include <ostream>

#include "velkport/hex_bytes.h"
#include "velkport/link_options.h"
#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

// The first plain argument, a number from 1 to 255: `what` is "a slot" or
// "an image number".
int ReadNumberArgument(const TransferArgs& args, const char* what, TransferPlan& plan,
                       std::string& problem) {
    const std::string& text = args.positionals[0];
    if (!ReadWholeNumber(std::string_view(text), plan.number) || plan.number == 0) {
        problem = std::string(what) + " is a number from 1 to 255, not \"" + text + "\"";
        return kExitUsage;
    }
    return kExitDone;
}

int CheckOutput(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (args.output.empty()) return kExitDone;
    plan.output = std::make_unique<OutputFile>(args.output);
    if (std::optional<std::string> bad = plan.output->Check()) {
        problem = *bad;
        return kExitFailure;
    }
    return kExitDone;
}

// NAME FILE behind the number of a write, with the file's text checked by
// `textProblem`.
int ReadWriteArguments(const TransferArgs& args, TransferPlan& plan, std::string& problem,
                       std::optional<std::string> (*textProblem)(const std::string&)) {
    plan.name = args.positionals[1];
    if (std::optional<std::string> bad = NameProblem(plan.name)) {
        problem = *bad;
        return kExitUsage;
    }
    std::optional<std::string> text = ReadTransferFile(args.positionals[2], problem);
    if (!text) return kExitUsage;
    if (std::optional<std::string> bad = textProblem(*text)) {
        problem = *bad;
        return kExitUsage;
    }
    plan.text = std::move(*text);
    return kExitDone;
}

bool IsPicture(FileKind kind) {
    return kind == FileKind::kPng || kind == FileKind::kGif;
}

// The picture options fit the file: --width/--height a picture's, --frame
// a PNG's, --frame-ms a GIF's; image-show (`showing`) draws any frame.
int CheckPictureOptions(const TransferArgs& args, FileKind kind, bool showing,
                        std::string& problem) {
    if ((args.width != 0 || args.height != 0) && !IsPicture(kind) && !showing) {
        problem = "--width and --height apply to a picture only, a .png or .gif file";
        return kExitUsage;
    }
    if (args.frame != 0 && kind != FileKind::kPng && !showing) {
        problem = "--frame applies to a .png file only; a .gif holds every frame";
        return kExitUsage;
    }
    if (args.frameMs != 0 && kind != FileKind::kGif) {
        problem = "--frame-ms applies to a .gif file only";
        return kExitUsage;
    }
    return kExitDone;
}

// The frames of a PNG or GIF, dithered to dots.
int ReadPictures(const std::string& path, FileKind kind, TransferPlan& plan, std::string& problem) {
    const std::optional<std::string> bytes = ReadWholeFile(path, problem);
    if (!bytes) return kExitUsage;
    const std::optional<std::vector<GreyPicture>> pictures =
        kind == FileKind::kPng ? ReadPng(*bytes, path, problem) : ReadGif(*bytes, path, problem);
    if (!pictures) return kExitUsage;
    if (pictures->size() > kMostFrames) {
        problem = path + " has " + std::to_string(pictures->size()) + " frames; at most " +
                  std::to_string(kMostFrames) + " can be written at once";
        return kExitUsage;
    }
    plan.bitmaps.clear();
    for (const GreyPicture& picture : *pictures) plan.bitmaps.push_back(Dither(picture));
    return kExitDone;
}

}  // namespace

int PrepareToneGet(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "a slot", plan, problem); code != kExitDone)
        return code;
    plan.kind = KindOfFile(args.output);
    return CheckOutput(args, plan, problem);
}

int PrepareTonePut(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "a slot", plan, problem); code != kExitDone)
        return code;
    const std::string& path = args.positionals[2];
    plan.kind = KindOfFile(path);
    if (plan.kind != FileKind::kMidi) {
        return ReadWriteArguments(args, plan, problem, &ToneTextProblem);
    }
    // A MIDI file goes to the phone as its bytes' hexadecimal digits.
    plan.name = args.positionals[1];
    if (std::optional<std::string> bad = NameProblem(plan.name)) {
        problem = *bad;
        return kExitUsage;
    }
    const std::optional<std::string> bytes = ReadWholeFile(path, problem);
    if (!bytes) return kExitUsage;
    if (bytes->empty() || bytes->size() > kMostToneLength / 2) {
        problem = path + " has " + std::to_string(bytes->size()) + " bytes; a tone file has 1 to " +
                  std::to_string(kMostToneLength / 2) + " (two hexadecimal digits a byte)";
        return kExitUsage;
    }
    plan.text = HexOfBytes(*bytes);
    return kExitDone;
}

int PrepareImageGet(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "an image number", plan, problem); code != kExitDone) {
        return code;
    }
    plan.kind = KindOfFile(args.output);
    if (int code = CheckPictureOptions(args, plan.kind, false, problem); code != kExitDone) {
        return code;
    }
    return CheckOutput(args, plan, problem);
}

int PrepareImagePut(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "an image number", plan, problem); code != kExitDone) {
        return code;
    }
    const std::string& path = args.positionals[2];
    plan.kind = KindOfFile(path);
    if (int code = CheckPictureOptions(args, plan.kind, false, problem); code != kExitDone) {
        return code;
    }
    if (!IsPicture(plan.kind)) return ReadWriteArguments(args, plan, problem, &ImageTextProblem);
    plan.name = args.positionals[1];
    if (std::optional<std::string> bad = NameProblem(plan.name)) {
        problem = *bad;
        return kExitUsage;
    }
    return ReadPictures(path, plan.kind, plan, problem);
}

int PrepareImageShow(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "an image number", plan, problem); code != kExitDone) {
        return code;
    }
    return CheckPictureOptions(args, FileKind::kText, true, problem);
}

bool Transfer::Deliver(const std::string& text) const {
    if (plan.output) {
        std::string problem;
        if (plan.output->Write(text, problem)) return true;
        Report(kExitFailure, problem);
        return false;
    }
    io.out.write(text.data(), static_cast<std::streamsize>(text.size()));
    // A terminal's prompt would otherwise go on where the text ends.
    if (io.outIsTerminal && !text.ends_with('\n')) io.out << '\n';
    io.out.flush();
    return true;
}

std::string Counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace velk::cli
