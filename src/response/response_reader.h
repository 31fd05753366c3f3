// CATResponseReader: the worker's end of the serial link. It takes one
// complete line at a time from the receive queue and sends the command
// lines. What a line is, the matcher decides (response_matcher.h); the
// worker runs the road of each line:
//
//   while (reader.TakeLine(line)) {
//       ClassifiedLine classified = MatchSolicited(commandText, std::move(line), ...);
//       ... decode, post
//   }
//
// Worker thread only; the reader takes no lock (the receive queue has its own).
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace velk {

// Where the reader takes its lines and sends its commands: the serial link
// in the library, a scripted phone in tests and tools.
struct ReaderLink {
    // Moves the oldest received line into `line` (line end included), with
    // no copy; false with an empty queue.
    std::function<bool(std::string& line)> takeText;
    // Writes `text` with CR LF and turns a-z of `text` into capitals in place.
    std::function<int(std::string& text)> sendCommand;
    // Whether the next "> " at the start of a line is the prompt for a
    // message text, to be queued as kPromptText (serial/line_assembler.h).
    std::function<void(bool awaited)> awaitPrompt;
    // Writes bytes as they are, in one write, without line end.
    std::function<void(std::string_view bytes)> sendText;
};

// The receive queue and transmit path of the serial link.
ReaderLink SerialReaderLink();

class CATResponseReader {
  public:
    // Reads from and writes to the serial link.
    CATResponseReader();
    explicit CATResponseReader(ReaderLink link);

    // Takes the oldest received line into `line`, line end included, or the
    // prompt as kPromptText. A zero byte from the phone ends the text there;
    // a line of no more than its line end is passed over. False when no line
    // waits.
    bool TakeLine(std::string& line);

    // Sends a command line; `text` is in capitals afterwards. Always 1: a
    // failed write shows up as a time-out.
    int SendCommand(std::string& text);

    // The prompt for a message text: awaited from before the command line
    // goes out until it comes or the command ends.
    void AwaitPrompt(bool awaited);
    // Sends the bytes that follow a prompt as they are.
    void SendText(std::string_view bytes);

  private:
    ReaderLink link_;
};

}  // namespace velk
