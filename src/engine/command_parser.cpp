#include "engine/command_parser.h"

#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>

#include "engine/command_table.h"
#include "engine/request_params.h"

namespace velk {

namespace {

// How much of the user's text a sentence repeats.
constexpr size_t kEchoLimit = 48;

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view TrimLeft(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    return text;
}

std::string_view Trim(std::string_view text) {
    text = TrimLeft(text);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view head) {
    if (text.size() < head.size()) return false;
    for (size_t i = 0; i < head.size(); ++i) {
        if (Upper(text[i]) != Upper(head[i])) return false;
    }
    return true;
}

// The sentence of a refusal, written only when the caller wants one: the rows
// that might take a command are tried without one.
class Sentence {
  public:
    explicit Sentence(std::string* out) : out_(out) {
        if (out_ != nullptr) out_->clear();
    }

    Sentence& operator<<(std::string_view text) {
        if (out_ != nullptr) *out_ += text;
        return *this;
    }
    Sentence& operator<<(char c) {
        if (out_ != nullptr) *out_ += c;
        return *this;
    }
    template <std::integral N>
    requires(!std::same_as<N, char>) Sentence& operator<<(N number) {
        if (out_ != nullptr) *out_ += std::to_string(number);
        return *this;
    }

    // The user's own text, cut short when it is long.
    Sentence& Echo(std::string_view text) {
        if (text.size() <= kEchoLimit) return *this << text;
        // Cut in front of a whole UTF-8 character, not inside one.
        size_t cut = kEchoLimit;
        while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
        return *this << text.substr(0, cut) << "...";
    }

