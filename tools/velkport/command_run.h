// Catalogue commands run through the library as one operation, and what it
// hands back: the subcommands that speak the phone's own commands (at,
// status, the messages) share these.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "velkport/transfer_context.h"

namespace velk::cli {

// The place of the refused command in the list, from the library's
// "command <n>: <the phone's line>", and the phone's line; `named` is false
// (and `line` the whole text) when the text is not of that shape.
struct Refusal {
    std::size_t position = 0;
    std::string line;
    bool named = false;
};

Refusal ReadRefusal(const LibraryFailure& failure);

// Runs `texts` as one operation.
OperationEnd RunList(const Transfer& t, const std::vector<std::string>& texts);

// Runs `text` (AT+CMGS= or AT+CMGW=) as an operation of its own, with
// `body` sent after the phone's prompt.
OperationEnd RunWithBody(const Transfer& t, const std::string& text, const std::string& body);

// The operation ended with a result to read: done, refused or timed out.
bool HasResult(const OperationEnd& end);

// The result blocks of the last operation as the library's JSON array;
// empty when it has none.
std::string CommandResult();

}  // namespace velk::cli
