// The corpus of real replies (../shared/corpus/replies.jsonl): one JSON
// object per line with the command, the received lines, where they come
// from and what the peer made of them. Only what the tests need is read:
// strings and arrays of strings.
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
    std::string source;
    std::string peerExpected;
};

inline constexpr std::string_view kUnsolicited = "(unsolicited)";

namespace detail {

inline void AppendUtf8(std::string& out, uint32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// Reads the JSON string at `at` (on its opening quote) into UTF-8.
inline bool ReadString(std::string_view json, std::size_t& at, std::string& out) {
    out.clear();
    ++at;
    while (at < json.size() && json[at] != '"') {
        char c = json[at++];
        if (c != '\\') {
            out += c;
            continue;
        }
        if (at >= json.size()) return false;
        char e = json[at++];
        switch (e) {
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'u': {
                auto hex4 = [&](uint32_t& v) {
                    if (at + 4 > json.size()) return false;
                    v = static_cast<uint32_t>(
                        std::stoul(std::string(json.substr(at, 4)), nullptr, 16));
                    at += 4;
                    return true;
                };
                uint32_t code = 0;
                if (!hex4(code)) return false;
                if (code >= 0xD800 && code < 0xDC00 && json.substr(at, 2) == "\\u") {
                    at += 2;
                    uint32_t low = 0;
                    if (!hex4(low)) return false;
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                }
                AppendUtf8(out, code);
                break;
            }
            default:
                out += e;  // '"', '\\', '/'
        }
    }
    if (at >= json.size()) return false;
    ++at;
    return true;
}

inline void SkipBlanks(std::string_view json, std::size_t& at) {
    while (at < json.size() && (json[at] == ' ' || json[at] == '\t')) ++at;
}

// Turns UTF-8 back into single bytes, for the record that was taken
// byte for byte as Latin-1.
inline std::string Latin1Bytes(std::string_view utf8) {
    std::string out;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        auto c = static_cast<unsigned char>(utf8[i]);
        if ((c & 0xE0) == 0xC0 && i + 1 < utf8.size()) {
            out += static_cast<char>(((c & 0x1F) << 6) | (utf8[++i] & 0x3F));
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

// One object of strings and arrays of strings; anything else fails.
inline std::optional<Record> ParseRecord(std::string_view json) {
    Record record;
    std::size_t at = 0;
    SkipBlanks(json, at);
    if (at >= json.size() || json[at++] != '{') return std::nullopt;
    std::string key;
    std::string value;
    while (true) {
        SkipBlanks(json, at);
        if (at < json.size() && json[at] == '}') break;
        if (at >= json.size() || json[at] != '"' || !ReadString(json, at, key)) return std::nullopt;
        SkipBlanks(json, at);
        if (at >= json.size() || json[at++] != ':') return std::nullopt;
        SkipBlanks(json, at);
        if (at < json.size() && json[at] == '[') {
            ++at;
            while (true) {
                SkipBlanks(json, at);
                if (at < json.size() && json[at] == ']') break;
                if (at >= json.size() || !ReadString(json, at, value)) return std::nullopt;
                if (key == "lines") record.lines.push_back(value);
                SkipBlanks(json, at);
                if (at < json.size() && json[at] == ',') ++at;
            }
            ++at;
        } else {
            if (at >= json.size() || json[at] != '"' || !ReadString(json, at, value)) {
                return std::nullopt;
            }
            if (key == "command") record.command = value;
            if (key == "source") record.source = value;
            if (key == "peer_expected") record.peerExpected = value;
        }
        SkipBlanks(json, at);
        if (at < json.size() && json[at] == ',') ++at;
    }
    if (record.peerExpected.find("Latin-1") != std::string::npos) {
        for (std::string& line : record.lines) line = Latin1Bytes(line);
    }
    return record;
}

}  // namespace detail

// Every record of the file, in order; empty when it cannot be read. A line
// that is no record fails the caller's count, not the reading.
inline std::vector<std::optional<Record>> ReadRecords(const std::string& path) {
    std::vector<std::optional<Record>> records;
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty()) records.push_back(detail::ParseRecord(line));
    }
    return records;
}

// The catalogue id that sends `command`: the one whose AT text equals it,
// else the one whose AT text ending in "=" is its longest prefix (the lowest
// id among equal texts, so every "AT+CMGR=..." is 61).
inline std::optional<int32_t> CommandIdFor(std::string_view command) {
    const CatalogueEntry* prefix = nullptr;
    std::size_t prefixLength = 0;
    for (const CatalogueEntry& entry : CatalogueEntries()) {
        const std::string_view text = entry.text;
        if (text == command) return entry.id;
        if (text.ends_with('=') && command.starts_with(text) && text.size() > prefixLength) {
            prefix = &entry;
            prefixLength = text.size();
        }
    }
    if (prefix == nullptr) return std::nullopt;
    return prefix->id;
}

}  // namespace velk::corpus
