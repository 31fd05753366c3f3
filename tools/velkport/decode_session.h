// DecodeSession: runs reply lines through the library's own receive handling
// on the calling thread, as the worker does while a command is in progress.
//
// The calling thread plays three parts at once: the serial reader (each line
// goes through the line assembler and is announced with the line message),
// the worker (a real CATWorkerThread whose message handler is called
// directly, with no thread of its own) and the transfer thread (the blocks
// are posted to the caller's own queue). Because all three share one queue,
// the blocks come out in the order the worker posts them, those of one line
// before any later line is read.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "decode/result_json.h"
#include "engine/command_block.h"
#include "engine/worker_thread.h"
#include "platform/thread_messages.h"
#include "serial/line_assembler.h"

namespace velk::cli {

struct DecodeSetup {
    // Every line goes through the idle path: no command is in progress.
    bool unsolicited = false;
    int32_t commandId = 0;
    // The command as typed; it is put in capitals as the transmit path does.
    std::string commandText;
    uint32_t listForm = 0;
    uint32_t readForm = 0;
};

class DecodeSession {
  public:
    // Gets every block in order of posting; the block is freed after the call.
    using BlockSink = std::function<void(const ATCommandBlock& block, const FormChoice& choice)>;

    DecodeSession(const DecodeSetup& setup, BlockSink sink);
    ~DecodeSession();
    DecodeSession(const DecodeSession&) = delete;
    DecodeSession& operator=(const DecodeSession&) = delete;

    // Feeds one reply line, without its line end; CR LF is added.
    void FeedLine(std::string_view line);

  private:
    // Handles every queued message: blocks go to the sink, line messages to
    // the worker, until the queue is empty.
    void Drain();
    void DeliverBlock(const ThreadMessage& message);

    BlockSink sink_;
    uint32_t readForm_;
    ThreadId self_;
    ThreadId previousController_;
    std::deque<std::string> received_;
    LineAssembler assembler_;
    std::unique_ptr<CATWorkerThread> worker_;
};

}  // namespace velk::cli
