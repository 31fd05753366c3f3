// The classification that solicited and unsolicited lines share, and the
// entry for lines that come of the phone's own accord.
#include <algorithm>
#include <array>

#include "response/response_matcher.h"

#include "platform/string_ops.h"
#include "response/param_validators.h"
#include "response/reply_forms.h"
#include "response/response_tokeniser.h"

namespace velk {
namespace {

// Lines that carry nothing but the event itself. They only compare equal in
// the form a line out of turn has (ending in CR alone); from the idle state
// the line still has its LF and is read as any other line.
constexpr std::array<std::string_view, 3> kBareEvents = {"RING\r", "CONNECT\r", "+EXCPWD\r"};

// "+CMGL" and "+CMGR" lines come in several forms with different parameters;
// the current message forms choose the grammar row. "CMGR" alone has no row,
// so a "+CMGR" line in an unknown form is not read.
std::string MessageHead(const std::string& head) {
    if (Equal(head, "CMGL")) return head + (messageListForm.load() == 0 ? "SM" : "CBM");
    if (Equal(head, "CMGR")) {
        switch (messageReadForm.load()) {
            case 0:
                return head + "DELIVER";
            case 1:
                return head + "SUBMIT";
            case 2:
                return head + "CBM";
            default:
                return head;
        }
    }
    return head;
}

}  // namespace

std::string CATResponseMatcher::MatchUnsolicited(std::string_view lineText) {
    ResetRecord(current);
    current.outOfTurn = 1;
    current.text.assign(lineText);

    std::string head(SpanExcludingView(lineText, kHeadEnds));
    current.lineLength = static_cast<uint32_t>(lineText.size() - head.size());

    for (std::string_view event : kBareEvents) {
        if (Equal(lineText, event)) return std::string(kBareEventHead);
    }
    if (ClassifyLine(current, lineText) == 0) {
        Report(kReportUnsolicitedHead, lineText);
        return {};
    }
    if (current.allLegal == 0) {
        Report(kReportUnsolicitedIllegal, lineText);
        return {};
    }
    return head;
}

int CATResponseMatcher::ClassifyLine(ATResponseRecord& record, std::string_view lineText) {
    if (lineText.empty()) return 0;
    if (lineText[0] != '+') {
        // Plain text: the first node holds the whole line, line end included.
        record.kind = kindPlainText;
        record.firstParam.rawLine = 1;
        record.firstParam.type = paramWholeLine;
        record.firstParam.text = record.text;
        record.firstParam.lastIndex = static_cast<int32_t>(record.text.size()) - 1;
        return 1;
    }
    if (ParseHead(record, lineText) == 1) record.kind = kindHeadLine;
    return 1;
}

//   +<HEAD>: <param>,<param>,...      or      +<HEAD>=<param>,...
int CATResponseMatcher::ParseHead(ATResponseRecord& record, std::string_view lineText) {
    const std::string_view body = lineText.substr(1);
    const std::string_view headText = SpanExcludingView(body, kHeadEnds);
    if (headText.size() == body.size()) {
        record.firstParam.legal = 0;
        record.allLegal = 0;
        record.firstParam.text.assign(body);
        record.firstParam.lastIndex = static_cast<int32_t>(body.size()) - 1;
        return 0;
    }
    const std::string bareHead = TrimRight(TrimLeft(headText));
    // Heads too long or of the wrong form ("+CME ERROR" from the idle state)
    // are not looked up and draw no report.
    if (IsValidHead(bareHead) == 0) return 0;

    const ResponseGrammarRow* row = FindGrammarRow(MessageHead(bareHead));
    if (row == nullptr) return Report(kReportNoGrammarRow, lineText);
    record.responseCode = row->responseCode;

    // What follows the separator. Blanks trimmed off the head are counted as
    // head, so "+CSQ : 5" leaves ": 5" and its first value is illegal.
    // A view: the parameter text of a long line is not copied on its way.
    const int restLength = static_cast<int>(body.size()) - static_cast<int>(bareHead.size()) - 1;
    std::string_view rest = restLength > 0
                                ? body.substr(body.size() - static_cast<std::size_t>(restLength))
                                : std::string_view();
    rest.remove_prefix(std::min(rest.find_first_not_of(kWhiteSpace), rest.size()));

    if (row->plainTypes[0] == paramWholeLine) {
        // Identification replies are free text: keep the line whole.
        record.firstParam.type = paramWholeLine;
        record.firstParam.text = record.text;
        record.firstParam.lastIndex = static_cast<int32_t>(record.text.size()) - 1;
    } else {
        WalkParameters(rest, record, *row);
    }
    return 1;
}

void CATResponseMatcher::WalkParameters(std::string_view rest, ATResponseRecord& record,
                                        ResponseGrammarRow row) {
    velk::WalkParameters(rest, record, row);
}

}  // namespace velk
