#include <KivBase/WString.h>

#include <limits>
#include <stdexcept>

#include <platform/Platform.h>
#include <platform/Utf8.h>

namespace Kiv
{

namespace
{

bool NarrowIsUtf8()
{
    return KivSys::NarrowCodePage() == KivSys::CodePageUtf8;
}

int SystemLength(std::size_t length)
{
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::length_error("text too long for the system's conversion");
    return static_cast<int>(length);
}

} // namespace

WString Wide(std::string_view utf8)
{
    WString wide;
    KivSys::AppendUtf16(wide, utf8.data(), utf8.size());
    return wide;
}

std::string Utf8(WStringView wide)
{
    std::string utf8;
    KivSys::AppendUtf8(utf8, wide.data(), wide.size());
    return utf8;
}

WString WideFromNarrow(std::string_view narrow)
{
    if (NarrowIsUtf8())
        return Wide(narrow);
    const unsigned int page = KivSys::NarrowCodePage();
    const int length = SystemLength(narrow.size());
    const int needed = length == 0 ? 0 : KivSys::MultiByteToWideChar(page, narrow.data(), length, nullptr, 0);
    WString wide(static_cast<std::size_t>(needed), 0);
    if (needed != 0)
        KivSys::MultiByteToWideChar(page, narrow.data(), length, wide.data(), needed);
    return wide;
}

std::string NarrowFromWide(WStringView wide)
{
    if (NarrowIsUtf8())
        return Utf8(wide);
    const unsigned int page = KivSys::NarrowCodePage();
    const int length = SystemLength(wide.size());
    const int needed = length == 0 ? 0 : KivSys::WideCharToMultiByte(page, wide.data(), length, nullptr, 0);
    std::string narrow(static_cast<std::size_t>(needed), '\0');
    if (needed != 0)
        KivSys::WideCharToMultiByte(page, wide.data(), length, narrow.data(), needed);
    return narrow;
}

} // namespace Kiv
