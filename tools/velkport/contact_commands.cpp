// contacts, contact-put, contact-delete and contacts-restore: the phone's
// phone books read, written and restored from vCards, names as UTF-8.
#include <charconv>
#include <ostream>
#include <string>
#include <vector>

#include "velkport/json_text.h"
#include "velkport/phonebook_session.h"
#include "velkport/transfer_context.h"
#include "velkport/ucs2_text.h"
#include "velkport/vcard_text.h"

namespace velk::cli {
namespace {

// Indexes are at most five digits on the phones we know.
constexpr int kMostIndex = 99999;

bool ReadIndex(const std::string& text, int& index, std::string& problem) {
    if (!ReadWholeNumber(std::string_view(text), index) || index < 1 || index > kMostIndex) {
        problem = "an index is a whole number from 1 to " + std::to_string(kMostIndex) +
                  ", not \"" + text + "\"";
        return false;
    }
    return true;
}

std::string EntryJson(const ContactEntry& entry) {
    return "{\"index\":" + std::to_string(entry.index) + ",\"number\":" + JsonUtf8(entry.number) +
           ",\"type\":" + std::to_string(entry.type) + ",\"name\":" + JsonUtf8(entry.name) + "}";
}

void PrintJson(std::ostream& out, const std::vector<ContactEntry>& entries) {
    if (entries.empty()) {
        out << "[]\n";
        return;
    }
    out << "[\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        out << "  " << EntryJson(entries[i]) << (i + 1 < entries.size() ? ",\n" : "\n");
    }
    out << "]\n";
}

void PrintTable(std::ostream& out, const std::vector<ContactEntry>& entries) {
    std::size_t width = 6;
    for (const ContactEntry& entry : entries) width = std::max(width, Utf16Units(entry.number));
    out << "index  number" << std::string(width - 6, ' ') << "  type  name\n";
    for (const ContactEntry& entry : entries) {
        const std::string index = std::to_string(entry.index);
        const std::string type = std::to_string(entry.type);
        out << std::string(index.size() < 5 ? 5 - index.size() : 0, ' ') << index << "  "
            << entry.number << std::string(width - Utf16Units(entry.number), ' ') << "  "
            << std::string(type.size() < 4 ? 4 - type.size() : 0, ' ') << type << "  " << entry.name
            << '\n';
    }
}

std::vector<CardEntry> CardsOf(const std::vector<ContactEntry>& entries) {
    std::vector<CardEntry> cards;
    cards.reserve(entries.size());
    for (const ContactEntry& entry : entries) cards.push_back({entry.name, entry.number});
    return cards;
}

// "card 3 (Zoë Weber)"
std::string CardLabel(std::size_t number, const CardEntry& card) {
    return "card " + std::to_string(number) + (card.name.empty() ? "" : " (" + card.name + ")");
}

}  // namespace

int PrepareContacts(const TransferArgs& args, TransferPlan&, std::string& problem) {
    if (args.json && args.vcard) {
        problem = "--json and --vcard cannot go together: choose one form";
        return kExitUsage;
    }
    return kExitDone;
}

int PrepareContactPut(const TransferArgs& args, TransferPlan&, std::string& problem) {
    int index = 0;
    if (!ReadIndex(args.positionals[0], index, problem)) return kExitUsage;
    // A name from the command line must be UTF-8: it goes to the phone as such.
    if (!IsUtf8(args.positionals[2])) {
        problem = "the name is no UTF-8 text: write it as the terminal does";
        return kExitUsage;
    }
    return kExitDone;
}

int PrepareContactDelete(const TransferArgs& args, TransferPlan&, std::string& problem) {
    int index = 0;
    return ReadIndex(args.positionals[0], index, problem) ? kExitDone : kExitUsage;
}

int PrepareContactsRestore(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    const std::string& path = args.positionals[0];
    std::optional<std::string> text = ReadTransferFile(path, problem);
    if (!text) return kExitUsage;
    const CardRead read = ReadVcards(*text);
    if (!read.problem.empty()) {
        problem = path + " cannot be restored: " + read.problem;
        return kExitUsage;
    }
    plan.text = std::move(*text);
    return kExitDone;
}

int ListContacts(const Transfer& t) {
    PhonebookSession book(t);
    if (int code = book.Open(t.args.memory); code != kExitDone) return code;
    std::vector<ContactEntry> entries;
    const int code = t.args.find.empty() ? book.ReadAll(entries) : book.Find(t.args.find, entries);
    if (code != kExitDone) return code;
    if (t.args.json) {
        PrintJson(t.io.out, entries);
    } else if (t.args.vcard) {
        t.io.out << WriteVcards(CardsOf(entries));
    } else if (entries.empty()) {
        t.io.err << "velkport " << t.command << ": "
                 << (t.args.find.empty() ? "the phone book " + t.args.memory + " is empty."
                                         : "no name in the phone book " + t.args.memory +
                                               " was found for \"" + t.args.find + "\".")
                 << '\n';
    } else {
        PrintTable(t.io.out, entries);
    }
    return kExitDone;
}

