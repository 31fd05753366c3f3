// The one table every benchmark program prints: a row per measure, with its
// value, its target and whether the target is met, in Markdown so that it
// goes into docs/dev/performance.md as printed.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace velk::bench {

struct TableRow {
    std::string measure;
    std::string value;
    std::string target;       // empty: for information
    std::optional<bool> met;  // absent: no target, or not measured
};

class BenchTable {
  public:
    void Add(TableRow row) { rows_.push_back(std::move(row)); }
    // The header only when asked: the rows of several programs make one table.
    void Print(std::FILE* out, bool withHeader) const;
    const std::vector<TableRow>& Rows() const { return rows_; }

  private:
    std::vector<TableRow> rows_;
};

// "12.3 µs" with three significant digits at most below 100, whole above.
std::string Micros(double ns);
// "12.3 ms"
std::string Millis(double ns);
// "98.7 %"
std::string Percent(double fraction);
// "a / b / c"
std::string Triple(const std::string& a, const std::string& b, const std::string& c);

}  // namespace velk::bench
