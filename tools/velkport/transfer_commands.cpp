#include "velkport/transfer_commands.h"

#include <ostream>
#include <string>

#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

struct TransferCommand {
    std::string_view name;
    std::string_view positionals;  // the names of its plain arguments
    unsigned extras;
    int (*prepare)(const TransferArgs& args, TransferPlan& plan, std::string& problem);
    int (*body)(const Transfer& t);
    const char* usage;        // the first line of --help and of a usage error
    const char* description;  // the rest of --help
};

constexpr TransferCommand kTransferCommands[] = {
    {"tones", "", kExtraSlots | kExtraJson, nullptr, &ListTones,
     "velkport [LINK OPTIONS] tones [--slots N] [--json]",
     "Reads the phone's ring-tone information and prints it: a name and three\n"
     "values, value 1 to value 3, whose meaning lies with the phone (velkport(1)\n"
     "tells what the simulated phone puts in each). With --slots N it also reads\n"
     "the tones in slots 1 to N and lists each one's name and length; \"-\" marks\n"
     "a slot whose read the phone refused, as it does for an empty one.\n"
     "  --slots N  also list the tones in slots 1 to N (1 to 255)\n"
     "  --json     print one JSON object instead, for scripts\n"},
    {"tone-get", "SLOT", kExtraOutput, &PrepareToneGet, &GetTone,
     "velkport [LINK OPTIONS] tone-get SLOT [-o FILE]",
     "Reads the ring tone in SLOT (1 to 255) and writes its text, as the phone\n"
     "holds it, to FILE or to standard output. A FILE ending in .mid (or .midi)\n"
     "gets the bytes of a tone whose text is hexadecimal, as the simulated\n"
     "phone's MIDI tones are; any other tone text stays text.\n"
     "  -o, --output FILE  where the text goes (default: standard output)\n"},
    {"tone-put", "SLOT NAME FILE", kExtraNone, &PrepareTonePut, &PutTone,
     "velkport [LINK OPTIONS] tone-put SLOT NAME FILE",
     "Writes the text in FILE as the ring tone NAME (1 to 10 bytes) into SLOT\n"
     "(1 to 255), in chunks of 128 characters. The text may have up to 32511\n"
     "characters and no line end inside; one line end at the end of the file is\n"
     "not part of it. A FILE ending in .mid (or .midi) goes as its bytes in\n"
     "hexadecimal digits, up to 16255 bytes. A write that stops half way leaves\n"
     "the slot incomplete: write it again.\n"},
    {"images", "", kExtraJson, nullptr, &ListImages, "velkport [LINK OPTIONS] images [--json]",
     "Reads the phone's image information and prints it: a name, five values,\n"
     "value 1 to value 5, whose meaning lies with the phone (velkport(1) tells\n"
     "what the simulated phone puts in each), and the frame table, the number\n"
     "of frames and the first frame of each image.\n"
     "  --json  print one JSON object instead, for scripts\n"},
    {"image-get", "N", kExtraOutput | kExtraSize | kExtraFrame | kExtraFrameMs, &PrepareImageGet,
     &GetImage,
     "velkport [LINK OPTIONS] image-get N [-o FILE] [--frame K] [--frame-ms MS] [--width W "
     "--height H]",
     "Reads image N (from 1, as the frame table lists it) frame by frame and\n"
     "writes the frames' texts of 1536 characters, one after the other, to FILE\n"
     "or to standard output. A FILE ending in .png gets one frame as a black and\n"
     "white picture, one ending in .gif every frame as an animated picture. On a\n"
     "terminal a progress bar counts the frames.\n"
     "  -o, --output FILE  where the frames go (default: standard output)\n"
     "  --frame K          the frame a .png shows (default 1)\n"
     "  --frame-ms MS      how long a .gif shows each frame (10 to 655350,\n"
     "                     default 200)\n"
     "  --width W, --height H\n"
     "                     a frame's size in dots (default: value 4 and value 5\n"
     "                     of the image information)\n"},
    {"image-put", "N NAME FILE", kExtraParams | kExtraSize, &PrepareImagePut, &PutImage,
     "velkport [LINK OPTIONS] image-put N NAME FILE [--param-first X] [--param-last Y] "
     "[--width W --height H]",
     "Writes the frames in FILE (texts of 1536 characters one after the other,\n"
     "at most 42; one line end at the end of the file is not part of them) as\n"
     "image N named NAME (1 to 10 bytes), from the image's first frame on. A\n"
     "FILE ending in .png or .gif is a picture of the phone's frame size, each\n"
     "frame of a GIF a frame; colour and grey are dithered to dark and light\n"
     "dots. On a terminal a progress bar counts the frames. A write that stops\n"
     "half way leaves the image incomplete: write it again.\n"
     "  --param-first X  first value of each frame's parameter (0 to 255,\n"
     "                   default 25)\n"
     "  --param-last Y   last value of it (0 to 255, default 0); the frame count\n"
     "                   stands between the two\n"
     "  --width W, --height H\n"
     "                   a frame's size in dots (default: value 4 and value 5\n"
     "                   of the image information)\n"},
    {"image-show", "N", kExtraSize | kExtraFrame, &PrepareImageShow, &ShowImage,
     "velkport [LINK OPTIONS] image-show N [--frame K] [--width W --height H]",
     "Reads image N and draws its frames on the terminal, two rows of dots to a\n"
     "line of half blocks, a dark dot drawn and a light one blank.\n"
     "  --frame K  draw frame K only\n"
     "  --width W, --height H\n"
     "             a frame's size in dots (default: value 4 and value 5 of the\n"
     "             image information)\n"},
    {"at", "TEXT...", kExtraNone, &PrepareAt, &RunAtCommands, "velkport [LINK OPTIONS] at TEXT...",
     "Runs the catalogue commands TEXT (one to 64, each as one argument, e.g.\n"
     "AT+CSQ 'AT+CPBR=1,10'; \"#61 AT+CMGR=3\" names a command's row where\n"
     "several share its text) as one operation, stopping at the first the\n"
     "phone refuses, and prints what their replies decode to: one line, a JSON\n"
     "array of objects, each with the place of its command (from 0) as\n"
     "\"command\". velkport commands lists the catalogue. A text that fits no\n"
     "command is refused before the device is opened. After a refusal the\n"
     "array still goes to standard output, and standard error names the\n"
     "command and the phone's error line.\n"},
    {"status", "", kExtraJson, nullptr, &ShowStatus, "velkport [LINK OPTIONS] status [--json]",
     "Asks the phone who and how it is (AT+CGMI, AT+CGMM, AT+CGMR, AT+CGSN,\n"
     "AT+CIMI, AT+CSQ, AT+CBC, AT+CREG?, then AT+COPS=3,2,\"\" and AT+COPS?)\n"
     "and prints one \"key: value\" line for each of manufacturer, model,\n"
     "revision, imei, imsi, signal (the rssi, 0 to 31 or 99, with its dBm),\n"
     "battery (the charge level), registration (home, roaming, searching,\n"
     "denied, unknown or not registered) and operator (its numeric code, e.g.\n"
     "26201: AT+COPS=3,2 asks the phone for that form, the one velkport reads,\n"
     "and leaves it so). A command the phone refuses, or an answer\n"
     "that cannot be read, is named on standard error and its key left out\n"
     "(null in JSON); the other commands are still asked.\n"
     "  --json  print one JSON object instead, with signal_dbm beside signal\n"
     "          (null when the rssi is 99)\n"},
    {"watch", "", kExtraJson, nullptr, &WatchNotices, "velkport [LINK OPTIONS] watch [--json]",
     "Prints what the phone reports of its own accord (a new message, its\n"
     "registration, ...) as it comes, one line each: the form and its fields,\n"
     "until Ctrl-C, which ends the link and exits with 130.\n"
     "  --json  print each as the JSON object velkport decode prints\n"},
    {"messages", "", kExtraJson, nullptr, &ListMessages,
     "velkport [LINK OPTIONS] messages [--json]",
     "Lists every message the phone stores (AT+CMGF=1 and the character sets\n"
     "asked, then AT+CMGL=\"ALL\"): for each its index, state (REC UNREAD, REC\n"
     "READ, STO UNSENT or STO SENT), address and time stamp on one line, its\n"
     "text on the lines below, as UTF-8. The phone counts an unread message\n"
     "listed as read from then on. The list is read in IRA (ASCII), and where\n"
     "the phone offers UCS2 and a text came with a \"?\", once more in UCS2 for\n"
     "the texts of up to 20 characters; the phone is left in the character set\n"
     "it had.\n"
     "  --json  print one JSON array instead, an object for each message with\n"
     "          index, state, address, timestamp and text\n"},
    {"message-get", "INDEX", kExtraJson, &PrepareMessageIndex, &GetMessage,
     "velkport [LINK OPTIONS] message-get INDEX [--json]",
     "Reads the message at INDEX (AT+CMGR=INDEX in text mode) and prints it as\n"
     "messages does. An index that holds no message is refused by the phone,\n"
     "usually with +CMS ERROR: 321.\n"
     "  --json  print one JSON object instead, with the keys of messages --json\n"},
    {"message-delete", "INDEX", kExtraNone, &PrepareMessageIndex, &DeleteMessage,
     "velkport [LINK OPTIONS] message-delete INDEX",
     "Deletes the message at INDEX (AT+CMGD=INDEX). Many phones take the\n"
     "deletion of an empty index without complaint.\n"},
    {"message-send", "NUMBER TEXT", kExtraJson, &PrepareMessageSend, &SendMessage,
     "velkport [LINK OPTIONS] message-send NUMBER TEXT [--json]",
     "Sends TEXT (one argument of UTF-8 and line ends) to NUMBER (digits, + in\n"
     "front for an international one) with AT+CMGS in text mode, and prints\n"
     "the reference the phone gave the message. The text goes in the phone's\n"
     "UCS2 where it offers it, else in IRA, which carries only plain ASCII. It\n"
     "holds at most 160 characters of plain ASCII, or 70 UTF-16 units with any\n"
     "other character; a longer text is refused before the device is opened.\n"
     "A text that begins with - goes behind --.\n"
     "  --json  print {\"number\":...,\"reference\":...} instead\n"},
    {"contacts", "", kExtraMemory | kExtraJson | kExtraVcard | kExtraFind, &PrepareContacts,
     &ListContacts, "velkport [LINK OPTIONS] contacts [--memory M] [--json|--vcard] [--find TEXT]",
     "Reads the phone book M (SM, the SIM's, by default) and prints its entries,\n"
     "one line each: index, number, number type (145 international, 129\n"
     "national) and name. It asks the phone its character sets (AT+CSCS=?) and\n"
     "has names sent in UCS2 where the phone offers it, else in IRA, and prints\n"
     "them as UTF-8; it asks the places (AT+CPBR=?) and reads them in a few\n"
     "large ranges, and leaves the phone in the character set it had. A\n"
     "character the phone sent broken prints as U+FFFD.\n"
     "  --memory M   the phone book: SM (the SIM), ME (the phone), or any other\n"
     "               two letters the phone knows (default SM)\n"
     "  --json       print a JSON array instead, one object per entry with the\n"
     "               keys index, number, type and name\n"
     "  --vcard      print vCard 3.0 instead, one card per entry, for\n"
     "               contacts-restore and address books\n"
     "  --find TEXT  only the entries the phone finds for TEXT (AT+CPBF=; most\n"
     "               phones find the names that begin with it)\n"},
    {"contact-put", "INDEX NUMBER NAME", kExtraMemory, &PrepareContactPut, &PutContact,
     "velkport [LINK OPTIONS] contact-put INDEX NUMBER NAME [--memory M]",
     "Writes the entry NUMBER NAME at place INDEX of the phone book M (default\n"
     "SM), over what is there. NUMBER holds digits, * # p w and a + in front\n"
     "(then it is written as international, type 145); NAME is UTF-8. A place\n"
     "the phone book does not have, or a number or name longer than the phone\n"
     "takes (AT+CPBR=? tells), is refused before anything is written; without\n"
     "UCS2 on the phone a name must be plain ASCII.\n"
     "  --memory M  the phone book (default SM)\n"},
    {"contact-delete", "INDEX", kExtraMemory, &PrepareContactDelete, &DeleteContact,
     "velkport [LINK OPTIONS] contact-delete INDEX [--memory M]",
     "Deletes the entry at place INDEX of the phone book M (default SM); an\n"
     "empty place stays empty.\n"
     "  --memory M  the phone book (default SM)\n"},
    {"contacts-restore", "FILE", kExtraMemory | kExtraJson, &PrepareContactsRestore,
     &RestoreContacts, "velkport [LINK OPTIONS] contacts-restore FILE [--memory M] [--json]",
     "Writes the contacts of the vCard file FILE (as contacts --vcard writes it:\n"
     "each card's FN, or its N, and its first TEL) into the free places of the\n"
     "phone book M (default SM), lowest first; the entries there stay. Nothing\n"
     "is written when the file cannot be read, when the phone book has too\n"
     "few free places, or when a number or name does not fit it.\n"
     "  --memory M  the phone book (default SM)\n"
     "  --json      print the entries written as contacts --json does\n"},
};

