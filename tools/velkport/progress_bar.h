// The progress of an image transfer on standard error, counted in frames
// from the window messages 1224 and 1225, redrawn in place:
//
//   image 2  [##############----------------]  2/3 frames
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace velk::cli {

// One drawing of the bar, `width` marks wide; `done` beyond `total` shows
// as full.
std::string ProgressLine(std::string_view label, unsigned done, unsigned total, unsigned width);

class ProgressBar {
  public:
    static constexpr unsigned kWidth = 30;

    // Draws nothing at all when not `shown`.
    ProgressBar(std::ostream& err, bool shown, std::string label, unsigned total);
    ~ProgressBar();  // ends the line when something was drawn
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // One frame more is done.
    void Step();
    // The transfer is over: drawn full when `whole`, and the line ended.
    void Finish(bool whole);

  private:
    void Draw();

    std::ostream& err_;
    bool shown_;
    std::string label_;
    unsigned total_;
    unsigned done_ = 0;
    bool drawn_ = false;
};

}  // namespace velk::cli
