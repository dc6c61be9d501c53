#include <algorithm>
#include <cstring>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <platform/Utf8.h>
#include <platform/posix/Errors.h>
#include <platform/posix/Mounts.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

// An empty root or directory stands for the current one.
std::optional<std::string> NativeOrCurrent(const char* path)
{
    return NativePath(*path != 0 ? path : ".");
}

// Puts the name's units behind the information, followed by a zero, when there is room.
template <class Character>
DWORD PutUniversalName(const std::basic_string_view<Character> name, void* buffer, DWORD* bufferSize)
{
    using Info = UniversalNameInfo<Character>;
    const std::size_t needed = sizeof(Info) + (name.size() + 1) * sizeof(Character);
    if (*bufferSize < needed) {
        *bufferSize = static_cast<DWORD>(needed);
        return ErrorMoreData;
    }
    const Info info{reinterpret_cast<Character*>(static_cast<char*>(buffer) + sizeof(Info))};
    std::memcpy(buffer, &info, sizeof info);
    std::memcpy(info.universalName, name.data(), name.size() * sizeof(Character));
    std::memset(info.universalName + name.size(), 0, sizeof(Character));
    return ErrorSuccess;
}

// The name in the house's form; empty, with the code set, when there is none.
std::string UniversalName(const char* path, DWORD& code)
{
    const std::optional<std::string> native = NativePath(path);
    const std::optional<std::string> name = native ? PathOnServer(*native) : std::nullopt;
    code = native ? DWORD{ErrorNotConnected} : GetLastError();
    return name ? '\\' + HousePath(*name) : std::string();
}

} // namespace

DWORD GetLogicalDrives()
{
    return 0;
}

unsigned int GetDriveTypeA(const char* root)
{
    const std::optional<std::string> native = NativeOrCurrent(root);
    if (!native || ::access(native->c_str(), F_OK) != 0)
        return DriveNoRootDir;
    return PathOnServer(*native) ? DriveRemote : DriveFixed;
}

unsigned int GetDriveTypeW(const WCHAR* root)
{
    return GetDriveTypeA(NarrowPath(root).c_str());
}

bool GetDiskFreeSpaceExA(const char* directory, std::uint64_t* freeBytesAvailable)
{
    const std::optional<std::string> native = NativeOrCurrent(directory);
    struct statvfs volume;
    if (!native)
        return false;
    if (::statvfs(native->c_str(), &volume) != 0)
        return FailOnPath(*native);
    *freeBytesAvailable = std::uint64_t{volume.f_bavail} * volume.f_frsize;
    return true;
}

bool GetDiskFreeSpaceExW(const WCHAR* directory, std::uint64_t* freeBytesAvailable)
{
    return GetDiskFreeSpaceExA(NarrowPath(directory).c_str(), freeBytesAvailable);
}

bool GetComputerNameA(NarrowText* name)
{
    constexpr std::size_t maximum = 15;
    char host[256] = {};
    if (::gethostname(host, sizeof host - 1) != 0)
        return FailWithErrno();
    name->assign(host, std::min(std::strlen(host), maximum));
    return true;
}

bool GetComputerNameW(WideText* name)
{
    std::string narrow;
    if (!GetComputerNameA(&narrow))
        return false;
    AssignWide(*name, narrow);
    return true;
}

DWORD WNetGetUniversalNameA(const char* path, void* buffer, DWORD* bufferSize)
{
    DWORD code = ErrorSuccess;
    const std::string name = UniversalName(path, code);
    return name.empty() ? code : PutUniversalName<char>(name, buffer, bufferSize);
}

DWORD WNetGetUniversalNameW(const WCHAR* path, void* buffer, DWORD* bufferSize)
{
    DWORD code = ErrorSuccess;
    const std::string name = UniversalName(NarrowPath(path).c_str(), code);
    WideText wide;
    AssignWide(wide, name);
    return name.empty() ? code : PutUniversalName<WCHAR>({wide.data(), wide.size()}, buffer, bufferSize);
}

} // namespace KivSys
