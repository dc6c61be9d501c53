#include <cstring>
#include <direct.h>

#include <platform/windows/System.h>

namespace KivSys
{

namespace
{

::FINDEX_INFO_LEVELS Level(DWORD findFlags)
{
    return (findFlags & FindBasicInfo) != 0 ? ::FindExInfoBasic : ::FindExInfoStandard;
}

::FINDEX_SEARCH_OPS Operation(DWORD findFlags)
{
    return (findFlags & FindLimitToDirectories) != 0 ? ::FindExSearchLimitToDirectories : ::FindExSearchNameMatch;
}

// Takes over the system's record, narrow or wide.
template <class Data, class Found>
void Assign(Data& to, const Found& found)
{
    static_cast<FileAttributeData&>(to) = DataOf(found);
    const auto* end = found.cFileName;
    while (*end != 0)
        ++end;
    to.name.assign(found.cFileName, end);
}

// Calls get(buffer, capacity), which returns the length, or the capacity that it needs, or 0.
template <class Unit, class Text, class Get>
bool GetText(Text* text, Get get)
{
    std::vector<Unit> buffer(MAX_PATH);
    ::DWORD length = get(buffer.data(), static_cast<::DWORD>(buffer.size()));
    while (length >= buffer.size()) {
        buffer.resize(length);
        length = get(buffer.data(), static_cast<::DWORD>(buffer.size()));
    }
    if (length != 0)
        text->assign(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
    return length != 0;
}

} // namespace

int MakeDirectoryA(const char* path)
{
    return ::_mkdir(path);
}

int MakeDirectoryW(const WCHAR* path)
{
    return ::_wmkdir(Wide(path));
}

int RemoveDirectoryA(const char* path)
{
    return ::_rmdir(path);
}

int RemoveDirectoryW(const WCHAR* path)
{
    return ::_wrmdir(Wide(path));
}

HANDLE FindFirstFileA(const char* pattern, FindDataA* data, DWORD findFlags)
{
    ::WIN32_FIND_DATAA found;
    const HANDLE search = ::FindFirstFileExA(pattern, Level(findFlags), &found, Operation(findFlags), nullptr, 0);
    if (search != InvalidHandle())
        Assign(*data, found);
    return search;
}

HANDLE FindFirstFileW(const WCHAR* pattern, FindDataW* data, DWORD findFlags)
{
    ::WIN32_FIND_DATAW found;
    const HANDLE search = ::FindFirstFileExW(Wide(pattern), Level(findFlags), &found, Operation(findFlags), nullptr, 0);
    if (search != InvalidHandle())
        Assign(*data, found);
    return search;
}

bool FindNextFileA(HANDLE search, FindDataA* data)
{
    ::WIN32_FIND_DATAA found;
    const bool isDone = ::FindNextFileA(search, &found) != 0;
    if (isDone)
        Assign(*data, found);
    return isDone;
}

bool FindNextFileW(HANDLE search, FindDataW* data)
{
    ::WIN32_FIND_DATAW found;
    const bool isDone = ::FindNextFileW(search, &found) != 0;
    if (isDone)
        Assign(*data, found);
    return isDone;
}

bool GetCurrentDirectoryA(NarrowText* path)
{
    return GetText<char>(path, [](char* buffer, ::DWORD size) { return ::GetCurrentDirectoryA(size, buffer); });
}

bool GetCurrentDirectoryW(WideText* path)
{
    return GetText<wchar_t>(path, [](wchar_t* buffer, ::DWORD size) { return ::GetCurrentDirectoryW(size, buffer); });
}

bool GetFullPathNameA(const char* path, NarrowText* fullPath)
{
    return GetText<char>(
        fullPath, [path](char* buffer, ::DWORD size) { return ::GetFullPathNameA(path, size, buffer, nullptr); });
}

bool GetFullPathNameW(const WCHAR* path, WideText* fullPath)
{
    return GetText<wchar_t>(fullPath, [path](wchar_t* buffer, ::DWORD size) {
        return ::GetFullPathNameW(Wide(path), size, buffer, nullptr);
    });
}

} // namespace KivSys
