// A bitmap drawn in a terminal: each character cell holds two dots, one
// above the other, as a half block (▀ ▄), a full block (█) or a space, so
// that the picture keeps its proportions in a cell about twice as high as
// wide. A dark dot is drawn, a light one left blank.
#pragma once

#include <string>
#include <vector>

#include "velkport/frame_bitmap.h"

namespace velk::cli {

// The lines of the drawing, without line ends; an odd last row is drawn
// with light dots below it.
std::vector<std::string> HalfBlockLines(const Bitmap& bitmap);

}  // namespace velk::cli
