#include "decode/field_walk.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "decode/result_blocks.h"
#include "decode/value_conversions.h"

namespace velk {
namespace {

void PutInt(ATCommandBlock& block, uint16_t offset, int32_t value) {
    std::memcpy(PayloadOf(block) + offset, &value, sizeof value);
}

void PutByte(ATCommandBlock& block, uint16_t offset, int32_t value) {
    PayloadOf(block)[offset] = static_cast<unsigned char>(value & 0xFF);
}

char* TextAt(ATCommandBlock& block, uint16_t offset) {
    return reinterpret_cast<char*>(PayloadOf(block) + offset);
}

using Name = char[kNameFieldSize];

uint32_t PutName(ATCommandBlock& block, uint16_t offset, const std::string& text) {
    return ParamToName(*reinterpret_cast<Name*>(TextAt(block, offset)), text);
}

// "460-00": the country code before the first dash, the network code behind
// it. A text without a dash is all country code.
void PutCodes(ATCommandBlock& block, const FieldEntry& entry, const std::string& text) {
    std::size_t dash = text.find('-');
    PutName(block, entry.offset, text.substr(0, dash));
    PutName(block, entry.lengthOffset, dash == std::string::npos ? "" : text.substr(dash + 1));
}

// The image parameter is three two-digit numbers, "250010". Anything else
// leaves the three numbers 0 and gives the error the transfer thread hears.
void PutAnimParam(ATCommandBlock& block, uint16_t offset, const std::string& text,
                  ResultBlockPtr& error) {
    // Six digits make the three numbers; read in place, as every image part
    // carries them.
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    if (text.size() == 6 && std::all_of(text.begin(), text.end(), digit)) {
        for (std::size_t i = 0; i < 3; ++i) {
            const int pair = (text[2 * i] - '0') * 10 + (text[2 * i + 1] - '0');
            PayloadOf(block)[offset + i] = static_cast<unsigned char>(pair);
        }
        return;
    }
    error = ErrorBlock("animParam " + text + " is not right");
}

void PutWords(ATCommandBlock& block, uint16_t offset, const ATResponseParam* cursor) {
    WordList*& list = *reinterpret_cast<WordList**>(PayloadOf(block) + offset);
    if (list == nullptr) list = NewWordList();
    if (list == nullptr) return;
    for (; cursor != nullptr; cursor = cursor->next) {
        list->push_back(static_cast<uint16_t>(ParamToInt(cursor->text)));
    }
}

// Every group of a reply made of several lists, "(...),(...)", one after the
// other, separated by commas; empty parameters between groups are passed over.
const ATResponseParam* FlattenGroups(const ATResponseParam* cursor, std::string& out) {
    const ATResponseParam* last = cursor;
    while (cursor != nullptr) {
        if (cursor->omitted == 1) {
            last = cursor;
            cursor = cursor->next;
            continue;
        }
        std::string group;
        last = FlattenList(cursor, true, group);
        if (!out.empty()) out += ',';
        out += group;
        cursor = last->next;
    }
    return last;
}

// Reads one field from `cursor`; returns the last node it took.
const ATResponseParam* ReadField(ATCommandBlock& block, const FieldEntry& entry,
                                 const ATResponseParam* cursor, ResultBlockPtr& error) {
    if (entry.optional && cursor->omitted == 1) return cursor;
    const std::string& text = cursor->text;
    switch (entry.kind) {
        case FieldKind::kSkip:
        case FieldKind::kLength:
            break;
        case FieldKind::kInt:
            PutInt(block, entry.offset, ParamToInt(text));
            break;
        case FieldKind::kIntIfText:
            if (!text.empty()) PutInt(block, entry.offset, ParamToInt(text));
            break;
        case FieldKind::kByte:
            PutByte(block, entry.offset, ParamToInt(text));
            break;
        case FieldKind::kShortText:
            ParamToText32(TextAt(block, entry.offset), entry.size, text);
            break;
        case FieldKind::kLongText:
        case FieldKind::kBody:
            ParamToText256(TextAt(block, entry.offset), entry.size, text);
            break;
        case FieldKind::kLongTextLength:
            PutByte(block, entry.lengthOffset,
                    static_cast<int32_t>(
                        ParamToText256(TextAt(block, entry.offset), entry.size, text)));
            break;
        case FieldKind::kName:
            PutByte(block, entry.lengthOffset,
                    static_cast<int32_t>(PutName(block, entry.offset, text)));
            break;
        case FieldKind::kCodes:
            PutCodes(block, entry, text);
            break;
        case FieldKind::kAnimParam:
            if (cursor->omitted == 0) PutAnimParam(block, entry.offset, text, error);
            break;
        case FieldKind::kList:
        case FieldKind::kListNoCommas: {
            std::string flat;
            const ATResponseParam* end = FlattenList(cursor, entry.kind == FieldKind::kList, flat);
            CopyCut(TextAt(block, entry.offset), entry.size, flat);
            return end;
        }
        case FieldKind::kListOfLists: {
            std::string flat;
            const ATResponseParam* end = FlattenGroups(cursor, flat);
            CopyCut(TextAt(block, entry.offset), entry.size, flat);
            return end;
        }
        case FieldKind::kWordList: {
            PutWords(block, entry.offset, cursor);
            const ATResponseParam* end = cursor;
            while (end->next != nullptr) end = end->next;
            return end;
        }
    }
    return cursor;
}

}  // namespace

void CopyCut(char* dest, std::size_t size, const std::string& text) {
    if (size == 0) return;
    std::size_t n = std::min(text.size(), size - 1);
    std::memcpy(dest, text.data(), n);
    dest[n] = '\0';
}

const ATResponseParam* FlattenList(const ATResponseParam* cursor, bool commas, std::string& out) {
    out = cursor->text;
    const ATResponseParam* node = cursor->next;
    if (node == nullptr) return cursor;
    while (node->next != nullptr && node->next->text != ")") {
        out += node->text;
        if (commas) out += ',';
        node = node->next;
    }
    if (node->next == nullptr) return node;
    out += node->text;
    node = node->next;
    out += node->text;
    return node;
}

const ATResponseParam* WalkFields(ATCommandBlock& block, const ATResponseParam* cursor,
                                  FieldList fields, ResultBlockPtr& error) {
    for (const FieldEntry& entry : fields) {
        if (cursor == nullptr) break;
        if (entry.kind == FieldKind::kLength) continue;
        cursor = ReadField(block, entry, cursor, error)->next;
    }
    return cursor;
}

}  // namespace velk
