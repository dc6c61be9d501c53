// Searches of a span of bytes. Each returns the place it found, or the span's end.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <string_view>

#if defined(__SSSE3__)
#include <tmmintrin.h>
#elif defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace KivFile::ByteScan
{

// The other case of an ASCII letter, any other byte as it is.
constexpr unsigned char OtherCase(unsigned char byte)
{
    const auto lower = static_cast<unsigned char>(byte | 0x20);
    return lower >= 'a' && lower <= 'z' ? static_cast<unsigned char>(byte ^ 0x20) : byte;
}

// Sixty-four bytes, searched at once: one bit for each that matches, the lowest for the first.
constexpr std::ptrdiff_t WINDOW = 64;

template <class Matches>
std::uint64_t MatchesOneByOne(const unsigned char* bytes, Matches matches)
{
    // Eight at a time, which compilers unroll: a third faster.
    std::uint64_t mask = 0;
    for (unsigned int row = 0; row < WINDOW; row += 8) {
        unsigned int rowMask = 0;
        for (unsigned int i = 0; i < 8; ++i)
            rowMask |= static_cast<unsigned int>(matches(bytes[row + i])) << i;
        mask |= std::uint64_t{rowMask} << row;
    }
    return mask;
}

#if defined(__SSE2__)

using Lanes = __m128i;
constexpr std::ptrdiff_t LANES = sizeof(Lanes);

inline Lanes Load(const unsigned char* bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const Lanes*>(bytes));
}

inline Lanes Repeat(unsigned char byte)
{
    return _mm_set1_epi8(static_cast<char>(byte));
}

inline unsigned int LaneMask(Lanes lanes)
{
    return static_cast<unsigned int>(_mm_movemask_epi8(lanes));
}

template <class Matches>
std::uint64_t MatchesInLanes(const unsigned char* bytes, Matches matches)
{
    std::uint64_t mask = 0;
    for (std::ptrdiff_t i = 0; i < WINDOW; i += LANES)
        mask |= std::uint64_t{LaneMask(matches(Load(bytes + i)))} << i;
    return mask;
}

#endif

// A byte, or a letter in both its cases.
class ByteChoice
{
public:
    ByteChoice() = default;
    ByteChoice(unsigned char byte, bool foldCase)
        : m_byte(byte), m_foldCase(foldCase),
          m_ignoredBit(static_cast<unsigned char>(foldCase ? byte ^ OtherCase(byte) : 0))
    {
#if defined(__SSE2__)
        m_ignoredLanes = Repeat(m_ignoredBit);
        m_wantedLanes = Repeat(byte | m_ignoredBit);
#endif
    }

    // Whether it was made from these.
    [[nodiscard]] bool Is(unsigned char byte, bool foldCase) const
    {
        return byte == m_byte && foldCase == m_foldCase;
    }
    void Assign(unsigned char byte, bool foldCase)
    {
        *this = ByteChoice(byte, foldCase);
    }

    [[nodiscard]] bool IsOne() const
    {
        return m_ignoredBit == 0;
    }
    [[nodiscard]] unsigned char Byte() const
    {
        return m_byte;
    }
    [[nodiscard]] bool Matches(unsigned char byte) const
    {
        return (byte | m_ignoredBit) == (m_byte | m_ignoredBit);
    }

    [[nodiscard]] std::uint64_t MatchesInWindow(const unsigned char* bytes) const
    {
#if defined(__SSE2__)
        return MatchesInLanes(bytes, [this](Lanes lanes) { return MatchesIn(lanes); });
#else
        return MatchesOneByOne(bytes, [this](unsigned char byte) { return Matches(byte); });
#endif
    }

#if defined(__SSE2__)
    // The lanes that match, as all ones.
    [[nodiscard]] Lanes MatchesIn(Lanes bytes) const
    {
        return _mm_cmpeq_epi8(_mm_or_si128(bytes, m_ignoredLanes), m_wantedLanes);
    }
#endif

private:
    unsigned char m_byte = 0;
    bool m_foldCase = false;
    // The bit in which the cases of a letter differ.
    unsigned char m_ignoredBit = 0;
#if defined(__SSE2__)
    Lanes m_ignoredLanes = {};
    Lanes m_wantedLanes = {};
#endif
};

inline const unsigned char* FindByte(const unsigned char* first, const unsigned char* last, unsigned char byte)
{
    const void* const found = std::memchr(first, byte, static_cast<std::size_t>(last - first));
    return found != nullptr ? static_cast<const unsigned char*>(found) : last;
}

inline const unsigned char* Find(const unsigned char* first, const unsigned char* last, const ByteChoice& choice)
{
    if (choice.IsOne())
        return FindByte(first, last, choice.Byte());
#if defined(__SSE2__)
    for (; last - first >= LANES; first += LANES) {
        if (const unsigned int mask = LaneMask(choice.MatchesIn(Load(first))); mask != 0)
            return first + std::countr_zero(mask);
    }
#endif
    while (first != last && !choice.Matches(*first))
        ++first;
    return first;
}

