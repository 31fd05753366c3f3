#include "engine/body_echo.h"

#include "engine/request_forms.h"
#include "serial/line_assembler.h"

namespace velk {
namespace {

bool IsLineBreak(char c) {
    return c == '\r' || c == '\n';
}

}  // namespace

bool TakeBodyEcho(std::string_view line, std::string& echoRest) {
    // A line break inside the text comes back as CR, then the phone's own
    // CR LF; the prompt it may add begins the next line.
    while (!line.empty() && IsLineBreak(line.back())) line.remove_suffix(1);
    if (!line.empty() && line.back() == kBodyEnd) line.remove_suffix(1);
    while (line.starts_with(kPromptText)) line.remove_prefix(kPromptText.size());
    if (line.empty()) return true;
    if (!std::string_view(echoRest).starts_with(line)) return false;
    std::size_t taken = line.size();
    while (taken < echoRest.size() && IsLineBreak(echoRest[taken])) ++taken;
    echoRest.erase(0, taken);
    return true;
}

}  // namespace velk
