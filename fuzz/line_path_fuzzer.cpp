// The whole receive path on hostile bytes: the port's bytes are cut into
// lines by the line assembler, queued in the receive queue, and read by the
// worker's own handling of received lines (classified while a command waits
// or while none does, decoded, posted). This thread plays the transfer thread
// too: every block the worker posts comes back here and is freed, so a block
// that is lost or freed twice shows up as a leak or a use after free.
//
// A command that sends a message text (AT+CMGS=, AT+CMGW=) may wait for the
// phone's prompt: the line assembler then hands on the first "> " at the start
// of a line as the prompt, and the worker must write the text with its Ctrl-Z
// exactly once, and nothing else.
//
// Every block is also printed as the library prints it for an application
// (ResultBlockToJson, as velk_GetCommandResult and velk_GetNotices hand it
// over) and must be one valid JSON object of printable ASCII: the phone's
// over-long texts and its control and high bytes come out escaped.
//
// Input: one byte choosing the command in flight (0-228: id 13-241, anything
// above: no command waits), one byte of reading forms (bits 0-1 the "+CMGR"
// form, bit 2 the "+CMGL" form, bits 3-6 the last service reply kind, 8 and
// above meaning none yet, bit 7 a message text waiting for its prompt), one
// byte of feed size (0: all bytes in one read), a length byte and the command
// text as sent (empty: the text the builder makes from a zero request), with
// bit 7 a length byte and the message text, then the bytes from the phone.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "decode/result_json.h"
#include "engine/command_block.h"
#include "engine/command_catalogue.h"
#include "engine/command_text_builder.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "engine/worker_thread.h"
#include "fuzz_input.h"
#include "json_check.h"
#include "platform/thread_messages.h"
#include "response/reply_forms.h"
#include "serial/line_assembler.h"
#include "serial/receive_queue.h"

namespace velk::fuzz {
namespace {

constexpr uint8_t kIdCount = kLastCommandId - kFirstCommandId + 1;

// A worker with no thread of its own, reading the receive queue, with this
// thread as both worker and transfer thread.
class LinePath {
  public:
    LinePath(LineAssembler& assembler, CATWorkerThread::CommandInFlight command,
             ReplySelectors selectors)
        : readForm_(selectors.messageReadForm) {
        CATWorkerThread::Setup setup;
        setup.link.takeText = &TakeLineText;
        setup.link.sendCommand = [](std::string&) { return 1; };
        setup.link.awaitPrompt = [&assembler](bool awaited) { assembler.AwaitPrompt(awaited); };
        if (command.body) expectedText_ = *command.body + kBodyEnd;
        setup.link.sendText = [this](std::string_view bytes) {
            if (textsWritten_++ != 0 || bytes != expectedText_) std::abort();
        };
        setup.sharedQueues = false;
        setup.serialLink = false;
        setup.selectors = selectors;
        if (command.id != 0) setup.commandInFlight = std::move(command);
        worker_ = std::make_unique<CATWorkerThread>(std::move(setup));
    }

    // The serial reader's notice of the lines queued; the worker reads every
    // line waiting.
    void OnLinesReceived() {
        worker_->HandleMessage({AT_MSG_LINE_RECEIVED, 0, 0});
        Drain();
    }

  private:
    // Frees every result. Draining after each read keeps the queue far from
    // full: a full queue would make the worker's posts wait for ever on this
    // one thread.
    void Drain() const {
        ThreadMessage message;
        while (PeekThreadMessage(message)) {
            if (message.wParam != kResultParam || message.lParam == 0) std::abort();
            auto* block = BlockOf(message);
            // A notice and the phone's error line come under numbers of their own.
            if (message.message != MessageForId(block->resultId) &&
                !IsNoticeMessage(message.message) &&
                !(message.message == kFinalErrorMessage && block->resultId == kResultError)) {
                std::abort();
            }
            const std::string json =
                ResultBlockToJson(*block, FormChoice{readForm_, NoticeFormHead(message.message)});
            if (!json.starts_with("{\"resultId\":") || !JsonCheck::Valid(json)) std::abort();
            FreeResultBlock(block);
        }
    }

    // The message-read form in force, for the forms two blocks share.
    uint32_t readForm_;
    // The text with its Ctrl-Z, which the one write after the prompt must be.
    std::string expectedText_;
    int textsWritten_ = 0;
    std::unique_ptr<CATWorkerThread> worker_;
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
    // A checker that took anything would let every fault through.
    static const bool checked = [] {
        constexpr std::string_view kGood[] = {
            R"({"resultId":3,"message":"a\"\\\u001b","values":[1,-2,0.5e3],"x":null})", "[]"};
        constexpr std::string_view kBad[] = {
            "{\"a\":1,\"a\":2}", "{\"a\":\"\x01\"}", "{\"a\":\"\xe9\"}",
            "{\"a\":\"\\x\"}",   "{\"a\":01}",       "{\"a\":1,}",
            "{\"a\":1} x",       "{\"a\":\"cut",     "{\"a\":\"\\u00e\"}"};
        for (std::string_view good : kGood) {
            if (!JsonCheck::Valid(good)) std::abort();
        }
        for (std::string_view bad : kBad) {
            if (JsonCheck::Valid(bad)) std::abort();
        }
        return true;
    }();
    (void)checked;
    static const ThreadId self = [] {
        const ThreadId id = EnsureThreadQueue();
        controllerThreadId = id;
        return id;
    }();
    (void)self;

    FuzzInput input(data, size);
    const uint8_t choice = input.Byte();
    const int32_t id = choice < kIdCount ? kFirstCommandId + choice : 0;
    const uint8_t forms = input.Byte();
    const uint32_t service = forms >> 3 & 15;
    const ReplySelectors selectors{.serviceReplyKind = service < 8 ? service : kNoServiceReply,
                                   .messageListForm = static_cast<uint32_t>(forms >> 2 & 1),
                                   .messageReadForm = static_cast<uint32_t>(forms & 3)};
    const std::size_t feedSize = input.Byte();
    CATWorkerThread::CommandInFlight command{id, CommandTextFor(id, input.ShortText(255))};
    if ((forms & 0x80) != 0) command.body = input.ShortText(255);
    const std::string bytes = input.Rest();

    LineAssembler assembler([](const char* line, uint32_t length) { PushLine(line, length); });
    LinePath path(assembler, std::move(command), selectors);
    const std::size_t step = feedSize == 0 ? bytes.size() : feedSize;
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        assembler.Feed(bytes.data() + at, std::min(step, bytes.size() - at));
        if (HasLine()) path.OnLinesReceived();
    }
    ClearLines();
    return 0;
}
