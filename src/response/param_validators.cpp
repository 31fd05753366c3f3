#include "response/param_validators.h"

#include <algorithm>
#include <array>
#include <string>

#include "platform/string_ops.h"
#include "response/response_grammar.h"

namespace velk {
namespace {

constexpr std::size_t kMaxTextLength = 128;
constexpr std::size_t kMaxNumberLength = 80;
constexpr std::size_t kMaxHeadLength = 7;

constexpr std::array<std::string_view, 12> kStorageNames = {"BM", "ME", "SM", "FD", "LD", "MT",
                                                            "TA", "DC", "EN", "MC", "OW", "RC"};
constexpr std::array<std::string_view, 5> kMessageStatuses = {"REC UNREAD", "REC READ",
                                                              "STO UNSENT", "STO SENT", "ALL"};

// The bytes each type allows, as tables: every byte of every value is tested.
constexpr ByteSet kDialChars("0123456789,/:+-");
constexpr ByteSet kNumberStringChars("0123456789-+");
constexpr ByteSet kNumberChars("0123456789.-");
constexpr ByteSet kHeadChars("ABCDEFGHIJKLMNOPQRSTUVWXYZ ");

// Every byte of `text` occurs in `allowed`. Bytes above 127 never do, since
// the sets are plain ASCII.
bool AllIn(std::string_view text, const ByteSet& allowed) {
    return std::all_of(text.begin(), text.end(), [&allowed](char c) { return allowed.Has(c); });
}

bool OneOf(std::string_view text, std::string_view allowed) {
    return text.size() == 1 && Contains(allowed, text);
}

template <std::size_t N>
bool EqualsAny(std::string_view text, const std::array<std::string_view, N>& words) {
    return std::any_of(words.begin(), words.end(),
                       [text](std::string_view w) { return Equal(text, w); });
}

// Phones quote some number fields and not others, so these types look at the
// value with its quotes removed.
// A view: a long text is looked at, not copied.
std::string_view Unquoted(std::string_view text) {
    const std::size_t first = text.find_first_not_of('"');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of('"') - first + 1);
}

bool IsStorage(std::string_view t) {
    return EqualsAny(t, kStorageNames);
}

bool IsDialString(std::string_view t) {
    if (t.empty()) return false;
    return AllIn(Unquoted(t), kDialChars);
}

bool IsText(std::string_view t) {
    return t.empty() || Unquoted(t).size() <= kMaxTextLength;
}

bool IsNumberString(std::string_view t) {
    if (t.empty()) return false;
    const std::string_view u = Unquoted(t);
    return !u.empty() && u.size() <= kMaxNumberLength && AllIn(u, kNumberStringChars);
}

bool IsFlag(std::string_view t) {
    return OneOf(t, "01");
}

bool IsNumber(std::string_view t) {
    return !t.empty() && t.size() <= kMaxNumberLength && AllIn(t, kNumberChars);
}

bool IsDigit04(std::string_view t) {
    return OneOf(t, "01234");
}

bool IsDigit05(std::string_view t) {
    return OneOf(t, "012345");
}

bool IsAddressType(std::string_view t) {
    return Equal(t, "145") || Equal(t, "129");
}

bool IsDigit02(std::string_view t) {
    return OneOf(t, "012");
}

bool IsMessageStatus(std::string_view t) {
    return EqualsAny(t, kMessageStatuses);
}

using Validator = bool (*)(std::string_view);

// Indexed by type code; codes past the end have no validator.
constexpr std::array<Validator, 11> kValidators = {
    IsStorage, IsDialString, IsText,        IsNumberString, IsFlag,          IsNumber,
    IsDigit04, IsDigit05,    IsAddressType, IsDigit02,      IsMessageStatus,
};
static_assert(kValidators.size() == paramMessageStatus + 1);

}  // namespace

int ValidateParam(std::string_view text, uint32_t typeCode) {
    if (typeCode >= kValidators.size()) return 0;
    return kValidators[typeCode](text) ? 1 : 0;
}

int IsValidHead(std::string_view head) {
    if (head.empty() || head.size() > kMaxHeadLength) return 0;
    return AllIn(head, kHeadChars) ? 1 : 0;
}

}  // namespace velk
