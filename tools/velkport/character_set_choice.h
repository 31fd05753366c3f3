// The character set the contact and message subcommands speak to the phone
// in (AT+CSCS): UCS2 where the phone offers it, so that names and texts
// cross the line whole; else IRA where it lists that; else, for a phone
// that lists none, what the subcommand asks for (its own set left alone, or
// IRA all the same). The set the phone had before is chosen again after
// each operation, so that the phone is left as it was found.
//
// In UCS2 a phone sends texts as UCS2 hex, and 27.005 puts numbers (<oa>,
// <da>, phone-book numbers) in the same set; many phones send numbers as
// plain digits all the same, so a number is read as UCS2 only where it looks
// like one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

class CharacterSetChoice {
  public:
    // Takes one result block of the answers to AT+CSCS? and AT+CSCS=?;
    // blocks of other forms are left alone.
    void Take(std::string_view block);
    // Chooses from what was taken; `unlisted` (empty: none) for a phone
    // that gave no list.
    void Choose(std::string_view unlisted);

    // "UCS2", "IRA", or empty: the phone's own set, read as IRA.
    const std::string& Set() const { return set_; }
    // The set the phone had before, empty when not told.
    const std::string& Former() const { return former_; }
    bool Ucs2() const { return set_ == "UCS2"; }
    // The same phone spoken to in `set` instead.
    CharacterSetChoice InSet(std::string_view set) const;

    // The command that chooses the set before an operation's commands, and
    // the one that returns to the former set after them; each empty when
    // none is needed.
    std::vector<std::string> Choosing() const;
    std::vector<std::string> Returning() const;

    // A text field of the phone's as UTF-8; in UCS2 one that is plainly no
    // hexadecimal is read as IRA.
    std::string TextOf(std::string_view field) const;
    // A number field of the phone's as UTF-8: UCS2 only where it looks so.
    std::string NumberOf(std::string_view field) const;
    // A UTF-8 text as the phone takes it in the chosen set.
    std::string LineText(std::string_view utf8) const;

  private:
    std::string set_;
    std::string former_;
    std::string offered_;
    bool listed_ = false;
};

}  // namespace velk::cli
