#include "serial/line_assembler.h"

#include <algorithm>
#include <cstring>

namespace velk {
namespace {

constexpr char kCr = '\r';
constexpr char kLf = '\n';

}  // namespace

void LineAssembler::Feed(const char* bytes, std::size_t count) {
    std::size_t i = 0;
    while (i < count) {
        if (discarding_ || lineLength_ >= kLineCapacity) {
            Deliver(bytes[i++]);
            continue;
        }
        // The first bytes of a line go one by one while a prompt may be
        // among them, whatever the reads it comes in.
        if (lineLength_ < kPromptText.size() && promptAwaited_.load()) {
            Deliver(bytes[i++]);
            TakePrompt();
            continue;
        }
        // Only an LF can end a line: the bytes before it, as far as the line
        // has room, go into the line at once; the LF takes the byte path.
        const std::size_t span = std::min(count - i, std::size_t{kLineCapacity - lineLength_});
        const void* lf = std::memchr(bytes + i, kLf, span);
        const std::size_t plain =
            lf != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lf) - (bytes + i))
                          : span;
        std::memcpy(lineBuffer_.data() + lineLength_, bytes + i, plain);
        lineLength_ += static_cast<uint32_t>(plain);
        i += plain;
        if (lf != nullptr) Deliver(bytes[i++]);
    }
}

void LineAssembler::Reset() {
    lineLength_ = 0;
    discarding_ = false;
    discardSawCr_ = false;
    promptAwaited_.store(false);
}

void LineAssembler::TakePrompt() {
    if (std::string_view(lineBuffer_.data(), lineLength_) != kPromptText) return;
    if (!promptAwaited_.exchange(false)) return;
    lineLength_ = 0;
    sink_(kPromptText.data(), static_cast<uint32_t>(kPromptText.size()));
}

void LineAssembler::Deliver(char byte) {
    if (discarding_) {
        Discard(byte);
        return;
    }
    if (lineLength_ >= kLineCapacity) {
        // Full and still no end: this line can never be handed on whole. Drop
        // it, remembering whether it stopped right after its CR.
        discarding_ = true;
        discardSawCr_ = lineBuffer_[kLineCapacity - 1] == kCr;
        lineLength_ = 0;
        Discard(byte);
        return;
    }
    lineBuffer_[lineLength_++] = byte;
    if (byte != kLf || lineLength_ < 2 || lineBuffer_[lineLength_ - 2] != kCr) return;
    if (lineLength_ > 2) sink_(lineBuffer_.data(), lineLength_);
    lineLength_ = 0;
}

void LineAssembler::Discard(char byte) {
    if (byte == kLf && discardSawCr_) {
        discarding_ = false;
        discardSawCr_ = false;
        return;
    }
    discardSawCr_ = byte == kCr;
}

}  // namespace velk
