// Cuts the bytes that come from the computer into command lines. A command
// ends in CR; the LF that usually follows it is dropped. XON and XOFF are
// the computer's flow control, no part of a command: they are handed on
// apart, so that the phone can pause and resume its own output.
//
// After the "> " prompt of AT+CMGS and AT+CMGW the bytes are a message's
// text instead, line ends and all, up to Ctrl-Z; Esc drops it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velk::phonesim {

class CommandAssembler {
  public:
    enum class Flow { kNone, kStop, kGo };

    // What one byte gave: a finished command line, a flow event, or nothing.
    struct Step {
        bool lineDone = false;
        bool lineStarted = false;  // the first byte of a command came
        Flow flow = Flow::kNone;
        bool textDone = false;       // Ctrl-Z ended a message's text
        bool textCancelled = false;  // Esc dropped it
    };

    Step Feed(char byte);
    // The finished line after a step with lineDone, or the text after one
    // with textDone; valid until the next Feed.
    const std::string& Line() const { return done_; }

    // The bytes from here on are a message's text.
    void ExpectText() { inText_ = true; }
    // Between two commands: no command and no text begun.
    bool Idle() const { return !started_ && !inText_; }

    // A line longer than this is cut off: a phone's command buffer is finite,
    // and a flood must not grow the simulator without limit.
    static constexpr std::size_t kMaxLine = 8192;

  private:
    std::string partial_;
    std::string done_;
    bool started_ = false;
    bool lastWasCr_ = false;
    bool inText_ = false;
};

}  // namespace velk::phonesim
