// tones, tone-get and tone-put.
#include <cstring>
#include <iomanip>
#include <string>
#include <vector>

#include "velkport.h"
#include "velkport/hex_bytes.h"
#include "velkport/json_text.h"
#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

std::string SlotName(uint8_t slot) {
    return "slot " + std::to_string(slot);
}

OperationTarget ReadingSlot(uint8_t slot) {
    return {SlotName(slot), "reading the tone in " + SlotName(slot)};
}

struct ToneCopy {
    std::string name;
    std::string text;
};

// The tone just read, copied before the next operation replaces it.
bool FetchTone(ToneCopy& tone) {
    MidRecord* record = nullptr;
    if (velk_GetMidData(&record) != 1 || record == nullptr) return false;
    const std::size_t nameLength = std::min<std::size_t>(record->nameLength, sizeof record->name);
    tone.name.assign(record->name, nameLength);
    tone.text.assign(reinterpret_cast<const char*>(record->data), record->size);
    return true;
}

// One slot of `tones --slots`: its tone, or nothing where the phone refused
// the read.
struct SlotLine {
    unsigned slot;
    std::optional<ToneCopy> tone;
};

void PrintTones(const Transfer& t, const std::string& name, const uint16_t (&values)[3],
                const std::vector<SlotLine>& slots) {
    std::ostream& out = t.io.out;
    if (t.args.json) {
        out << "{\"name\":" << JsonString(name) << ",\"values\":[" << values[0] << ',' << values[1]
            << ',' << values[2] << ']';
        if (t.args.slots != 0) {
            out << ",\"slots\":[";
            for (const SlotLine& line : slots) {
                out << (line.slot == 1 ? "" : ",") << "{\"slot\":" << line.slot;
                if (line.tone) {
                    out << ",\"name\":" << JsonString(line.tone->name)
                        << ",\"characters\":" << line.tone->text.size() << '}';
                } else {
                    out << ",\"refused\":true}";
                }
            }
            out << ']';
        }
        out << "}\n";
        return;
    }
    out << "Ring tones \"" << name << "\": value 1 = " << values[0] << ", value 2 = " << values[1]
        << ", value 3 = " << values[2] << '\n';
    if (t.args.slots == 0) return;
    out << "slot  name        characters\n";
    for (const SlotLine& line : slots) {
        out << std::setw(4) << line.slot << "  ";
        if (line.tone) {
            out << std::left << std::setw(10) << line.tone->name << std::right << std::setw(12)
                << line.tone->text.size() << '\n';
        } else {
            out << "-\n";
        }
    }
}

}  // namespace

// Ring tones "Tones": value 1 = 3, value 2 = 10, value 3 = 253
// slot  name        characters
//    1  Bells              122
int ListTones(const Transfer& t) {
    const OperationEnd end = t.link.Run(velk_ReadMidInfo);
    if (end.kind != OperationEnd::Kind::kFinal || end.message != VELK_MSG_MID_INFO_READ) {
        return t.Report(end, {"", "reading the ring-tone information"});
    }
    MidInfoRecord* info = nullptr;
    if (velk_GetMidInfo(&info) != 1 || info == nullptr) {
        return t.Report(kExitInternal,
                        "the library held no ring-tone information after reading it");
    }
    const std::string name(info->name, strnlen(info->name, sizeof info->name));
    const uint16_t values[3] = {info->infoNumber1, info->infoNumber2, info->infoNumber3};

    // Read all before printing, so that a failure leaves no half table.
    std::vector<SlotLine> slots;
    for (unsigned slot = 1; slot <= t.args.slots; ++slot) {
        const auto id = static_cast<uint8_t>(slot);
        const OperationEnd read = t.link.Run([id] { return velk_ReadMid(id); });
        ToneCopy tone;
        if (read.kind == OperationEnd::Kind::kFinal && read.message == VELK_MSG_MID_READ &&
            FetchTone(tone)) {
            slots.push_back({slot, std::move(tone)});
        } else if (read.kind == OperationEnd::Kind::kFinal &&
                   read.message == VELK_MSG_MID_READ_REFUSED) {
            // An empty slot is refused like any other read.
            slots.push_back({slot, std::nullopt});
        } else {
            return t.Report(read, ReadingSlot(id));
        }
    }
    PrintTones(t, name, values, slots);
    return kExitDone;
}

int GetTone(const Transfer& t) {
    const uint8_t slot = t.plan.number;
    const OperationEnd end = t.link.Run([slot] { return velk_ReadMid(slot); });
    if (end.kind != OperationEnd::Kind::kFinal || end.message != VELK_MSG_MID_READ) {
        return t.Report(end, ReadingSlot(slot));
    }
    ToneCopy tone;
    if (!FetchTone(tone)) {
        return t.Report(kExitInternal, "the library held no tone after reading it");
    }
    // A tone whose text is hexadecimal is a file's bytes (the simulated
    // phone's are MIDI files); any other text stays text even in a .mid.
    const std::optional<std::string> bytes =
        t.plan.kind == FileKind::kMidi ? BytesOfHex(tone.text) : std::nullopt;
    if (!t.Deliver(bytes ? *bytes : tone.text)) return kExitFailure;
    t.Summary() << "Read tone " << static_cast<unsigned>(slot) << " \"" << tone.name
                << "\": " << Counted(tone.text.size(), "character")
                << (t.args.output.empty() ? "" : ", saved to " + t.args.output)
                << (bytes ? " as " + Counted(bytes->size(), "byte") : "") << ".\n";
    if (t.plan.kind == FileKind::kMidi && !bytes) {
        t.io.err << "velkport " << t.command << ": note: the tone's text is not hexadecimal, so "
                 << t.args.output << " holds it as text.\n";
    }
    return kExitDone;
}

int PutTone(const Transfer& t) {
    const uint8_t slot = t.plan.number;
    const std::string& name = t.plan.name;
    std::string text = t.plan.text;
    MidRecord record{};
    record.id = slot;
    record.nameLength = static_cast<uint16_t>(name.size());
    name.copy(record.name, sizeof record.name);
    record.size = static_cast<uint16_t>(text.size());
    record.data = reinterpret_cast<uint8_t*>(text.data());
    const OperationEnd end = t.link.Run([&record] { return velk_WriteMid(record); });
    if (end.kind != OperationEnd::Kind::kFinal || end.message != VELK_MSG_MID_WRITTEN) {
        const int code = t.Report(end, {SlotName(slot), "writing the tone into " + SlotName(slot)});
        if (std::string broken = BrokenWriteSentence(end, SlotName(slot), 0); !broken.empty()) {
            t.Report(code, broken);
        }
        return code;
    }
    t.Summary() << "Wrote tone " << static_cast<unsigned>(slot) << " \"" << name
                << "\": " << Counted(text.size(), "character")
                << (t.plan.kind == FileKind::kMidi ? ", the " + Counted(text.size() / 2, "byte") +
                                                         " of " + t.args.positionals[2]
                                                   : "")
                << ".\n";
    return kExitDone;
}

}  // namespace velk::cli
