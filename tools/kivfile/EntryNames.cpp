#include "EntryNames.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "EscapedText.h"

namespace KivTool
{
namespace
{

std::string PercentEncoded(unsigned short unit)
{
    std::string result;
    for (const char byte : Kiv::Utf8(Kiv::WStringView(&unit, 1))) {
        char text[4];
        std::snprintf(text, sizeof text, "%%%02X", static_cast<unsigned char>(byte));
        result += text;
    }
    return result;
}

bool IsSyntax(unsigned short unit)
{
    return unit == u'/' || unit == u'%';
}

std::optional<int> HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = Kiv::ToLower(c);
    if (lower >= 'a' && lower <= 'f')
        return lower - 'a' + 10;
    return std::nullopt;
}

std::string PercentDecode(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto high = text[i] == '%' && i + 2 < text.size() ? HexDigit(text[i + 1]) : std::nullopt;
        const auto low = high ? HexDigit(text[i + 2]) : std::nullopt;
        if (low) {
            result += static_cast<char>(*high * 16 + *low);
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

constexpr std::array<std::u16string_view, 6> DEVICES = {u"con", u"prn", u"aux", u"nul", u"conin$", u"conout$"};
constexpr std::array<std::u16string_view, 2> NUMBERED_DEVICES = {u"com", u"lpt"};

bool IsDeviceNumber(unsigned short unit)
{
    return (unit >= u'0' && unit <= u'9') || unit == 0xB9 || unit == 0xB2 || unit == 0xB3; // superscript 1, 2, 3
}

// Device names are reserved with any extension, and with blanks before it.
bool IsDevice(Kiv::WStringView name)
{
    Kiv::WString stem = Kiv::ToLower(name.substr(0, name.find(u'.')));
    stem.erase(stem.find_last_not_of(u' ') + 1);
    const std::u16string text(stem.begin(), stem.end());
    if (std::ranges::find(DEVICES, text) != DEVICES.end())
        return true;
    return text.size() == 4 && IsDeviceNumber(stem[3]) &&
           std::ranges::find(NUMBERED_DEVICES, text.substr(0, 3)) != NUMBERED_DEVICES.end();
}

bool IsForbiddenInFileName(unsigned short unit)
{
    return IsControl(unit) || IsSyntax(unit) ||
           std::u16string_view(u"\\:*?\"<>|").find(unit) != std::u16string_view::npos ||
           (unit >= 0xF001 && unit <= 0xF07F); // stands for a forbidden character where the system allows it
}

// Trailing dots and blanks vanish on Windows; "." and ".." consist of nothing else.
std::size_t LengthWithoutTrailingDots(Kiv::WStringView name)
{
    std::size_t length = name.size();
    while (length > 0 && (name[length - 1] == u'.' || name[length - 1] == u' '))
        --length;
    return length;
}

// What narrow text cannot express is encoded too.
bool IsNarrow(Kiv::WStringView text)
{
    return Kiv::WideFromNarrow(Kiv::NarrowFromWide(text)) == text;
}

Kiv::WString MakeSafe(Kiv::WStringView name)
{
    const std::size_t length = LengthWithoutTrailingDots(name);
    const bool isDevice = IsDevice(name);
    const bool isNarrow = IsNarrow(name);
    const auto mustEncode = [&](std::size_t i) {
        return i >= length || (isDevice && i == 0) || IsForbiddenInFileName(name[i]) || (!isNarrow && name[i] >= 0x80);
    };
    return Kiv::Wide(Escaped(name, mustEncode, PercentEncoded));
}

} // namespace

std::string EncodeName(Kiv::WStringView name)
{
    return Escaped(
        name, [&](std::size_t i) { return IsSyntax(name[i]); }, PercentEncoded);
}

std::string EncodePrintableName(Kiv::WStringView name)
{
    return Escaped(
        name, [&](std::size_t i) { return IsSyntax(name[i]) || IsControl(name[i]); }, PercentEncoded);
}

std::vector<Kiv::WString> DecodePath(std::string_view path)
{
    std::vector<Kiv::WString> names;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        if (end > 0)
            names.push_back(Kiv::Wide(PercentDecode(path.substr(0, end))));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

std::string SafeNames::Add(Kiv::WStringView name)
{
    Kiv::WString candidate = MakeSafe(name);
    const std::size_t length = candidate.size();
    for (unsigned int& n = m_next.try_emplace(candidate, 2).first->second; !m_taken.insert(candidate).second; ++n) {
        candidate.resize(length);
        candidate += Kiv::Wide(std::string(1, '~').append(std::to_string(n)));
    }
    return Kiv::NarrowFromWide(candidate);
}

} // namespace KivTool
