#include "velkport/vcard_text.h"

#include <algorithm>
#include <cctype>

namespace velk::cli {
namespace {

constexpr std::size_t kMostLineBytes = 75;  // a physical line, without its CR LF

// The characters a number may hold beside the dial ones, for the eye only:
// an address book writes "+49 30 555-0001", the phone wants "+49305550001".
constexpr std::string_view kNumberSeparators = " -().\t";

// Text values escape what would end a value or a component.
std::string EscapeText(std::string_view text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '\\':
            case ',':
            case ';':
                out += '\\';
                out += c;
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string UnescapeText(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char next = text[++i];
        out += next == 'n' || next == 'N' ? '\n' : next;
    }
    return out;
}

// Folds `line` into physical lines of at most 75 bytes, each continuation
// led by one space, and cut only between UTF-8 characters.
void AppendFolded(std::string& out, std::string_view line) {
    std::size_t room = kMostLineBytes;
    while (line.size() > room) {
        std::size_t cut = room;
        while (cut > 1 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
        out.append(line.substr(0, cut));
        out += "\r\n ";
        line.remove_prefix(cut);
        room = kMostLineBytes - 1;
    }
    out.append(line);
    out += "\r\n";
}

bool SameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) ==
                      std::toupper(static_cast<unsigned char>(y));
           });
}

// The logical lines of a text: physical lines joined where the next begins
// with a space or a tab, that one character dropped.
std::vector<std::string> Unfold(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        std::size_t end = text.find('\n');
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!lines.empty() && !line.empty() && (line.front() == ' ' || line.front() == '\t')) {
            lines.back().append(line.substr(1));
        } else {
            lines.emplace_back(line);
        }
    }
    return lines;
}

// NAME;PARAM=VALUE;...:value, with a group ("item1.") in front left out.
struct Property {
    std::string_view name;
    std::string_view parameters;  // from the first ';', empty without any
    std::string_view value;
};

bool SplitProperty(std::string_view line, Property& property) {
    // A colon inside a quoted parameter value does not end the name.
    bool quoted = false;
    std::size_t colon = 0;
    for (; colon < line.size(); ++colon) {
        if (line[colon] == '"') quoted = !quoted;
        if (line[colon] == ':' && !quoted) break;
    }
    if (colon == line.size()) return false;
    std::string_view head = line.substr(0, colon);
    const std::size_t semicolon = std::min(head.find(';'), head.size());
    property.parameters = head.substr(semicolon);
    head = head.substr(0, semicolon);
    if (const std::size_t dot = head.rfind('.'); dot != std::string_view::npos) {
        head.remove_prefix(dot + 1);
    }
    property.name = head;
    property.value = line.substr(colon + 1);
    return true;
}

// The components of a structured value (N), split at unescaped semicolons.
std::vector<std::string> Components(std::string_view value) {
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size()) {
            parts.back() += value.substr(i, 2);
            ++i;
        } else if (value[i] == ';') {
            parts.emplace_back();
        } else {
            parts.back() += value[i];
        }
    }
    for (std::string& part : parts) part = UnescapeText(part);
    return parts;
}

bool MarkedPreferred(std::string_view parameters) {
    std::string upper(parameters);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return upper.find("PREF") != std::string::npos;
}

std::string Dialled(std::string_view value) {
    std::string number;
    for (const char c : value) {
        if (kNumberSeparators.find(c) == std::string_view::npos) number += c;
    }
    return number;
}

struct CardState {
    bool open = false;
    bool hasName = false;
    bool hasPreferred = false;
    std::string fullName;
    std::string structuredName;
    std::string number;
};

std::string Label(std::size_t card, const CardState& state) {
    const std::string& name = state.hasName ? state.fullName : state.structuredName;
    return "card " + std::to_string(card) + (name.empty() ? "" : " (" + name + ")");
}

}  // namespace

std::string WriteVcards(const std::vector<CardEntry>& entries) {
    std::string out;
    for (const CardEntry& entry : entries) {
        const std::size_t space = entry.name.rfind(' ');
        const std::string_view name = entry.name;
        const std::string_view given = space == std::string::npos ? name : name.substr(0, space);
        const std::string_view family =
            space == std::string::npos ? std::string_view() : name.substr(space + 1);
        out += "BEGIN:VCARD\r\nVERSION:3.0\r\n";
        AppendFolded(out, "FN:" + EscapeText(entry.name));
        AppendFolded(out, "N:" + EscapeText(family) + ';' + EscapeText(given) + ";;;");
        AppendFolded(out, "TEL;TYPE=VOICE:" + entry.number);
        out += "END:VCARD\r\n";
    }
    return out;
}

CardRead ReadVcards(std::string_view text) {
    CardRead read;
    CardState card;
    std::size_t count = 0;
    for (const std::string& line : Unfold(text)) {
        Property property;
        if (line.empty() || !SplitProperty(line, property)) continue;
        if (SameWord(property.name, "BEGIN") && SameWord(property.value, "VCARD")) {
            if (card.open) {
                read.problem = Label(count, card) + " begins before its END:VCARD";
                return read;
            }
            card = CardState{};
            card.open = true;
            ++count;
        } else if (!card.open) {
            continue;  // between cards: nothing of ours
        } else if (SameWord(property.name, "END") && SameWord(property.value, "VCARD")) {
            if (card.number.empty()) {
                read.problem = Label(count, card) + " has no telephone number (TEL)";
                return read;
            }
            std::string name = card.hasName ? card.fullName : card.structuredName;
            read.entries.push_back({std::move(name), std::move(card.number)});
            card.open = false;
        } else if (SameWord(property.name, "FN") && !card.hasName) {
            card.fullName = UnescapeText(property.value);
            card.hasName = true;
        } else if (SameWord(property.name, "N")) {
            const std::vector<std::string> parts = Components(property.value);
            std::string joined = parts.size() > 1 ? parts[1] : std::string();
            if (!parts[0].empty()) joined += (joined.empty() ? "" : " ") + parts[0];
            card.structuredName = joined;
        } else if (SameWord(property.name, "TEL")) {
            const bool preferred = MarkedPreferred(property.parameters);
            if (card.number.empty() || (preferred && !card.hasPreferred)) {
                card.number = Dialled(property.value);
                card.hasPreferred = preferred;
            }
        }
    }
    if (card.open) {
        read.problem = Label(count, card) + " has no END:VCARD";
    } else if (count == 0) {
        read.problem = "it holds no vCard (no BEGIN:VCARD line)";
    }
    return read;
}

}  // namespace velk::cli
