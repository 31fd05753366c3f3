#include "response/response_grammar.h"

#include <algorithm>
#include <array>

#include "platform/string_ops.h"

namespace velk {

// Searched from the top, first equal head wins. "EXATDST" and "CRSL" stand
// twice with the same content, so their later rows are never reached. The
// codes are not the row numbers; nothing branches on them. "CMGL" and "CMGR"
// have no row of their own: the reader adds the word of the current message
// form to the head first ("CMGLSM", "CMGRDELIVER", ...).
const ResponseGrammarRow responseGrammarTable[kGrammarRowCount] = {
    {"NOHEAD", 0, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CPAS", 5, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CFUN", 6, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CGMI", 1, 0, {15, 15, 15, 15}, 1, {11, 15, 15, 15}},
    {"CGMM", 2, 0, {15, 15, 15, 15}, 1, {11, 15, 15, 15}},
    {"CGMR", 3, 0, {15, 15, 15, 15}, 1, {11, 15, 15, 15}},
    {"CGSN", 4, 0, {15, 15, 15, 15}, 1, {11, 15, 15, 15}},
    {"CPIN", 44, 0, {15, 15, 15, 15}, 1, {2, 15, 15, 15}},
    {"CBC", 8, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CSQ", 9, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMEE", 7, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CDIS", 10, 2, {3, 2, 15, 15}, 1, {5, 15, 15, 15}},
    {"CIND", 11, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CPWD", 12, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CPBS", 13, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CPBR", 14, 2, {3, 2, 15, 15}, 2, {8, 5, 15, 15}},
    {"CPBF", 15, 2, {3, 2, 15, 15}, 2, {8, 5, 15, 15}},
    {"CPBW", 16, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CPBD", 17, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CSMS", 18, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"CPMS", 24, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CSCB", 25, 1, {2, 15, 15, 15}, 1, {4, 15, 15, 15}},
    {"CSAS", 26, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CRES", 27, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMGC", 28, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMGF", 19, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CSCA", 20, 1, {3, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CSMP", 21, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CSDH", 22, 0, {15, 15, 15, 15}, 1, {4, 15, 15, 15}},
    {"CNMI", 23, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMTI", 29, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMT", 30, 3, {3, 1, 2, 15}, 1, {5, 15, 15, 15}},
    {"CDS", 31, 2, {1, 2, 15, 15}, 1, {5, 15, 15, 15}},
    {"CBM", 33, 2, {1, 2, 15, 15}, 1, {5, 15, 15, 15}},
    {"CBMI", 32, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMGLSM", 49, 3, {3, 1, 2, 15}, 2, {8, 5, 15, 15}},
    {"CMGLCBM", 50, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMGRDELIVER", 34, 3, {3, 1, 2, 15}, 2, {8, 5, 15, 15}},
    {"CMGRSUBMIT", 35, 2, {3, 2, 15, 15}, 2, {8, 5, 15, 15}},
    {"CMGRCBM", 36, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMGS", 37, 1, {1, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMSS", 38, 1, {1, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMGW", 39, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CREG", 40, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"COPS", 41, 1, {3, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CNUM", 42, 2, {3, 2, 15, 15}, 1, {5, 15, 15, 15}},
    {"CIMI", 43, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CACM", 45, 1, {3, 15, 15, 15}, 0, {15, 15, 15, 15}},
    {"CAMM", 46, 1, {3, 15, 15, 15}, 0, {15, 15, 15, 15}},
    {"CPUC", 47, 2, {3, 2, 15, 15}, 0, {15, 15, 15, 15}},
    {"CSCS", 48, 2, {3, 2, 15, 15}, 0, {15, 15, 15, 15}},
    {"CLCC", 51, 2, {3, 2, 15, 15}, 2, {4, 5, 15, 15}},
    {"CRING", 52, 0, {15, 15, 15, 15}, 1, {11, 15, 15, 15}},
    {"CCWA", 53, 2, {3, 2, 15, 15}, 1, {5, 15, 15, 15}},
    {"NO CARRIER", 54, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"EXAUDIO", 55, 0, {15, 15, 15, 15}, 1, {4, 15, 15, 15}},
    {"EXATDST", 56, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"EXBAND", 57, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CLCK", 58, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"CLIP", 59, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"CLIR", 60, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"COLP", 61, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"COLR", 62, 0, {15, 15, 15, 15}, 1, {4, 15, 15, 15}},
    {"CCFC", 63, 1, {3, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"EXATDST", 56, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"ACUSET", 65, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CRSL", 66, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CLVL", 67, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CMUT", 68, 0, {15, 15, 15, 15}, 1, {4, 15, 15, 15}},
    {"EXACCRP", 69, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"CCLK", 70, 1, {2, 15, 15, 15}, 0, {15, 15, 15, 15}},
    {"CALA", 71, 0, {15, 15, 15, 15}, 1, {4, 15, 15, 15}},
    {"EXHTRP", 72, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"EXCHRST", 73, 0, {15, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"EXBATRP", 74, 1, {1, 15, 15, 15}, 2, {4, 5, 15, 15}},
    {"VGR", 75, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CRSL", 66, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CHLD", 76, 0, {15, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"CAOC", 64, 1, {2, 15, 15, 15}, 0, {15, 15, 15, 15}},
    {"RNGI", 77, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"RNGR", 78, 1, {2, 15, 15, 15}, 1, {2, 15, 15, 15}},
    {"IMGINF", 79, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"IMGR", 80, 2, {2, 3, 15, 15}, 1, {2, 15, 15, 15}},
    {"LOGOINF", 81, 1, {2, 15, 15, 15}, 1, {5, 15, 15, 15}},
    {"LOGOR", 82, 1, {2, 15, 15, 15}, 1, {2, 15, 15, 15}},
};

namespace {

// Heads ordered by length first and bytes second: most comparisons of a
// search are settled by the length alone, without looking at a byte.
bool HeadBefore(std::string_view a, std::string_view b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

struct IndexEntry {
    std::string_view head;
    const ResponseGrammarRow* row;
};

// The rows ordered by head, each head's rows in table order, so that a binary
// search finds the same row as a search from the top. Every reply line looks
// its head up here.
using RowIndex = std::array<IndexEntry, kGrammarRowCount>;

RowIndex BuildRowIndex() {
    RowIndex index{};
    for (std::size_t i = 0; i < kGrammarRowCount; ++i) {
        index[i] = {responseGrammarTable[i].head, &responseGrammarTable[i]};
    }
    std::stable_sort(index.begin(), index.end(), [](const IndexEntry& a, const IndexEntry& b) {
        return HeadBefore(a.head, b.head);
    });
    return index;
}

}  // namespace

const ResponseGrammarRow* FindGrammarRow(std::string_view head) {
    static const RowIndex index = BuildRowIndex();
    const auto it = std::lower_bound(
        index.begin(), index.end(), head,
        [](const IndexEntry& entry, std::string_view h) { return HeadBefore(entry.head, h); });
    return it != index.end() && Equal(it->head, head) ? it->row : nullptr;
}

}  // namespace velk
