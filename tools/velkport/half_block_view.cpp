#include "velkport/half_block_view.h"

namespace velk::cli {

std::vector<std::string> HalfBlockLines(const Bitmap& bitmap) {
    // Indexed by upper dot * 2 + lower dot.
    static constexpr const char* kCells[] = {" ", "\u2584", "\u2580", "\u2588"};
    std::vector<std::string> lines;
    for (unsigned y = 0; y < bitmap.height; y += 2) {
        std::string line;
        for (unsigned x = 0; x < bitmap.width; ++x) {
            const bool upper = bitmap.Dark(x, y);
            const bool lower = y + 1 < bitmap.height && bitmap.Dark(x, y + 1);
            line += kCells[(upper ? 2 : 0) + (lower ? 1 : 0)];
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace velk::cli
