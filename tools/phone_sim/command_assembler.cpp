#include "phone_sim/command_assembler.h"

namespace velk::phonesim {
namespace {

constexpr char kXon = 17;
constexpr char kXoff = 19;
constexpr char kCtrlZ = 26;
constexpr char kEsc = 27;

}  // namespace

CommandAssembler::Step CommandAssembler::Feed(char byte) {
    Step step;
    if (byte == kXon || byte == kXoff) {
        step.flow = byte == kXoff ? Flow::kStop : Flow::kGo;
        return step;
    }
    // A phone drops NUL bytes of a command line, as some programs send one
    // before the line's CR.
    if (byte == '\0') return step;
    const bool afterCr = lastWasCr_;
    lastWasCr_ = byte == '\r';
    if (inText_) {
        // The LF behind the command's CR is no part of the text.
        if (byte == '\n' && afterCr && partial_.empty()) return step;
        if (byte == kCtrlZ || byte == kEsc) {
            done_.swap(partial_);
            partial_.clear();
            inText_ = false;
            (byte == kCtrlZ ? step.textDone : step.textCancelled) = true;
        } else if (partial_.size() < kMaxLine) {
            partial_ += byte;
        }
        return step;
    }
    if (byte == '\n' && afterCr) return step;
    if (!started_) {
        started_ = true;
        step.lineStarted = true;
    }
    if (byte == '\r') {
        done_.swap(partial_);
        partial_.clear();
        started_ = false;
        step.lineDone = true;
        return step;
    }
    if (partial_.size() < kMaxLine) partial_ += byte;
    return step;
}

}  // namespace velk::phonesim
