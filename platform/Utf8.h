// UTF-8 to UTF-16 and back, keeping text that is neither. Private to the build.
//
// A byte that is no part of valid UTF-8 becomes the lone surrogate U+DC00 + byte; any other lone surrogate is three
// bytes, the form that UTF-8 would give it. Bytes that are read and written back are the same bytes, always. Units that
// are written and read back are the same units, unless U+DC80..U+DCFF in them spell out valid UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace KivSys
{

namespace Utf8Detail
{

constexpr std::uint32_t HighFirst = 0xD800;
constexpr std::uint32_t LowFirst = 0xDC00;
constexpr std::uint32_t SurrogateLast = 0xDFFF;

constexpr bool IsHigh(std::uint32_t code)
{
    return code >= HighFirst && code < LowFirst;
}

constexpr bool IsLow(std::uint32_t code)
{
    return code >= LowFirst && code <= SurrogateLast;
}

// The surrogates that stand for a byte.
constexpr bool IsEscape(std::uint32_t code)
{
    return code >= LowFirst + 0x80 && code <= LowFirst + 0xFF;
}

// One encoded code point, surrogates included. Length 0: there is none here.
struct Sequence {
    std::uint32_t code = 0;
    unsigned length = 0;
};

inline Sequence Decode(const char* bytes, std::size_t count)
{
    if (count == 0)
        return {};
    const auto byte = [bytes](unsigned i) { return std::uint32_t{static_cast<unsigned char>(bytes[i])}; };
    const std::uint32_t lead = byte(0);
    if (lead < 0x80)
        return {lead, 1};
    const unsigned length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || length > count)
        return {};
    std::uint32_t code = lead & (0x7Fu >> length);
    for (unsigned i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return {};
        code = code << 6 | (byte(i) & 0x3F);
    }
    constexpr std::uint32_t shortest[] = {0, 0, 0x80, 0x800, 0x10000};
    return code < shortest[length] || code > 0x10FFFF ? Sequence{} : Sequence{code, length};
}

constexpr std::size_t Word = sizeof(std::uint64_t);

inline bool IsAsciiWord(const char* bytes)
{
    std::uint64_t word;
    std::memcpy(&word, bytes, Word);
    return (word & 0x8080808080808080u) == 0;
}

inline bool IsAsciiWord(const unsigned short* units)
{
    std::uint64_t words[2];
    std::memcpy(words, units, sizeof words);
    return ((words[0] | words[1]) & 0xFF80FF80FF80FF80u) == 0;
}

template <class Unit>
constexpr bool IsAscii(Unit unit)
{
    return static_cast<std::make_unsigned_t<Unit>>(unit) < 0x80;
}

// Copies the ASCII text at the source's beginning, in whole words first, and returns its length.
template <class To, class From, class Out>
std::size_t CopyAscii(const From* source, std::size_t count, Out& out)
{
    std::size_t done = 0;
    for (; count - done >= Word && IsAsciiWord(source + done); done += Word) {
        for (std::size_t i = 0; i < Word; ++i)
            *out++ = static_cast<To>(source[done + i]);
    }
    for (; done < count && IsAscii(source[done]); ++done)
        *out++ = static_cast<To>(source[done]);
    return done;
}

template <class Out>
void PutEscaped(const char* bytes, std::size_t count, Out& out)
{
    for (std::size_t i = 0; i < count; ++i)
        *out++ = static_cast<unsigned short>(LowFirst + static_cast<unsigned char>(bytes[i]));
}

// Converts the run of encoded high surrogates at the source's beginning and returns its length in bytes. They stay
// themselves only where the next unit cannot make a pair of the last one, which would be written back as four bytes.
template <class Out>
std::size_t PutHighRun(const char* bytes, std::size_t count, Out& out)
{
    std::size_t length = 0;
    Sequence next = Decode(bytes, count);
    for (; IsHigh(next.code); next = Decode(bytes + length, count - length))
        length += next.length;
    const bool isBrokenBehind = length < count && (next.length == 0 || IsLow(next.code));
    if (isBrokenBehind) {
        PutEscaped(bytes, length, out);
        return length;
    }
    for (std::size_t i = 0; i < length; i += 3)
        *out++ = static_cast<unsigned short>(Decode(bytes + i, 3).code);
    return length;
}

// Converts a character, a run of high surrogates or a byte that is neither, and returns the number of bytes taken.
template <class Out>
std::size_t PutUnits(const char* bytes, std::size_t count, Out& out)
{
    const Sequence sequence = Decode(bytes, count);
    if (IsHigh(sequence.code))
        return PutHighRun(bytes, count, out);
    if (sequence.length == 0 || IsEscape(sequence.code)) {
        PutEscaped(bytes, 1, out);
        return 1;
    }
    if (sequence.code >= 0x10000) {
        *out++ = static_cast<unsigned short>(HighFirst + ((sequence.code - 0x10000) >> 10));
        *out++ = static_cast<unsigned short>(LowFirst + (sequence.code & 0x3FF));
    } else {
        *out++ = static_cast<unsigned short>(sequence.code);
    }
    return sequence.length;
}

template <class Out>
void PutSequence(std::uint32_t code, Out& out)
{
    const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
    const auto putTail = [&](unsigned shift) { put(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80)
        return put(code);
    if (code < 0x800) {
        put(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            put(0xE0 | code >> 12);
        } else {
            put(0xF0 | code >> 18);
            putTail(12);
        }
        putTail(6);
    }
    putTail(0);
}

// Converts one character and returns the number of units taken.
template <class Out>
std::size_t PutBytes(const unsigned short* units, std::size_t count, Out& out)
{
    const std::uint32_t code = units[0];
    if (IsHigh(code) && count > 1 && IsLow(units[1])) {
        PutSequence(0x10000 + ((code - HighFirst) << 10) + (units[1] - LowFirst), out);
        return 2;
    }
    if (IsEscape(code))
        *out++ = static_cast<char>(code - LowFirst);
    else
        PutSequence(code, out);
    return 1;
}

// An output that only counts.
struct Counter {
    std::size_t count = 0;
    Counter& operator*() { return *this; }
    Counter& operator++() { return *this; }
    Counter& operator++(int) { return *this; }
    template <class Unit>
    void operator=(Unit)
    {
        ++count;
    }
};

} // namespace Utf8Detail

// Converts count bytes to units (unsigned short) and returns the output iterator behind the last. There are at most as
// many units as bytes.
template <class Out>
Out Utf16FromUtf8(const char* bytes, std::size_t count, Out out)
{
    for (std::size_t at = 0; at < count;) {
        at += Utf8Detail::CopyAscii<unsigned short>(bytes + at, count - at, out);
        while (at < count && !Utf8Detail::IsAscii(bytes[at]))
            at += Utf8Detail::PutUnits(bytes + at, count - at, out);
    }
    return out;
}

// Converts count units to bytes (char) and returns the output iterator behind the last. There are at most three bytes
// for a unit.
template <class Out>
Out Utf8FromUtf16(const unsigned short* units, std::size_t count, Out out)
{
    for (std::size_t at = 0; at < count;) {
        at += Utf8Detail::CopyAscii<char>(units + at, count - at, out);
        while (at < count && !Utf8Detail::IsAscii(units[at]))
            at += Utf8Detail::PutBytes(units + at, count - at, out);
    }
    return out;
}

// The number of units that count bytes make, and of bytes that count units make.
[[nodiscard]] inline std::size_t Utf16Length(const char* bytes, std::size_t count)
{
    return Utf16FromUtf8(bytes, count, Utf8Detail::Counter()).count;
}

[[nodiscard]] inline std::size_t Utf8Length(const unsigned short* units, std::size_t count)
{
    return Utf8FromUtf16(units, count, Utf8Detail::Counter()).count;
}

// The same, appended to a string of units or of bytes.
template <class WideString>
void AppendUtf16(WideString& to, const char* bytes, std::size_t count)
{
    const std::size_t old = to.size();
    to.resize(old + Utf16Length(bytes, count));
    Utf16FromUtf8(bytes, count, to.data() + old);
}

template <class NarrowString>
void AppendUtf8(NarrowString& to, const unsigned short* units, std::size_t count)
{
    const std::size_t old = to.size();
    to.resize(old + Utf8Length(units, count));
    Utf8FromUtf16(units, count, to.data() + old);
}

} // namespace KivSys
