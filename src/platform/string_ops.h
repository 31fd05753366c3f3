// Small text operations with the meanings that the reply recogniser was
// designed around. Every text is a run of single bytes in the phone's
// character set; nothing here knows about encodings or locales, and bytes
// above 127 are compared as they are.
//
// The results are new strings, so a result never refers into a temporary.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace velk {

// The bytes that count as white space when trimming without a set:
// blank, tab, line feed, vertical tab, form feed, carriage return.
inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// The last `count` bytes of `text`: all of it when `count` exceeds its
// length, nothing when `count` is zero or negative.
std::string Right(std::string_view text, int count);

// `text` up to the first byte that occurs in `set`; all of `text` when none
// does. An empty set spans the whole text.
std::string SpanExcluding(std::string_view text, std::string_view set);

// A set of bytes as a bit table: testing a byte of a text is one lookup,
// where searching the set afresh for every byte would cost a call each. The
// walkers of reply lines, which test every byte of every line against the
// same few sets, build theirs once.
class ByteSet {
  public:
    constexpr explicit ByteSet(std::string_view set) {
        for (char c : set) bits_[Index(c) / 64] |= uint64_t{1} << (Index(c) % 64);
    }
    constexpr bool Has(char c) const {
        return ((bits_[Index(c) / 64] >> (Index(c) % 64)) & 1) != 0;
    }

  private:
    static constexpr unsigned Index(char c) { return static_cast<unsigned char>(c); }
    std::array<uint64_t, 4> bits_{};
};

// The same span as a view into `text`, for walkers that copy it where it is
// kept; it is only valid while `text` is.
std::string_view SpanExcludingView(std::string_view text, std::string_view set);
std::string_view SpanExcludingView(std::string_view text, const ByteSet& set);

// `text` without every leading (TrimLeft) or trailing (TrimRight) byte that
// occurs in `set`, in any order and any number.
std::string TrimLeft(std::string_view text, std::string_view set);
std::string TrimRight(std::string_view text, std::string_view set);

// The same with white space as the set.
std::string TrimLeft(std::string_view text);
std::string TrimRight(std::string_view text);

// True when `text` holds `part` anywhere.
inline bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// Byte-for-byte equality: upper and lower case differ, and a zero byte is a
// byte like any other.
inline bool Equal(std::string_view a, std::string_view b) {
    return a == b;
}

// True when `text` begins with `prefix`.
inline bool BeginsWith(std::string_view text, std::string_view prefix) {
    return Equal(text.substr(0, prefix.size()), prefix);
}

}  // namespace velk
