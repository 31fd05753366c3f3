#include "response/response_tokeniser.h"

#include <algorithm>

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
void FillValue(ATResponseParam& node, ATResponseRecord& record, std::string value, uint32_t type) {
    if (type == paramNone) {
        node.legal = 0;
        record.allLegal = 0;
    } else {
        node.type = type;
    }
    node.lastIndex = static_cast<int32_t>(value.size()) - 1;
    node.text = std::move(value);
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

// The first of the marks that cut the parameter text (",-)(") at or after
// `from`, or the end of the text.
std::size_t NextMark(std::string_view text, std::size_t from) {
    for (; from < text.size(); ++from) {
        const char c = text[from];
        if (c == ',' || c == '-' || c == ')' || c == '(') return from;
    }
    return text.size();
}

// `piece` without white space at either end.
std::string_view TrimBlanks(std::string_view piece) {
    const std::size_t first = piece.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) return {};
    return piece.substr(first, piece.find_last_not_of(kWhiteSpace) - first + 1);
}

}  // namespace

std::string NormaliseParameters(std::string_view text) {
    // The parameters end at the first CR or LF. The pieces are views of the
    // text: a line costs one allocation here, the result.
    std::size_t end = 0;
    while (end < text.size() && text[end] != '\r' && text[end] != '\n') ++end;
    const std::string_view work = text.substr(0, end);
    std::string out;
    out.reserve(work.size() + 1);
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
    return out;
}

void WalkParameters(std::string_view rest, ATResponseRecord& record,
                    const ResponseGrammarRow& row) {
    const std::string normal = NormaliseParameters(rest);
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
                std::string value = SpanExcluding(remaining.substr(1), "\"");
                const uint32_t type = FirstPassingType(value, row.quotedCount, row.quotedTypes);
                const std::size_t width = value.size() + 2;
                FillValue(*node, record, std::move(value), type);
                take(width);
                if (SeparatorCommaAhead(remaining)) {
                    take(1);
                }
                break;
            }
            default: {
                std::string value = SpanExcluding(remaining, ",-)\r");
                const uint32_t type = FirstPassingType(value, row.plainCount, row.plainTypes);
                const std::size_t width = value.size();
                FillValue(*node, record, std::move(value), type);
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