constexpr const char* kExitCodes =
    "Exit status: 0 done; 1 an output file could not be written; 2 bad\n"
    "arguments or an unusable input file; 3 the device cannot be opened; 4 the\n"
    "phone refused a command; 5 no answer from the phone; 6 the link was lost;\n"
    "7 the library or the system failed; 130 interrupted by Ctrl-C (the\n"
    "operation is cancelled and the link closed).\n";

const TransferCommand* FindTransferCommand(std::string_view name) {
    for (const TransferCommand& command : kTransferCommands) {
        if (command.name == name) return &command;
    }
    return nullptr;
}

}  // namespace

int RunTransferCommand(std::string_view name, CommandArgs args, const CommandIo& io,
                       const phonesim::SimulatorOptions& simulated) {
    const TransferCommand* command = FindTransferCommand(name);
    if (command == nullptr) {
        io.err << "velkport: there is no transfer subcommand \"" << name << "\".\n";
        return kExitUsage;
    }
    std::string problem;
    std::optional<TransferArgs> parsed =
        ParseTransferArgs(args, command->positionals, command->extras, problem);
    if (!parsed) {
        io.err << "velkport " << name << ": " << EndSentence(problem)
               << "\nusage: " << command->usage << "\nSee velkport " << name << " --help.\n";
        return kExitUsage;
    }
    if (parsed->help) {
        io.out << "usage: " << command->usage << "\n\n"
               << command->description << '\n'
               << kLinkOptionsHelp << '\n'
               << kExitCodes;
        return kExitDone;
    }
    parsed->link.simulator = simulated;

    // Nothing goes to the phone before every argument and file is right.
    TransferPlan plan;
    if (command->prepare != nullptr) {
        if (int code = command->prepare(*parsed, plan, problem); code != kExitDone) {
            io.err << "velkport " << name << ": " << EndSentence(problem) << '\n';
            return code;
        }
    }
    PhoneLink link(parsed->link);
    if (int code = link.Open(problem, io.err); code != kExitDone) {
        io.err << "velkport " << name << ": " << EndSentence(problem) << '\n';
        return code;
    }
    const Transfer transfer{name, *parsed, plan, io, link};
    const int code = command->body(transfer);
    link.Close();
    return code;
}

int RunTones(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("tones", args, io);
}
int RunToneGet(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("tone-get", args, io);
}
int RunTonePut(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("tone-put", args, io);
}
int RunImages(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("images", args, io);
}
int RunImageGet(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("image-get", args, io);
}
int RunImagePut(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("image-put", args, io);
}
int RunImageShow(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("image-show", args, io);
}
int RunAt(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("at", args, io);
}
int RunStatus(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("status", args, io);
}
int RunWatch(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("watch", args, io);
}
int RunMessages(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("messages", args, io);
}
int RunMessageGet(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("message-get", args, io);
}
int RunMessageDelete(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("message-delete", args, io);
}
int RunMessageSend(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("message-send", args, io);
}
int RunContacts(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("contacts", args, io);
}
int RunContactPut(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("contact-put", args, io);
}
int RunContactDelete(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("contact-delete", args, io);
}
int RunContactsRestore(CommandArgs args, const CommandIo& io) {
    return RunTransferCommand("contacts-restore", args, io);
}

}  // namespace velk::cli
