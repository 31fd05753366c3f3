#include "decode/result_json.h"

#include <cstring>

#include "decode/json_string.h"
#include "decode/result_form_table.h"
#include "engine/result_forms.h"

namespace velk {
namespace {

// The error head whose place in the unsolicited decoder's table is the
// broadcast header's; "+CMT" and every other head reach the message header.
constexpr std::string_view kBroadcastReportHead = "+CMS ERROR";

bool VariantHolds(FormVariant variant, const FormChoice& choice) {
    switch (variant) {
        case FormVariant::kOnly:
            return true;
        case FormVariant::kDeliver:
            return choice.readForm != 1;
        case FormVariant::kSubmit:
            return choice.readForm == 1;
        case FormVariant::kMessageReport:
            return choice.head != kBroadcastReportHead;
        case FormVariant::kBroadcastReport:
            return choice.head == kBroadcastReportHead;
    }
    return false;
}

const ResultForm* ChosenForm(int32_t resultId, const FormChoice& choice) {
    for (const ResultForm& form : FormsOf(resultId)) {
        if (VariantHolds(form.variant, choice)) return &form;
    }
    return nullptr;
}

void AppendValue(std::string& out, const unsigned char* payload, const FieldEntry& field) {
    const unsigned char* at = payload + field.offset;
    switch (field.kind) {
        case FieldKind::kInt:
        case FieldKind::kIntIfText: {
            int32_t value = 0;
            std::memcpy(&value, at, sizeof value);
            out += std::to_string(value);
            break;
        }
        case FieldKind::kByte:
        case FieldKind::kLength:
            out += std::to_string(*at);
            break;
        case FieldKind::kShortText:
        case FieldKind::kLongText:
        case FieldKind::kLongTextLength:
        case FieldKind::kName:
        case FieldKind::kList:
        case FieldKind::kListNoCommas:
        case FieldKind::kListOfLists:
        case FieldKind::kBody: {
            // A full name field has no terminator: it ends at the field's end.
            const auto* text = reinterpret_cast<const char*>(at);
            AppendJsonString(out, std::string_view(text, ::strnlen(text, field.size)));
            break;
        }
        case FieldKind::kWordList: {
            const WordList* words = nullptr;
            // The field holds the list's pointer, which is what is copied.
            std::memcpy(&words, at, sizeof words);  // NOLINT(bugprone-sizeof-expression)
            out += '[';
            if (words != nullptr) {
                const char* comma = "";
                for (uint16_t word : *words) {
                    out += comma;
                    out += std::to_string(word);
                    comma = ",";
                }
            }
            out += ']';
            break;
        }
        case FieldKind::kSkip:
        case FieldKind::kCodes:
        case FieldKind::kAnimParam:
            // Not printed: a parameter the form does not keep, and the kinds
            // only a part shape reads.
            break;
    }
}

}  // namespace

std::string ResultBlockToJson(const ATCommandBlock& block, const FormChoice& choice) {
    std::string out = "{\"resultId\":" + std::to_string(block.resultId);
    if (const ResultForm* form = ChosenForm(block.resultId, choice)) {
        out += ",\"form\":";
        AppendJsonString(out, form->name);
        const auto* payload = reinterpret_cast<const unsigned char*>(&block.result);
        bool valuesOpen = false;
        for (const FieldEntry& field : form->fields) {
            if (field.kind == FieldKind::kSkip) continue;
            // Unnamed fields stand together in one array, in field order.
            if (field.name.empty()) {
                out += valuesOpen ? "," : ",\"values\":[";
                valuesOpen = true;
            } else {
                if (valuesOpen) out += ']';
                valuesOpen = false;
                out += ',';
                AppendJsonString(out, field.name);
                out += ':';
            }
            AppendValue(out, payload, field);
        }
        if (valuesOpen) out += ']';
    }
    out += '}';
    return out;
}

}  // namespace velk
