#include <platform/windows/System.h>

#include <winnetwk.h>

namespace KivSys
{

static_assert(DriveUnknown == DRIVE_UNKNOWN && DriveNoRootDir == DRIVE_NO_ROOT_DIR &&
              DriveRemovable == DRIVE_REMOVABLE && DriveFixed == DRIVE_FIXED && DriveRemote == DRIVE_REMOTE);
static_assert(sizeof(UniversalNameInfo<char>) == sizeof(::UNIVERSAL_NAME_INFOA) &&
              sizeof(UniversalNameInfo<WCHAR>) == sizeof(::UNIVERSAL_NAME_INFOW));

namespace
{

// The system takes no text, not an empty one, for the current directory.
template <class Unit>
const Unit* OrCurrent(const Unit* path)
{
    return *path != 0 ? path : nullptr;
}

} // namespace

DWORD GetLogicalDrives()
{
    return ::GetLogicalDrives();
}

unsigned int GetDriveTypeA(const char* root)
{
    return ::GetDriveTypeA(OrCurrent(root));
}

unsigned int GetDriveTypeW(const WCHAR* root)
{
    return ::GetDriveTypeW(OrCurrent(Wide(root)));
}

bool GetDiskFreeSpaceExA(const char* directory, std::uint64_t* freeBytesAvailable)
{
    ::ULARGE_INTEGER available;
    const bool isDone = ::GetDiskFreeSpaceExA(OrCurrent(directory), &available, nullptr, nullptr) != 0;
    if (isDone)
        *freeBytesAvailable = available.QuadPart;
    return isDone;
}

bool GetDiskFreeSpaceExW(const WCHAR* directory, std::uint64_t* freeBytesAvailable)
{
    ::ULARGE_INTEGER available;
    const bool isDone = ::GetDiskFreeSpaceExW(OrCurrent(Wide(directory)), &available, nullptr, nullptr) != 0;
    if (isDone)
        *freeBytesAvailable = available.QuadPart;
    return isDone;
}

bool GetComputerNameA(NarrowText* name)
{
    char buffer[MAX_COMPUTERNAME_LENGTH + 1];
    ::DWORD length = sizeof buffer;
    const bool isDone = ::GetComputerNameA(buffer, &length) != 0;
    if (isDone)
        name->assign(buffer, length);
    return isDone;
}

bool GetComputerNameW(WideText* name)
{
    wchar_t buffer[MAX_COMPUTERNAME_LENGTH + 1];
    ::DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    const bool isDone = ::GetComputerNameW(buffer, &length) != 0;
    if (isDone)
        name->assign(buffer, buffer + length);
    return isDone;
}

DWORD WNetGetUniversalNameA(const char* path, void* buffer, DWORD* bufferSize)
{
    ::DWORD size = *bufferSize;
    const ::DWORD code = ::WNetGetUniversalNameA(path, UNIVERSAL_NAME_INFO_LEVEL, buffer, &size);
    *bufferSize = size;
    return code;
}

DWORD WNetGetUniversalNameW(const WCHAR* path, void* buffer, DWORD* bufferSize)
{
    ::DWORD size = *bufferSize;
    const ::DWORD code = ::WNetGetUniversalNameW(Wide(path), UNIVERSAL_NAME_INFO_LEVEL, buffer, &size);
    *bufferSize = size;
    return code;
}

} // namespace KivSys
