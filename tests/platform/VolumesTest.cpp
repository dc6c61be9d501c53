#include <gtest/gtest.h>

#include "Folder.h"

namespace
{

using namespace KivSys;

TEST(Volumes, TheEmptyPathAsksAboutTheCurrentDirectory)
{
    std::uint64_t empty = 0, current = 0, folderBytes = 0;
    const WCHAR nothing[] = {0};
    EXPECT_TRUE(GetDiskFreeSpaceExA("", &empty));
    EXPECT_TRUE(GetDiskFreeSpaceExW(nothing, &current));
    EXPECT_GT(empty, 0u);
    EXPECT_GT(current, 0u);
    const Folder folder;
    EXPECT_TRUE(GetDiskFreeSpaceExA(folder.Path().c_str(), &folderBytes));
    EXPECT_GT(folderBytes, 0u);
    EXPECT_EQ(GetDriveTypeA(""), GetDriveTypeW(nothing));
    EXPECT_GE(GetDriveTypeA(""), DriveRemovable);
}

TEST(Volumes, AMissingDriveHasNoRootAndNoSpace)
{
    const DWORD drives = GetLogicalDrives();
    char root[] = "A:\\";
    while ((drives >> (root[0] - 'A') & 1) != 0)
        ++root[0];
    EXPECT_EQ(GetDriveTypeA(root), DriveNoRootDir) << root;
    std::uint64_t bytes = 7;
    EXPECT_FALSE(GetDiskFreeSpaceExA(root, &bytes));
    EXPECT_EQ(GetLastError(), ErrorPathNotFound);
    EXPECT_EQ(bytes, 7u);
}

TEST(Volumes, TheComputerHasOneNameInBothWidths)
{
    NarrowText narrow;
    WideText wide;
    ASSERT_TRUE(GetComputerNameA(&narrow));
    ASSERT_TRUE(GetComputerNameW(&wide));
    EXPECT_FALSE(narrow.empty());
    EXPECT_LE(narrow.size(), 15u);
    EXPECT_EQ(NarrowText(wide.begin(), wide.end()), narrow);
}

TEST(Volumes, ALocalPathHasNoUniversalName)
{
    const Folder folder;
    NarrowText path;
    ASSERT_TRUE(GetFullPathNameA(folder.Path().c_str(), &path));
    char buffer[4096];
    DWORD size = sizeof buffer;
    EXPECT_EQ(WNetGetUniversalNameA(path.c_str(), buffer, &size), ErrorNotConnected);
}

} // namespace
