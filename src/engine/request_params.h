// The parameters of each request form, as data: which field of the request
// block each one is, how it is written and when it is left out. The builder
// writes a command's parameters by walking its form's list, and the command
// parser reads a typed command back into the block by walking the same list,
// so the two cannot drift apart. The rows are in request_params.cpp.
//
// The four chunk forms of the data writes have no list: their lines follow
// the chunk index and the kind, and the builder writes them by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "engine/command_table.h"
#include "engine/request_forms.h"

namespace velk {

enum class ParamKind : uint8_t {
    kNumber,  // int32, written as "%d"
    kByte,    // uint8, written in decimal
    kQuoted,  // a NUL-ended text field, written between double quotes
};

// Parameters are separated by commas. What happens to one that is left out
// (a number equal to `omitted`, an empty text):
enum class ParamPresence : uint8_t {
    kAlways,   // never left out: 65535 and "" are sent as they are
    kChained,  // the line ends in front of it, and of everything after it
    kGap,      // its place stays empty between its commas, and the line goes on
};

struct RequestParam {
    // Its name in the syntax of the command, as the phone's manuals write it.
    const char* name;
    ParamKind kind;
    ParamPresence presence;
    // The field inside RequestForms, and the bytes it takes.
    uint16_t offset;
    uint16_t width;
    int32_t omitted = kOmitted;
};

struct FormParams {
    std::span<const RequestParam> params;
    // Written in front of the first parameter when there is one: the forms
    // whose AT text is complete alone ("AT+CSAS", "AT+CMGL") take "=" here.
    char lead = '\0';
    // Written after the last parameter: "AT+CPIN=" ends in a comma.
    char tail = '\0';
    // A chunk of a tone, image or logo transfer: no list, see above.
    bool chunk = false;
};

// The parameters of `form`.
const FormParams& ParamsOf(RequestForm form);

// The longest list of any form.
inline constexpr size_t kMaxParams = 10;

// Reading and writing one parameter's field in a request.
int32_t ParamNumber(const RequestParam& param, const RequestForms& request);
std::string_view ParamText(const RequestParam& param, const RequestForms& request);
bool ParamOmitted(const RequestParam& param, const RequestForms& request);
void SetParamNumber(const RequestParam& param, int32_t value, RequestForms& request);
// `text` must be shorter than the field: the zero byte behind it is written.
void SetParamText(const RequestParam& param, std::string_view text, RequestForms& request);

}  // namespace velk
