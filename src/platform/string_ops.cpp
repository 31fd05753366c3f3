#include "platform/string_ops.h"

#include <algorithm>

namespace velk {
namespace {

std::size_t Clamp(std::string_view text, int count) {
    if (count <= 0) return 0;
    return std::min(text.size(), static_cast<std::size_t>(count));
}

std::size_t FirstIn(std::string_view text, const ByteSet& set) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (set.Has(text[i])) return i;
    }
    return std::string_view::npos;
}

std::size_t FirstNotIn(std::string_view text, const ByteSet& set) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!set.Has(text[i])) return i;
    }
    return std::string_view::npos;
}

std::size_t LastNotIn(std::string_view text, const ByteSet& set) {
    for (std::size_t i = text.size(); i > 0; --i) {
        if (!set.Has(text[i - 1])) return i - 1;
    }
    return std::string_view::npos;
}

}  // namespace

std::string Right(std::string_view text, int count) {
    const std::size_t n = Clamp(text, count);
    return std::string(text.substr(text.size() - n));
}

std::string SpanExcluding(std::string_view text, std::string_view set) {
    return std::string(SpanExcludingView(text, set));
}

std::string_view SpanExcludingView(std::string_view text, std::string_view set) {
    // One mark, as for the end of a quoted value, is a byte search.
    if (set.size() == 1) return text.substr(0, text.find(set[0]));
    return SpanExcludingView(text, ByteSet(set));
}

std::string_view SpanExcludingView(std::string_view text, const ByteSet& set) {
    return text.substr(0, FirstIn(text, set));
}

std::string TrimLeft(std::string_view text, std::string_view set) {
    const std::size_t first = FirstNotIn(text, ByteSet(set));
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first));
}

std::string TrimRight(std::string_view text, std::string_view set) {
    const std::size_t last = LastNotIn(text, ByteSet(set));
    if (last == std::string_view::npos) return {};
    return std::string(text.substr(0, last + 1));
}

std::string TrimLeft(std::string_view text) {
    return TrimLeft(text, kWhiteSpace);
}

std::string TrimRight(std::string_view text) {
    return TrimRight(text, kWhiteSpace);
}

}  // namespace velk
