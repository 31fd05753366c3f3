#include "engine/command_text_builder.h"

#include <algorithm>
#include <cstring>

#include "engine/command_table.h"
#include "engine/request_params.h"
#include "engine/text_fields.h"

namespace velk {

namespace {

// The first chunk of a transfer tells how it is split (chunk count and rest);
// a chunk with index 255 tells the length of its body instead. Every other
// chunk leaves both places empty.
constexpr uint8_t kOpeningChunk = 1;
constexpr uint8_t kLengthChunk = 255;
// A tone or image write of kind 1 carries no chunk: the line ends after it.
constexpr uint8_t kKindWithoutChunk = 1;
// A logo write with chunk index 0 carries no chunk either.
constexpr uint8_t kLogoWithoutChunk = 0;
// The first animation parameter the phone expects when the caller gave none.
constexpr uint8_t kDefaultAnimParamFirst = 25;

// The three ways a chunk write tells its place in the transfer, each followed
// by its comma:  255: "<bodyLength>,,"  1: "<chunkCount>,<chunkRest>,"  else ",,".
template <typename Chunk>
void AppendChunkPlace(std::string& line, const Chunk& chunk) {
    if (chunk.chunkIndex == kLengthChunk) {
        line += EncodeNumber(chunk.bodyLength) + ",,";
    } else if (chunk.chunkIndex == kOpeningChunk) {
        line += EncodeNumber(chunk.chunkCount) + ',' + EncodeNumber(chunk.chunkRest) + ',';
    } else {
        line += ",,";
    }
}

// <body>,<check>
template <typename Chunk>
void AppendBodyAndCheck(std::string& line, const Chunk& chunk) {
    line += EncodeBytes(chunk.body, chunk.bodyLength);
    line += ',';
    line += EncodeNumber(chunk.check);
}

// Tone and image writes up to the comma in front of the body:
// <slot>,"<name>",<kind>[,<flag>,<chunkIndex>,<place>]
// Returns false when the line ends after the kind.
template <typename Chunk>
bool AppendToneChunkHead(std::string& line, const Chunk& chunk) {
    line += EncodeNumber(chunk.slot) + ',';
    line += EncodeQuotedBytes(chunk.name, chunk.nameLength);
    line += ',' + EncodeNumber(chunk.kind);
    if (chunk.kind == kKindWithoutChunk) {
        return false;
    }
    line += ',' + EncodeNumber(chunk.flag) + ',' + EncodeNumber(chunk.chunkIndex) + ',';
    AppendChunkPlace(line, chunk);
    return true;
}

// Capitals of plain ASCII letters only, as the phone's codes are ASCII, up to
// the field's zero byte or its end.
template <size_t N>
void UpperCaseInPlace(char (&field)[N]) {
    for (char& c : field) {
        if (c == '\0') {
            return;
        }
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
}

// "<first><second, two digits at least>0<last>"
std::string AnimParamDigits(RequestImageChunk& chunk) {
    if (chunk.animParamFirst == 0 && chunk.animParamSecond == 0 && chunk.animParamLast == 0) {
        chunk.animParamFirst = kDefaultAnimParamFirst;
    }
    std::string digits = EncodeNumber(chunk.animParamFirst);
    if (chunk.animParamSecond < 10) {
        digits += '0';
    }
    digits += EncodeNumber(chunk.animParamSecond);
    digits += '0';
    digits += EncodeNumber(chunk.animParamLast);
    return digits;
}

// The parameters of a plain form, by its list: commas between them, the
// form's lead in front and its tail behind. A parameter left out ends the
// line or leaves its place empty, as its presence says.
void AddParams(const FormParams& form, const RequestForms& request, std::string& line) {
    for (size_t i = 0; i < form.params.size(); ++i) {
        const RequestParam& param = form.params[i];
        const bool omitted = ParamOmitted(param, request);
        if (omitted && param.presence == ParamPresence::kChained) {
            break;
        }
        if (i > 0) {
            line += ',';
        } else if (form.lead != '\0') {
            line += form.lead;
        }
        if (omitted && param.presence == ParamPresence::kGap) {
            continue;
        }
        if (param.kind == ParamKind::kQuoted) {
            line += EncodeQuoted(ParamText(param, request));
        } else {
            line += EncodeNumber(ParamNumber(param, request));
        }
    }
    if (form.tail != '\0') {
        line += form.tail;
    }
}

// --- The chunk forms of the data writes, behind the AT text. ---

// <slot>,"<name>",<kind>[,<flag>,<chunkIndex>,<place><body>,<check>]
void AddToneChunk(RequestForms& r, std::string& line) {
    const RequestToneChunk& chunk = r.toneChunk;
    if (AppendToneChunkHead(line, chunk)) {
        AppendBodyAndCheck(line, chunk);
    }
}

// As the tone chunk, with "<animation digits>", in front of the body.
void AddImageChunk(RequestForms& r, std::string& line) {
    RequestImageChunk& chunk = r.imageChunk;
    if (AppendToneChunkHead(line, chunk)) {
        line += '"' + AnimParamDigits(chunk) + "\",";
        AppendBodyAndCheck(line, chunk);
    }
}

// <slot>,<chunkIndex>,[<value>,|<chunkCount>,<chunkRest>,]<body>,<check>
void AddPlayChunk(RequestForms& r, std::string& line) {
    const RequestPlayChunk& chunk = r.playChunk;
    line += EncodeNumber(chunk.slot) + ',' + EncodeNumber(chunk.chunkIndex) + ',';
    if (chunk.chunkIndex == kLengthChunk) {
        line += EncodeNumber(chunk.value) + ',';
    } else if (chunk.chunkIndex == kOpeningChunk) {
        line += EncodeNumber(chunk.chunkCount) + ',' + EncodeNumber(chunk.chunkRest) + ',';
    }
    AppendBodyAndCheck(line, chunk);
}

// <slot>,<mode>,"<CODE1>-<CODE2>",  then ",0,,,," for a logo without chunk,
// else <total>,<chunkIndex>,<place><body>,<check>
void AddLogoChunk(RequestForms& r, std::string& line) {
    RequestLogoChunk& chunk = r.logoChunk;
    UpperCaseInPlace(chunk.code1);
    UpperCaseInPlace(chunk.code2);
    line += EncodeNumber(chunk.slot) + ',' + EncodeNumber(chunk.mode) + ',';
    line += '"';
    line += FieldText(chunk.code1);
    line += '-';
    line += FieldText(chunk.code2);
    line += "\",";
    if (chunk.chunkIndex == kLogoWithoutChunk) {
        line += ",0,,,,";
        return;
    }
    line += EncodeNumber(chunk.total) + ',' + EncodeNumber(chunk.chunkIndex) + ',';
    AppendChunkPlace(line, chunk);
    AppendBodyAndCheck(line, chunk);
}

using AddChunk = void (*)(RequestForms&, std::string&);

struct ChunkWriter {
    RequestForm form;
    AddChunk add;
};

constexpr ChunkWriter kChunkWriters[] = {
    {RequestForm::kToneChunk, AddToneChunk},
    {RequestForm::kImageChunk, AddImageChunk},
    {RequestForm::kPlayChunk, AddPlayChunk},
    {RequestForm::kLogoChunk, AddLogoChunk},
};

void AddChunkParams(RequestForm form, RequestForms& request, std::string& line) {
    for (const ChunkWriter& writer : kChunkWriters) {
        if (writer.form == form) {
            writer.add(request, line);
            return;
        }
    }
}

}  // namespace

std::string_view FieldText(const char* field, size_t width) {
    return {field, strnlen(field, width)};
}

std::string EncodeNumber(int32_t value) {
    return std::to_string(value);
}

std::string EncodeQuoted(std::string_view text) {
    std::string quoted;
    quoted.reserve(text.size() + 2);
    quoted += '"';
    quoted += text;
    quoted += '"';
    return quoted;
}

std::string EncodeBytes(const char* bytes, size_t count, size_t width) {
    return {bytes, std::min(count, width)};
}

std::string EncodeQuotedBytes(const char* bytes, size_t count, size_t width) {
    return EncodeQuoted(std::string_view(bytes, std::min(count, width)));
}

std::string BuildCommandText(int32_t id, ATCommandBlock& block, int32_t& currentCommand) {
    std::string line;
    const CommandRow* row = FindCommandRow(id);
    if (row == nullptr || row->text == nullptr) {
        return line;
    }
    currentCommand = id;
    line = row->text;
    const FormParams& form = ParamsOf(row->form);
    if (form.chunk) {
        AddChunkParams(row->form, block.request, line);
    } else {
        AddParams(form, block.request, line);
    }
    return line;
}

}  // namespace velk
