#include "Text.h"

#include <cstdio>

namespace KivTool
{
namespace
{

bool IsControl(unsigned short unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

bool IsHighSurrogate(unsigned short unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(unsigned short unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
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
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPair = i + 1 < text.size() && IsHighSurrogate(text[i]) && IsLowSurrogate(text[i + 1]);
        if (isPair)
            result += Kiv::Utf8(text.substr(i++, 2));
        else if (IsControl(text[i]) || IsHighSurrogate(text[i]) || IsLowSurrogate(text[i]))
            result += Escape(text[i]);
        else
            result += Kiv::Utf8(text.substr(i, 1));
    }
    return result;
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
