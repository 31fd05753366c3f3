// CATResponseReader: the worker's reader of lines from the phone. Each read
// takes one complete line from the receive queue, has the matcher classify
// it, and leaves the classified line in record 0 of `lines`, where the
// decoders read it until the next read starts:
//
//   if (reader.ReadSolicited(commandText) == 1) DecodeSolicitedResult(...);
//   if (reader.finished) { ... reader.finalStatus() ... }
//   const ATResponseRecord& line = reader.lines.GetRecord(0);
//
// A reply of several lines is several reads; nothing of an earlier line is
// kept except matcher.pendingLine. Worker thread only; the reader takes no
// lock (the receive queue has its own).
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "response/response_list.h"
#include "response/response_matcher.h"

namespace velk {

// Where the reader takes its lines and sends its commands: the serial link
// in the library, a scripted phone in tests.
struct ReaderLink {
    // Pops the oldest received line into a new buffer of exactly `length`
    // bytes (line end included, no terminator). False with an empty queue.
    std::function<bool(char*& buffer, uint32_t& length)> takeLine;
    // Frees a buffer from takeLine and nulls the pointer.
    std::function<void(char*& buffer)> releaseLine;
    // Writes `text` with CR LF and turns a-z of `text` into capitals in place.
    std::function<int(std::string& text)> sendCommand;
    // Moves the oldest received line into `line` (line end included); false
    // with an empty queue. The reader takes its lines this way, without a
    // copy, when takeLine is not set: a link that sets takeLine is read by it.
    std::function<bool(std::string& line)> takeText = nullptr;
};

// The receive queue (by takeText) and transmit path of the serial link.
ReaderLink SerialReaderLink();

class CATResponseReader {
  public:
    // Reads from and writes to the serial link.
    CATResponseReader();
    explicit CATResponseReader(ReaderLink link);
    CATResponseReader(const CATResponseReader&) = delete;
    CATResponseReader& operator=(const CATResponseReader&) = delete;

    // For a line while a command waits for its reply. `commandText` is the
    // command as sent (in capitals since SendCommand), without line end.
    // Returns 1 when an information line of the command stands in record 0
    // and the solicited decoder is to run. Sets `finished` when the line
    // ended the reply ("OK", "ERROR", an error line). Posts
    // AT_MSG_REPLY_UNSOLICITED to the calling thread for a line out of turn.
    int ReadSolicited(std::string& commandText);

    // For a line while no command waits. Returns the head the unsolicited
    // decoder chooses by, or empty when there is nothing to do.
    std::string ReadUnsolicited();

    // Sends a command line; `text` is in capitals afterwards. Always 1: a
    // failed write shows up as a time-out.
    int SendCommand(std::string& text);

    // How the reply ended once `finished` is set: kindOk or kindError.
    uint32_t finalStatus() const { return matcher.current.kind; }
    // Head of the last line out of turn, for AT_MSG_REPLY_UNSOLICITED.
    const std::string& pendingLine() const { return matcher.pendingLine; }

    uint32_t finished = 0;
    int32_t currentIndex = 0;
    CATResponseMatcher matcher;
    CATResponseList lines;

  private:
    enum class Fetch { kNone, kLine };
    int ReadSolicitedLine(std::string& commandText);
    std::string ReadUnsolicitedLine();
    // Out of memory for a line: it is dropped as if it had not come, and the
    // record is left empty rather than half filled.
    void DropLine() noexcept;
    // The part both reads share: clears the store and takes one line.
    Fetch StartRead(std::string& lineText);
    // Hands the classified line and its parameter chain to the store.
    void Store();

    ReaderLink link_;
    // The line taken from the receive queue, its room kept between lines.
    std::string lineText_;
};

}  // namespace velk
