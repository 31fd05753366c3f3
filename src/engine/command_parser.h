// The command parser: the inverse of the builder. It reads a command as a user
// writes it ("AT+CPBR=1,10", "at+csq", "AT+CPBS=\"SM\"", "#61 AT+CMGR=3")
// into the command id and the request form that the builder turns back into
// the command's canonical text, or says in a sentence why it cannot.
//
// What is read:
// - Blanks around the text are dropped. The AT text is matched without regard
//   to letter case; the builder sends it in capitals.
// - Parameters follow the request form's parameter list (request_params.h):
//   numbers in decimal with an optional minus sign, texts in double quotes.
//   A text ends at the first double quote that is followed by a comma or by
//   the end of the command, so a quote inside it is kept, as the builder
//   sends it unescaped. A text must leave room in its field for the zero byte.
// - A parameter that may be left out is left out by ending the command before
//   it (or, for a parameter that leaves a gap, by an empty place between its
//   commas). Writing its "left out" value instead (65535, an empty text) is
//   refused, since the builder would not send it.
// - A command is one line of printable text: a control byte is refused.
//
// Which row: the rows whose AT text begins the command are tried, the longest
// text first and, among rows that share a text (the ids of "AT+CMGR=", two of
// "AT+CPMS=", two of "AT+CNMI="), the lowest id first; the first whose form
// takes the parameters wins. A row without parameters takes only its exact
// text, so "AT+CPBR=?" is 209, never 13. "#<id> " in front names the row: the
// text must then fit that row's text and form.
//
// The four chunk writes of the transfers (AT+RNGW=, AT+IMGW=, AT+RNGP=,
// AT+ LOGOW=) are refused: the transfers write those lines themselves, a user
// does not type them.
//
// The parser allocates nothing but the refusal's sentence and throws nothing.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "engine/request_forms.h"

namespace velk {

struct ParsedCommand {
    ParsedCommand() { std::memset(&request, 0, sizeof request); }

    // The command id, or 0 when the text was refused.
    int32_t id = 0;
    // The filled request form: BuildCommandText(id, block) with this in
    // block.request gives the command's canonical text. All zero on refusal.
    RequestForms request;
    // Why the text was refused, one sentence; empty when it was accepted.
    std::string refusal;

    bool Accepted() const { return id != 0; }
};

ParsedCommand ParseCommandText(std::string_view text) noexcept;

}  // namespace velk
