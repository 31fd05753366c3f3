// The command parser over any text a user might type. What must hold beyond
// the sanitizers: a refused text comes back with id 0, a zero request and one
// short printable sentence; an accepted one builds a text that reads back to
// the same text, to the same id when the input named no row, and to that id
// again when "#<id> " names it.
//
// Input: the bytes are the typed text, as they come.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "engine/command_block.h"
#include "engine/command_parser.h"
#include "engine/command_text_builder.h"

namespace velk::fuzz {
namespace {

// The refusal echoes at most a short piece of the text.
constexpr std::size_t kLongestSentence = 400;

void Require(bool condition) {
    if (!condition) std::abort();
}

bool AllZero(const RequestForms& request) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&request);
    for (std::size_t i = 0; i < sizeof request; ++i) {
        if (bytes[i] != 0) return false;
    }
    return true;
}

std::string Build(const ParsedCommand& parsed) {
    ATCommandBlock* block = AllocCommandBlock();
    if (block == nullptr) std::abort();
    block->request = parsed.request;
    int32_t current = 0;
    std::string text = BuildCommandText(parsed.id, *block, current);
    FreeCommandBlock(block);
    Require(current == parsed.id);
    return text;
}

bool NamesRow(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && text[first] == '#';
}

}  // namespace
}  // namespace velk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velk;
    using namespace velk::fuzz;

    const std::string_view typed(reinterpret_cast<const char*>(data), size);
    const ParsedCommand parsed = ParseCommandText(typed);
    if (!parsed.Accepted()) {
        Require(AllZero(parsed.request));
        Require(!parsed.refusal.empty() && parsed.refusal.size() <= kLongestSentence);
        for (const char c : parsed.refusal) Require(static_cast<unsigned char>(c) >= 0x20);
        return 0;
    }
    Require(parsed.refusal.empty());

    const std::string text = Build(parsed);
    const ParsedCommand again = ParseCommandText(text);
    Require(again.Accepted());
    Require(Build(again) == text);
    if (!NamesRow(typed)) Require(again.id == parsed.id);

    const ParsedCommand named = ParseCommandText("#" + std::to_string(parsed.id) + " " + text);
    Require(named.Accepted() && named.id == parsed.id);
    Require(Build(named) == text);
    return 0;
}
