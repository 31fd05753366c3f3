// The corpus of real replies (../shared/corpus/replies.jsonl): one JSON
// object per line with the command, the received lines and what the peer
// made of them. Only what the tests need is read: strings and arrays of them.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/command_catalogue.h"

namespace velk::corpus {

struct Record {
    std::string command;
    std::vector<std::string> lines;
};

inline constexpr std::string_view kUnsolicited = "(unsolicited)";

// The JSON string after any blanks at `at`; a \u escape must be below 0x80.
inline bool ReadString(std::string_view json, std::size_t& at, std::string& out) {
    out.clear();
    while (at < json.size() && json[at] == ' ') ++at;
    if (at >= json.size() || json[at++] != '"') return false;
    while (at < json.size() && json[at] != '"') {
        char c = json[at++];
        if (c == '\\' && at < json.size()) {
            c = json[at++];
            if (c == 'n') c = '\n';
            if (c == 'r') c = '\r';
            if (c == 't') c = '\t';
            if (c == 'u') {
                const unsigned long code = std::stoul(std::string(json.substr(at, 4)), nullptr, 16);
                if (code >= 0x80) return false;
                c = static_cast<char>(code);
                at += 4;
            }
        }
        out += c;
    }
    return at++ < json.size();
}

// One object of strings and arrays of strings; anything else fails. The lines
// of a record taken byte for byte as Latin-1 get their single bytes back.
inline std::optional<Record> ParseRecord(std::string_view json) {
    Record record;
    std::string key, value;
    bool latin1 = false;
    std::size_t at = 0;
    const auto next = [&](char c) {  // past blanks, takes `c` if it stands there
        while (at < json.size() && json[at] == ' ') ++at;
        return at < json.size() && json[at] == c && ++at;
    };
    if (!next('{')) return std::nullopt;
    while (!next('}')) {
        if (!ReadString(json, at, key) || !next(':')) return std::nullopt;
        if (next('[')) {
            while (!next(']')) {
                if (!ReadString(json, at, value)) return std::nullopt;
                if (key == "lines") record.lines.push_back(value);
                next(',');
            }
        } else if (!ReadString(json, at, value)) {
            return std::nullopt;
        }
        if (key == "command") record.command = value;
        if (key == "peer_expected") latin1 = value.find("Latin-1") != std::string::npos;
        next(',');
    }
    for (std::string& line : record.lines) {
        std::string bytes;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const auto c = static_cast<unsigned char>(line[i]);
            const bool pair = latin1 && (c & 0xE0) == 0xC0 && i + 1 < line.size();
            bytes += static_cast<char>(pair ? ((c & 0x1F) << 6) | (line[++i] & 0x3F) : c);
        }
        line = bytes;
    }
    return record;
}

// Every record of the file, in order; empty when it cannot be read. A line
// that is no record fails the caller's count, not the reading.
inline std::vector<std::optional<Record>> ReadRecords(const std::string& path) {
    std::vector<std::optional<Record>> records;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty()) records.push_back(ParseRecord(line));
    }
    return records;
}

// The catalogue id that sends `command`: the one whose AT text equals it,
// else the one whose AT text ending in "=" is its longest prefix (the lowest
// id among equal texts, so every "AT+CMGR=..." is 61).
inline std::optional<int32_t> CommandIdFor(std::string_view command) {
    std::optional<int32_t> id;
    std::size_t prefixLength = 0;
    for (const CatalogueEntry& entry : CatalogueEntries()) {
        const std::string_view text = entry.text;
        if (text == command) return entry.id;
        if (text.ends_with('=') && command.starts_with(text) && text.size() > prefixLength) {
            id = entry.id;
            prefixLength = text.size();
        }
    }
    return id;
}

}  // namespace velk::corpus
