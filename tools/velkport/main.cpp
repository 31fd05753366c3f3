// velkport: the library's command-line program. The first argument names a
// subcommand; everything behind it belongs to that subcommand.
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velkport/command_io.h"
#include "velkport/decode_command.h"

namespace velk::cli {
namespace {

struct Subcommand {
    std::string_view name;
    std::string_view summary;
    int (*run)(CommandArgs args, const CommandIo& io);
};

constexpr Subcommand kSubcommands[] = {
    {"decode", "print what reply lines from a phone decode to, as JSON", &RunDecode},
};

void PrintUsage(std::ostream& out) {
    constexpr std::size_t kNameColumn = 12;
    out << "usage: velkport SUBCOMMAND [OPTIONS]\n\nSubcommands:\n";
    for (const Subcommand& sub : kSubcommands) {
        const std::size_t pad = sub.name.size() < kNameColumn ? kNameColumn - sub.name.size() : 1;
        out << "  " << sub.name << std::string(pad, ' ') << sub.summary << '\n';
    }
    out << "\nvelkport SUBCOMMAND --help tells more about each.\n";
}

int Run(std::span<const std::string> args, const CommandIo& io) {
    if (args.empty()) {
        io.err << "velkport: name a subcommand.\n";
        PrintUsage(io.err);
        return kExitUsage;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        PrintUsage(io.out);
        return kExitDone;
    }
    for (const Subcommand& sub : kSubcommands) {
        if (args[0] == sub.name) return sub.run(args.subspan(1), io);
    }
    io.err << "velkport: there is no subcommand \"" << args[0] << "\".\n";
    PrintUsage(io.err);
    return kExitUsage;
}

}  // namespace
}  // namespace velk::cli

int main(int argc, char** argv) {
    // No exception may end the program without a word.
    try {
        std::vector<std::string> args(argv + 1, argv + argc);
        return velk::cli::Run(args, {std::cin, std::cout, std::cerr});
    } catch (const std::exception& e) {
        std::cerr << "velkport: " << e.what() << '\n';
        return 1;
    }
}
