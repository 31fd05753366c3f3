// The classification that solicited and unsolicited lines share, and the
// entry for lines that come of the phone's own accord.
#include <algorithm>
#include <array>

#include "response/response_matcher.h"

#include "platform/string_ops.h"
#include "response/param_validators.h"
#include "response/response_tokeniser.h"

namespace velk {
namespace {

// Lines that carry nothing but the event itself. They only compare equal in
// the form a line out of turn has (ending in CR alone); from the idle state
// the line still has its LF and is read as any other line.
constexpr std::array<std::string_view, 3> kBareEvents = {"RING\r", "CONNECT\r", "+EXCPWD\r"};

// "+CMGL" and "+CMGR" lines come in several forms with different parameters;
// the message forms choose the grammar row. "CMGR" alone has no row, so a
// "+CMGR" line in an unknown form is not read.
std::string MessageHead(const std::string& head, const ReplySelectors& selectors) {
    if (Equal(head, "CMGL")) return head + (selectors.messageListForm == 0 ? "SM" : "CBM");
    if (Equal(head, "CMGR")) {
        switch (selectors.messageReadForm) {
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

// Finds the grammar row of a "+" line and fills its parameters. 1 when the
// head line was fully treated.
//   +<HEAD>: <param>,<param>,...      or      +<HEAD>=<param>,...
int ParseHead(ATResponseRecord& record, std::string_view lineText, const ReplySelectors& selectors,
              LineReports& reports) {
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

    const ResponseGrammarRow* row = FindGrammarRow(MessageHead(bareHead, selectors));
    if (row == nullptr) {
        AddReport(reports, kReportNoGrammarRow, lineText);
        return 0;
    }
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

}  // namespace

ClassifiedLine MatchUnsolicited(std::string_view lineText, const ReplySelectors& selectors,
                                ATResponseRecord& record) {
    ClassifiedLine out;
    ResetAllButText(record);
    record.outOfTurn = 1;
    record.text.assign(lineText);

    const std::string_view head = SpanExcludingView(lineText, kHeadEnds);
    record.lineLength = static_cast<uint32_t>(lineText.size() - head.size());

    for (std::string_view event : kBareEvents) {
        if (Equal(lineText, event)) {
            out.role = LineRole::kNotice;
            out.head = std::string(kBareEventHead);
            return out;
        }
    }
    if (ClassifyLine(record, lineText, selectors, out.reports) == 0) {
        AddReport(out.reports, kReportUnsolicitedHead, lineText);
        return out;
    }
    if (record.allLegal == 0) {
        AddReport(out.reports, kReportUnsolicitedIllegal, lineText);
        return out;
    }
    out.role = LineRole::kNotice;
    out.head.assign(head);
    return out;
}

int ClassifyLine(ATResponseRecord& record, std::string_view lineText,
                 const ReplySelectors& selectors, LineReports& reports) {
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
    if (ParseHead(record, lineText, selectors, reports) == 1) record.kind = kindHeadLine;
    return 1;
}

}  // namespace velk
