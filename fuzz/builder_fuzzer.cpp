// The command text builder over request blocks of any content, for every
// command id and for ids outside the catalogue. The text itself is whatever
// the fields make it; what must hold is that the builder reads and writes
// only inside the block, that an id has text exactly when the catalogue knows
// it, that the text opens with the catalogue's AT text, and that the block
// comes back as it went in but for the two changes the builder is allowed:
// a default first animation parameter and logo codes in capitals.
//
// Input: one byte of id (0-249 as it stands; 250 and above: the id is the
// next four bytes, any int32), then the bytes of the request form; a short
// input leaves the rest of the block zero, as AllocCommandBlock gives it.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "engine/command_block.h"
#include "engine/command_catalogue.h"
#include "engine/command_text_builder.h"
#include "fuzz_input.h"

namespace velk::fuzz {
namespace {

constexpr int32_t kImageChunkId = 159;  // AT+IMGW=
constexpr int32_t kLogoChunkId = 163;   // the logo write

void Require(bool condition) {
    if (!condition) std::abort();
}

bool SameIgnoringCase(const char* a, const char* b, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        if (std::toupper(static_cast<unsigned char>(a[i])) !=
            std::toupper(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

// Puts into `before` the changes the builder may make, after checking that
// it made no others to those fields.
void AllowBuilderChanges(int32_t id, ATCommandBlock& before, const ATCommandBlock& after) {
    if (id == kImageChunkId) {
        RequestImageChunk& was = before.request.imageChunk;
        const RequestImageChunk& is = after.request.imageChunk;
        if (was.animParamFirst != is.animParamFirst) {
            Require(was.animParamFirst == 0 && was.animParamSecond == 0 && was.animParamLast == 0 &&
                    is.animParamFirst == 25);
            was.animParamFirst = is.animParamFirst;
        }
    }
    if (id == kLogoChunkId) {
        RequestLogoChunk& was = before.request.logoChunk;
        const RequestLogoChunk& is = after.request.logoChunk;
        Require(SameIgnoringCase(was.code1, is.code1, sizeof was.code1));
        Require(SameIgnoringCase(was.code2, is.code2, sizeof was.code2));
        std::memcpy(was.code1, is.code1, sizeof was.code1);
        std::memcpy(was.code2, is.code2, sizeof was.code2);
    }
}

}  // namespace
}  // namespace velk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velk;
    using namespace velk::fuzz;

    FuzzInput input(data, size);
    const uint8_t idByte = input.Byte();
    const int32_t id = idByte < 250 ? idByte : static_cast<int32_t>(input.Long());

    ATCommandBlock* block = AllocCommandBlock();
    if (block == nullptr) return 0;
    block->commandId = id;
    input.Fill(&block->request, sizeof block->request);
    ATCommandBlock before;
    std::memcpy(&before, block, sizeof before);

    constexpr int32_t kUnset = -7;
    int32_t current = kUnset;
    const std::string text = BuildCommandText(id, *block, current);

    const char* atText = CatalogueText(id);
    if (atText == nullptr) {
        Require(text.empty() && current == kUnset);
    } else {
        Require(current == id);
        Require(std::string_view(text).starts_with(atText));
    }
    AllowBuilderChanges(id, before, *block);
    Require(std::memcmp(&before, block, sizeof before) == 0);

    // The builder keeps nothing between calls: the same block gives the
    // same text again.
    int32_t again = kUnset;
    Require(BuildCommandText(id, *block, again) == text);

    FreeCommandBlock(block);
    return 0;
}
