#include "gap_stats.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace velk::bench {

std::optional<std::vector<CommandSpan>> ReadCommandSpans(std::istream& in) {
    std::vector<CommandSpan> spans;
    std::string kind;
    int64_t ns = 0;
    while (in >> kind) {
        if (!(in >> ns)) return std::nullopt;
        if (kind == "C") {
            spans.push_back({ns, std::nullopt});
        } else if (kind == "R") {
            if (spans.empty() || spans.back().end) return std::nullopt;
            spans.back().end = ns;
        } else {
            return std::nullopt;
        }
    }
    if (!in.eof()) return std::nullopt;
    return spans;
}

std::vector<int64_t> GapsBetween(const std::vector<CommandSpan>& spans, std::size_t first,
                                 std::size_t last) {
    std::vector<int64_t> gaps;
    last = std::min(last, spans.size());
    for (std::size_t i = first; i + 1 < last; ++i) {
        if (spans[i].end) gaps.push_back(spans[i + 1].start - *spans[i].end);
    }
    return gaps;
}

Summary Summarise(std::vector<int64_t> samples) {
    Summary summary;
    if (samples.empty()) return summary;
    std::sort(samples.begin(), samples.end());
    const std::size_t n = samples.size();
    summary.count = n;
    summary.median = samples[(n - 1) / 2];
    const auto rank = static_cast<std::size_t>(std::ceil(0.99 * static_cast<double>(n)));
    summary.p99 = samples[std::max<std::size_t>(rank, 1) - 1];
    summary.max = samples.back();
    return summary;
}

std::vector<int64_t> CyclesBetween(const std::vector<CommandSpan>& spans, std::size_t first,
                                   std::size_t last) {
    std::vector<int64_t> cycles;
    last = std::min(last, spans.size());
    for (std::size_t i = first; i + 1 < last; ++i) {
        cycles.push_back(spans[i + 1].start - spans[i].start);
    }
    return cycles;
}

}  // namespace velk::bench
