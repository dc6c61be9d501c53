// The platform's calls on paths, by the width of their text.
#pragma once

#include <platform/Platform.h>

namespace KivFile
{

template <class T>
struct PathCalls;

template <>
struct PathCalls<char> {
    using FindData = KivSys::FindDataA;
    using Text = KivSys::NarrowText;

    static constexpr auto GetFileAttributesWrp = KivSys::GetFileAttributesA;
    static constexpr auto GetFileAttributesExWrp = KivSys::GetFileAttributesExA;
    static constexpr auto SetFileAttributesWrp = KivSys::SetFileAttributesA;
    static constexpr auto MkDirWrp = KivSys::MakeDirectoryA;
    static constexpr auto RmDirWrp = KivSys::RemoveDirectoryA;
    static constexpr auto UnlinkWrp = KivSys::UnlinkA;
    static constexpr auto CopyFileWrp = KivSys::CopyFileA;
    static constexpr auto MoveFileWrp = KivSys::MoveFileA;
    static constexpr auto RenameWrp = KivSys::RenameA;
    static constexpr auto CreateFileWrp = KivSys::CreateFileA;
    static constexpr auto FindFirstFileWrp = KivSys::FindFirstFileA;
    static constexpr auto FindNextFileWrp = KivSys::FindNextFileA;
    static constexpr auto GetDiskFreeSpaceExWrp = KivSys::GetDiskFreeSpaceExA;
    static constexpr auto GetComputerNameWrp = KivSys::GetComputerNameA;
    static constexpr auto GetDriveTypeWrp = KivSys::GetDriveTypeA;
    static constexpr auto GetFullPathNameWrp = KivSys::GetFullPathNameA;
    static constexpr auto GetCurrentDirectoryWrp = KivSys::GetCurrentDirectoryA;
    static constexpr auto WNetGetUniversalNameWrp = KivSys::WNetGetUniversalNameA;
};

template <>
struct PathCalls<unsigned short> {
    using FindData = KivSys::FindDataW;
    using Text = KivSys::WideText;

    static constexpr auto GetFileAttributesWrp = KivSys::GetFileAttributesW;
    static constexpr auto GetFileAttributesExWrp = KivSys::GetFileAttributesExW;
    static constexpr auto SetFileAttributesWrp = KivSys::SetFileAttributesW;
    static constexpr auto MkDirWrp = KivSys::MakeDirectoryW;
    static constexpr auto RmDirWrp = KivSys::RemoveDirectoryW;
    static constexpr auto UnlinkWrp = KivSys::UnlinkW;
    static constexpr auto CopyFileWrp = KivSys::CopyFileW;
    static constexpr auto MoveFileWrp = KivSys::MoveFileW;
    static constexpr auto RenameWrp = KivSys::RenameW;
    static constexpr auto CreateFileWrp = KivSys::CreateFileW;
    static constexpr auto FindFirstFileWrp = KivSys::FindFirstFileW;
    static constexpr auto FindNextFileWrp = KivSys::FindNextFileW;
    static constexpr auto GetDiskFreeSpaceExWrp = KivSys::GetDiskFreeSpaceExW;
    static constexpr auto GetComputerNameWrp = KivSys::GetComputerNameW;
    static constexpr auto GetDriveTypeWrp = KivSys::GetDriveTypeW;
    static constexpr auto GetFullPathNameWrp = KivSys::GetFullPathNameW;
    static constexpr auto GetCurrentDirectoryWrp = KivSys::GetCurrentDirectoryW;
    static constexpr auto WNetGetUniversalNameWrp = KivSys::WNetGetUniversalNameW;
};

} // namespace KivFile
