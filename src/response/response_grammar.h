// The grammar of reply heads: every head the system knows in a phone's reply,
// with the parameter types that a line with that head may carry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velk {

// Parameter type codes. 0 to 10 have a validator (param_validators.h); the
// others only mark what a node is.
enum ParamType : uint32_t {
    paramStorage = 0,         // "SM", "ME", ...
    paramDialString = 1,      // digits and ",/:+-"
    paramText = 2,            // up to 128 characters of anything
    paramNumberString = 3,    // 1 to 80 digits, "-" or "+"
    paramFlag = 4,            // "0" or "1"
    paramNumber = 5,          // 1 to 80 digits, "." or "-"
    paramDigit04 = 6,         // one of "01234"
    paramDigit05 = 7,         // one of "012345"
    paramAddressType = 8,     // "145" or "129"
    paramDigit02 = 9,         // one of "012"
    paramMessageStatus = 10,  // "REC UNREAD", "REC READ", ...
    paramWholeLine = 11,      // the line is not cut: the node holds all of it
    paramErrorText = 12,      // the detail of an error line
    paramPunctuation = 13,    // "(", ")" or "-" of a range list
    paramOmitted = 14,        // empty between two commas
    paramNone = 15,           // a free signature entry; a node without a type yet
};

inline constexpr std::size_t kSignatureSize = 4;

// One head. A signature says what one parameter of such a line may be,
// whatever its position: a value in double quotes is tried against
// quotedTypes, one without against plainTypes, left to right, as many entries
// as the count says. A count of 0 makes every parameter of that form illegal.
struct ResponseGrammarRow {
    const char* head;  // without its "+", upper case
    uint32_t responseCode;
    uint32_t quotedCount;
    uint32_t quotedTypes[kSignatureSize];
    uint32_t plainCount;
    uint32_t plainTypes[kSignatureSize];
};

inline constexpr std::size_t kGrammarRowCount = 85;
extern const ResponseGrammarRow responseGrammarTable[kGrammarRowCount];

// The first row whose head equals `head` byte for byte, or null.
const ResponseGrammarRow* FindGrammarRow(std::string_view head);

}  // namespace velk
