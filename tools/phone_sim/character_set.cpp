#include "phone_sim/character_set.h"

#include <cstdint>
#include <vector>

namespace velk::phonesim {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// The code points of a UTF-8 text; a broken sequence reads as U+FFFD.
std::vector<char32_t> CodePoints(std::string_view utf8) {
    std::vector<char32_t> points;
    std::size_t i = 0;
    while (i < utf8.size()) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        std::size_t extra = 0;
        char32_t point = lead;
        if (lead >= 0xC2 && lead <= 0xDF) {
            extra = 1;
            point = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            extra = 2;
            point = lead & 0x0F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            extra = 3;
            point = lead & 0x07;
        }
        bool good = lead < 0x80 || (extra > 0 && i + extra < utf8.size());
        for (std::size_t k = 1; good && k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(utf8[i + k]);
            good = (next & 0xC0) == 0x80;
            point = (point << 6) | (next & 0x3F);
        }
        if (!good || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
            points.push_back(kReplacement);
            ++i;
        } else {
            points.push_back(point);
            i += extra + 1;
        }
    }
    return points;
}

void AppendUtf8(std::string& out, char32_t point) {
    if (point < 0x80) {
        out += static_cast<char>(point);
    } else if (point < 0x800) {
        out += static_cast<char>(0xC0 | (point >> 6));
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        out += static_cast<char>(0xE0 | (point >> 12));
        out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (point >> 18));
        out += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    }
}

void AppendUnit(std::string& out, uint16_t unit) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[(unit >> shift) & 0xF];
}

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

std::optional<std::string> FromUcs2(std::string_view hex) {
    if (hex.size() % 4 != 0) return std::nullopt;
    std::string utf8;
    char32_t high = 0;  // a high surrogate waiting for its low half
    for (std::size_t i = 0; i < hex.size(); i += 4) {
        char32_t unit = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const int digit = HexValue(hex[i + k]);
            if (digit < 0) return std::nullopt;
            unit = (unit << 4) | static_cast<char32_t>(digit);
        }
        const bool isHigh = unit >= 0xD800 && unit <= 0xDBFF;
        const bool isLow = unit >= 0xDC00 && unit <= 0xDFFF;
        if (high != 0) {
            if (!isLow) return std::nullopt;
            AppendUtf8(utf8, 0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00));
            high = 0;
        } else if (isHigh) {
            high = unit;
        } else if (isLow) {
            return std::nullopt;
        } else {
            AppendUtf8(utf8, unit);
        }
    }
    if (high != 0) return std::nullopt;
    return utf8;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the character set, then the text
std::string ToLineText(std::string_view set, std::string_view utf8, bool quoted) {
    std::string out;
    for (const char32_t point : CodePoints(utf8)) {
        if (set == "UCS2") {
            if (point >= 0x10000) {
                AppendUnit(out, static_cast<uint16_t>(0xD800 + ((point - 0x10000) >> 10)));
                AppendUnit(out, static_cast<uint16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
            } else {
                AppendUnit(out, static_cast<uint16_t>(point));
            }
        } else {
            const bool plain = point >= 0x20 && point < 0x7F && !(quoted && point == '"');
            out += plain ? static_cast<char>(point) : '?';
        }
    }
    return out;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the character set, then the text
std::optional<std::string> FromLineText(std::string_view set, std::string_view text) {
    if (set == "UCS2") return FromUcs2(text);
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return std::nullopt;
    }
    return std::string(text);
}

std::size_t Utf16Length(std::string_view utf8) {
    std::size_t units = 0;
    for (const char32_t point : CodePoints(utf8)) units += point >= 0x10000 ? 2 : 1;
    return units;
}

}  // namespace velk::phonesim