int PutContact(const Transfer& t) {
    PhonebookSession book(t);
    if (int code = book.Open(t.args.memory); code != kExitDone) return code;
    ContactEntry entry;
    std::string problem;
    ReadIndex(t.args.positionals[0], entry.index, problem);
    entry.number = t.args.positionals[1];
    entry.name = t.args.positionals[2];
    entry.type = NumberType(entry.number);
    for (const std::string& found :
         {book.IndexProblem(entry.index), book.NumberProblem(entry.number),
          book.NameProblem(entry.name)}) {
        if (!found.empty()) return t.Report(kExitUsage, found + "; nothing was written");
    }
    if (int code = book.Write({entry}); code != kExitDone) return code;
    t.io.out << "contact " << entry.index << " of " << t.args.memory << " written: " << entry.number
             << ' ' << entry.name << '\n';
    return kExitDone;
}

int DeleteContact(const Transfer& t) {
    PhonebookSession book(t);
    if (int code = book.Open(t.args.memory); code != kExitDone) return code;
    ContactEntry entry;
    std::string problem;
    ReadIndex(t.args.positionals[0], entry.index, problem);
    if (const std::string found = book.IndexProblem(entry.index); !found.empty()) {
        return t.Report(kExitUsage, found);
    }
    if (int code = book.Write({entry}); code != kExitDone) return code;
    t.io.out << "contact " << entry.index << " of " << t.args.memory << " deleted\n";
    return kExitDone;
}

int RestoreContacts(const Transfer& t) {
    const std::vector<CardEntry> cards = ReadVcards(t.plan.text).entries;
    const std::string& path = t.args.positionals[0];
    PhonebookSession book(t);
    if (int code = book.Open(t.args.memory); code != kExitDone) return code;
    for (std::size_t i = 0; i < cards.size(); ++i) {
        for (const std::string& found :
             {book.NumberProblem(cards[i].number), book.NameProblem(cards[i].name)}) {
            if (!found.empty()) {
                // NOLINTNEXTLINE(performance-inefficient-string-concatenation): said once
                return t.Report(kExitUsage, path + ", " + CardLabel(i + 1, cards[i]) + ": " +
                                                found + "; nothing was written");
            }
        }
    }
    // The free places, from what the phone book holds now.
    std::vector<ContactEntry> held;
    if (int code = book.ReadAll(held); code != kExitDone) return code;
    const BookLayout& layout = book.Layout();
    // An entry whose line could not be read would look like a free place:
    // better no restore than one over it.
    if (layout.used >= 0 && held.size() < static_cast<std::size_t>(layout.used)) {
        return t.Report(kExitRefused, "the phone book " + layout.memory + " holds " +
                                          std::to_string(layout.used) +
                                          (layout.used == 1 ? " entry" : " entries") +
                                          " by the phone's count, but only " +
                                          std::to_string(held.size()) +
                                          " could be read: nothing was written, so that none is "
                                          "written over; try again");
    }
    std::vector<ContactEntry> writes;
    std::size_t next = 0;
    for (int index = layout.first; index <= layout.last && writes.size() < cards.size(); ++index) {
        while (next < held.size() && held[next].index < index) ++next;
        if (next < held.size() && held[next].index == index) continue;
        const CardEntry& card = cards[writes.size()];
        writes.push_back({index, card.number, NumberType(card.number), card.name});
    }
    if (writes.size() < cards.size()) {
        const std::size_t free = writes.size();
        return t.Report(kExitUsage, "the phone book " + layout.memory + " has " +
                                        Counted(free, "free place") + " and " + path + " holds " +
                                        Counted(cards.size(), "contact") +
                                        ": nothing was written; delete entries there first, or "
                                        "restore into another memory with --memory");
    }
    if (int code = book.Write(writes); code != kExitDone) {
        t.io.err << "velkport " << t.command << ": the phone book " << layout.memory
                 << " may now hold part of " << path << ".\n";
        return code;
    }
    if (t.args.json) {
        PrintJson(t.io.out, writes);
    } else {
        t.io.out << Counted(writes.size(), "contact") << " of " << path << " restored into "
                 << layout.memory << '\n';
    }
    return kExitDone;
}

}  // namespace velk::cli
