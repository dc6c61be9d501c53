#include <KivCharset/Conv.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <platform/Platform.h>

namespace KivCharset
{

using Kiv::CHARSET;
using Kiv::WString;
using Kiv::WStringView;

namespace
{

// Which bytes begin a character of more than one byte, and which may continue it.
struct LeadRow {
    std::uint32_t codePage;
    unsigned char leadFirst, leadLast;
    unsigned char trailFirst, trailLast;
    unsigned char length;
};

constexpr std::uint32_t GB18030 = 54936;

constexpr LeadRow LEADS[] = {
    {932, 0x81, 0x9F, 0x40, 0xFC, 2},     {932, 0xE0, 0xFC, 0x40, 0xFC, 2},   {936, 0x81, 0xFE, 0x40, 0xFE, 2},
    {949, 0x81, 0xFE, 0x41, 0xFE, 2},     {950, 0x81, 0xFE, 0x40, 0xFE, 2},   {1361, 0x84, 0xD3, 0x31, 0xFE, 2},
    {1361, 0xD8, 0xDE, 0x31, 0xFE, 2},    {1361, 0xE0, 0xF9, 0x31, 0xFE, 2},  {20932, 0x8E, 0x8E, 0xA1, 0xDF, 2},
    {20932, 0xA1, 0xFE, 0x21, 0xFE, 2},   {51932, 0x8E, 0x8E, 0xA1, 0xDF, 2}, {51932, 0x8F, 0x8F, 0xA1, 0xFE, 3},
    {51932, 0xA1, 0xFE, 0xA1, 0xFE, 2},   {51936, 0xA1, 0xFE, 0xA1, 0xFE, 2}, {51949, 0xA1, 0xFE, 0xA1, 0xFE, 2},
    {GB18030, 0x81, 0xFE, 0x30, 0xFE, 2}, {65001, 0xC2, 0xDF, 0x80, 0xBF, 2}, {65001, 0xE0, 0xEF, 0x80, 0xBF, 3},
    {65001, 0xF0, 0xF4, 0x80, 0xBF, 4},
};
static_assert(std::ranges::is_sorted(LEADS, {}, &LeadRow::codePage), "the rows of a code page lie together");

// Sets whose bytes mean what an earlier escape sequence says: their text has no parts.
bool HasShiftStates(CHARSET charset)
{
    const auto codePage = static_cast<std::uint32_t>(charset);
    return (codePage >= 50220 && codePage <= 50229) || codePage == 52936 || codePage == 65000;
}

unsigned char ByteAt(std::string_view text, std::size_t index)
{
    return static_cast<unsigned char>(text[index]);
}

// Knows where the characters of a set end.
class CharacterWalker
{
public:
    // isLast: a character that the text's end cuts off counts as a whole one.
    CharacterWalker(CHARSET charset, bool isLast)
        : m_isWide(Conv::IsWCCS(charset)), m_isWhole(HasShiftStates(charset)), m_isLast(isLast),
          m_first(std::ranges::lower_bound(LEADS, static_cast<std::uint32_t>(charset), {}, &LeadRow::codePage)),
          m_last(std::ranges::upper_bound(LEADS, static_cast<std::uint32_t>(charset), {}, &LeadRow::codePage))
    {
    }

    // The bytes of the whole characters at the front of text that together have at most limit bytes, but at least one
    // character; 0 when the text ends within that one.
    std::size_t WholeCharacters(std::string_view text, std::size_t limit) const
    {
        if (m_isWhole)
            return CutLength(text);
        if (!m_isWide && m_first == m_last)
            return std::min(text.size(), std::max<std::size_t>(limit, 1));
        std::size_t length = 0;
        while (length < text.size()) {
            const std::size_t next = CharacterLength(text.substr(length));
            if (next == 0 || (length != 0 && length + next > limit))
                break;
            length += next;
        }
        return length;
    }

private:
    // Bytes of the first character; CutLength when the text ends within it. A byte that cannot continue a broken
    // character ends it.
    std::size_t CharacterLength(std::string_view text) const
    {
        if (m_isWide)
            return UnitsLength(text);
        const unsigned char lead = ByteAt(text, 0);
        const LeadRow* row =
            std::find_if(m_first, m_last, [=](const LeadRow& r) { return r.leadFirst <= lead && lead <= r.leadLast; });
        if (row == m_last)
            return 1;
        std::size_t length = 1;
        std::size_t wanted = row->length;
        for (; length < wanted; ++length) {
            if (length == text.size())
                return CutLength(text);
            const unsigned char trail = ByteAt(text, length);
            if (trail < row->trailFirst || trail > row->trailLast)
                break;
            if (row->codePage == GB18030 && length == 1 && trail < 0x40)
                wanted = 4;
        }
        return length;
    }

    std::size_t UnitsLength(std::string_view text) const
    {
        if (text.size() < 2)
            return CutLength(text);
        if (!IsSurrogate(text, 0xD800))
            return 2;
        if (text.size() < 4)
            return CutLength(text);
        return IsSurrogate(text.substr(2), 0xDC00) ? 4 : 2;
    }

    std::size_t CutLength(std::string_view text) const { return m_isLast ? text.size() : 0; }

    static bool IsSurrogate(std::string_view text, unsigned int half)
    {
        unsigned short unit;
        std::memcpy(&unit, text.data(), sizeof unit);
        return (unit & 0xFC00u) == half;
    }

