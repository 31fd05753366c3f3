// The arguments of a command line, split at the commas that stand outside
// quotes: `,"+15550100",145,"Anna, Berg"` gives an empty argument, a quoted
// number, a plain number and a quoted name. AT strings have no escapes: a
// quoted argument runs to the next double quote.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::phonesim {

struct Argument {
    std::string text;  // without its quotes and the blanks around it
    bool quoted = false;
};

// Nothing when a quote is left open or something stands between a closing
// quote and the next comma. An empty text has no arguments at all.
std::optional<std::vector<Argument>> SplitArguments(std::string_view text);

// The argument at `index` as a whole number (see ReadNumber); false when it
// is missing, empty, quoted or not a number.
bool NumberAt(const std::vector<Argument>& arguments, std::size_t index, int& value);

}  // namespace velk::phonesim