// The first byte that matches head and is followed by one that matches next, or by the span's end.
inline const unsigned char* FindPair(const unsigned char* first, const unsigned char* last, const ByteChoice& head,
                                     const ByteChoice& next)
{
#if defined(__SSE2__)
    for (; last - first > LANES; first += LANES) {
        const Lanes pairs = _mm_and_si128(head.MatchesIn(Load(first)), next.MatchesIn(Load(first + 1)));
        if (const unsigned int mask = LaneMask(pairs); mask != 0)
            return first + std::countr_zero(mask);
    }
#endif
    while (first != last && !(head.Matches(*first) && (first + 1 == last || next.Matches(first[1]))))
        ++first;
    return first;
}

// A set of bytes in a form to search with. It is kept from call to call, because a tokenizer asks for the same few sets
// again and again and a new table costs more than the forty bytes of a token.
class ByteSet
{
public:
    // Whether it was made from these.
    [[nodiscard]] bool Is(std::string_view text, bool foldCase) const
    {
        return foldCase == m_foldCase && text.size() == m_textSize && IsText(text.data());
    }

    // Becomes the set of a text's bytes, with the other case of its letters where foldCase is set. A text longer than
    // any set needs is not remembered.
    void Assign(std::string_view text, bool foldCase)
    {
        m_textSize = text.size() <= m_text.size() ? text.size() : NO_TEXT;
        std::copy_n(text.data(), std::min(text.size(), m_text.size()), m_text.data());
        m_foldCase = foldCase;
        m_isMember.fill(false);
        for (const char byte : text) {
            const auto member = static_cast<unsigned char>(byte);
            m_isMember[member] = true;
            m_isMember[foldCase ? OtherCase(member) : member] = true;
        }
        FillRows();
    }

    [[nodiscard]] bool Matches(unsigned char byte) const { return m_isMember[byte]; }

    // The first byte that is a member, or the first that is not.
    [[nodiscard]] const unsigned char* Find(const unsigned char* first, const unsigned char* last, bool isMember) const
    {
#if defined(__SSSE3__)
        const unsigned int unwanted = isMember ? 0 : 0xFFFF;
        for (; last - first >= LANES; first += LANES) {
            if (const unsigned int mask = LaneMask(MatchesIn(Load(first))) ^ unwanted; mask != 0)
                return first + std::countr_zero(mask);
        }
#endif
        while (first != last && Matches(*first) != isMember)
            ++first;
        return first;
    }

    [[nodiscard]] std::uint64_t MatchesInWindow(const unsigned char* bytes) const
    {
#if defined(__SSSE3__)
        if (m_isASCII)
            return MatchesInLanes(bytes, [this](Lanes lanes) { return MatchesIn(lanes, LowRows(lanes)); });
        return MatchesInLanes(bytes, [this](Lanes lanes) { return MatchesIn(lanes); });
#else
        return MatchesOneByOne(bytes, [this](unsigned char byte) { return Matches(byte); });
#endif
    }

private:
    // Whether that many bytes are the set's text. Without a call, which took a sixth of the time of short tokens.
    [[nodiscard]] bool IsText(const char* text) const
    {
        const std::size_t size = m_textSize;
        if (size >= 8) {
            std::size_t i = 8;
            while (i + 8 < size && IsTextAt<std::uint64_t>(text, i))
                i += 8;
            return i + 8 >= size && AreTextEnds<std::uint64_t>(text);
        }
        if (size >= 4)
            return AreTextEnds<std::uint32_t>(text);
        if (size >= 2)
            return AreTextEnds<std::uint16_t>(text);
        return size == 0 || *text == m_text[0];
    }

    template <class Word>
    [[nodiscard]] bool IsTextAt(const char* text, std::size_t i) const
    {
        return std::memcmp(text + i, m_text.data() + i, sizeof(Word)) == 0;
    }
    template <class Word>
    [[nodiscard]] bool AreTextEnds(const char* text) const
    {
        return IsTextAt<Word>(text, 0) && IsTextAt<Word>(text, m_textSize - sizeof(Word));
    }

#if defined(__SSSE3__)
    // The set as sixteen rows, for the values of a byte's low half; in them a bit for each value of its high half. Two
    // shuffles find the rows of sixteen bytes, for each half of the high values, and one the bits: five times as fast
    // as the table.
    void FillRows()
    {
        alignas(Lanes) unsigned char rows[2][LANES] = {};
        for (unsigned int byte = 0; byte < m_isMember.size(); ++byte) {
            if (m_isMember[byte])
                rows[byte >> 7][byte & 0xF] |= static_cast<unsigned char>(1u << (byte >> 4 & 7));
        }
        m_rows[0] = Load(rows[0]);
        m_rows[1] = Load(rows[1]);
        m_isASCII = std::none_of(rows[1], std::end(rows[1]), [](unsigned char row) { return row != 0; });
    }