    bool m_isWide;
    bool m_isWhole;
    bool m_isLast;
    const LeadRow* m_first;
    const LeadRow* m_last;
};

int CheckedLength(std::size_t length)
{
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::length_error("KivCharset::Conv: text too long");
    return static_cast<int>(length);
}

WString UnitsOf(std::string_view bytes)
{
    WString units(bytes.size() / 2, 0);
    if (!units.empty())
        std::memcpy(units.data(), bytes.data(), units.size() * 2);
    return units;
}

std::string_view BytesOf(WStringView units)
{
    return {reinterpret_cast<const char*>(units.data()), units.size() * 2};
}

// No code page has text of more units than bytes, so one call is enough; short texts need no memory but the result's.
WString Decode(unsigned int codePage, std::string_view bytes)
{
    constexpr int SHORT = 256;
    const int count = CheckedLength(bytes.size());
    if (count <= SHORT) {
        unsigned short units[SHORT];
        const int produced = KivSys::MultiByteToWideChar(codePage, bytes.data(), count, units, SHORT);
        return WString(units, static_cast<std::size_t>(produced));
    }
    WString units(bytes.size(), 0);
    units.resize(
        static_cast<std::size_t>(KivSys::MultiByteToWideChar(codePage, bytes.data(), count, units.data(), count)));
    return units;
}

// No code page needs more than eight bytes for a unit, escape sequences included.
std::string Encode(unsigned int codePage, WStringView units)
{
    constexpr int SHORT = 512;
    const int count = CheckedLength(units.size());
    if (count <= SHORT / 8) {
        char bytes[SHORT];
        const int produced = KivSys::WideCharToMultiByte(codePage, units.data(), count, bytes, SHORT);
        return std::string(bytes, static_cast<std::size_t>(produced));
    }
    const int needed = KivSys::WideCharToMultiByte(codePage, units.data(), count, nullptr, 0);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    bytes.resize(
        static_cast<std::size_t>(KivSys::WideCharToMultiByte(codePage, units.data(), count, bytes.data(), needed)));
    return bytes;
}

bool KeepsAllText(CHARSET charset)
{
    return Conv::IsWCCS(charset) || charset == CHARSET::UTF8;
}

// A piece of text on its way from one set to another. The view lies in the piece itself.
struct Piece {
    Piece(CHARSET from, CHARSET to, std::string_view source)
        : wide(Conv::ToWide(from, source)), encoded(Conv::IsWCCS(to) ? std::string() : Conv::FromWide(to, wide)),
          result(Conv::IsWCCS(to) ? BytesOf(wide) : std::string_view(encoded)),
          isBroken(IsReplacedIn(from) || (!KeepsAllText(to) && Conv::ToWide(to, encoded) != wide))
    {
    }
    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

    bool IsReplacedIn(CHARSET from) const { return !KeepsAllText(from) && wide.find(0xFFFD) != WString::npos; }

    WString wide;
    std::string encoded;
    std::string_view result;
    bool isBroken;
};

} // namespace

bool Conv::ConversionClass::operator()(const void* source, std::size_t sourceLength, std::size_t& consumed,
                                       void* destination, std::size_t capacity, std::size_t& produced, bool isLast,
                                       bool stopAtBroken) const
{
    consumed = produced = 0;
    if (!IsImplemented(m_from) || !IsImplemented(m_to))
        return false;

    const CharacterWalker walker(m_from, isLast);
    bool isClean = true;
    // A piece that does not go in whole is halved, until the one character in the way is found.
    std::size_t limit = std::clamp<std::size_t>(capacity, 1, 4096);
    while (consumed < sourceLength) {
        const std::string_view rest(static_cast<const char*>(source) + consumed, sourceLength - consumed);
        const std::size_t length = walker.WholeCharacters(rest, limit);
        if (length == 0)
            break;
        const Piece piece(m_from, m_to, rest.substr(0, length));
        if (piece.result.size() > capacity - produced || (stopAtBroken && piece.isBroken)) {
            if (limit == 1)
                return false;
            limit = std::max<std::size_t>(std::min(limit, length) / 2, 1);
            continue;
        }
        if (!piece.result.empty())
            std::memcpy(static_cast<char*>(destination) + produced, piece.result.data(), piece.result.size());
        consumed += length;
        produced += piece.result.size();
        isClean = isClean && !piece.isBroken;
    }
    return isClean;
}

bool Conv::IsImplemented(CHARSET charset)
{
    const auto codePage = static_cast<std::uint32_t>(charset);
    return KeepsAllText(charset) || (codePage <= 0xFFFF && KivSys::IsValidCodePage(codePage));
}

bool Conv::IsWCCS(CHARSET charset)
{
    return charset == CHARSET::UTF16 || charset == CHARSET::WIDE;
}

Conv::ConversionClass Conv::WcToMbConversionFunction(CHARSET to)
{
    return {CHARSET::WIDE, to};
}

Conv::ConversionClass Conv::MbToWcConversionFunction(CHARSET from)
{
    return {from, CHARSET::WIDE};
}

Conv::ConversionClass Conv::FastConversionFunction(CHARSET from, CHARSET to)
{
    return {from, to};
}

WString Conv::ToWide(CHARSET from, std::string_view bytes)
{
    if (IsWCCS(from))
        return UnitsOf(bytes);
    if (from == CHARSET::UTF8)
        return Kiv::Wide(bytes);
    return bytes.empty() || !IsImplemented(from) ? WString() : Decode(static_cast<unsigned int>(from), bytes);
}

std::string Conv::FromWide(CHARSET to, WStringView text)
{
    if (IsWCCS(to))
        return std::string(BytesOf(text));
    if (to == CHARSET::UTF8)
        return Kiv::Utf8(text);
    return text.empty() || !IsImplemented(to) ? std::string() : Encode(static_cast<unsigned int>(to), text);
}

} // namespace KivCharset
