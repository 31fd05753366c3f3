// The table of result forms: for every result id, the form's name and its one
// field list. The decoders fill a block from it and the printer prints the
// block from it, so a form is written once.
//
// The table has two halves, each sorted by result id: the forms of the
// device and its line (status, identification, network, calls and services,
// and every line the phone sends of its own accord) and the forms of what
// the phone stores (phone book, short messages and their settings, tones,
// images and logos).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "decode/field_walk.h"

namespace velk {

// Two pairs of forms share a result id; what was in force when the block was
// made tells them apart.
enum class FormVariant : uint8_t {
    kOnly,             // the one form of its id
    kDeliver,          // ResultMessageHeader read as a delivered message
    kSubmit,           // ResultMessageHeader read as a submitted message
    kMessageReport,    // id 57 from a "+CMT" line
    kBroadcastReport,  // id 57 from the head that reaches the broadcast form
};

struct ResultForm {
    int32_t resultId;
    std::string_view name;
    // Every field of the block in the order of the block, as it is printed.
    // The last field of a message header is its body, which comes on a line
    // of its own. A tone, image or logo part line is read by its part shape
    // (part_shapes.cpp); its list here serves the printer only.
    FieldList fields;
    FormVariant variant = FormVariant::kOnly;
    // The raw line behind a message header fills `body` alone; the block is
    // printed with all the fields of its header.
    bool bodyLine = false;
};

// The forms of `resultId`, two for an id that two forms share, none for an
// id without a form.
std::span<const ResultForm> FormsOf(int32_t resultId);

// The form of `resultId` in `variant`; null when there is none.
const ResultForm* FindResultForm(int32_t resultId, FormVariant variant = FormVariant::kOnly);

// The fields a reply line fills, in the order of its parameters: of a body
// line the body alone, of any other line every field before the body.
FieldList LineFields(const ResultForm& form);

// The two halves of the table.
std::span<const ResultForm> DeviceForms();
std::span<const ResultForm> StoreForms();

// What each half asserts of itself: sorted by result id; every field list in
// the order of its block, its body last; a body form with a body; and no
// field kind that only a part shape reads.
constexpr bool WellFormed(std::span<const ResultForm> forms) {
    for (std::size_t i = 0; i < forms.size(); ++i) {
        const ResultForm& form = forms[i];
        if (i > 0 && forms[i - 1].resultId > form.resultId) return false;
        if (form.bodyLine && (form.fields.empty() || form.fields.back().kind != FieldKind::kBody)) {
            return false;
        }
        std::size_t end = 0;
        for (std::size_t f = 0; f < form.fields.size(); ++f) {
            const FieldEntry& field = form.fields[f];
            if (field.kind == FieldKind::kSkip) continue;
            if (field.kind == FieldKind::kCodes || field.kind == FieldKind::kAnimParam)
                return false;
            if (field.kind == FieldKind::kBody && f + 1 != form.fields.size()) return false;
            if (field.offset < end) return false;
            end = field.offset + field.size;
        }
    }
    return true;
}

}  // namespace velk
