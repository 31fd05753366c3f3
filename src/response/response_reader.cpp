#include "response/response_reader.h"

#include <cstring>
#include <new>
#include <utility>

#include "engine/message_numbers.h"
#include "platform/thread_messages.h"
#include "serial/receive_queue.h"
#include "serial/transmit_path.h"

namespace velk {

ReaderLink SerialReaderLink() {
    ReaderLink link;
    link.releaseLine = &ReleaseLine;
    link.sendCommand = &velk::SendCommand;
    link.takeText = &TakeLineText;
    return link;
}

CATResponseReader::CATResponseReader() : CATResponseReader(SerialReaderLink()) {}

CATResponseReader::CATResponseReader(ReaderLink link) : link_(std::move(link)) {}

int CATResponseReader::ReadSolicited(std::string& commandText) {
    finished = 0;
    try {
        return ReadSolicitedLine(commandText);
    } catch (const std::bad_alloc&) {
        DropLine();
        return 0;
    }
}

std::string CATResponseReader::ReadUnsolicited() {
    try {
        return ReadUnsolicitedLine();
    } catch (const std::bad_alloc&) {
        DropLine();
        return {};
    }
}

int CATResponseReader::ReadSolicitedLine(std::string& commandText) {
    std::string& lineText = lineText_;
    if (StartRead(lineText) == Fetch::kNone || lineText.empty()) return 0;

    const int accepted = matcher.MatchSolicited(commandText, lineText);
    const ATResponseRecord& current = matcher.current;
    if (accepted == 1 && current.outOfTurn == 1) {
        Store();
        // The worker handles the line out of turn after this one. Its own
        // queue only drains on this thread, so a refused post cannot succeed
        // by trying again: the notice is then lost, the reply goes on.
        PostThreadMessage(CurrentThreadId(), AT_MSG_REPLY_UNSOLICITED, 0, 0);
        return 0;
    }
    const bool final = current.kind == kindError || (accepted == 1 && current.kind == kindOk);
    if (final) finished = 1;
    Store();
    return accepted == 1 && !final ? 1 : 0;
}

std::string CATResponseReader::ReadUnsolicitedLine() {
    std::string& lineText = lineText_;
    if (StartRead(lineText) == Fetch::kNone) return {};
    std::string head = matcher.MatchUnsolicited(lineText);
    Store();
    return head;
}

int CATResponseReader::SendCommand(std::string& text) {
    if (link_.sendCommand) link_.sendCommand(text);
    return 1;
}

CATResponseReader::Fetch CATResponseReader::StartRead(std::string& lineText) {
    // The decoders must never see the line before.
    lines.Restart();
    currentIndex = 0;
    matcher.ResetRecord(lines.GetRecord(0));

    if (!link_.takeLine && link_.takeText) {
        if (!link_.takeText(lineText)) return Fetch::kNone;
        // A line of one or two bytes is no more than a line end; a zero byte
        // from the phone ends the text there.
        if (lineText.size() <= 2) return Fetch::kNone;
        lineText.resize(::strnlen(lineText.data(), lineText.size()));
        return Fetch::kLine;
    }
    char* buffer = nullptr;
    uint32_t length = 0;
    if (!link_.takeLine || !link_.takeLine(buffer, length) || length == 0) return Fetch::kNone;
    // A line of one or two bytes is no more than a line end.
    if (length <= 2) {
        link_.releaseLine(buffer);
        return Fetch::kNone;
    }
    // A zero byte from the phone ends the text there.
    try {
        lineText.assign(buffer, ::strnlen(buffer, length));
    } catch (...) {
        link_.releaseLine(buffer);
        throw;
    }
    link_.releaseLine(buffer);
    return Fetch::kLine;
}

void CATResponseReader::DropLine() noexcept {
    lines.Restart();
    matcher.ResetRecord(matcher.current);
}

void CATResponseReader::Store() {
    ATResponseRecord& record = lines.GetRecord(currentIndex);
    ATResponseRecord& current = matcher.current;
    record.text = current.text;
    record.lineLength = current.lineLength;
    record.kind = current.kind;
    record.responseCode = current.responseCode;
    record.allLegal = current.allLegal;
    // The chain moves to the record: only one owner releases it.
    record.ReleaseParams();
    record.firstParam = current.firstParam;
    current.firstParam.next = nullptr;
}

}  // namespace velk
