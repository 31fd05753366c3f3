// tones, tone-get and tone-put.
#include <cstring>
#include <iomanip>
#include <string>

#include "velkport.h"
#include "velkport/link_options.h"
#include "velkport/transfer_context.h"
#include "velkport/transfer_files.h"

namespace velk::cli {
namespace {

std::string SlotName(uint8_t slot) {
    return "slot " + std::to_string(slot);
}

// A slot argument: 1 to 255.
bool ReadSlot(const Transfer& t, uint8_t& slot) {
    const std::string& text = t.args.positionals[0];
    if (!ReadWholeNumber(std::string_view(text), slot) || slot == 0) {
        t.Report(kExitUsage, "a slot is a number from 1 to 255, not \"" + text + "\"");
        return false;
    }
    return true;
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

}  // namespace

// Ring tones "Tones": the phone states 3, 10, 253
// slot  name        characters
//    1  Bells              122
int ListTones(const Transfer& t) {
    const OperationEnd end = t.link.Run(velk_ReadMidInfo);
    if (end.kind != OperationEnd::Kind::kFinal || end.message != VELK_MSG_MID_INFO_READ) {
        return t.Report(end, "");
    }
    MidInfoRecord* info = nullptr;
    if (velk_GetMidInfo(&info) != 1 || info == nullptr) {
        return t.Report(kExitFailure, "the library held no ring-tone information after reading it");
    }
    const std::string name(info->name, strnlen(info->name, sizeof info->name));
    t.io.out << "Ring tones \"" << name << "\": the phone states " << info->infoNumber1 << ", "
             << info->infoNumber2 << ", " << info->infoNumber3 << '\n';
    if (t.args.slots == 0) return kExitDone;

    t.io.out << "slot  name        characters\n";
    for (unsigned slot = 1; slot <= t.args.slots; ++slot) {
        const auto id = static_cast<uint8_t>(slot);
        const OperationEnd read = t.link.Run([id] { return velk_ReadMid(id); });
        ToneCopy tone;
        if (read.kind == OperationEnd::Kind::kFinal && read.message == VELK_MSG_MID_READ &&
            FetchTone(tone)) {
            t.io.out << std::setw(4) << slot << "  " << std::left << std::setw(10) << tone.name
                     << std::right << std::setw(12) << tone.text.size() << '\n';
        } else if (read.kind == OperationEnd::Kind::kFinal &&
                   read.message == VELK_MSG_MID_READ_REFUSED) {
            // An empty slot is refused like any other read.
            t.io.out << std::setw(4) << slot << "  -\n";
        } else {
            return t.Report(read, SlotName(id));
        }
    }
    return kExitDone;
}

int GetTone(const Transfer& t) {
    uint8_t slot = 0;
    if (!ReadSlot(t, slot)) return kExitUsage;
    const OperationEnd end = t.link.Run([slot] { return velk_ReadMid(slot); });
    if (end.kind != OperationEnd::Kind::kFinal || end.message != VELK_MSG_MID_READ) {
        return t.Report(end, SlotName(slot));
    }
    ToneCopy tone;
    if (!FetchTone(tone))
        return t.Report(kExitFailure, "the library held no tone after reading it");
    if (t.args.output.empty()) {
        t.io.out.write(tone.text.data(), static_cast<std::streamsize>(tone.text.size()));
        t.io.out.flush();
    } else if (std::string problem; !WriteTransferFile(t.args.output, tone.text, problem)) {
        return t.Report(kExitFailure, problem);
    }
    t.Summary() << "Read tone " << static_cast<unsigned>(slot) << " \"" << tone.name
                << "\": " << tone.text.size() << " characters"
                << (t.args.output.empty() ? "" : ", saved to " + t.args.output) << ".\n";
    return kExitDone;
}

int PutTone(const Transfer& t) {
    uint8_t slot = 0;
    if (!ReadSlot(t, slot)) return kExitUsage;
    const std::string& name = t.args.positionals[1];
    std::string problem;
    std::optional<std::string> text = ReadTransferFile(t.args.positionals[2], problem);
    if (!text) return t.Report(kExitUsage, problem);
    if (std::optional<std::string> bad = NameProblem(name)) return t.Report(kExitUsage, *bad);
    if (std::optional<std::string> bad = ToneTextProblem(*text)) return t.Report(kExitUsage, *bad);

    MidRecord record{};
    record.id = slot;
    record.nameLength = static_cast<uint16_t>(name.size());
    name.copy(record.name, sizeof record.name);
    record.size = static_cast<uint16_t>(text->size());
    record.data = reinterpret_cast<uint8_t*>(text->data());
    const OperationEnd end = t.link.Run([&record] { return velk_WriteMid(record); });
    if (end.kind != OperationEnd::Kind::kFinal || end.message != VELK_MSG_MID_WRITTEN) {
        return t.Report(end, SlotName(slot));
    }
    t.Summary() << "Wrote tone " << static_cast<unsigned>(slot) << " \"" << name
                << "\": " << text->size() << " characters.\n";
    return kExitDone;
}

}  // namespace velk::cli
