#include "velkport/block_printer.h"

#include <cstring>

#include "velkport/json_writer.h"

namespace velk::cli {
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

const PrintedForm* FindIn(std::span<const PrintedForm> table, int32_t resultId,
                          const FormChoice& choice) {
    for (const PrintedForm& form : table) {
        if (form.resultId == resultId && VariantHolds(form.variant, choice)) return &form;
    }
    return nullptr;
}

void WriteValue(JsonWriter& json, const unsigned char* payload, const PrintedField& field) {
    const unsigned char* at = payload + field.offset;
    switch (field.type) {
        case PrintedType::kInt32: {
            int32_t value = 0;
            std::memcpy(&value, at, sizeof value);
            json.Number(value);
            break;
        }
        case PrintedType::kByte:
            json.Number(*at);
            break;
        case PrintedType::kText: {
            // A full name field has no terminator: it ends at the field's end.
            const auto* text = reinterpret_cast<const char*>(at);
            json.String(std::string_view(text, ::strnlen(text, field.size)));
            break;
        }
        case PrintedType::kWords: {
            const WordList* words = *reinterpret_cast<const WordList* const*>(at);
            json.BeginArray();
            if (words != nullptr) {
                for (uint16_t word : *words) json.Number(word);
            }
            json.EndArray();
            break;
        }
    }
}

}  // namespace

const PrintedForm* FindPrintedForm(int32_t resultId, const FormChoice& choice) {
    if (const PrintedForm* form = FindIn(ResultFormTable(), resultId, choice)) return form;
    return FindIn(ReportFormTable(), resultId, choice);
}

std::string BlockToJson(const ATCommandBlock& block, const FormChoice& choice) {
    JsonWriter json;
    json.BeginObject().Key("resultId").Number(block.resultId);
    if (const PrintedForm* form = FindPrintedForm(block.resultId, choice)) {
        json.Key("form").String(form->name);
        const auto* payload = reinterpret_cast<const unsigned char*>(&block.result);
        bool valuesOpen = false;
        for (const PrintedField& field : form->fields) {
            // Unnamed fields stand together in one array, in field order.
            if (field.name.empty() != valuesOpen) {
                if (valuesOpen) {
                    json.EndArray();
                } else {
                    json.Key("values").BeginArray();
                }
                valuesOpen = !valuesOpen;
            }
            if (!valuesOpen) json.Key(field.name);
            WriteValue(json, payload, field);
        }
        if (valuesOpen) json.EndArray();
    }
    json.EndObject();
    return json.Text();
}

}  // namespace velk::cli
