#include "response/response_reader.h"

#include <cstring>
#include <utility>

#include "serial/line_assembler.h"
#include "serial/receive_queue.h"
#include "serial/serial_link.h"
#include "serial/transmit_path.h"

namespace velk {

ReaderLink SerialReaderLink() {
    ReaderLink link;
    link.takeText = &TakeLineText;
    link.sendCommand = &velk::SendCommand;
    link.awaitPrompt = [](bool awaited) { CSerialLink::Instance().AwaitPrompt(awaited); };
    link.sendText = &WriteMessageText;
    return link;
}

CATResponseReader::CATResponseReader() : CATResponseReader(SerialReaderLink()) {}

CATResponseReader::CATResponseReader(ReaderLink link) : link_(std::move(link)) {}

bool CATResponseReader::TakeLine(std::string& line) {
    if (!link_.takeText) return false;
    while (link_.takeText(line)) {
        if (line == kPromptText) return true;
        // A line of one or two bytes is no more than a line end.
        if (line.size() <= 2) continue;
        line.resize(::strnlen(line.data(), line.size()));
        return true;
    }
    return false;
}

int CATResponseReader::SendCommand(std::string& text) {
    if (link_.sendCommand) link_.sendCommand(text);
    return 1;
}

void CATResponseReader::AwaitPrompt(bool awaited) {
    if (link_.awaitPrompt) link_.awaitPrompt(awaited);
}

void CATResponseReader::SendText(std::string_view bytes) {
    if (link_.sendText) link_.sendText(bytes);
}

}  // namespace velk
