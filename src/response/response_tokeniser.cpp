#include "response/response_tokeniser.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "platform/string_ops.h"
#include "response/param_validators.h"

namespace velk {
namespace {

// The first type of the signature that `value` passes, or paramNone.
uint32_t FirstPassingType(std::string_view value, uint32_t count, const uint32_t* types) {
    const uint32_t n = std::min<uint32_t>(count, kSignatureSize);
    for (uint32_t i = 0; i < n; ++i) {
        if (ValidateParam(value, types[i]) == 1) return types[i];
    }
    return paramNone;
}

// A value keeps its text even when illegal; the record then tells the rest.
void FillValue(ATResponseParam& node, ATResponseRecord& record, std::string_view value,
               uint32_t type) {
    if (type == paramNone) {
        node.legal = 0;
        record.allLegal = 0;
    } else {
        node.type = type;
    }
    node.lastIndex = static_cast<int32_t>(value.size()) - 1;
    node.text.assign(value);
}

void FillPunctuation(ATResponseParam& node, char mark) {
    node.type = paramPunctuation;
    node.text.assign(1, mark);
}

// A comma that only separates two values makes no node; one right before the
// line end does, as an empty last parameter.
bool SeparatorCommaAhead(std::string_view remaining) {
    return remaining.size() >= 2 && remaining[0] == ',' && remaining[1] != '\r';
}

// What a byte is to the normalisation: a mark that cuts the parameter text
// (",-)("), white space, or neither.
enum : uint8_t { kPlainByte = 0, kMarkByte = 1, kBlankByte = 2 };

constexpr std::array<uint8_t, 256> kByteKinds = [] {
    std::array<uint8_t, 256> kinds{};
    for (char c : std::string_view(",-)(")) kinds[static_cast<unsigned char>(c)] = kMarkByte;
    for (char c : kWhiteSpace) kinds[static_cast<unsigned char>(c)] = kBlankByte;
    return kinds;
}();

uint8_t KindOf(char c) {
    return kByteKinds[static_cast<unsigned char>(c)];
}

// The first of the marks at or after `from`, or the end of the text.
std::size_t NextMark(std::string_view text, std::size_t from) {
    while (from < text.size() && KindOf(text[from]) != kMarkByte) ++from;
    return from;
}

// Every mark and every blank is below this byte; so are the quote and CR.
constexpr unsigned char kFirstByteAboveMarks = 0x2E;
constexpr std::size_t kWord = sizeof(uint64_t);

// Whether one of the eight bytes of `word` is below kFirstByteAboveMarks. A
// byte below the limit wraps round when the limit is taken from it and gets
// its top bit; a byte from 0x80 up had that bit already and is masked out.
// A borrow only ever starts at a byte below the limit, so the answer is exact.
bool AnyByteBelowMarks(uint64_t word) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    constexpr uint64_t kTops = 0x8080808080808080;
    return ((word - kOnes * kFirstByteAboveMarks) & ~word & kTops) != 0;
}

// Whether the bytes at `at` and after it break the normal form: a blank next
// to a mark, or "-", "(" or ")" twice in a row.
bool BreaksNormalForm(std::string_view work, std::size_t at) {
    if (at + 1 >= work.size()) return false;
    const uint8_t here = KindOf(work[at]);
    const uint8_t next = KindOf(work[at + 1]);
    if (here == kMarkByte) {
        return next == kBlankByte || (work[at] != ',' && work[at + 1] == work[at]);
    }
    return here == kBlankByte && next == kMarkByte;
}

// True when normalising `work` would change nothing: no blank at either end
// or next to a mark, no "-", "(" or ")" twice in a row. Most phones send
// their parameters so. Only a mark or a blank can start a pair that breaks
// the form, and a long value (the hex text of an image part) has none, so
// eight bytes without one are passed over in one test.
bool AlreadyNormal(std::string_view work) {
    if (work.empty()) return true;
    if (KindOf(work.front()) == kBlankByte || KindOf(work.back()) == kBlankByte) return false;
    std::size_t at = 0;
    while (at < work.size()) {
        if (work.size() - at >= kWord) {
            uint64_t word;
            std::memcpy(&word, work.data() + at, kWord);
            if (!AnyByteBelowMarks(word)) {
                at += kWord;
                continue;
            }
        }
        for (const std::size_t end = std::min(at + kWord, work.size()); at < end; ++at) {
            if (KindOf(work[at]) != kPlainByte && BreaksNormalForm(work, at)) return false;
        }
    }
    return true;
}

// The length of the text before its first CR or LF.
std::size_t BeforeLineEnd(std::string_view text) {
    const std::string_view beforeCr = text.substr(0, text.find('\r'));
    return std::min(beforeCr.find('\n'), beforeCr.size());
}

// `piece` without white space at either end.
std::string_view TrimBlanks(std::string_view piece) {
    const std::size_t first = piece.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) return {};
    return piece.substr(first, piece.find_last_not_of(kWhiteSpace) - first + 1);
}

}  // namespace

