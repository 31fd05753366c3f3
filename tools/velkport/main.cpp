// velkport: the library's command-line program. The first argument that is
// no link option names a subcommand; the link options in front of it
// (--device, --port, --baud, --flow, --simulate, --progress, --no-probe) go
// to the transfer subcommands as if given behind it.
#include <unistd.h>

#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velkport/cleanup_command.h"
#include "velkport/command_io.h"
#include "velkport/commands_command.h"
#include "velkport/decode_command.h"
#include "velkport/link_options.h"
#include "velkport/program_version.h"
#include "velkport/transfer_commands.h"

namespace velk::cli {
namespace {

struct Subcommand {
    std::string_view name;
    std::string_view summary;
    int (*run)(CommandArgs args, const CommandIo& io);
    bool talksToPhone;
};

constexpr Subcommand kSubcommands[] = {
    {"tones", "print the phone's ring-tone information (and its tones)", &RunTones, true},
    {"tone-get", "read a ring tone into a file", &RunToneGet, true},
    {"tone-put", "write a ring tone from a file", &RunTonePut, true},
    {"images", "print the phone's image information and frame table", &RunImages, true},
    {"image-get", "read an image, frame by frame, into a file", &RunImageGet, true},
    {"image-put", "write an image from a file of frames", &RunImagePut, true},
    {"image-show", "draw an image's frames on the terminal", &RunImageShow, true},
    {"at", "run catalogue commands as one operation, the result as JSON", &RunAt, true},
    {"status", "print the phone's identity, signal, battery and network", &RunStatus, true},
    {"watch", "print what the phone reports of its own accord, until Ctrl-C", &RunWatch, true},
    {"messages", "list the messages the phone stores", &RunMessages, true},
    {"message-get", "print the message at an index", &RunMessageGet, true},
    {"message-delete", "delete the message at an index", &RunMessageDelete, true},
    {"message-send", "send a text message", &RunMessageSend, true},
    {"contacts", "print the phone book, as a table, JSON or vCard", &RunContacts, true},
    {"contact-put", "write one phone-book entry", &RunContactPut, true},
    {"contact-delete", "delete one phone-book entry", &RunContactDelete, true},
    {"contacts-restore", "write the contacts of a vCard file into free places", &RunContactsRestore,
     true},
    {"decode", "print what reply lines from a phone decode to, as JSON", &RunDecode, false},
    {"commands", "list the catalogue of commands and what their replies decode to", &RunCommands,
     false},
    {"cleanup", "remove the library's shared memory that no process uses", &RunCleanup, false},
};

const Subcommand* FindSubcommand(std::string_view name) {
    for (const Subcommand& sub : kSubcommands) {
        if (sub.name == name) return &sub;
    }
    return nullptr;
}

void PrintUsage(std::ostream& out) {
    constexpr std::size_t kNameColumn = 18;
    out << "usage: velkport [LINK OPTIONS] SUBCOMMAND [OPTIONS]\n"
           "       velkport help [SUBCOMMAND] | --help | --version\n\nSubcommands:\n";
    for (const Subcommand& sub : kSubcommands) {
        const std::size_t pad = sub.name.size() < kNameColumn ? kNameColumn - sub.name.size() : 1;
        out << "  " << sub.name << std::string(pad, ' ') << sub.summary << '\n';
    }
    out << "\n"
        << kLinkOptionsHelp
        << "\nWithout --device or --port the transfers talk to the simulated phone built\n"
           "into this program. velkport help SUBCOMMAND tells more about each.\n";
}

// velkport help [SUBCOMMAND]
int RunHelp(std::span<const std::string> args, const CommandIo& io) {
    if (args.empty()) {
        PrintUsage(io.out);
        return kExitDone;
    }
    const Subcommand* sub = FindSubcommand(args[0]);
    if (sub == nullptr || args.size() > 1) {
        io.err << "velkport help: there is no subcommand \"" << args[0] << "\".\n";
        PrintUsage(io.err);
        return kExitUsage;
    }
    const std::vector<std::string> help{"--help"};
    return sub->run(help, io);
}

int Run(std::span<const std::string> all, const CommandIo& io) {
    // The link options in front of the subcommand, with their values.
    std::size_t front = 0;
    while (front < all.size() && IsLinkOption(all[front])) {
        front += LinkOptionTakesValue(all[front]) && front + 1 < all.size() ? 2 : 1;
    }
    const std::span<const std::string> linkOptions = all.first(front);
    const std::span<const std::string> args = all.subspan(front);
    if (args.empty()) {
        io.err << "velkport: name a subcommand.\n";
        PrintUsage(io.err);
        return kExitUsage;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        return RunHelp(args.subspan(1), io);
    }
    if (args[0] == "--version") {
        io.out << "velkport " << ProgramVersion() << '\n';
        return kExitDone;
    }
    const Subcommand* sub = FindSubcommand(args[0]);
    if (sub == nullptr) {
        io.err << "velkport: there is no subcommand \"" << args[0] << "\".\n";
        PrintUsage(io.err);
        return kExitUsage;
    }
    if (linkOptions.empty()) return sub->run(args.subspan(1), io);
    if (!sub->talksToPhone) {
        io.err << "velkport: " << sub->name << " talks to no phone; " << linkOptions[0]
               << " does not apply to it.\n";
        return kExitUsage;
    }
    std::vector<std::string> joined(linkOptions.begin(), linkOptions.end());
    joined.insert(joined.end(), args.begin() + 1, args.end());
    return sub->run(joined, io);
}

}  // namespace
}  // namespace velk::cli

int main(int argc, char** argv) {
    // No exception may end the program without a word.
    try {
        std::vector<std::string> args(argv + 1, argv + argc);
        return velk::cli::Run(args, {std::cin, std::cout, std::cerr, isatty(STDERR_FILENO) == 1,
                                     isatty(STDOUT_FILENO) == 1});
    } catch (const std::exception& e) {
        std::cerr << "velkport: something failed inside the program: " << e.what() << ".\n";
        return velk::cli::kExitInternal;
    }
}
