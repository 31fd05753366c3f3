// velk-bench-replies: the path of a reply line through the library on one
// thread, with no phone and no waiting: the line assembler of the serial
// reader, the receive queue and the worker's message, the stages the worker
// runs for each line (take, classify, decode, post), and the result block
// taken off the transfer thread's queue and freed. Measures lines per second and heap
// allocations per line for the typical lines of a phone-book read and an
// image read, and prints them as rows of the benchmark table.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "allocation_counter.h"
#include "bench_table.h"
#include "decode/solicited_decoder.h"
#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/thread_messages.h"
#include "response/response_matcher.h"
#include "response/response_reader.h"
#include "serial/line_assembler.h"
#include "serial/receive_queue.h"

namespace {

using namespace velk;
using namespace velk::bench;

constexpr int32_t kCmdPhonebookRead = 13;  // AT+CPBR=
constexpr std::size_t kPartChars = 128;
constexpr double kMeasureSeconds = 1.5;

double ThreadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

struct Workload {
    const char* name;
    std::string command;  // as sent, in capitals
    int32_t commandId;
    std::vector<std::string> lines;  // each with its CR LF
    std::size_t nodesPerLine;        // parameter nodes the line makes, the first one included
};

// +CPBR: <index>,"<number>",<type>,"<text>"
Workload PhonebookLines() {
    Workload load{"+CPBR", "AT+CPBR=1,200", kCmdPhonebookRead, {}, 4};
    for (int i = 1; i <= 200; ++i) {
        char line[96];
        std::snprintf(line, sizeof line, "+CPBR: %d,\"+4930555%04d\",145,\"Contact %03d\"\r\n", i,
                      i, i);
        load.lines.emplace_back(line);
    }
    return load;
}

// +IMGR: <frame>,"<name>",<part>,<parts>,[<chunks>],[<rest>],"<param>","<text>",<check>
Workload ImagePartLines() {
    Workload load{"+IMGR", "AT+IMGR=1", kCmdImageRead, {}, 9};
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string frame = "6040";
    for (std::size_t i = 0; i < 1536; ++i) frame += kDigits[(i * 7 + i / 97) % 16];
    const std::size_t parts = (frame.size() + kPartChars - 1) / kPartChars;
    for (std::size_t part = 0; part < parts; ++part) {
        const std::string text = frame.substr(part * kPartChars, kPartChars);
        unsigned check = text.size() & 0xFF;
        for (char c : text) check ^= static_cast<unsigned char>(c);
        std::string line =
            "+IMGR: 1,\"Smile\"," + std::to_string(part + 1) + "," + std::to_string(parts) + ",";
        line += part == 0 ? std::to_string(frame.size() / kPartChars) + "," +
                                std::to_string(frame.size() % kPartChars) + ","
                          : std::string(",,");
        line += "\"250100\",\"" + text + "\"," + std::to_string(check) + "\r\n";
        load.lines.push_back(line);
    }
    return load;
}

class ReplyPath {
  public:
    explicit ReplyPath(const Workload& load)
        : assembler_([](const char* line, uint32_t length) {
              // As the serial reader does: queue the line, tell the worker.
              if (PushLine(line, length) != 0) {
                  PostThreadMessage(CurrentThreadId(), AT_MSG_LINE_RECEIVED, 0, 0);
              }
          }),
          commandId_(load.commandId),
          command_(load.command) {}

    // Allocations per stage of the path, summed over the lines.
    struct Stages {
        uint64_t assembly = 0;  // line assembly, receive queue, message to the worker
        uint64_t reading = 0;   // taking the line and matching it
        uint64_t decoding = 0;  // solicited decoder and its result block
    };

    // One line from the bytes on the line to its freed result block, by the
    // stages the worker runs. False when the line gave no result.
    bool Line(const std::string& bytes, Stages& stages) {
        uint64_t mark = AllocationCount();
        const auto count = [&mark](uint64_t& stage) {
            const uint64_t now = AllocationCount();
            stage += now - mark;
            mark = now;
        };
        assembler_.Feed(bytes.data(), bytes.size());
        count(stages.assembly);
        ThreadMessage message;
        bool decoded = false;
        while (PeekThreadMessage(message)) {
            count(stages.assembly);
            if (message.message == AT_MSG_LINE_RECEIVED) {
                while (reader_.TakeLine(lineText_)) {
                    const ClassifiedLine line =
                        MatchSolicited(command_, HeadsOf(commandId_, command_),
                                       std::move(lineText_), selectors_, record_);
                    count(stages.reading);
                    if (line.role != LineRole::kInformation) continue;
                    DecodedBlocks blocks = DecodeSolicitedResult(commandId_, record_, selectors_);
                    if (blocks.result) PostResultBlock(blocks.result.release(), 0);
                    count(stages.decoding);
                }
            } else if (message.wParam == kResultParam) {
                ATCommandBlock* block = BlockOf(message);
                decoded = decoded || block->resultId != kResultError;
                FreeResultBlock(block);
                count(stages.decoding);
            }
        }
        return decoded;
    }

