// The matcher: decides what one line from the phone is and fills a record
// with it.
//
// Lines that come while a command waits for its reply go through
// MatchSolicited, which weighs the line against the command: echo, final
// result, error, information line of the command, or a line of another origin
// that happens to arrive now. Lines that come of the phone's own accord go
// through MatchUnsolicited. Both share ClassifyLine, which finds the grammar
// row by the head of the line alone and walks its parameters.
//
// These are functions from text to result: the line, the command and the
// selectors go in; the classified record and a ClassifiedLine come out. They
// post nothing. Every fault found in a line comes back as a report text,
// which the worker sends to the transfer thread as a ResultError block.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/command_table.h"
#include "platform/string_ops.h"
#include "response/reply_forms.h"
#include "response/response_record.h"

namespace velk {

// A reply head ends at the first of these: "+CPBR: 1,..." or "+CMGS=...".
inline constexpr ByteSet kHeadEnds(":=");

// Texts of the reports, byte for byte as the transfer thread and its client
// expect them; "%s" stands for the line or text reported.
inline constexpr std::string_view kReportResponseError = "Response error for \"%s\"!";
inline constexpr std::string_view kReportHeadError = "Response head error for \"%s\"!";
inline constexpr std::string_view kReportDataHeadError = "RESPONSE head error for \"%s\"!";
inline constexpr std::string_view kReportIllegalParam = "There is some inlegal parameter in %s!";
inline constexpr std::string_view kReportUnsolicitedHead =
    "Unsolicited\tresponse head error for %s!";
inline constexpr std::string_view kReportUnsolicitedIllegal =
    "There is some inlegal parameter in Unsolicited response of %s!";
inline constexpr std::string_view kReportNoGrammarRow =
    "Can't find the matched response code for %s!";

// The head MatchUnsolicited gives "RING\r", "CONNECT\r" and "+EXCPWD\r"
// arriving during a command: a one-byte text that no decoder head equals.
inline constexpr std::string_view kBareEventHead = "\x01";

// The texts of the ResultError blocks one line draws, in order; empty for a
// good line, so a good line costs no allocation.
using LineReports = std::vector<std::string>;

// What the worker is to do with a classified line.
enum class LineRole : uint8_t {
    kNothing,      // the echo, a refused line, a ring during a command
    kInformation,  // an information line of the command: decode it by the command
    kOk,           // "OK": the command ended well
    kError,        // "ERROR" or an error line: the command ended, its report says how
    kNotice,       // a line of the phone's own accord: decode it by `head`
};

struct ClassifiedLine {
    LineRole role = LineRole::kNothing;
    // kNotice: the head the unsolicited decoder chooses by, the text before
    // ":" or "=" with its "+", or kBareEventHead.
    std::string head;
    LineReports reports;
    // Set when a dial drew a supplementary-service line: which kind it was.
    // The worker keeps it for the lines that follow, this one included.
    std::optional<uint32_t> serviceReplyKind;
    // kError from a line with an error mark: which mark it was.
    std::string_view errorMark;
};

// A line while a command waits for its reply. `commandText`: the command in
// flight, in capitals, without line end; `heads`: which lines its row takes
// as its reply (kOwnHead for a text no row sends). `line`: the line with its CR LF, cut
// at a zero byte. An empty line (the phone sent a zero byte first) is nothing
// and draws no report. A line of another origin becomes a kNotice, classified
// anew from its own text into `record`.
ClassifiedLine MatchSolicited(std::string_view commandText, ReplyHeads heads, std::string line,
                              const ReplySelectors& selectors, ATResponseRecord& record);

// A line while no command waits: kNotice with the head the unsolicited
// decoder chooses by, or kNothing when there is nothing to do.
ClassifiedLine MatchUnsolicited(std::string_view lineText, const ReplySelectors& selectors,
                                ATResponseRecord& record);

// Tells a plain text line from a head line and has a head line parsed into
// `record` (whose text is already the line). 0 only for an empty line; the
// outcome stands in record.kind and record.allLegal. A head with no grammar
// row adds its report to `reports`.
int ClassifyLine(ATResponseRecord& record, std::string_view lineText,
                 const ReplySelectors& selectors, LineReports& reports);

// Adds `pattern` with `text` in place of its "%s" to `reports`.
void AddReport(LineReports& reports, std::string_view pattern, std::string_view text);

}  // namespace velk
