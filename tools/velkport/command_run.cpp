#include "velkport/command_run.h"

#include <charconv>
#include <string_view>

#include "velkport.h"

namespace velk::cli {

Refusal ReadRefusal(const LibraryFailure& failure) {
    Refusal refusal{0, failure.text};
    const std::string_view text = failure.text;
    constexpr std::string_view kHead = "command ";
    const std::size_t colon = text.find(": ");
    if (text.starts_with(kHead) && colon != std::string_view::npos) {
        const char* first = text.data() + kHead.size();
        const char* last = text.data() + colon;
        if (std::from_chars(first, last, refusal.position).ptr == last) {
            refusal.line = text.substr(colon + 2);
            refusal.named = true;
        }
    }
    return refusal;
}

OperationEnd RunList(const Transfer& t, const std::vector<std::string>& texts) {
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts) pointers.push_back(text.c_str());
    return t.link.Run(
        [&] { return velk_RunCommands(pointers.data(), static_cast<int>(pointers.size())); });
}

OperationEnd RunWithBody(const Transfer& t, const std::string& text, const std::string& body) {
    return t.link.Run([&] { return velk_RunCommandWithBody(text.c_str(), body.c_str()); });
}

bool HasResult(const OperationEnd& end) {
    return end.kind == OperationEnd::Kind::kFinal &&
           (end.message == VELK_MSG_COMMAND_DONE || end.message == VELK_MSG_COMMAND_REFUSED ||
            end.message == VELK_MSG_TIMED_OUT);
}

std::string CommandResult() {
    const char* json = nullptr;
    return velk_GetCommandResult(&json) == 1 && json != nullptr ? json : "";
}

}  // namespace velk::cli
