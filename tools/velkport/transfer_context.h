// What the body of a transfer subcommand works with: its arguments, checked
// and read before the link opens, the streams, and the link, opened before
// the body runs and closed after it.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "velkport/command_io.h"
#include "velkport/frame_bitmap.h"
#include "velkport/phone_link.h"
#include "velkport/picture_files.h"
#include "velkport/transfer_arguments.h"
#include "velkport/transfer_files.h"
#include "velkport/transfer_outcome.h"

namespace velk::cli {

// The subcommand's own arguments, made ready before the first byte goes to
// the phone.
struct TransferPlan {
    uint8_t number = 0;                  // the slot or the image number
    std::string name;                    // of a write
    std::string text;                    // of a write: the input file's text
    std::unique_ptr<OutputFile> output;  // of a read with -o
    FileKind kind = FileKind::kText;     // of the file a read goes to or a write comes from
    std::vector<Bitmap> bitmaps;         // of an image write from a picture
};

struct Transfer {
    std::string_view command;  // the subcommand's name, for sentences
    const TransferArgs& args;
    TransferPlan& plan;
    const CommandIo& io;
    PhoneLink& link;

    // Says why the subcommand ends without success; its exit code.
    int Report(int exitCode, const std::string& sentence) const {
        io.err << "velkport " << command << ": " << EndSentence(sentence) << '\n';
        return exitCode;
    }
    // The same for an operation that did not end as hoped.
    int Report(const OperationEnd& end, const OperationTarget& target) const {
        const Outcome outcome = DescribeEnd(end, target, link.Device());
        return Report(outcome.exitCode, outcome.sentence);
    }
    bool ShowsProgress() const { return io.errIsTerminal || args.link.forceProgress; }
    // Where the line that tells what was done goes: beside data on standard
    // output it must go to standard error.
    std::ostream& Summary() const {
        return args.output.empty() && command.ends_with("-get") ? io.err : io.out;
    }
    // Puts the text read where -o says; false when that failed (reported).
    bool Deliver(const std::string& text) const;
};

// The preparations, one per subcommand that has any: each reads and checks
// its arguments and files into `plan`; kExitDone or the exit code, with
// `problem` set.
int PrepareToneGet(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareTonePut(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareImageGet(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareImagePut(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareImageShow(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareAt(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareMessageIndex(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareMessageSend(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareContacts(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareContactPut(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareContactDelete(const TransferArgs& args, TransferPlan& plan, std::string& problem);
int PrepareContactsRestore(const TransferArgs& args, TransferPlan& plan, std::string& problem);

// The bodies, one per subcommand: the link stands when they run.
int ListTones(const Transfer& t);
int GetTone(const Transfer& t);
int PutTone(const Transfer& t);
int ListImages(const Transfer& t);
int GetImage(const Transfer& t);
int PutImage(const Transfer& t);
int ShowImage(const Transfer& t);
int RunAtCommands(const Transfer& t);
int ShowStatus(const Transfer& t);
int WatchNotices(const Transfer& t);
int ListMessages(const Transfer& t);
int GetMessage(const Transfer& t);
int DeleteMessage(const Transfer& t);
int SendMessage(const Transfer& t);
int ListContacts(const Transfer& t);
int PutContact(const Transfer& t);
int DeleteContact(const Transfer& t);
int RestoreContacts(const Transfer& t);

// The image-information read at the start of an image transfer, and the
// frame count of image `id` from its table; a failure's exit code otherwise.
struct FrameRange {
    unsigned frames = 0;
    unsigned first = 0;
    // The frames the image may take before the next image's first one; 0:
    // no image follows it.
    unsigned room = 0;
    // A frame's size in dots: the image information's value 4 and value 5.
    unsigned width = 0;
    unsigned height = 0;
};
int ReadFrameRange(const Transfer& t, uint8_t id, FrameRange& range);

// Image `id`, read frame by frame with a progress bar after ReadFrameRange.
struct ImageCopy {
    std::string name;
    std::string text;  // the frames' texts one after the other
    unsigned paramFirst = 0;
    unsigned paramLast = 0;
};
int ReadImage(const Transfer& t, uint8_t id, const FrameRange& range, ImageCopy& image);

// The pictures of an image write as the frames' text for image `range`;
// the image read into the picture -o names (a .png or .gif). kExitDone or
// the exit code, reported.
int TextOfPictures(const Transfer& t, const FrameRange& range, std::string& text);
int GetPicture(const Transfer& t, const FrameRange& range);

// "1 frame", "3 frames".
std::string Counted(std::size_t count, std::string_view noun);

}  // namespace velk::cli
