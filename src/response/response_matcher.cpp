// The solicited side of the matcher and the report texts both sides share.
// The head-line classification lives in response_matcher_classify.cpp.
#include "response/response_matcher.h"

#include <algorithm>
#include <array>

#include "platform/string_ops.h"
#include "response/response_grammar.h"

namespace velk {
namespace {

// Lines that may answer a dial or hang-up command whatever the command's own
// head: supplementary-service lines and the end of the call.
constexpr std::array<std::string_view, 10> kCallHeads = {"+CLCK", "+CLIP",     "+CLIR", "+COLP",
                                                         "+COLR", "+CCFC",     "+CCWA", "+EXATDST",
                                                         "+CLCC", "NO CARRIER"};

struct ServiceReply {
    std::string_view head;
    uint32_t kind;
};
// Which service line a dial command drew; the solicited decoder chooses its
// form by it.
constexpr std::array<ServiceReply, 8> kServiceReplies = {{
    {"+CLCK", 0},
    {"+CLIP", 1},
    {"+CLIR", 2},
    {"+COLP", 3},
    {"+COLR", 4},
    {"+CCFC", 5},
    {"+CCWA", 6},
    {"+EXATDST", 7},
}};

// Error lines with a head; the first found anywhere in the line wins over
// whatever head the line has.
constexpr std::array<std::string_view, 3> kErrorMarks = {"+CME ERROR:", "+CMS ERROR:", "+CME:"};
constexpr std::string_view kErrorMarkStart = "+CM";

// A refused line: its report, and nothing for the worker to decode.
ClassifiedLine Refused(ClassifiedLine&& out, std::string_view pattern, std::string_view text) {
    AddReport(out.reports, pattern, text);
    out.role = LineRole::kNothing;
    return std::move(out);
}

}  // namespace

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the worker's order
ClassifiedLine MatchSolicited(std::string_view commandText, ReplyHeads heads, std::string line,
                              const ReplySelectors& selectors, ATResponseRecord& record) {
    const std::string_view command = commandText;
    ClassifiedLine out;
    ResetAllButText(record);
    if (line.empty()) return out;
    line.erase(0, std::min(line.find_first_not_of(kWhiteSpace), line.size()));

    // A line is only whole with its line end; a zero byte may have cut it.
    if (!Equal(Right(line, 2), "\r\n")) return Refused(std::move(out), kReportResponseError, line);

    // The phone echoes what the transmit path sent: the command and CR LF.
    if (line.size() == command.size() + 2 && line.compare(0, command.size(), command) == 0) {
        return out;
    }

    // Some phones answer a head without its plus sign ("CGMI: ...").
    const std::string head = TrimLeft(SpanExcluding(line, ":"));
    if (!head.empty() && Contains(command, head) && head[0] != '+') line.insert(0, 1, '+');

    line.resize(std::min(line.find('\n'), line.size()));
    record.text = line;
    record.lineLength = static_cast<uint32_t>(line.size());

    if (Equal(line, "OK\r")) {
        record.kind = kindOk;
        out.role = LineRole::kOk;
        return out;
    }
    if (Equal(line, "ERROR\r")) {
        record.kind = kindError;
        out.role = LineRole::kError;
        out.reports.emplace_back("ERROR");
        return out;
    }
    // A call or data connection can begin at any time; it must not disturb
    // the reply in progress, and it has no head to decode.
    if (Equal(line, "RING\r") || Equal(line, "CONNECT\r")) {
        record.outOfTurn = 1;
        return out;
    }

    // Every error mark begins with kErrorMarkStart: most lines are passed
    // over with one search.
    const bool mayBeError = Contains(line, kErrorMarkStart);
    for (std::string_view mark : kErrorMarks) {
        if (!mayBeError || !Contains(line, mark)) continue;
        //   +CME ERROR: <err>       +CMS ERROR: <err>       +CME: <err>
        // <err> a number or a text, maybe in quotes.
        record.kind = kindError;
        std::string detail = line.substr(line.find(':') + 1);
        detail = TrimLeft(detail);
        detail = TrimRight(detail, "\r\n");
        detail = TrimRight(TrimLeft(detail, "\""), "\"");
        record.firstParam.type = paramErrorText;
        record.firstParam.lastIndex = static_cast<int32_t>(detail.size()) - 1;
        record.firstParam.text = detail;
        out.role = LineRole::kError;
        out.errorMark = mark;
        out.reports.push_back(std::move(detail));
        return out;
    }

    bool callHead = false;
    if (Contains(command, "ATD") || Contains(command, "ATH")) {
        const std::string replyHead = SpanExcluding(line, ":");
        for (std::string_view h : kCallHeads) {
            if (Contains(replyHead, h)) {
                callHead = true;
                break;
            }
        }
        // Only a dial tells which service a line answers; a hang-up does not.
        if (Contains(command, "ATD")) {
            for (const ServiceReply& s : kServiceReplies) {
                if (Equal(replyHead, s.head)) out.serviceReplyKind = s.kind;
            }
        }
    }

    if (ClassifyLine(record, line, selectors, out.reports) == 0) {
        return Refused(std::move(out), kReportHeadError, record.text);
    }

    // The head the command asks for: "AT+CPBR=1" and "AT+CPBR=?" both expect
    // "+CPBR"; a dial text has no "+" and stays as it is.
    static constexpr ByteSet kCommandHeadEnds("=?\r");
    std::string expected(SpanExcludingView(command, kCommandHeadEnds));
    if (Contains(expected, "+")) expected = TrimLeft(expected, "AT");

    const std::string lineHead(SpanExcludingView(line, kHeadEnds));
    switch (heads) {
        case ReplyHeads::kOwnHead:
            break;
        case ReplyHeads::kFixedHead:
            // Only its own head, even a genuine unsolicited line is wrong here.
            if (record.kind != kindHeadLine || !Equal(lineHead, expected)) {
                return Refused(std::move(out), kReportHeadError, record.text);
            }
            break;
        case ReplyHeads::kDataRead:
            if (record.kind != kindHeadLine) {
                return Refused(std::move(out), kReportDataHeadError, record.text);
            }
            if (!Equal(lineHead, expected)) {
                return Refused(std::move(out), kReportHeadError, record.text);
            }
            break;
        case ReplyHeads::kOpening:
            // The opening commands carry no information: anything but the
            // echo and the final result is wrong.
            return Refused(std::move(out), kReportResponseError, record.text);
    }
    if (record.allLegal == 0) return Refused(std::move(out), kReportIllegalParam, record.text);

    // Plain text lines belong to the command: the text behind a "+CMGR" head
    // line, the headless answer to "AT+CGMI".
    if (Equal(lineHead, expected) || callHead || record.firstParam.rawLine == 1) {
        out.role = LineRole::kInformation;
        return out;
    }

    // A well-formed line of something else, e.g. a new-message notice: it is
    // classified anew from its own text, as if no command waited, and the
    // command goes on waiting.
    ClassifiedLine notice = MatchUnsolicited(line, selectors, record);
    out.role = notice.role;
    out.head = std::move(notice.head);
    for (std::string& report : notice.reports) out.reports.push_back(std::move(report));
    return out;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): pattern first, as printf
void AddReport(LineReports& reports, std::string_view pattern, std::string_view text) {
    std::string& report = reports.emplace_back(pattern);
    const std::size_t at = report.find("%s");
    if (at != std::string::npos) report.replace(at, 2, text);
}

}  // namespace velk
