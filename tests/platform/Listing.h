// What a directory search finds.
#pragma once

#include <set>
#include <string>

#include <platform/Platform.h>

using Names = std::set<std::string>;

// The names that match a pattern, without "." and "..". The last error is that of the end.
inline Names Find(const std::string& pattern, KivSys::DWORD flags = 0)
{
    Names names;
    KivSys::FindDataA found;
    const KivSys::HANDLE search = KivSys::FindFirstFileA(pattern.c_str(), &found, flags);
    if (search == KivSys::InvalidHandle())
        return names;
    do {
        if (found.name != "." && found.name != "..")
            names.insert(found.name);
    } while (KivSys::FindNextFileA(search, &found));
    const KivSys::DWORD error = KivSys::GetLastError();
    KivSys::FindClose(search);
    KivSys::SetLastError(error);
    return names;
}
