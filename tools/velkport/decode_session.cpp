#include "velkport/decode_session.h"

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
    CATWorkerThread::Setup workerSetup;
    workerSetup.sharedQueues = false;
    workerSetup.serialLink = false;
    workerSetup.selectors.messageListForm = setup.listForm;
    workerSetup.selectors.messageReadForm = setup.readForm;
    workerSetup.link.takeText = [this](std::string& line) {
        if (received_.empty()) return false;
        line.swap(received_.front());
        received_.pop_front();
        return true;
    };
    // Nothing is sent: the command counts as sent already.
    if (!setup.unsolicited) {
        workerSetup.commandInFlight =
            CATWorkerThread::CommandInFlight{setup.commandId, InCapitals(setup.commandText)};
    }
    worker_ = std::make_unique<CATWorkerThread>(std::move(workerSetup));
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
        } else if (message.message == AT_MSG_LINE_RECEIVED) {
            worker_->HandleMessage(message);
        }
    }
}

void DecodeSession::DeliverBlock(const ThreadMessage& message) {
    ResultBlockPtr block(BlockOf(message));
    // The head of the last line the unsolicited decoder chose by: a block of
    // its posting is delivered before any later line is read.
    const FormChoice choice{readForm_, worker_->ReplyText()};
    sink_(*block, choice);
}

}  // namespace velk::cli
