#include "phone_sim/command_arguments.h"

#include "phone_sim/phone_commands.h"

namespace velk::phonesim {
namespace {

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

}  // namespace

std::optional<std::vector<Argument>> SplitArguments(std::string_view text) {
    std::vector<Argument> arguments;
    if (Trimmed(text).empty()) return arguments;
    std::size_t at = 0;
    for (;;) {
        Argument argument;
        std::size_t end = text.find(',', at);
        const std::string_view head = Trimmed(text.substr(at, end - at));
        if (!head.empty() && head.front() == '"') {
            const std::size_t open = text.find('"', at);
            const std::size_t close = text.find('"', open + 1);
            if (close == std::string_view::npos) return std::nullopt;
            end = text.find(',', close);
            if (!Trimmed(text.substr(close + 1, end - close - 1)).empty()) return std::nullopt;
            argument.text = std::string(text.substr(open + 1, close - open - 1));
            argument.quoted = true;
        } else {
            argument.text = std::string(head);
        }
        arguments.push_back(std::move(argument));
        if (end == std::string_view::npos) return arguments;
        at = end + 1;
    }
}

bool NumberAt(const std::vector<Argument>& arguments, std::size_t index, int& value) {
    return index < arguments.size() && !arguments[index].quoted &&
           ReadNumber(arguments[index].text, value);
}

}  // namespace velk::phonesim
