#include "bench_table.h"

#include <cmath>

namespace velk::bench {
namespace {

std::string Fixed(double value, const char* unit) {
    char text[64];
    const double size = std::fabs(value);
    if (size >= 100 || size == 0) {
        std::snprintf(text, sizeof text, "%.0f %s", value, unit);
    } else if (size >= 10) {
        std::snprintf(text, sizeof text, "%.1f %s", value, unit);
    } else {
        std::snprintf(text, sizeof text, "%.2f %s", value, unit);
    }
    return text;
}

}  // namespace

void BenchTable::Print(std::FILE* out, bool withHeader) const {
    if (withHeader) {
        std::fputs("| Measure | Value | Target | Met |\n|---|---|---|---|\n", out);
    }
    for (const TableRow& row : rows_) {
        const char* met = !row.met ? "" : *row.met ? "yes" : "**no**";
        std::fprintf(out, "| %s | %s | %s | %s |\n", row.measure.c_str(), row.value.c_str(),
                     row.target.c_str(), met);
    }
    std::fflush(out);
}

std::string Micros(double ns) {
    return Fixed(ns / 1e3, "µs");
}

std::string Millis(double ns) {
    return Fixed(ns / 1e6, "ms");
}

std::string Percent(double fraction) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %%", fraction * 100);
    return text;
}

std::string Triple(const std::string& a, const std::string& b, const std::string& c) {
    return a + " / " + b + " / " + c;
}

}  // namespace velk::bench
