#include "velkport/decode_session.h"

#include <cstring>
#include <new>

#include "decode/solicited_decoder.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"

namespace velk::cli {
namespace {

// The transmit path leaves the command text in capitals, and the matcher
// compares echoes with that text.
std::string InCapitals(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

bool IsResultMessage(const ThreadMessage& message) {
    return message.wParam == kResultParam && message.message >= kCommandMessageBase &&
           message.lParam != 0;
}

}  // namespace

DecodeSession::DecodeSession(const DecodeSetup& setup, BlockSink sink)
    : sink_(std::move(sink)),
      readForm_(setup.readForm),
      self_(EnsureThreadQueue()),
      previousController_(controllerThreadId.exchange(self_)),
      assembler_([this](const char* line, uint32_t length) {
          received_.emplace_back(line, length);
          PostThreadMessage(self_, AT_MSG_LINE_RECEIVED, 0, 0);
      }) {
    SetMessageForms(setup.listForm, setup.readForm);

    CATWorkerThread::Setup workerSetup;
    workerSetup.sharedQueues = false;
    workerSetup.serialLink = false;
    workerSetup.link.takeLine = [this](char*& buffer, uint32_t& length) {
        if (received_.empty()) return false;
        const std::string& line = received_.front();
        // As the receive queue does: the bytes and a terminator not counted.
        buffer = new (std::nothrow) char[line.size() + 1];
        if (buffer == nullptr) return false;
        std::memcpy(buffer, line.data(), line.size());
        buffer[line.size()] = '\0';
        length = static_cast<uint32_t>(line.size());
        received_.pop_front();
        return true;
    };
    workerSetup.link.releaseLine = [](char*& buffer) {
        delete[] buffer;
        buffer = nullptr;
    };
    // Nothing is sent: the command counts as sent already.
    workerSetup.link.sendCommand = [](std::string& text) {
        text = InCapitals(text);
        return 1;
    };
    worker_ = std::make_unique<CATWorkerThread>(workerSetup);

    if (!setup.unsolicited) {
        // What the dispatcher leaves behind once it has sent the command.
        worker_->decoder.currentCommand = setup.commandId;
        worker_->commandText = InCapitals(setup.commandText);
        worker_->commandArmed = 1;
        worker_->sendState = kSendWaiting;
    }
}

DecodeSession::~DecodeSession() {
    // Blocks still queued (a sink that threw) are ours to free.
    ThreadMessage message;
    while (PeekThreadMessage(message)) {
        if (IsResultMessage(message)) {
            FreeResultBlock(BlockOf(message));
        }
    }
    worker_.reset();
    controllerThreadId.store(previousController_);
}

void DecodeSession::FeedLine(std::string_view line) {
    std::string bytes(line);
    bytes += "\r\n";
    assembler_.Feed(bytes.data(), bytes.size());
    Drain();
}

void DecodeSession::Drain() {
    ThreadMessage message;
    while (PeekThreadMessage(message)) {
        if (IsResultMessage(message)) {
            DeliverBlock(message);
        } else if (message.message == AT_MSG_LINE_RECEIVED ||
                   message.message == AT_MSG_REPLY_UNSOLICITED) {
            worker_->HandleMessage(message);
        }
    }
}

void DecodeSession::DeliverBlock(const ThreadMessage& message) {
    struct Freer {
        void operator()(ATCommandBlock* block) const { FreeResultBlock(block); }
    };
    std::unique_ptr<ATCommandBlock, Freer> block(BlockOf(message));
    // The head of the last line the unsolicited decoder chose by: a block of
    // its posting is delivered before any later line is read.
    const FormChoice choice{readForm_, worker_->decoder.replyText};
    sink_(*block, choice);
}

}  // namespace velk::cli
