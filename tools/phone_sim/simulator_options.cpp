#include "phone_sim/simulator_options.h"

#include <charconv>

namespace velk::phonesim {
namespace {

constexpr const char kHelp[] =
    R"(Usage: velkport-phone [OPTION]...
A mobile phone on a pseudo-terminal, for trying out Velkport and the velkport
command without a phone. It prints the device path to open (the slave side of
the pseudo-terminal) as its first line of output, then answers AT commands on
it until it gets SIGINT or SIGTERM, one client after another: it holds the
device open itself, so that a client may close it and the next open it again.

The phone echoes each command until ATE0 and answers with a blank line and
then its reply lines, each ended by CR LF, the last one "OK", "ERROR",
"+CME ERROR: <n>" or "+CMS ERROR: <n>". It holds ring tones in slots 1 to 10 (AT+RNGI, AT+RNGR=,
AT+RNGW=) and images as runs of numbered frames of 1536 characters (AT+IMGINF,
AT+IMGR=, AT+IMGW=), seeded with three tones and three images of 1, 3 and 2
frames. Written chunks must carry the right check value (the exclusive-or of
the body's bytes and of its length), or the phone answers "ERROR" and drops
the write under way. A frame written to an image's first frame starts that
image anew; each frame written after it in order adds one to its count. An
image's parameter digits are kept as written and sent back when they are six.
It is also a phone with a SIM, as 27.007 and 27.005 phones answer:

  Phone books   SM holds --entries names (250 by default, some with letters
                outside ASCII) in 250 locations or as many as there are
                names; ME is empty, 100 locations. AT+CPBS, AT+CPBR=<i> and
                AT+CPBR=<first>,<last> (a line per stored entry), AT+CPBF=
                (names that begin with the text), AT+CPBW=<i>,"<number>",
                <type>,"<name>" (no index: the first free one; the index
                alone deletes), and =? or ? of each.
  Character set AT+CSCS= "IRA", "GSM" or "UCS2" (GSM at first). Names and
                message texts cross the line in it: in UCS2 as four
                hexadecimal digits per UTF-16 unit; in IRA and GSM anything
                but printable ASCII goes out as "?" and only ASCII is taken.
                Message addresses go in it too; phone-book numbers go as
                they are, and an address given as plain digits is taken.
  Messages      in text mode (AT+CMGF=1; in PDU mode the message commands
                answer +CMS ERROR: 303), in "SM", 30 places, seeded with
                five: AT+CPMS, AT+CMGL[="<stat>"|"ALL"], AT+CMGR=<i> (reading
                an unread one makes it read), AT+CMGD=<i>[,<flag>],
                AT+CMGW[="<address>"] and AT+CMGS="<address>", AT+CNMI. The
                last two answer CR LF "> " and take the text up to Ctrl-Z
                (Esc drops it), not echoed. A message sent to the phone's own
                number, +15550100 (AT+CNUM), comes back as "REC UNREAD" with
                +CMTI: "SM",<index> after the reply, unless AT+CNMI's second
                value is 0.
  Status        AT+CSQ, AT+CBC, AT+CREG? (home), AT+CREG=0|1, AT+COPS?,
                AT+COPS=?, AT+COPS=3,<format>, AT+CGMI, AT+CGMM, AT+CGMR,
                AT+CGSN, AT+CIMI, AT+CNUM, ATI.

Options:
  --store DIR          keep tones and images in DIR, created and seeded when
                       it holds no index.json: DIR/index.json (tone names and
                       the frame table), DIR/tone-<slot>.txt (each tone's
                       text), DIR/frame-<n>.txt (each frame's characters).
                       Without it the phone holds them in memory. Phone
                       books and messages are always in memory only.
  --silent             answer nothing at all, not even the echo
  --refuse TEXT[=FINAL]
                       answer a command that begins with TEXT (in any case)
                       with the single line FINAL, "ERROR" by default, and
                       do not carry it out; FINAL is a final line such as
                       "OK", "ERROR" or "+CME ERROR: 22" (so TEXT may hold
                       "=": --refuse AT+RNGR==+CME ERROR: 22); may be given
                       more than once
  --noise              send a RING line before every reply line
  --split              send replies in small pieces of random size
  --hangup-after N     close the line when the N-th command line arrives;
                       the program then ends
  --baud RATE          pace both directions as a serial line at RATE,
                       10 bits a byte
  --log FILE           write every command line received to FILE
  --timestamps FILE    write to FILE, with the monotonic clock in
                       nanoseconds, "C <ns>" when the first byte of a command
                       arrives and "R <ns>" when the last byte of its reply
                       went out; written out when the program ends
  --seed N             seed of the --split pieces (default: from the clock)
  --entries N          names in the SIM's phone book, 0 or more (default 250)
  --notify             start with AT+CREG=1 and send +CREG: 1 every 2 seconds,
                       only between commands, never inside a reply
  --notice-delay MS    send the reports a reply brings (the +CMTI of a message
                       to the phone's own number) MS milliseconds after it,
                       between commands, as a network that takes its time
                       (default 0: right behind the reply)
  --help               show this text
  --version            print the version and end

Exit status: 0 when stopped by a signal or after --hangup-after, 1 when the
pseudo-terminal or the store cannot be set up, 2 for a usage error.
)";

// The lines a phone ends a command with. TEXT itself may hold "=" (as in
// "AT+RNGR="), so only an "=" followed by one of these ends it.
constexpr const char* kFinalLines[] = {"OK",   "ERROR",      "+CME ERROR:", "+CMS ERROR:", "+CME:",
                                       "BUSY", "NO CARRIER", "NO ANSWER",   "NO DIALTONE"};

Refusal ReadRefusal(const std::string& value) {
    for (std::size_t equals = value.find('='); equals != std::string::npos;
         equals = value.find('=', equals + 1)) {
        const std::string final = value.substr(equals + 1);
        for (const char* line : kFinalLines) {
            if (final.rfind(line, 0) == 0) return {value.substr(0, equals), final};
        }
    }
    return {value};
}

// Indexes are read as at most five digits.
constexpr uint32_t kMostEntries = 99999;

bool ReadCount(const std::string& text, uint32_t& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

}  // namespace

const char* SimulatorHelpText() {
    return kHelp;
}

ParseOutcome ParseSimulatorArguments(const std::vector<std::string>& arguments,
                                     SimulatorOptions& options, std::string& error) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& option = arguments[i];
        if (option == "--help" || option == "-h") return ParseOutcome::kHelp;
        if (option == "--silent") {
            options.silent = true;
            continue;
        }
        if (option == "--noise") {
            options.noise = true;
            continue;
        }
        if (option == "--split") {
            options.split = true;
            continue;
        }
        if (option == "--notify") {
            options.notify = true;
            continue;
        }
        static const char* const kWithValue[] = {"--store", "--refuse",  "--hangup-after",
                                                 "--baud",  "--log",     "--timestamps",
                                                 "--seed",  "--entries", "--notice-delay"};
        bool known = false;
        for (const char* name : kWithValue) known = known || option == name;
        if (!known) {
            error = "unknown option " + option;
            return ParseOutcome::kUsageError;
        }
        if (i + 1 >= arguments.size()) {
            error = option + " needs a value";
            return ParseOutcome::kUsageError;
        }
        const std::string& value = arguments[++i];
        uint32_t number = 0;
        if (option == "--store") {
            options.storeDir = value;
        } else if (option == "--log") {
            options.logFile = value;
        } else if (option == "--timestamps") {
            options.timestampFile = value;
        } else if (option == "--refuse") {
            Refusal refusal = ReadRefusal(value);
            if (refusal.prefix.empty()) {
                error = "--refuse needs the beginning of a command";
                return ParseOutcome::kUsageError;
            }
            options.refusals.push_back(std::move(refusal));
        } else if (option == "--entries") {
            if (!ReadCount(value, number) || number > kMostEntries) {
                error = "--entries needs a whole number from 0 to " + std::to_string(kMostEntries) +
                        ", not " + value;
                return ParseOutcome::kUsageError;
            }
            options.entries = number;
        } else if (option == "--notice-delay") {
            if (!ReadCount(value, number)) {
                error = "--notice-delay needs a whole number of milliseconds, not " + value;
                return ParseOutcome::kUsageError;
            }
            options.noticeDelay = std::chrono::milliseconds(number);
        } else if (!ReadCount(value, number) || (option != "--seed" && number == 0)) {
            error = option;
            error += " needs a whole number above 0, not ";
            error += value;
            return ParseOutcome::kUsageError;
        } else if (option == "--hangup-after") {
            options.hangupAfter = number;
        } else if (option == "--baud") {
            options.baud = number;
        } else {
            options.seed = number;
        }
    }
    return ParseOutcome::kRun;
}

}  // namespace velk::phonesim
