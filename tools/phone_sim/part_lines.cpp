#include "phone_sim/part_lines.h"

#include <algorithm>
#include <cctype>

#include "phone_sim/chunk_line.h"

namespace velk::phonesim {
namespace {

constexpr int kOnlyPart = 255;

bool SixDigits(const std::string& param) {
    return param.size() == 6 && std::all_of(param.begin(), param.end(), [](char c) {
               return std::isdigit(static_cast<unsigned char>(c)) != 0;
           });
}

// `head` is the line up to the part number, with its comma; `param` is
// empty for a tone line, else the param field with its comma.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): head before parameters, as on the line
std::vector<std::string> PartLines(const std::string& head, const std::string& param,
                                   const std::string& text) {
    std::vector<std::string> lines;
    const auto quotedTail = [&](const std::string& part) {
        return param + '"' + part + "\"," + std::to_string(ChunkCheck(part));
    };
    if (text.size() <= kPartLength) {
        lines.push_back(head + std::to_string(kOnlyPart) + ",1," + std::to_string(text.size()) +
                        ",," + quotedTail(text));
        return lines;
    }
    const std::size_t parts = (text.size() + kPartLength - 1) / kPartLength;
    for (std::size_t i = 0; i < parts; ++i) {
        std::string line = head + std::to_string(i + 1) + ',' + std::to_string(parts) + ',';
        if (i == 0) {
            line += std::to_string(text.size() / kPartLength) + ',' +
                    std::to_string(text.size() % kPartLength) + ',';
        } else {
            line += ",,";
        }
        lines.push_back(line + quotedTail(text.substr(i * kPartLength, kPartLength)));
    }
    return lines;
}

}  // namespace

std::vector<std::string> TonePartLines(int slot, const std::string& name, const std::string& text) {
    return PartLines("+RNGR: " + std::to_string(slot) + ",\"" + name + "\",", "", text);
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the order of the information line
std::vector<std::string> FramePartLines(int frame, const std::string& name,
                                        const std::string& param, const std::string& text) {
    const std::string paramField = SixDigits(param) ? '"' + param + "\"," : std::string(",");
    return PartLines("+IMGR: " + std::to_string(frame) + ",\"" + name + "\",", paramField,
                     kFrameHead + text);
}

}  // namespace velk::phonesim
