#include "velkport/progress_bar.h"

#include <algorithm>
#include <ostream>

namespace velk::cli {

std::string ProgressLine(std::string_view label, unsigned done, unsigned total, unsigned width) {
    const unsigned shown = std::min(done, total);
    const unsigned marks = total == 0 ? width : shown * width / total;
    std::string line(label);
    line += "  [";
    line.append(marks, '#');
    line.append(width - marks, '-');
    line += "]  " + std::to_string(shown) + '/' + std::to_string(total) + " frames";
    return line;
}

ProgressBar::ProgressBar(std::ostream& err, bool shown, std::string label, unsigned total)
    : err_(err), shown_(shown), label_(std::move(label)), total_(total) {
    Draw();
}

ProgressBar::~ProgressBar() {
    if (drawn_) err_ << '\n' << std::flush;
}

void ProgressBar::Step() {
    ++done_;
    Draw();
}

void ProgressBar::Finish(bool whole) {
    if (whole && done_ != total_) {
        done_ = total_;
        Draw();
    }
    if (drawn_) err_ << '\n' << std::flush;
    drawn_ = false;
    shown_ = false;
}

void ProgressBar::Draw() {
    if (!shown_) return;
    // The carriage return takes the cursor back over the last drawing, which
    // the new one covers exactly: the line keeps its length.
    err_ << '\r' << ProgressLine(label_, done_, total_, kWidth) << std::flush;
    drawn_ = true;
}

}  // namespace velk::cli
