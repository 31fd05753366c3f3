#include "serial/transmit_path.h"

#include <new>

#include "serial/serial_link.h"

namespace velk {

int SendCommand(std::string& text) {
    WriteCommandLine(text);
    return 1;
}

void WriteCommandLine(std::string& text) {
    std::string line;
    try {
        line.reserve(text.size() + 2);
        line.append(text).append("\r\n");
    } catch (const std::bad_alloc&) {
        return;  // as a failed write: the command times out
    }
    if (CSerialLink::Instance().ReceivePaused()) return;
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    (void)WritePort(line.data(), line.size());
}

void WriteMessageText(std::string_view bytes) {
    if (CSerialLink::Instance().ReceivePaused()) return;
    (void)WritePort(bytes.data(), bytes.size());
}

int WritePort(const char* bytes, std::size_t count) {
    return CSerialLink::Instance().WritePort(bytes, count);
}

}  // namespace velk
