// The text of every catalogue command, built from its sample record, as a
// known-good build made it (tests/golden/builder_texts.txt). Any change of a
// command's text or of how its parameters are written shows up here.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "engine/command_catalogue.h"
#include "engine/command_text_builder.h"
#include "request_samples.h"
#include "support/golden_file.h"

namespace velk {
namespace {

TEST(BuilderGolden, EveryCatalogueCommandBuildsItsSavedText) {
    std::string out;
    for (const CatalogueEntry& entry : CatalogueEntries()) {
        std::unique_ptr<ATCommandBlock, void (*)(ATCommandBlock*)> block(AllocCommandBlock(),
                                                                         FreeCommandBlock);
        // The first sample row of the id; a command without one takes no
        // parameters and is built from a fresh block.
        for (const samples::Row& row : samples::kRows) {
            if (row.id == entry.id) {
                row.fill(block->request);
                break;
            }
        }
        int32_t current = 0;
        out += std::to_string(entry.id) + '\t' +
               golden::Escaped(BuildCommandText(entry.id, *block, current)) + '\n';
    }
    golden::ExpectGolden("builder_texts.txt", out);
}

}  // namespace
}  // namespace velk
