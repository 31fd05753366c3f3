#include "decode/solicited_cases.h"

#include <cstddef>
#include <cstdint>

#include "engine/result_forms.h"

namespace velk {
namespace {

// The shapes of the part lines.
// +RNGR: <index>,<name>,<part>,<parts>,<size or length>,<size low>,"<text>",<check>
// +IMGR: the same with the image parameter digits before the text.
// +LOGOR: <index>,<type>,<country>-<network>,<parts>,<part>, then the tone tail.

#define VELK_PART_HEAD(Form)                                                          \
    VELK_BYTE(Form, index), VELK_NAME(Form, name, nameLength), VELK_BYTE(Form, part), \
        VELK_BYTE(Form, totalParts)

constexpr FieldEntry kToneHead[] = {VELK_PART_HEAD(ResultTonePart)};
constexpr FieldEntry kToneOnly[] = {VELK_BYTE(ResultTonePart, textLength), VELK_SKIP,
                                    VELK_LONG(ResultTonePart, text),
                                    VELK_BYTE(ResultTonePart, partCheck)};
constexpr FieldEntry kToneFirst[] = {
    VELK_BYTE(ResultTonePart, sizeHigh), VELK_BYTE(ResultTonePart, sizeLow),
    VELK_TEXT_LENGTH(ResultTonePart, text, textLength), VELK_BYTE(ResultTonePart, partCheck)};
constexpr FieldEntry kToneLater[] = {VELK_SKIP, VELK_SKIP,
                                     VELK_TEXT_LENGTH(ResultTonePart, text, textLength),
                                     VELK_BYTE(ResultTonePart, partCheck)};

#define VELK_ANIM_PARAM VELK_FIELD(kAnimParam, true, ResultImagePart, animParam1)

constexpr FieldEntry kImageHead[] = {VELK_PART_HEAD(ResultImagePart)};
constexpr FieldEntry kImageOnly[] = {VELK_BYTE(ResultImagePart, textLength), VELK_SKIP,
                                     VELK_ANIM_PARAM, VELK_LONG(ResultImagePart, text),
                                     VELK_BYTE(ResultImagePart, partCheck)};
constexpr FieldEntry kImageFirst[] = {
    VELK_BYTE(ResultImagePart, sizeHigh), VELK_BYTE(ResultImagePart, sizeLow), VELK_ANIM_PARAM,
    VELK_TEXT_LENGTH(ResultImagePart, text, textLength), VELK_BYTE(ResultImagePart, partCheck)};
constexpr FieldEntry kImageLater[] = {VELK_SKIP, VELK_SKIP, VELK_ANIM_PARAM,
                                      VELK_TEXT_LENGTH(ResultImagePart, text, textLength),
                                      VELK_BYTE(ResultImagePart, partCheck)};

constexpr FieldEntry kLogoHead[] = {
    VELK_BYTE(ResultLogoPart, index),
    VELK_BYTE(ResultLogoPart, logoType),
    VELK_FIELD_NAMED(kCodes, false, ResultLogoPart, countryCode,
                     offsetof(ResultLogoPart, networkCode), "countryCode"),
    VELK_BYTE(ResultLogoPart, totalParts),
    VELK_BYTE(ResultLogoPart, part),
};
// A logo keeps the text length only in an only part.
constexpr FieldEntry kLogoOnly[] = {VELK_BYTE(ResultLogoPart, textLength), VELK_SKIP,
                                    VELK_LONG(ResultLogoPart, text),
                                    VELK_BYTE(ResultLogoPart, partCheck)};
constexpr FieldEntry kLogoFirst[] = {
    VELK_BYTE(ResultLogoPart, sizeHigh), VELK_BYTE(ResultLogoPart, sizeLow),
    VELK_LONG(ResultLogoPart, text), VELK_BYTE(ResultLogoPart, partCheck)};
constexpr FieldEntry kLogoLater[] = {VELK_SKIP, VELK_SKIP, VELK_LONG(ResultLogoPart, text),
                                     VELK_BYTE(ResultLogoPart, partCheck)};

#undef VELK_PART_HEAD
#undef VELK_ANIM_PARAM

constexpr PartShape kTonePart{kToneHead, offsetof(ResultTonePart, part), kToneOnly, kToneFirst,
                              kToneLater};
constexpr PartShape kImagePart{kImageHead, offsetof(ResultImagePart, part), kImageOnly, kImageFirst,
                               kImageLater};
constexpr PartShape kLogoPart{kLogoHead, offsetof(ResultLogoPart, part), kLogoOnly, kLogoFirst,
                              kLogoLater};

struct PartRow {
    int32_t resultId;
    const PartShape* shape;
};

constexpr PartRow kParts[] = {{153, &kTonePart}, {158, &kImagePart}, {162, &kLogoPart}};

}  // namespace

SolicitedForm PartForm(int32_t resultId) {
    for (const PartRow& row : kParts) {
        if (row.resultId == resultId) return {resultId, {}, row.shape};
    }
    return {};
}

}  // namespace velk
