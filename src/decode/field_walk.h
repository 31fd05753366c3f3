// The field lists of the result forms and the walk that fills a result block
// from the parameters of one reply line.
//
// A form is described as a list of fields in the order of its block, which
// is the order of the parameters on the reply line; each names where the
// value goes in the block's result payload, how the parameter's text is read
// and the name the field is printed under. The walk takes one parameter per
// field (a list field takes a whole parenthesised list) and ends at the end
// of the line, so a short line leaves the remaining fields zero and
// parameters beyond the last field are not read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "engine/command_block.h"
#include "engine/thread_ids.h"
#include "response/response_record.h"

namespace velk {

enum class FieldKind : uint8_t {
    kSkip,            // a parameter the form does not keep
    kInt,             // int32: 65535 for an empty or non-digit text
    kIntIfText,       // int32, left 0 when the text is empty (+CBC, +CSQ)
    kByte,            // low 8 bits of the int32 reading: 255 for a bad number
    kShortText,       // text of at most 32 characters, else left empty
    kLongText,        // text of at most 256 characters, else left empty
    kLongTextLength,  // kLongText, its length also to the byte at lengthOffset
    kName,            // 10-byte name, its length to the byte at lengthOffset
    kList,            // a parenthesised list, flattened with commas
    kListNoCommas,    // a parenthesised list, flattened as it stands: (1-250)
    kListOfLists,     // every parenthesised group of the line into one field
    kCodes,           // "country-network": two 10-byte names at offset and lengthOffset
    kAnimParam,       // image parameter digits: three bytes at offset
    kWordList,        // this and every later parameter appended to the list at offset
    kLength,          // the length byte of a name or text: filled with it, takes no parameter
    kBody,            // a message's text, which comes on a raw line of its own (long text)
};

struct FieldEntry {
    FieldKind kind;
    bool optional;          // read only when the parameter was not omitted
    uint16_t offset;        // in the block's result payload
    uint16_t size;          // of the field in the block
    uint16_t lengthOffset;  // of the length byte or the second name
    // Printed name; empty for the unnamed numbers and texts of a form, which
    // are printed together as "values":[...].
    std::string_view name;
};

using FieldList = std::span<const FieldEntry>;

// Fills `block` from `cursor` on, one field after another, and returns the
// node behind the last one read (null at the end of the line). A length byte
// takes no parameter: the name or text it belongs to fills it. A field the
// phone got wrong in a way the transfer thread must hear of (the image
// parameter text) leaves its ResultError block in `error`.
const ATResponseParam* WalkFields(ATCommandBlock& block, const ATResponseParam* cursor,
                                  FieldList fields, ResultBlockPtr& error);

// Flattens the parenthesised list that starts at `cursor` and returns the node
// that holds its ")" (or the last node when the list is not closed).
//   "(", "GSM", "IRA", ")"  ->  "(GSM,IRA)"
//   "(", "0", "-", "1", ")" ->  "(0,-,1)" with commas, "(0-1)" without
const ATResponseParam* FlattenList(const ATResponseParam* cursor, bool commas, std::string& out);

// Copies `text` into a field of `size` bytes, cut to size - 1 and terminated.
void CopyCut(char* dest, std::size_t size, const std::string& text);

// The result payload of `block` as bytes, where the field offsets count from.
inline unsigned char* PayloadOf(ATCommandBlock& block) {
    return reinterpret_cast<unsigned char*>(&block.result);
}

}  // namespace velk

// Field list entries: the kind, then the form and its member, whose name is
// the printed name unless one is given.
#define VELK_FIELD_NAMED(kind, optional, Form, member, length, name)                             \
    ::velk::FieldEntry {                                                                         \
        ::velk::FieldKind::kind, optional, offsetof(Form, member), sizeof(Form::member), length, \
            name                                                                                 \
    }
#define VELK_FIELD(kind, optional, Form, member) \
    VELK_FIELD_NAMED(kind, optional, Form, member, 0, #member)
#define VELK_INT(Form, member) VELK_FIELD(kInt, false, Form, member)
#define VELK_INT_OPT(Form, member) VELK_FIELD(kInt, true, Form, member)
#define VELK_INT_IF_TEXT(Form, member) VELK_FIELD(kIntIfText, false, Form, member)
#define VELK_BYTE(Form, member) VELK_FIELD(kByte, false, Form, member)
#define VELK_SHORT(Form, member) VELK_FIELD(kShortText, false, Form, member)
#define VELK_SHORT_OPT(Form, member) VELK_FIELD(kShortText, true, Form, member)
#define VELK_LONG(Form, member) VELK_FIELD(kLongText, false, Form, member)
#define VELK_LONG_OPT(Form, member) VELK_FIELD(kLongText, true, Form, member)
#define VELK_LIST(Form, member) VELK_FIELD(kList, false, Form, member)
#define VELK_LIST_NO_COMMAS(Form, member) VELK_FIELD(kListNoCommas, false, Form, member)
#define VELK_LIST_OF_LISTS(Form, member) VELK_FIELD(kListOfLists, false, Form, member)
#define VELK_WORDS(Form, member) VELK_FIELD(kWordList, false, Form, member)
#define VELK_LENGTH(Form, member) VELK_FIELD(kLength, false, Form, member)
#define VELK_BODY(Form, member) VELK_FIELD(kBody, false, Form, member)
#define VELK_TEXT_LENGTH(Form, member, length) \
    VELK_FIELD_NAMED(kLongTextLength, false, Form, member, offsetof(Form, length), #member)
#define VELK_NAME(Form, member, length) \
    VELK_FIELD_NAMED(kName, false, Form, member, offsetof(Form, length), #member)
// A field without a name of its own, printed among the form's "values".
#define VELK_VALUE(kind, Form, member) VELK_FIELD_NAMED(kind, false, Form, member, 0, "")
#define VELK_SKIP                                    \
    ::velk::FieldEntry {                             \
        ::velk::FieldKind::kSkip, false, 0, 0, 0, "" \
    }
