#include "velkport/ucs2_text.h"

#include <cstdint>
#include <vector>

#include "velkport/hex_bytes.h"

namespace velk::cli {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHigh(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLow(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The code points of a UTF-8 text; each byte of a broken sequence (a stray
// continuation, an overlong form, a surrogate, a sequence cut short) reads
// as U+FFFD.
std::vector<char32_t> CodePoints(std::string_view utf8) {
    std::vector<char32_t> points;
    std::size_t i = 0;
    while (i < utf8.size()) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        std::size_t extra = 0;
        char32_t point = lead;
        char32_t least = 0;
        if (lead >= 0xC2 && lead <= 0xDF) {
            extra = 1;
            point = lead & 0x1F;
            least = 0x80;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            extra = 2;
            point = lead & 0x0F;
            least = 0x800;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            extra = 3;
            point = lead & 0x07;
            least = 0x10000;
        }
        bool good = lead < 0x80 || (extra > 0 && i + extra < utf8.size());
        for (std::size_t k = 1; good && k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(utf8[i + k]);
            good = (next & 0xC0) == 0x80;
            point = (point << 6) | (next & 0x3F);
        }
        good = good && point >= least && point <= 0x10FFFF && !IsHigh(point) && !IsLow(point);
        points.push_back(good ? point : kReplacement);
        i += good ? extra + 1 : 1;
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

void AppendUnit(std::string& out, char32_t unit) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[(unit >> shift) & 0xF];
}

// The UTF-16 unit of four digits, or nothing when one is no digit.
bool ReadUnit(std::string_view digits, char32_t& unit) {
    unit = 0;
    for (const char c : digits) {
        const int value = HexDigitValue(c);
        if (value < 0) return false;
        unit = (unit << 4) | static_cast<char32_t>(value);
    }
    return true;
}

}  // namespace

std::string Ucs2ToUtf8(std::string_view hex) {
    std::string utf8;
    char32_t high = 0;  // a high surrogate waiting for its low half
    for (std::size_t i = 0; i < hex.size(); i += 4) {
        char32_t unit = 0;
        // A group cut short at the end is as broken as one with a stray digit.
        if (i + 4 > hex.size() || !ReadUnit(hex.substr(i, 4), unit)) unit = kReplacement;
        if (high != 0 && IsLow(unit)) {
            AppendUtf8(utf8, 0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00));
            high = 0;
            continue;
        }
        if (high != 0) AppendUtf8(utf8, kReplacement);
        high = IsHigh(unit) ? unit : 0;
        if (high == 0) AppendUtf8(utf8, IsLow(unit) ? kReplacement : unit);
    }
    if (high != 0) AppendUtf8(utf8, kReplacement);
    return utf8;
}

std::string Utf8ToUcs2(std::string_view utf8) {
    std::string hex;
    for (const char32_t point : CodePoints(utf8)) {
        if (point >= 0x10000) {
            AppendUnit(hex, 0xD800 + ((point - 0x10000) >> 10));
            AppendUnit(hex, 0xDC00 + ((point - 0x10000) & 0x3FF));
        } else {
            AppendUnit(hex, point);
        }
    }
    return hex;
}

std::string IraToUtf8(std::string_view bytes) {
    std::string utf8;
    for (const char c : bytes) {
        if (c >= 0x20 && c < 0x7F) {
            utf8 += c;
        } else {
            AppendUtf8(utf8, kReplacement);
        }
    }
    return utf8;
}

bool FitsIra(std::string_view utf8) {
    for (const char c : utf8) {
        if (c < 0x20 || c >= 0x7F) return false;
    }
    return true;
}

bool IsUtf8(std::string_view text) {
    return Ucs2ToUtf8(Utf8ToUcs2(text)) == text;
}

std::size_t Utf16Units(std::string_view utf8) {
    std::size_t units = 0;
    for (const char32_t point : CodePoints(utf8)) units += point >= 0x10000 ? 2 : 1;
    return units;
}

std::string JsonUtf8(std::string_view utf8) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (byte < 0x20 || byte == 0x7F) {
            quoted += "\\u00";
            quoted += kDigits[byte >> 4];
            quoted += kDigits[byte & 0xF];
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

}  // namespace velk::cli
