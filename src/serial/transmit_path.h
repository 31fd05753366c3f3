// Writing command lines to the phone. A command goes out whole, as its text
// followed by CR LF, byte for byte; a failed write is not reported here and
// shows up as the command's time-out. The message text that follows the
// phone's prompt goes out the same way, without line end.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velk {

// Writes `text` as one command line. Returns 1 in every case.
int SendCommand(std::string& text);

// Sends a copy of `text` with CR LF, unless the receive path is being reset
// (then nothing goes out). Afterwards the letters a to z of the caller's
// `text` are capitals: the reply matching compares against that form, while
// the phone got the text as it was (a quoted name keeps its small letters).
void WriteCommandLine(std::string& text);

// Writes `bytes` as they are, in one write, unless the receive path is being
// reset: the text behind a prompt with its Ctrl-Z, or an Esc.
void WriteMessageText(std::string_view bytes);

// Writes the bytes to the port, waiting for flow control until the link
// stops. 1 when all went out, else 0.
int WritePort(const char* bytes, std::size_t count);

}  // namespace velk
