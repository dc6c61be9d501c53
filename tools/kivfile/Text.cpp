#include "Text.h"

#include <cstdio>

#include "EscapedText.h"

namespace KivTool
{
namespace
{

bool DrivesATerminal(unsigned short unit)
{
    return IsControl(unit) || unit == 0x2028 || unit == 0x2029;
}

std::string Escape(unsigned short unit)
{
    char text[8];
    std::snprintf(text, sizeof text, unit < 0x100 ? "\\x%02X" : "\\u%04X", unit);
    return text;
}

} // namespace

std::string Printable(Kiv::WStringView text)
{
    return Escaped(
        text, [&](std::size_t i) { return DrivesATerminal(text[i]); }, Escape);
}

std::string PrintableLines(Kiv::WStringView text, std::string_view indent)
{
    std::string result;
    for (std::size_t begin = 0;;) {
        const std::size_t end = text.find(u'\n', begin);
        Kiv::WStringView line = text.substr(begin, end - begin);
        if (end != text.npos && line.ends_with(u'\r'))
            line.remove_suffix(1);
        result += Printable(line);
        if (end == text.npos)
            return result;
        result.append("\n").append(indent);
        begin = end + 1;
    }
}

std::string PrintableFileName(const std::string& name)
{
    return Printable(Kiv::WideFromNarrow(name));
}

std::string JsonFileName(const std::string& name)
{
    return Kiv::Utf8(Kiv::WideFromNarrow(name));
}

} // namespace KivTool