  private:
    LineAssembler assembler_;
    CATResponseReader reader_;
    int32_t commandId_;
    std::string command_;
    ReplySelectors selectors_;
    std::string lineText_;
    ATResponseRecord record_;
};

struct Outcome {
    double linesPerSecond = 0;
    double allocationsPerLine = 0;
    ReplyPath::Stages stages;  // of the counted lines
    bool allDecoded = true;
};

// `passes`: 0 to measure for kMeasureSeconds of CPU, else that many passes
// over the lines (a fixed amount of work, for an instruction profiler).
Outcome Measure(const Workload& load, long passes) {
    ReplyPath path(load);
    Outcome outcome;
    ReplyPath::Stages ignored;
    // Warm: the queues and the record have their room.
    for (const std::string& line : load.lines) outcome.allDecoded &= path.Line(line, ignored);
    const uint64_t before = AllocationCount();
    for (const std::string& line : load.lines) path.Line(line, outcome.stages);
    outcome.allocationsPerLine =
        static_cast<double>(AllocationCount() - before) / static_cast<double>(load.lines.size());

    // The thread's own CPU time: the rate of one core, however many other
    // programs share the machine.
    uint64_t lines = 0;
    const double start = ThreadCpuSeconds();
    double now = start;
    while (passes > 0 ? lines < static_cast<uint64_t>(passes) * load.lines.size()
                      : now - start < kMeasureSeconds) {
        for (const std::string& line : load.lines) path.Line(line, ignored);
        lines += load.lines.size();
        now = ThreadCpuSeconds();
    }
    outcome.linesPerSecond = static_cast<double>(lines) / (now - start);
    return outcome;
}

}  // namespace

int main(int argc, char** argv) {
    bool header = true;
    bool stages = false;
    long passes = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--no-header") == 0) {
            header = false;
        } else if (std::strcmp(argv[i], "--stages") == 0) {
            stages = true;
        } else if (std::strcmp(argv[i], "--passes") == 0 && i + 1 < argc) {
            passes = std::strtol(argv[++i], nullptr, 10);
        } else {
            std::fputs("usage: velk-bench-replies [--no-header] [--stages] [--passes N]\n", stderr);
            return 2;
        }
    }
    controllerThreadId.store(EnsureThreadQueue());
    BenchTable table;
    for (const Workload& load : {PhonebookLines(), ImagePartLines()}) {
        const Outcome outcome = Measure(load, passes);
        const bool phonebook = load.commandId == kCmdPhonebookRead;
        char rate[64];
        std::snprintf(rate, sizeof rate, "%.0f lines/s", outcome.linesPerSecond);
        table.Add({std::string("(e) ") + load.name +
                       " lines through reader, matcher, decoder (per CPU second)",
                   outcome.allDecoded ? rate : std::string(rate) + " (some lines not decoded!)",
                   phonebook ? "≥ 500000 lines/s" : "",
                   phonebook
                       ? std::optional<bool>(outcome.allDecoded && outcome.linesPerSecond >= 500000)
                       : std::nullopt});
        char allocations[96];
        std::snprintf(allocations, sizeof allocations, "%.2f (%zu parameter nodes)",
                      outcome.allocationsPerLine, load.nodesPerLine);
        if (stages) {
            const double n = static_cast<double>(load.lines.size());
            std::fprintf(stderr,
                         "%s allocations per line: assembly %.2f, reading %.2f, decoding %.2f\n",
                         load.name, static_cast<double>(outcome.stages.assembly) / n,
                         static_cast<double>(outcome.stages.reading) / n,
                         static_cast<double>(outcome.stages.decoding) / n);
        }
        const double limit = static_cast<double>(load.nodesPerLine + 4);
        char target[32];
        std::snprintf(target, sizeof target, "≤ %.0f", limit);
        table.Add({std::string("(e) ") + load.name + " heap allocations per line", allocations,
                   target, outcome.allocationsPerLine <= limit});
    }
    table.Print(stdout, header);
    return 0;
}