    // The rows of ASCII bytes, and 0 for those that have the highest bit; and the other way round.
    [[nodiscard]] Lanes LowRows(Lanes bytes) const
    {
        return _mm_shuffle_epi8(m_rows[0], bytes);
    }
    [[nodiscard]] Lanes HighRows(Lanes bytes) const
    {
        return _mm_shuffle_epi8(m_rows[1], _mm_xor_si128(bytes, Repeat(0x80)));
    }

    [[nodiscard]] static Lanes MatchesIn(Lanes bytes, Lanes rows)
    {
        const Lanes bits = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201));
        const Lanes high = _mm_and_si128(_mm_srli_epi16(bytes, 4), Repeat(0xF));
        const Lanes bit = _mm_shuffle_epi8(bits, high);
        return _mm_cmpeq_epi8(_mm_and_si128(rows, bit), bit);
    }
    [[nodiscard]] Lanes MatchesIn(Lanes bytes) const
    {
        return MatchesIn(bytes, _mm_or_si128(LowRows(bytes), HighRows(bytes)));
    }

    Lanes m_rows[2] = {};
    bool m_isASCII = true;
#else
    void FillRows() {}
#endif

    std::array<bool, 256> m_isMember{};
    static constexpr std::size_t NO_TEXT = static_cast<std::size_t>(-1);
    std::array<char, 256> m_text{};
    std::size_t m_textSize = 0;
    bool m_foldCase = false;
};

// Searches for bytes that are near: those in a set, or those not in it. The window that was searched last is kept, so
// that all tokens in it share the comparisons, and no search waits to learn where the one before it ended. Against a
// search of its own for each token of 40 bytes it takes four fifths of the time for a byte, two thirds for a set.
template <class Set, bool IN_SET = true>
class NearSearch
{
public:
    // How far is near.
    static constexpr std::ptrdiff_t REACH = 2 * WINDOW;

    // Whether Select was last called with these.
    template <class... Arguments>
    [[nodiscard]] bool IsFor(const Arguments&... arguments) const
    {
        return m_set.Is(arguments...);
    }

    // Searches for these from now on, and from begin.
    template <class... Arguments>
    const Set& Select(const unsigned char* begin, const Arguments&... arguments)
    {
        if (!m_set.Is(arguments...)) {
            m_set.Assign(arguments...);
            Restart(begin);
        }
        return m_set;
    }

    // To be called when the bytes that are searched have changed, with where they begin.
    void Restart(const unsigned char* begin)
    {
        m_found = nullptr;
        m_windowEnd = begin;
        m_wanted = 0;
    }

    // The first of the bytes from first to last; null where it is not near. No place before first is asked for again
    // until Restart. Behind last a window of bytes must be readable, whatever they are.
    const unsigned char* Find(const unsigned char* first, const unsigned char* last)
    {
        while (std::less<>()(m_found, first)) {
            if (m_wanted == 0) [[likely]] {
                if (!LookOn(first, last)) [[unlikely]]
                    return nullptr;
            }
            m_found = m_windowEnd - WINDOW + std::countr_zero(m_wanted);
            m_wanted &= m_wanted - 1;
            // Mostly it is the next, which the compiler cannot know.
            if (m_found >= first) [[likely]]
                break;
        }
        return m_found < last ? m_found : nullptr;
    }

private:
    // Goes on to the next window that has something, if it is near. It begins where the last one ended, not at first:
    // a search that waited to learn where the one before it ended would take twice as long.
    bool LookOn(const unsigned char* first, const unsigned char* last)
    {
        if (first - m_windowEnd >= WINDOW) [[unlikely]]
            m_windowEnd = first;
        do {
            if (m_windowEnd >= last || m_windowEnd - first >= REACH) [[unlikely]]
                return false;
            const std::uint64_t matches = m_set.MatchesInWindow(m_windowEnd);
            m_wanted = IN_SET ? matches : ~matches;
            m_windowEnd += WINDOW;
        } while (m_wanted == 0);
        return true;
    }

    Set m_set;
    const unsigned char* m_found = nullptr;
    const unsigned char* m_windowEnd = nullptr;
    // Where the window has more of what is searched for, behind what was found.
    std::uint64_t m_wanted = 0;
};

// Copies count bytes and what is behind them, so that short ones take neither a call nor a choice by their length. At
// least a window must be readable and writable.
inline void CopyNear(char* to, const unsigned char* from, std::size_t count)
{
    std::memcpy(to, from, WINDOW);
    for (std::size_t copied = WINDOW; copied < count; copied += WINDOW)
        std::memcpy(to + copied, from + copied, WINDOW);
}

} // namespace KivFile::ByteScan