  private:
    std::string* out_;
};

// The parameters as the form's list writes them, without the AT text:
// "<index1>[,<index2>]", "[=<profile>]", "[<index>][,"<number>",[<type>],["<text>"]]".
void AppendSyntax(Sentence& out, const FormParams& form) {
    int open = 0;
    for (size_t i = 0; i < form.params.size(); ++i) {
        const RequestParam& param = form.params[i];
        if (param.presence == ParamPresence::kChained) {
            out << '[';
            ++open;
        }
        if (i > 0) {
            out << ',';
        } else if (form.lead != '\0') {
            out << form.lead;
        }
        const bool gap = param.presence == ParamPresence::kGap;
        const bool quoted = param.kind == ParamKind::kQuoted;
        out << (gap ? "[" : "") << (quoted ? "\"<" : "<") << param.name << (quoted ? ">\"" : ">")
            << (gap ? "]" : "");
    }
    for (; open > 0; --open) out << ']';
    if (form.tail != '\0') out << form.tail;
}

// One parameter as typed: the text between its commas, and for a quoted one
// the text inside the quotes.
struct Token {
    std::string_view typed;
    std::string_view text;
    bool quoted = false;
};

// Cuts the parameters at the commas outside quotes. A quoted parameter ends at
// the first quote followed by a comma or by the end. Keeps the first tokens
// that fit, and counts them all. Answers the number (from 1) of a parameter
// whose quote is not closed, else 0.
size_t SplitParams(std::string_view params, Token (&tokens)[kMaxParams + 1], size_t& count) {
    count = 0;
    size_t at = 0;
    while (true) {
        Token token;
        size_t end = at;
        if (at < params.size() && params[at] == '"') {
            size_t close = at + 1;
            while (close < params.size() && !(params[close] == '"' && (close + 1 == params.size() ||
                                                                       params[close + 1] == ','))) {
                ++close;
            }
            if (close == params.size()) return count + 1;
            token.quoted = true;
            token.text = params.substr(at + 1, close - at - 1);
            end = close + 1;
        } else {
            while (end < params.size() && params[end] != ',') ++end;
            token.text = params.substr(at, end - at);
        }
        token.typed = params.substr(at, end - at);
        if (count < std::size(tokens)) tokens[count] = token;
        ++count;
        if (end == params.size()) return 0;
        at = end + 1;
    }
}

// A decimal number with an optional minus sign, within [low, high].
enum class NumberRead { kOk, kNoNumber, kOutOfRange };
NumberRead ReadNumber(std::string_view text, int64_t low, int64_t high, int32_t& value) {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    if (text.empty()) return NumberRead::kNoNumber;
    constexpr int64_t kBeyond = int64_t{1} << 40;  // past any field, and far from overflow
    int64_t magnitude = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return NumberRead::kNoNumber;
        if (magnitude < kBeyond) magnitude = magnitude * 10 + (c - '0');
    }
    const int64_t number = negative ? -magnitude : magnitude;
    if (number < low || number > high) return NumberRead::kOutOfRange;
    value = static_cast<int32_t>(number);
    return NumberRead::kOk;
}

// Reads `params`, the text behind the row's AT text, into `request` by the
// row's form. On refusal writes why into `*why` when `why` is not null.
bool ParseParams(const CommandRow& row, std::string_view params, RequestForms& request,
                 std::string* why) {
    Sentence say(why);
    const std::string_view head = row.text;
    const FormParams& form = ParamsOf(row.form);
    if (form.chunk) {
        say << head
            << " carries a chunk of a tone, image or logo transfer; only the transfers "
               "write it";
        return false;
    }
    const size_t most = form.params.size();
    if (most == 0) {
        if (params.empty()) return true;
        say << head << " takes no parameters";
        return false;
    }
    const bool given = !params.empty();
    if (given && form.lead != '\0') {
        if (params.front() != form.lead) {
            say << head << " is followed by '" << form.lead << "' before its parameter: ";
            AppendSyntax(say, form);
            return false;
        }
        params.remove_prefix(1);
    }
    if (form.tail != '\0' && !params.empty() && params.back() == form.tail) {
        params.remove_suffix(1);
    }

    Token tokens[kMaxParams + 1];
    size_t count = 0;
    if (given) {
        if (const size_t unclosed = SplitParams(params, tokens, count)) {
            say << head << " parameter " << unclosed << " opens a double quote that is not closed";
            return false;
        }
    }
    size_t least = 0;
    while (least < most && form.params[least].presence == ParamPresence::kAlways) ++least;
    if (count > most || count < least) {
        const size_t limit = count > most ? most : least;
        say << head << " takes "
            << (least == most  ? ""
                : count > most ? "at most "
                               : "at least ")
            << limit << (limit == 1 ? " parameter: " : " parameters: ");
        AppendSyntax(say, form);
        return false;
    }

    std::memset(&request, 0, sizeof request);
    for (size_t i = 0; i < most; ++i) {
        const RequestParam& param = form.params[i];
        const bool quotedKind = param.kind == ParamKind::kQuoted;
        if (i >= count) {
            // Left out at the end; a number field takes its "left out" value.
            if (!quotedKind) SetParamNumber(param, param.omitted, request);
            continue;
        }
        const Token& token = tokens[i];
        auto refuse = [&]() -> Sentence& {
            return say << head << " parameter " << (i + 1) << " <" << param.name << ">";
        };
        // Writing the value that means "left out" would not come back from the
        // builder as written: the place is left empty, or the command ends.
        auto refuseOmitted = [&]() {
            refuse() << (token.typed.empty() ? " is empty" : " means left out as ") << token.typed
                     << (param.presence == ParamPresence::kGap ? ": leave its place empty instead"
                         : param.presence == ParamPresence::kChained
                             ? ": end the command before it instead"
                             : "");
            return false;
        };
        if (token.typed.empty()) {
            if (param.presence == ParamPresence::kGap) {
                if (!quotedKind) SetParamNumber(param, param.omitted, request);
                continue;
            }
            return refuseOmitted();
        }
        if (quotedKind) {
            if (!token.quoted) {
                refuse() << " must be a text in double quotes: ";
                say.Echo(token.typed);
                return false;
            }
            if (token.text.size() >= param.width) {
                refuse() << " is " << token.text.size() << " bytes long; its field holds "
                         << (param.width - 1);
                return false;
            }
            if (token.text.empty() && param.presence != ParamPresence::kAlways) {
                return refuseOmitted();
            }
            SetParamText(param, token.text, request);
            continue;
        }
        const bool byte = param.kind == ParamKind::kByte;
        const int64_t low = byte ? 0 : std::numeric_limits<int32_t>::min();
        const int64_t high = byte ? 255 : std::numeric_limits<int32_t>::max();
        int32_t value = 0;
        switch (token.quoted ? NumberRead::kNoNumber : ReadNumber(token.text, low, high, value)) {
            case NumberRead::kOk:
                break;
            case NumberRead::kNoNumber:
                refuse() << " is no number: ";
                say.Echo(token.typed);
                return false;
            case NumberRead::kOutOfRange:
                refuse() << " is out of range (" << low << " to " << high << "): ";
                say.Echo(token.typed);
                return false;
        }
        if (value == param.omitted && param.presence != ParamPresence::kAlways) {
            return refuseOmitted();
        }
        SetParamNumber(param, value, request);
    }
    return true;
}

// "#<id> <text>": the text must fit that row.
bool ParseNamedRow(std::string_view text, ParsedCommand& result) {
    Sentence say(&result.refusal);
    size_t blank = 0;
    while (blank < text.size() && !IsBlank(text[blank])) ++blank;
    const std::string_view name = text.substr(0, blank);
    const std::string_view command = TrimLeft(text.substr(blank));
    int32_t id = 0;
    const std::string_view digits = name.substr(1);
    const CommandRow* row = nullptr;
    if (!digits.empty() && digits.front() != '-' &&
        ReadNumber(digits, kFirstCommandId, kLastCommandId, id) == NumberRead::kOk) {
        row = FindCommandRow(id);
    }
    if (row == nullptr) {
        say.Echo(name) << " is no command id";
        return false;
    }
    if (row->text == nullptr) {
        say << name << " has no AT text";
        return false;
    }
    if (command.empty()) {
        say << name << " is " << row->text << ", and no command text follows it";
        return false;
    }
    const std::string_view head = row->text;
    if (!StartsWithIgnoringCase(command, head)) {
        say << name << " is " << head << ", which does not begin ";
        say.Echo(command);
        return false;
    }
    if (!ParseParams(*row, command.substr(head.size()), result.request, &result.refusal)) {
        return false;
    }
    result.id = id;
    return true;
}

// A row can take `command` when its AT text begins it; a row without
// parameters only when its text is all of it.
bool Begins(const CommandRow& row, std::string_view command) {
    if (row.text == nullptr || !StartsWithIgnoringCase(command, row.text)) return false;
    const bool bare = row.form == RequestForm::kBare;
    return !bare || std::strlen(row.text) == command.size();
}

// The rows whose text begins `command`, longest text first and, among rows
// that share a text, lowest id first: the first that takes it wins.
bool ParseByText(std::string_view command, ParsedCommand& result) {
    size_t below = std::numeric_limits<size_t>::max();
    const CommandRow* first = nullptr;  // the first row tried
    size_t sharing = 0;                 // the rows of its text that were tried
    while (true) {
        size_t longest = 0;
        for (const CommandRow& row : CommandRows()) {
            if (!Begins(row, command)) continue;
            const size_t length = std::strlen(row.text);
            if (length < below && length > longest) longest = length;
        }
        if (longest == 0) break;
        for (const CommandRow& row : CommandRows()) {
            if (!Begins(row, command) || std::strlen(row.text) != longest) continue;
            if (first == nullptr) first = &row;
            if (std::strcmp(first->text, row.text) == 0) ++sharing;
            if (ParseParams(row, command.substr(longest), result.request, nullptr)) {
                result.id = row.id;
                return true;
            }
        }
        below = longest;
    }
    Sentence say(&result.refusal);
    if (first == nullptr) {
        say.Echo(command) << " fits no command of the catalogue";
    } else if (sharing > 1) {
        say.Echo(command) << " fits none of the " << sharing << " commands that send "
                          << first->text << "; write #<id> in front to see why one refuses";
    } else {
        // Tried again, now to say why: the rows are tried without a sentence
        // so that a text that fits costs no allocation.
        ParseParams(*first, command.substr(std::strlen(first->text)), result.request,
                    &result.refusal);
    }
    return false;
}

void Parse(std::string_view text, ParsedCommand& result) {
    const std::string_view command = Trim(text);
    if (command.empty()) {
        result.refusal = "the command text is empty";
        return;
    }
    for (const char c : command) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20) {
            constexpr char kHex[] = "0123456789ABCDEF";
            Sentence(&result.refusal)
                << "the command holds the control byte 0x" << kHex[byte >> 4] << kHex[byte & 0xF]
                << "; a command is one line of printable text";
            return;
        }
    }
    const bool accepted =
        command.front() == '#' ? ParseNamedRow(command, result) : ParseByText(command, result);
    if (!accepted) {
        result.id = 0;
        std::memset(&result.request, 0, sizeof result.request);
    }
}

}  // namespace

ParsedCommand ParseCommandText(std::string_view text) noexcept {
    ParsedCommand result;
    try {
        Parse(text, result);
    } catch (...) {
        // Only the sentence allocates; without memory the text is refused
        // with a short one, which the string holds without allocating.
        result.id = 0;
        std::memset(&result.request, 0, sizeof result.request);
        result.refusal.clear();
        result.refusal.assign("out of memory");
    }
    return result;
}

}  // namespace velk
