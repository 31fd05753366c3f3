#include "velkport/character_set_choice.h"

#include <cctype>

#include "velkport/json_fields.h"
#include "velkport/ucs2_text.h"

namespace velk::cli {
namespace {

constexpr std::string_view kDialCharacters = "0123456789*#pPwW";
constexpr std::string_view kHexDigits = "0123456789ABCDEFabcdef";

// Whether the list of AT+CSCS=?, ("IRA","GSM","UCS2") or (IRA,GSM,UCS2),
// names `set`.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the list, then the set
bool Offers(std::string_view list, std::string_view set) {
    std::string word;
    for (const char c : std::string(list) + ',') {
        if (c == ',') {
            if (word == set) return true;
            word.clear();
        } else if (c != '"' && c != '(' && c != ')' && c != ' ') {
            word += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    return false;
}

// A number in UCS2: hexadecimal groups of dial characters, "002B0034" for
// "+4".
bool LooksLikeUcs2Number(std::string_view text) {
    if (text.empty() || text.size() % 4 != 0) return false;
    if (text.find_first_not_of(kHexDigits) != std::string_view::npos) return false;
    for (std::size_t i = 0; i < text.size(); i += 4) {
        if (text.substr(i, 2) != "00") return false;
        const std::string point = Ucs2ToUtf8(text.substr(i, 4));
        if (point != "+" && kDialCharacters.find(point) == std::string_view::npos) return false;
    }
    return true;
}

std::string ChoosingText(std::string_view set) {
    return "AT+CSCS=\"" + std::string(set) + "\"";
}

}  // namespace

void CharacterSetChoice::Take(std::string_view block) {
    const std::string form = JsonBytes(JsonField(block, "form"));
    if (form == "ResultCharacterSet") {
        former_ = JsonBytes(JsonField(block, "characterSet"));
    } else if (form == "ResultCharacterSets") {
        offered_ = JsonBytes(JsonField(block, "characterSets"));
        listed_ = true;
    }
}

void CharacterSetChoice::Choose(std::string_view unlisted) {
    if (Offers(offered_, "UCS2")) {
        set_ = "UCS2";
    } else if (listed_ && Offers(offered_, "IRA")) {
        set_ = "IRA";
    } else {
        set_ = listed_ ? "" : std::string(unlisted);
    }
}

CharacterSetChoice CharacterSetChoice::InSet(std::string_view set) const {
    CharacterSetChoice other = *this;
    other.set_ = set;
    return other;
}

std::vector<std::string> CharacterSetChoice::Choosing() const {
    if (set_.empty()) return {};
    return {ChoosingText(set_)};
}

std::vector<std::string> CharacterSetChoice::Returning() const {
    if (set_.empty() || former_.empty() || former_ == set_) return {};
    return {ChoosingText(former_)};
}

std::string CharacterSetChoice::TextOf(std::string_view field) const {
    // A text with a character no hexadecimal digit is was sent as it is;
    // one cut short is still UCS2, its broken end U+FFFD.
    const bool hex = field.find_first_not_of(kHexDigits) == std::string_view::npos;
    return Ucs2() && hex ? Ucs2ToUtf8(field) : IraToUtf8(field);
}

std::string CharacterSetChoice::NumberOf(std::string_view field) const {
    return Ucs2() && LooksLikeUcs2Number(field) ? Ucs2ToUtf8(field) : IraToUtf8(field);
}

std::string CharacterSetChoice::LineText(std::string_view utf8) const {
    return Ucs2() ? Utf8ToUcs2(utf8) : std::string(utf8);
}

}  // namespace velk::cli
