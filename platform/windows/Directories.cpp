#include <cstring>
#include <cwchar>
#include <direct.h>
#include <string_view>

#include <platform/Conversion.h>
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

// Whether the directory of a pattern is a link. A root is none.
bool IsInLink(std::wstring_view pattern)
{
    constexpr std::size_t longestRoot = 2;
    const std::size_t length = pattern.find_last_of(L"\\/");
    if (length == std::wstring_view::npos || length <= longestRoot)
        return false;
    const ::DWORD attributes = ::GetFileAttributesW(std::wstring(pattern.substr(0, length)).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

HANDLE FindFirst(const wchar_t* pattern, ::WIN32_FIND_DATAW* found, DWORD findFlags)
{
    if ((findFlags & FindNoLink) == 0 || !IsInLink(pattern))
        return ::FindFirstFileExW(pattern, Level(findFlags), found, Operation(findFlags), nullptr, 0);
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return InvalidHandle();
}

void Assign(FindDataW& to, const ::WIN32_FIND_DATAW& found)
{
    static_cast<FileAttributeData&>(to) = DataOf(found);
    to.name.assign(found.cFileName, found.cFileName + std::wcslen(found.cFileName));
}

std::wstring WideOf(const char* text)
{
    const int length = static_cast<int>(std::strlen(text));
    std::wstring wide(static_cast<std::size_t>(length), 0);
    WCHAR* const units = reinterpret_cast<WCHAR*>(wide.data());
    wide.resize(static_cast<std::size_t>(MultiByteToWideChar(NarrowCodePage(), text, length, units, length)));
    return wide;
}

// The system's own narrow search gives look-alikes for what the code page lacks, and the separator is one of them. Here
// there is a "?" instead, which no file can bear.
void Assign(FindDataA& to, const ::WIN32_FIND_DATAW& found)
{
    constexpr std::size_t mostBytesOfUnit = 4;
    static_cast<FileAttributeData&>(to) = DataOf(found);
    const std::size_t length = std::wcslen(found.cFileName);
    to.name.resize(length * mostBytesOfUnit);
    to.name.resize(static_cast<std::size_t>(
        WideCharToMultiByte(NarrowCodePage(), reinterpret_cast<const WCHAR*>(found.cFileName), static_cast<int>(length),
                            to.name.data(), static_cast<int>(to.name.size()))));
}

bool IsSeparator(char c)
{
    return c == '\\' || c == '/';
}

// Whether a name would be read as a path that leads out of its directory: in some code pages the second byte of a
// character may be the separator.
bool LeadsOut(std::string_view name)
{
    constexpr std::string_view parent = "..";
    for (std::size_t at = name.find(parent); at != std::string_view::npos; at = name.find(parent, at + 1)) {
        const std::size_t end = at + parent.size();
        const bool isComponent =
            (at == 0 || IsSeparator(name[at - 1])) && (end == name.size() || IsSeparator(name[end]));
        if (isComponent && name != parent)
            return true;
    }
    return false;
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
    ::WIN32_FIND_DATAW found;
    const HANDLE search = FindFirst(WideOf(pattern).c_str(), &found, findFlags);
    if (search == InvalidHandle())
        return search;
    Assign(*data, found);
    if (!LeadsOut(data->name) || FindNextFileA(search, data))
        return search;
    ::FindClose(search);
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return InvalidHandle();
}

HANDLE FindFirstFileW(const WCHAR* pattern, FindDataW* data, DWORD findFlags)
{
    ::WIN32_FIND_DATAW found;
    const HANDLE search = FindFirst(Wide(pattern), &found, findFlags);
    if (search != InvalidHandle())
        Assign(*data, found);
    return search;
}

bool FindNextFileA(HANDLE search, FindDataA* data)
{
    ::WIN32_FIND_DATAW found;
    do {
        if (::FindNextFileW(search, &found) == 0)
            return false;
        Assign(*data, found);
    } while (LeadsOut(data->name));
    return true;
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
