// Phone-book entries as vCard 3.0 (RFC 2426), one card per entry, and back:
//
//   BEGIN:VCARD
//   VERSION:3.0
//   FN:Zoë Weber
//   N:Weber;Zoë;;;
//   TEL;TYPE=VOICE:+49305550003
//   END:VCARD
//
// Lines end with CR LF; a line longer than 75 bytes is folded (CR LF and one
// space), never inside a UTF-8 character; backslash, comma, semicolon and
// line ends are escaped in text values. The phone keeps one name per entry:
// FN carries it whole, N splits it at its last space (family name behind,
// given name in front), as address books expect.
//
// Reading takes what this writes and what address books usually write:
// folded lines (CR LF or LF, then a space or a tab), property names in any
// case, groups ("item1.TEL"), parameters, several cards after one another.
// Each card gives its FN (or, without one, its N as "given family") and its
// first TEL, preferring one marked TYPE=PREF.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

struct CardEntry {
    std::string name;    // UTF-8
    std::string number;  // as dialled
};

std::string WriteVcards(const std::vector<CardEntry>& entries);

struct CardRead {
    std::vector<CardEntry> entries;
    // Why the text could not be read, a sentence without its full stop;
    // empty when it was.
    std::string problem;
};

CardRead ReadVcards(std::string_view text);

}  // namespace velk::cli
