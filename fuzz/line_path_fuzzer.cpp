// The whole receive path on hostile bytes: the port's bytes are cut into
// lines by the line assembler, queued in the receive queue, read by the
// response reader while a command waits (or while none does) and handed to
// the result decoders, as the worker does for each line. This thread plays
// the transfer thread too: every block the decoders post comes back here and
// is freed, so a block that is lost or freed twice shows up as a leak or a
// use after free.
//
// Input: one byte choosing the command in flight (0-228: id 13-241, anything
// above: no command waits), one byte of reading forms (bits 0-1 the "+CMGR"
// form, bit 2 the "+CMGL" form, bits 3-6 the last service reply kind, 8 and
// above meaning none yet), one byte of feed size (0: all bytes in one read),
// a length byte and the command text as sent (empty: the text the builder
// makes from a zero request), then the bytes from the phone.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "decode/decoder_state.h"
#include "decode/solicited_decoder.h"
#include "decode/unsolicited_decoder.h"
#include "engine/command_block.h"
#include "engine/command_catalogue.h"
#include "engine/command_text_builder.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "fuzz_input.h"
#include "platform/thread_messages.h"
#include "response/reply_forms.h"
#include "response/response_reader.h"
#include "serial/line_assembler.h"
#include "serial/receive_queue.h"

namespace velk::fuzz {
namespace {

constexpr uint8_t kIdCount = kLastCommandId - kFirstCommandId + 1;

void FreeResult(ATCommandBlock* block) {
    if (block->resultId == kResultImageInfo) delete block->result.imageInfo.frameRanges;
    FreeCommandBlock(block);
}

// The worker's part of one line, with this thread as both worker and
// transfer thread.
class LinePath {
  public:
    LinePath(int32_t id, std::string commandText)
        : reader_(ReaderLink{&TakeLine, &ReleaseLine, [](std::string&) { return 1; }}),
          commandText_(std::move(commandText)),
          waiting_(id != 0) {
        decoder_.currentCommand = id;
    }

    void OnLineReceived() {
        if (waiting_) {
            if (reader_.ReadSolicited(commandText_) != 0) {
                DecodeSolicitedResult(decoder_, reader_.lines.GetRecord(0));
            }
            if (reader_.finished != 0) {
                waiting_ = false;
                if (reader_.finalStatus() == kindOk) PostDone();
            }
        } else {
            decoder_.replyText = reader_.ReadUnsolicited();
            if (!decoder_.replyText.empty()) {
                DecodeUnsolicitedResult(decoder_, reader_.lines.GetRecord(0));
            }
        }
        Drain();
    }

  private:
    void PostDone() {
        if (ATCommandBlock* done = AllocCommandBlock()) {
            done->resultId = kResultDone;
            done->result.done.commandId = decoder_.currentCommand;
            PostResultBlock(done, 0);
        }
    }

    // Runs what the worker would run for its own notices and frees every
    // result. Draining after each line keeps the queue far from full: a full
    // queue would make the decoders' posts wait for ever on this one thread.
    void Drain() {
        ThreadMessage message;
        while (PeekThreadMessage(message)) {
            if (message.message == AT_MSG_REPLY_UNSOLICITED) {
                decoder_.replyText = reader_.pendingLine();
                if (!decoder_.replyText.empty()) {
                    DecodeUnsolicitedResult(decoder_, reader_.lines.GetRecord(0));
                }
                continue;
            }
            if (message.wParam != kResultParam || message.lParam == 0) std::abort();
            auto* block = BlockOf(message);
            if (message.message != MessageForId(block->resultId)) std::abort();
            FreeResult(block);
        }
    }

    CATResponseReader reader_;
    std::string commandText_;
    DecoderState decoder_;
    bool waiting_;
};

std::string CommandTextFor(int32_t id, std::string text) {
    if (id == 0) return text;
    if (text.empty()) {
        ATCommandBlock* block = AllocCommandBlock();
        if (block == nullptr) return text;
        block->commandId = id;
        int32_t current = 0;
        text = BuildCommandText(id, *block, current);
        FreeCommandBlock(block);
    }
    // What SendCommand leaves in the text after writing it.
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

}  // namespace
}  // namespace velk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velk;
    using namespace velk::fuzz;
    static const ThreadId self = [] {
        const ThreadId id = EnsureThreadQueue();
        controllerThreadId = id;
        return id;
    }();
    (void)self;

    FuzzInput input(data, size);
    const uint8_t command = input.Byte();
    const int32_t id = command < kIdCount ? kFirstCommandId + command : 0;
    const uint8_t forms = input.Byte();
    SetMessageForms(forms >> 2 & 1, forms & 3);
    const uint32_t service = forms >> 3 & 15;
    serviceReplyKind = service < 8 ? service : kNoServiceReply;
    const std::size_t feedSize = input.Byte();
    std::string commandText = CommandTextFor(id, input.ShortText(255));
    const std::string bytes = input.Rest();

    LinePath path(id, std::move(commandText));
    LineAssembler assembler([](const char* line, uint32_t length) { PushLine(line, length); });
    const std::size_t step = feedSize == 0 ? bytes.size() : feedSize;
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        assembler.Feed(bytes.data() + at, std::min(step, bytes.size() - at));
        // One notice per line, as the serial reader posts them.
        while (HasLine()) path.OnLineReceived();
    }
    ClearLines();
    return 0;
}