std::string NormaliseParameters(std::string_view text) {
    std::string out;
    NormaliseParameters(text, out);
    return out;
}

void NormaliseParameters(std::string_view text, std::string& out) {
    // The parameters end at the first CR or LF. The pieces are views of the
    // text, and `out` keeps its room from line to line.
    const std::string_view work = text.substr(0, BeforeLineEnd(text));
    out.clear();
    out.reserve(work.size() + 1);
    if (AlreadyNormal(work)) {
        out.assign(work);
        out += '\r';
        return;
    }
    std::size_t at = 0;  // front of `work` not yet taken
    while (at < work.size()) {
        const std::size_t mark = NextMark(work, at);
        out += TrimBlanks(work.substr(at, mark - at));
        at = mark;
        if (at == work.size()) break;
        const char c = work[at];
        out += c;
        if (c == ',') {
            ++at;
        } else {
            // "--" and "((" stand for one mark.
            at = std::min(work.find_first_not_of(c, at), work.size());
        }
    }
    out += '\r';
}

void WalkParameters(std::string_view rest, ATResponseRecord& record,
                    const ResponseGrammarRow& row) {
    // The normalised text of the thread's last line, its room reused.
    thread_local std::string normal;
    NormaliseParameters(rest, normal);
    // `consumed` is only ever measured, so its length stands for it; what
    // remains is a view of `normal` behind it, so a long line is walked in
    // linear time. An unclosed quote makes `consumed` run one past the end.
    const std::string_view all(normal);
    std::size_t consumed = 0;
    std::string_view remaining = all;
    auto take = [&](std::size_t count) {
        consumed += count;
        remaining = consumed <= all.size() ? all.substr(consumed) : std::string_view();
    };

    ATResponseParam* node = nullptr;
    while (!remaining.empty() && !Equal(remaining, "\r\n") && !Equal(remaining, "\r")) {
        node = node == nullptr ? &record.firstParam : record.AppendParam(*node);
        node->start = static_cast<uint32_t>(consumed);
        const char first = remaining[0];
        switch (first) {
            case ',':
                node->omitted = 1;
                node->type = paramOmitted;
                take(1);
                break;
            case '(':
            case '-':
                FillPunctuation(*node, first);
                take(1);
                break;
            case ')':
                FillPunctuation(*node, first);
                take(1);
                // The comma between two bracketed lists only separates them.
                if (SeparatorCommaAhead(remaining)) {
                    take(1);
                }
                break;
            case '"': {
                // No escape exists: the next quote ends the value, and without
                // one the value runs to the end, CR included.
                const std::string_view value = SpanExcludingView(remaining.substr(1), "\"");
                const uint32_t type = FirstPassingType(value, row.quotedCount, row.quotedTypes);
                FillValue(*node, record, value, type);
                const std::size_t width = value.size() + 2;
                take(width);
                if (SeparatorCommaAhead(remaining)) {
                    take(1);
                }
                break;
            }
            default: {
                static constexpr ByteSet kPlainValueEnds(",-)\r");
                const std::string_view value = SpanExcludingView(remaining, kPlainValueEnds);
                const uint32_t type = FirstPassingType(value, row.plainCount, row.plainTypes);
                FillValue(*node, record, value, type);
                const std::size_t width = value.size();
                take(width);
                // A dash after a value stays: it becomes a node of its own.
                if (SeparatorCommaAhead(remaining)) {
                    take(1);
                }
                break;
            }
        }
    }
}

}  // namespace velk
