// CATResponseMatcher: decides what one line from the phone is and fills
// `current` with it.
//
// Solicited lines (a command waits for its reply) go through MatchSolicited,
// which weighs the line against the command: echo, final result, error,
// information line of the command, or a line of another origin that happens
// to arrive now. Lines that come of the phone's own accord go through
// MatchUnsolicited. Both share ClassifyLine and ParseHead, which find the
// grammar row by the head of the line alone and walk its parameters.
//
// Every fault found in a line is reported to the transfer thread as a
// ResultError block (PostError); nothing is returned to the caller as an
// error. Runs on the worker thread only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/string_ops.h"
#include "response/response_grammar.h"
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

// What MatchUnsolicited returns for "RING\r", "CONNECT\r" and "+EXCPWD\r"
// arriving during a command: a one-byte text that no decoder head equals.
inline constexpr std::string_view kBareEventHead = "\x01";

class CATResponseMatcher {
  public:
    // Head of the last line that arrived out of turn during a command; the
    // worker reads it on AT_MSG_REPLY_UNSOLICITED.
    std::string pendingLine;
    // The record being filled.
    ATResponseRecord current;
    // Working text of the last report.
    std::string errorText;

    // `commandText`: the command in progress, in capitals, without line end.
    // `lineText`: the line with its CR LF. Returns 1 when `current` holds a
    // line the caller is to act on (an information line, "OK", or a line out
    // of turn, marked by current.outOfTurn), else 0.
    int MatchSolicited(std::string_view commandText, std::string_view lineText);

    // Classifies a line that no command waits for into `current` and returns
    // the head the unsolicited decoder chooses by: the text before ":" or "="
    // (with its "+"), kBareEventHead, or empty when there is nothing to do.
    std::string MatchUnsolicited(std::string_view lineText);

    // Tells a plain text line from a head line and has a head line parsed.
    // 0 only for an empty line; the outcome stands in record.kind/allLegal.
    int ClassifyLine(ATResponseRecord& record, std::string_view lineText);

    // Finds the grammar row of a "+" line and fills its parameters. 1 when
    // the head line was fully treated.
    int ParseHead(ATResponseRecord& record, std::string_view lineText);

    // Cuts `rest`, the text behind the head, into nodes checked against `row`.
    void WalkParameters(std::string_view rest, ATResponseRecord& record, ResponseGrammarRow row);

    // Sends `text` to the transfer thread as a ResultError block.
    void PostError(std::string_view text);

    // Puts `record` back to its reset state, all but its text, and releases
    // the nodes behind its firstParam (the record owns them).
    void ResetRecord(ATResponseRecord& record);

  private:
    // Formats `pattern` with `text` into errorText, posts it, returns 0.
    int Report(std::string_view pattern, std::string_view text);

    // The line being matched: kept between lines, so that its room is reused.
    std::string line_;
};

}  // namespace velk
