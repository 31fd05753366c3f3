#include "platform/string_ops.h"

#include <algorithm>

namespace velk {
namespace {

std::size_t Clamp(std::string_view text, int count) {
    if (count <= 0) return 0;
    return std::min(text.size(), static_cast<std::size_t>(count));
}

}  // namespace

std::string Left(std::string_view text, int count) {
    return std::string(text.substr(0, Clamp(text, count)));
}

std::string Right(std::string_view text, int count) {
    const std::size_t n = Clamp(text, count);
    return std::string(text.substr(text.size() - n));
}

std::string SpanExcluding(std::string_view text, std::string_view set) {
    const std::size_t end = text.find_first_of(set);
    return std::string(text.substr(0, end));
}

std::string TrimLeft(std::string_view text, std::string_view set) {
    const std::size_t first = text.find_first_not_of(set);
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first));
}

std::string TrimRight(std::string_view text, std::string_view set) {
    const std::size_t last = text.find_last_not_of(set);
    if (last == std::string_view::npos) return {};
    return std::string(text.substr(0, last + 1));
}

std::string TrimLeft(std::string_view text) {
    return TrimLeft(text, kWhiteSpace);
}

std::string TrimRight(std::string_view text) {
    return TrimRight(text, kWhiteSpace);
}

int Find(std::string_view text, std::string_view part) {
    const std::size_t at = text.find(part);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

bool Equal(std::string_view a, std::string_view b) {
    return a == b;
}

}  // namespace velk
