// The SIM's phone book and the stored messages the phone starts with. The
// names are made of a first name and a surname, some with letters outside
// ASCII, so that a character set that cannot carry them shows.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "phone_sim/sample_set.h"

namespace velk::phonesim {
namespace {

// 24 first names and 11 surnames give 264 different names; a name is at
// most 16 characters, the room a name has.
constexpr const char* kFirstNames[] = {"Anna",  "Jürgen",   "Zoë",   "Björn", "Chloé",  "David",
                                       "Emma",  "François", "Grace", "Håkan", "Ingrid", "José",
                                       "Karl",  "Léa",      "Marta", "Nils",  "Olga",   "Paul",
                                       "Renée", "Søren",    "Tomás", "Ulla",  "Viktor", "Wanda"};
constexpr const char* kSurnames[] = {"Weber", "Novak", "Smith", "Müller",  "Dubois", "Rossi",
                                     "Berg",  "Costa", "Kowal", "Ødegård", "Lind"};

}  // namespace

// Entry i: odd ones international (type 145), even ones national (129).
Phonebook SampleSimPhonebook(int entries) {
    Phonebook book;
    book.size = std::max(entries, PhoneStore::kDefaultEntries);
    const int firsts = static_cast<int>(std::size(kFirstNames));
    const int surnames = static_cast<int>(std::size(kSurnames));
    for (int i = 1; i <= entries; ++i) {
        char number[32];
        const bool international = i % 2 == 1;
        std::snprintf(number, sizeof number, "%s%04d", international ? "+4930555" : "0172555", i);
        const std::string name = std::string(kFirstNames[(i - 1) % firsts]) + ' ' +
                                 kSurnames[(i - 1) / firsts % surnames];
        book.entries[i] = {number, international ? 145 : 129, name};
    }
    return book;
}

// Two read, one unread, one stored unsent and one sent.
std::map<int, ShortMessage> SampleMessages() {
    return {
        {1, {"REC READ", "+4930555001", "24/05/17,09:30:00+08", "See you at eight"}},
        {2, {"REC READ", "+4930555003", "24/05/18,18:02:41+08", "Grüße aus Köln"}},
        {3, {"REC UNREAD", "+15550123", "24/05/19,07:45:12+08", "Call me when you land"}},
        {4, {"STO UNSENT", "+15550123", "", "Bring the cake"}},
        {5, {"STO SENT", "01725550002", "", "On my way"}},
    };
}

}  // namespace velk::phonesim
