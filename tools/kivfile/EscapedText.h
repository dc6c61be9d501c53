// Wide text in UTF-8, with some of its units in another form.
#pragma once

#include <cstddef>
#include <string>

#include <KivBase/WString.h>

namespace KivTool
{

inline bool IsHighSurrogate(unsigned short unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

inline bool IsLowSurrogate(unsigned short unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

// The characters that drive a terminal.
inline bool IsControl(unsigned short unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

// Copies text to UTF-8, but for each unit whose position mustEscape picks, and for all surrogates without their other
// half: in their place stands what escape makes of the unit.
template <class MustEscape, class Escape>
std::string Escaped(Kiv::WStringView text, const MustEscape& mustEscape, const Escape& escape)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isHigh = IsHighSurrogate(text[i]);
        if (isHigh && i + 1 < text.size() && IsLowSurrogate(text[i + 1]))
            result += Kiv::Utf8(text.substr(i++, 2));
        else if (isHigh || IsLowSurrogate(text[i]) || mustEscape(i))
            result += escape(text[i]);
        else
            result += Kiv::Utf8(text.substr(i, 1));
    }
    return result;
}

} // namespace KivTool
