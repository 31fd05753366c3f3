// Golden files: outputs saved from a known-good build, which a later build
// must reproduce byte for byte. With VELK_WRITE_GOLDEN=1 in the environment
// the test writes the file anew instead of comparing (to be done only when a
// change of the output is intended, and reviewed in the diff).
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace velk::golden {

// tests/golden/<name>, found from this header's own place.
inline std::string PathOf(const std::string& name) {
    return (std::filesystem::path(__FILE__).parent_path() / ".." / "golden" / name)
        .lexically_normal()
        .string();
}

// Printable ASCII as it is, every other byte as \xNN, so that a golden file
// is plain text whatever the phone sent.
inline std::string Escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            out += c;
        } else {
            static constexpr char kHex[] = "0123456789ABCDEF";
            out += "\\x";
            out += kHex[byte >> 4];
            out += kHex[byte & 0xF];
        }
    }
    return out;
}

// Compares `actual` with the golden file line by line, naming the first line
// that differs; or writes it with VELK_WRITE_GOLDEN=1.
inline void ExpectGolden(const std::string& name, const std::string& actual) {
    const std::string path = PathOf(name);
    if (const char* write = std::getenv("VELK_WRITE_GOLDEN"); write && std::string(write) == "1") {
        std::ofstream(path, std::ios::binary) << actual;
        return;
    }
    std::ifstream file(path, std::ios::binary);
    ASSERT_TRUE(file) << "golden file " << path << " is missing";
    const std::string expected((std::istreambuf_iterator<char>(file)), {});
    if (expected == actual) return;
    std::istringstream want(expected);
    std::istringstream got(actual);
    std::string a, b;
    for (int line = 1;; ++line) {
        const bool moreWant = static_cast<bool>(std::getline(want, a));
        const bool moreGot = static_cast<bool>(std::getline(got, b));
        if (!moreWant && !moreGot) break;
        if (a != b || moreWant != moreGot) {
            ADD_FAILURE() << name << " differs at line " << line << "\n  golden: " << a
                          << "\n  now:    " << b;
            return;
        }
    }
    ADD_FAILURE() << name << " differs in its line ends";
}

}  // namespace velk::golden
