// A phone book on the phone as the contact subcommands see it: one memory
// (SM, ME, ...) chosen with AT+CPBS, its places and room from AT+CPBR=? and
// AT+CPBS?, the character set from AT+CSCS=? (UCS2 where the phone offers
// it, else IRA), and its entries read in a few large ranges of AT+CPBR=,
// found with AT+CPBF= and written with AT+CPBW=, names as UTF-8 on this
// side. Every step is a run of catalogue commands through velk_RunCommands,
// as an application makes them.
//
// Each call that talks to the phone answers kExitDone or an exit code, and
// has then said why on standard error.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "velkport/character_set_choice.h"
#include "velkport/transfer_context.h"

namespace velk::cli {

struct ContactEntry {
    int index = 0;
    std::string number;  // UTF-8; empty in a write: delete the entry
    int type = 0;        // 145 international, 129 national, ...
    std::string name;    // UTF-8
};

// The number type a number is written with: 145 with a "+" in front.
int NumberType(const std::string& number);

struct BookLayout {
    std::string memory;
    // UCS2 where offered, else IRA; a phone that lists no character sets
    // is left in its own and read as IRA.
    CharacterSetChoice characterSet;
    int first = 1;
    int last = 0;
    int numberLength = 0;  // 0: not told
    int textLength = 0;    // 0: not told
    int used = -1;         // -1: not told
};

class PhonebookSession {
  public:
    explicit PhonebookSession(const Transfer& t) : t_(t) {}

    // Asks the character sets, chooses `memory` and asks its places.
    int Open(const std::string& memory);
    const BookLayout& Layout() const { return layout_; }

    int ReadAll(std::vector<ContactEntry>& entries);
    // The entries whose names the phone finds for `text` (AT+CPBF).
    int Find(const std::string& text, std::vector<ContactEntry>& entries);
    // Writes each entry at its index; one without a number deletes its place.
    int Write(const std::vector<ContactEntry>& entries);

    // Why the phone book cannot take this, a sentence without its full stop;
    // empty when it can.
    std::string IndexProblem(int index) const;
    std::string NumberProblem(const std::string& number) const;
    std::string NameProblem(const std::string& name) const;

  private:
    struct Block {
        std::size_t position;  // in the texts of the steps
        std::string json;
    };
    // Runs `texts` after the character-set choice, in as few operations as
    // the library takes; a refusal that `tolerated` accepts goes on with the
    // next text. The blocks of every command, with their places.
    using Tolerance = std::function<bool(std::size_t position, const std::string& line)>;
    int RunSteps(const std::vector<std::string>& texts, const Tolerance& tolerated,
                 std::vector<Block>& blocks, const char* doing, bool chooseSet = true);
    std::string LineText(const std::string& utf8) const;
    ContactEntry EntryOf(const std::string& json) const;

    const Transfer& t_;
    BookLayout layout_;
};

}  // namespace velk::cli
