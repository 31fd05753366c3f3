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

int32_t ParamToInt(std::string text) {
    std::erase(text, ' ');
    if (text.empty()) return kOmitted;
    if (!std::all_of(text.begin(), text.end(), IsDigit)) return kOmitted;
    int64_t value = 0;
    constexpr int64_t top = std::numeric_limits<int32_t>::max();
    for (char c : text) {
        value = value * 10 + (c - '0');
        if (value > top) return static_cast<int32_t>(top);
    }
    return static_cast<int32_t>(value);
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
