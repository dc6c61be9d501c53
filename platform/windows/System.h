// The system's own declarations beside ours. Ours come first and keep their names inside KivSys; the system's are
// written with :: in front.
#pragma once

#include <platform/Platform.h>

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace KivSys
{

static_assert(sizeof(WCHAR) == sizeof(wchar_t) && sizeof(DWORD) == sizeof(::DWORD) && sizeof(LONG) == sizeof(::LONG));

inline const wchar_t* Wide(const WCHAR* text)
{
    return reinterpret_cast<const wchar_t*>(text);
}

inline wchar_t* Wide(WCHAR* text)
{
    return reinterpret_cast<wchar_t*>(text);
}

// What one of the system's records of a file says.
template <class Found>
FileAttributeData DataOf(const Found& found)
{
    return {found.dwFileAttributes,
            {found.ftLastWriteTime.dwLowDateTime, found.ftLastWriteTime.dwHighDateTime},
            found.nFileSizeHigh,
            found.nFileSizeLow};
}

} // namespace KivSys
