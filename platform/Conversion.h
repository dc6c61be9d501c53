// What the conversion calls of both sides have in common: their result, and UTF-8, which keeps broken text everywhere
// although the system's own conversion on Windows does not. Private to the build.
#pragma once

#include <limits>

#include <platform/Platform.h>
#include <platform/Utf8.h>

namespace KivSys
{

// What a conversion returns for the number of units made.
inline int ConversionResult(std::size_t count, int capacity)
{
    const bool isTooMany = count > static_cast<std::size_t>(std::numeric_limits<int>::max());
    const bool fits = capacity == 0 || count <= static_cast<std::size_t>(capacity);
    if (!isTooMany && fits)
        return static_cast<int>(count);
    SetLastError(isTooMany ? ErrorInvalidParameter : ErrorInsufficientBuffer);
    return 0;
}

inline bool IsInvalidConversion(int count, int capacity)
{
    const bool isInvalid = count <= 0 || capacity < 0;
    if (isInvalid)
        SetLastError(ErrorInvalidParameter);
    return isInvalid;
}

inline int Utf8ToWideChar(const char* bytes, int count, WCHAR* units, int capacity)
{
    const auto size = static_cast<std::size_t>(count);
    const int length = ConversionResult(Utf16Length(bytes, size), capacity);
    if (capacity != 0 && length != 0)
        Utf16FromUtf8(bytes, size, units);
    return length;
}

inline int WideCharToUtf8(const WCHAR* units, int count, char* bytes, int capacity)
{
    const auto size = static_cast<std::size_t>(count);
    const int length = ConversionResult(Utf8Length(units, size), capacity);
    if (capacity != 0 && length != 0)
        Utf8FromUtf16(units, size, bytes);
    return length;
}

} // namespace KivSys
