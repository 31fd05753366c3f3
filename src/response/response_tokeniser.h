// Cutting the text behind a reply head into parameter nodes.
//
// Two passes. NormaliseParameters rebuilds the text without the blanks around
// separators and with runs of brackets and dashes reduced to one; it knows
// nothing of quotes. WalkParameters goes through the normalised text once,
// honouring quotes, and appends one node per value, per empty parameter and
// per bracket or dash of a range list, each value checked against the row.
#pragma once

#include <string>
#include <string_view>

#include "response/response_grammar.h"
#include "response/response_record.h"

namespace velk {

// `text` up to its first CR or LF, with the blanks next to ",-()" removed and
// runs of "-", "(" or ")" reduced to one, ended by a single CR.
//   ` 1 , 2 \r\n`  ->  `1,2\r`
//   `((1--5))`     ->  `(1-5)\r`
std::string NormaliseParameters(std::string_view text);
// The same into `out`, which is cleared first and keeps its room.
void NormaliseParameters(std::string_view text, std::string& out);

// Appends the parameters of `rest` to `record`, filling firstParam first and
// then one new node per token. A value that fits none of the row's types for
// its form keeps its text, gets legal 0 and clears record.allLegal. Commas:
// one between two values is a separator; any further comma, a leading comma
// and a comma right before the line end are empty parameters.
//   `1,,2`         -> 1, omitted, 2
//   `(1-5),(0,1)`  -> "(", 1, "-", 5, ")", "(", 0, 1, ")"
void WalkParameters(std::string_view rest, ATResponseRecord& record, const ResponseGrammarRow& row);

}  // namespace velk
