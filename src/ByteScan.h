// Searches of a span of bytes. Each returns the place it found, or the span's end.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#if defined(__SSE2__)
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

// The one or two bytes that pass for a byte of a pattern.
class ByteChoice
{
public:
    ByteChoice(unsigned char byte, bool foldCase) : m_byte(byte), m_other(foldCase ? OtherCase(byte) : byte) {}

    [[nodiscard]] bool IsOne() const { return m_byte == m_other; }
    [[nodiscard]] unsigned char Byte() const { return m_byte; }
    [[nodiscard]] bool Matches(unsigned char byte) const { return byte == m_byte || byte == m_other; }

#if defined(__SSE2__)
    // The lanes of sixteen bytes that match, as all ones.
    [[nodiscard]] __m128i MatchesIn(__m128i bytes) const
    {
        return _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(static_cast<char>(m_byte))),
                            _mm_cmpeq_epi8(bytes, _mm_set1_epi8(static_cast<char>(m_other))));
    }
#endif

private:
    unsigned char m_byte;
    unsigned char m_other;
};

#if defined(__SSE2__)

constexpr std::ptrdiff_t LANES = sizeof(__m128i);

inline __m128i Load(const unsigned char* bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

inline unsigned int LaneMask(__m128i lanes)
{
    return static_cast<unsigned int>(_mm_movemask_epi8(lanes));
}

#endif

inline const unsigned char* FindByte(const unsigned char* first, const unsigned char* last, unsigned char byte)
{
#if defined(__SSE2__)
    // The end of a token is mostly near; the call of memchr pays behind that.
    for (int near = 0; near < 4 && last - first >= LANES; ++near, first += LANES) {
        const __m128i lanes = _mm_cmpeq_epi8(Load(first), _mm_set1_epi8(static_cast<char>(byte)));
        if (const unsigned int mask = LaneMask(lanes); mask != 0)
            return first + std::countr_zero(mask);
    }
#endif
    const void* const found = std::memchr(first, byte, static_cast<std::size_t>(last - first));
    return found != nullptr ? static_cast<const unsigned char*>(found) : last;
}

inline const unsigned char* Find(const unsigned char* first, const unsigned char* last, ByteChoice choice)
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
inline const unsigned char* FindPair(const unsigned char* first, const unsigned char* last, ByteChoice head,
                                     ByteChoice next)
{
#if defined(__SSE2__)
    for (; last - first > LANES; first += LANES) {
        const __m128i lanes = _mm_and_si128(head.MatchesIn(Load(first)), next.MatchesIn(Load(first + 1)));
        if (const unsigned int mask = LaneMask(lanes); mask != 0)
            return first + std::countr_zero(mask);
    }
#endif
    while (first != last && !(head.Matches(*first) && (first + 1 == last || next.Matches(first[1]))))
        ++first;
    return first;
}

// Copies the length of most tokens without a call.
inline void Copy(char* to, const unsigned char* from, std::size_t count)
{
    constexpr std::size_t STEP = 16;
    if (count < STEP || count > 4 * STEP) {
        std::memcpy(to, from, count);
        return;
    }
    for (std::size_t i = 0; i + STEP < count; i += STEP)
        std::memcpy(to + i, from + i, STEP);
    std::memcpy(to + count - STEP, from + count - STEP, STEP);
}

// A set of bytes in a form to search with. It is kept from call to call, because a tokenizer asks for the same few sets
// again and again and a new table costs more than the forty bytes of a token.
class ByteSet
{
public:
    // Becomes the set of a text's bytes, with the other case of its letters where foldCase is set.
    void Assign(std::string_view text, bool foldCase)
    {
        if (foldCase == m_foldCase && text == m_text)
            return;
        m_isMember.fill(false);
        for (const char byte : text) {
            const auto member = static_cast<unsigned char>(byte);
            m_isMember[member] = true;
            m_isMember[foldCase ? OtherCase(member) : member] = true;
        }
        FillLanes();
        m_text = text;
        m_foldCase = foldCase;
    }

    // The first byte that is a member, or the first that is not.
    [[nodiscard]] const unsigned char* Find(const unsigned char* first, const unsigned char* last, bool isMember) const
    {
#if defined(__SSE2__)
        // Three times as fast as the table.
        if (m_isSmall) {
            const unsigned int unwanted = isMember ? 0 : 0xFFFF;
            for (; last - first >= LANES; first += LANES) {
                if (const unsigned int mask = LaneMask(MembersIn(Load(first))) ^ unwanted; mask != 0)
                    return first + std::countr_zero(mask);
            }
        }
#endif
        while (first != last && m_isMember[*first] != isMember)
            ++first;
        return first;
    }

private:
    static constexpr std::size_t SMALL = 8;

#if defined(__SSE2__)
    // One lane for each member of a small set; the last member takes those that are left.
    void FillLanes()
    {
        std::size_t count = 0;
        for (std::size_t byte = 0; byte < m_isMember.size(); ++byte) {
            if (!m_isMember[byte])
                continue;
            for (std::size_t i = count; i < SMALL; ++i)
                m_lanes[i] = _mm_set1_epi8(static_cast<char>(byte));
            ++count;
        }
        m_isSmall = count != 0 && count <= SMALL;
    }

    [[nodiscard]] __m128i MembersIn(__m128i bytes) const
    {
        __m128i members = _mm_cmpeq_epi8(bytes, m_lanes[0]);
        for (std::size_t i = 1; i < SMALL; ++i)
            members = _mm_or_si128(members, _mm_cmpeq_epi8(bytes, m_lanes[i]));
        return members;
    }

    __m128i m_lanes[SMALL] = {};
    bool m_isSmall = false;
#else
    void FillLanes() {}
#endif

    std::array<bool, 256> m_isMember{};
    std::string m_text;
    bool m_foldCase = false;
};

} // namespace KivFile::ByteScan
