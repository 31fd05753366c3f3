#include "decode/value_conversions.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace velk {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// A parameter text is a C string to the phone's firmware: a zero byte ends it.
std::size_t TextLength(const std::string& text) {
    return std::strlen(text.c_str());
}

void CopyCut(char* dest, std::size_t destSize, const std::string& text, std::size_t length) {
    if (dest == nullptr || destSize == 0) return;
    std::size_t n = std::min(length, destSize - 1);
    std::memcpy(dest, text.data(), n);
    dest[n] = '\0';
}

}  // namespace

int32_t ParamToInt(std::string_view text) {
    // Read in place: every number of every reply line comes through here.
    constexpr int64_t top = std::numeric_limits<int32_t>::max();
    int64_t value = 0;
    bool anyDigit = false;
    for (char c : text) {
        if (c == ' ') continue;
        if (!IsDigit(c)) return kOmitted;
        anyDigit = true;
        // Held just above the top, so that it cannot grow further.
        value = std::min(value * 10 + (c - '0'), top + 1);
    }
    if (!anyDigit) return kOmitted;
    return static_cast<int32_t>(std::min(value, top));
}

void ParamToText32(char* dest, std::size_t destSize, const std::string& text) {
    std::size_t length = TextLength(text);
    if (length > kShortTextLimit) return;
    CopyCut(dest, destSize, text, length);
}

uint32_t ParamToText256(char* dest, std::size_t destSize, const std::string& text) {
    std::size_t length = TextLength(text);
    if (length > kLongTextLimit) return 0;
    CopyCut(dest, destSize, text, length);
    return static_cast<uint32_t>(length);
}

uint32_t ParamToName(char (&dest)[kNameFieldSize], const std::string& text) {
    std::size_t length = TextLength(text);
    if (length > kLongTextLimit) return 0;
    std::size_t n = std::min(length, kNameFieldSize);
    std::memcpy(dest, text.data(), n);
    if (n < kNameFieldSize) dest[n] = '\0';
    return static_cast<uint32_t>(length);
}

int ParamToByteList(std::string text, std::vector<uint8_t>& list) {
    if (text.size() % 2 != 0) return 0;
    if (!std::all_of(text.begin(), text.end(), IsDigit)) return 0;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        int pair = (text[i] - '0') * 10 + (text[i + 1] - '0');
        list.push_back(static_cast<uint8_t>(pair & 0xFF));
    }
    return 1;
}

WordList* NewWordList() {
    return new (std::nothrow) WordList();
}

}  // namespace velk
