// `velkport decode` over every record of the corpus of real replies
// (../shared/corpus/replies.jsonl), as a known-good build printed it
// (tests/golden/corpus_decode.txt). Each record runs with its command id, the
// lowest id whose text matches the command; a record without a command, or
// with one outside the catalogue, runs as lines sent of the phone's own
// accord. The lines go in one at a time, as the tool reads them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "decode/corpus_records.h"
#include "support/golden_file.h"
#include "velkport/decode_command.h"

namespace velk::cli {
namespace {

std::string CorpusPath() {
    if (const char* path = std::getenv("VELK_CORPUS")) return path;
    return (std::filesystem::path(__FILE__).parent_path() / "../../../shared/corpus/replies.jsonl")
        .lexically_normal()
        .string();
}

std::string Decode(const corpus::Record& record, std::string& header) {
    std::vector<std::string> args;
    const std::optional<int32_t> id = record.command == corpus::kUnsolicited
                                          ? std::nullopt
                                          : corpus::CommandIdFor(record.command);
    if (id) {
        args = {"--id", std::to_string(*id), "--command", record.command};
        header += " id " + std::to_string(*id);
    } else {
        args = {"--unsolicited"};
        header += " unsolicited";
    }
    std::string input;
    for (const std::string& line : record.lines) input += line + '\n';
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunDecode(args, CommandIo{in, out, err}), kExitDone) << err.str();
    return out.str();
}

TEST(DecodeGolden, EveryCorpusRecordPrintsItsSavedBlocks) {
    const std::string path = CorpusPath();
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "the corpus of real replies is absent (" << path
                     << "): set VELK_CORPUS to its file";
    }
    std::string out;
    int number = 0;
    for (const std::optional<corpus::Record>& record : corpus::ReadRecords(path)) {
        ++number;
        ASSERT_TRUE(record) << "record " << number << " cannot be read";
        std::string header = "# " + std::to_string(number) + ' ' + golden::Escaped(record->command);
        const std::string blocks = Decode(*record, header);
        out += header + '\n';
        std::istringstream lines(blocks);
        for (std::string line; std::getline(lines, line);) out += golden::Escaped(line) + '\n';
    }
    EXPECT_GT(number, 0);
    golden::ExpectGolden("corpus_decode.txt", out);
}

}  // namespace
}  // namespace velk::cli
