// Cuts the byte stream from the phone into lines. A line is whatever ends in
// CR LF; it is handed on with its CR LF. A line of CR LF alone (the blank
// line a phone puts before each reply) is dropped. A CR or an LF on its own
// is an ordinary byte of the line, also as the first byte.
//
// The one exception is the prompt: after a command line that a message text
// follows, the phone answers "> " (CR LF before it, none after) and waits.
// While the worker awaits such a prompt, "> " at the start of a line is
// handed on at once as kPromptText, without line end; at any other time those
// two bytes are the start of an ordinary line.
//
// The phone's lines are far shorter than the buffer. Should one not fit all
// the same (line noise, a stuck sender), the assembler drops that whole line
// up to its CR LF and starts the next one fresh, rather than going deaf.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

namespace velk {

// The phone's prompt for a message text, as the sink gets it: the only thing
// handed on without CR LF.
inline constexpr std::string_view kPromptText = "> ";

class LineAssembler {
  public:
    static constexpr uint32_t kLineCapacity = 8192;

    // Gets each complete line with its CR LF, and the prompt as kPromptText;
    // the bytes stay valid only for the call.
    using LineSink = std::function<void(const char* line, uint32_t length)>;

    explicit LineAssembler(LineSink sink) : sink_(std::move(sink)) {}

    // Takes the next bytes from the port, in the order they came.
    void Feed(const char* bytes, std::size_t count);

    // Forgets the line being collected and any prompt awaited.
    void Reset();

    // Any thread: whether the next "> " at the start of a line is the prompt.
    // The worker sets it before the command line goes out, so that the prompt
    // cannot come first; handing the prompt on clears it, so a later "> " is
    // an ordinary line start again.
    void AwaitPrompt(bool awaited) { promptAwaited_.store(awaited); }

    // The bytes of the line being collected; never above kLineCapacity.
    uint32_t LineLength() const { return lineLength_; }

    // True while the rest of an over-long line is being dropped.
    bool Discarding() const { return discarding_; }

  private:
    void Deliver(char byte);
    void Discard(char byte);
    void TakePrompt();

    LineSink sink_;
    std::array<char, kLineCapacity> lineBuffer_{};
    uint32_t lineLength_ = 0;
    bool discarding_ = false;
    bool discardSawCr_ = false;  // the last dropped byte was CR
    std::atomic<bool> promptAwaited_{false};
};

}  // namespace velk
