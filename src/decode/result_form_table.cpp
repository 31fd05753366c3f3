#include "decode/result_form_table.h"

#include <algorithm>

namespace velk {
namespace {

struct ById {
    bool operator()(const ResultForm& form, int32_t id) const { return form.resultId < id; }
    bool operator()(int32_t id, const ResultForm& form) const { return id < form.resultId; }
};

std::span<const ResultForm> FormsIn(std::span<const ResultForm> half, int32_t resultId) {
    const auto [first, last] = std::equal_range(half.begin(), half.end(), resultId, ById{});
    return {first, last};
}

}  // namespace

std::span<const ResultForm> FormsOf(int32_t resultId) {
    std::span<const ResultForm> forms = FormsIn(DeviceForms(), resultId);
    return forms.empty() ? FormsIn(StoreForms(), resultId) : forms;
}

const ResultForm* FindResultForm(int32_t resultId, FormVariant variant) {
    for (const ResultForm& form : FormsOf(resultId)) {
        if (form.variant == variant) return &form;
    }
    return nullptr;
}

FieldList LineFields(const ResultForm& form) {
    const FieldList fields = form.fields;
    const bool hasBody = !fields.empty() && fields.back().kind == FieldKind::kBody;
    if (form.bodyLine) return fields.last(hasBody ? 1 : 0);
    return hasBody ? fields.first(fields.size() - 1) : fields;
}

}  // namespace velk
