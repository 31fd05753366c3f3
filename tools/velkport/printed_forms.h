// How each result block is printed: the form's name and its fields in the
// order the form lists them, with the names a reader of the reply knows.
// The tables are data over the blocks' own layout (result_forms.h); the
// printer walks them without knowing any form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "engine/result_forms.h"

namespace velk::cli {

enum class PrintedType : uint8_t {
    kInt32,  // a number from a parameter, 65535 when there was none
    kByte,   // the low 8 bits of such a number
    kText,   // bytes up to the terminator or the field's end
    kWords,  // a WordList* of 16-bit numbers, printed as an array
};

struct PrintedField {
    // Empty for the forms whose fields have no names: those are printed
    // together as "values":[...].
    std::string_view name;
    PrintedType type;
    uint16_t offset;  // in the block's result payload
    uint16_t size;    // of the field in the block
};

// Two pairs of forms share a result id; what was in force when the block was
// made tells them apart.
enum class FormVariant : uint8_t {
    kOnly,             // the one form of its id
    kDeliver,          // ResultMessageHeader read as a delivered message
    kSubmit,           // ResultMessageHeader read as a submitted message
    kMessageReport,    // id 57 from a "+CMT" line
    kBroadcastReport,  // id 57 from the head that reaches the broadcast form
};

struct PrintedForm {
    int32_t resultId;
    std::string_view name;
    std::span<const PrintedField> fields;
    FormVariant variant = FormVariant::kOnly;
};

// The forms of information lines and the status forms.
std::span<const PrintedForm> ResultFormTable();
// The forms of lines the phone sends of its own accord.
std::span<const PrintedForm> ReportFormTable();

}  // namespace velk::cli

// Table entries: the printed type, the form and its member; the member's name
// is the printed name unless one is given.
#define VELK_PRINTED_SIZED(type, Form, member, name, size)                                   \
    ::velk::cli::PrintedField {                                                              \
        name, ::velk::cli::PrintedType::type, static_cast<uint16_t>(offsetof(Form, member)), \
            static_cast<uint16_t>(size)                                                      \
    }
#define VELK_PRINTED(type, Form, member, name) \
    VELK_PRINTED_SIZED(type, Form, member, name, sizeof(Form::member))
#define VELK_P_INT(Form, member) VELK_PRINTED(kInt32, Form, member, #member)
#define VELK_P_BYTE(Form, member) VELK_PRINTED(kByte, Form, member, #member)
#define VELK_P_TEXT(Form, member) VELK_PRINTED(kText, Form, member, #member)
#define VELK_P_UNNAMED(type, Form, member) VELK_PRINTED(type, Form, member, "")
// The list field is a pointer, read by the printer as one.
#define VELK_P_WORDS(Form, member) \
    VELK_PRINTED_SIZED(kWords, Form, member, #member, sizeof(::velk::WordList*))
