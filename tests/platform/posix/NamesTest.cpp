// Names and attributes that Windows has not.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../Folder.h"
#include "../Listing.h"

namespace
{

using namespace KivSys;
namespace fs = std::filesystem;

TEST(HostileNames, DotsAndBlanksAtTheEndOfAComponentAreNoPartOfIt)
{
    const Folder folder;
    for (const char* name : {"x", "x.", "...", "  "})
        ASSERT_EQ(::mkdir((folder.Path() + '/' + name).c_str(), 0777), 0);
    WriteText(folder / "x. .\\file", "in x");
    EXPECT_TRUE(fs::exists(folder.Path() + "/x/file"));
    for (const char* name : {"...", "  ", "...\\x", "x\\..."}) {
        EXPECT_EQ(GetFileAttributesA((folder / name).c_str()), InvalidFileAttributes) << name;
        EXPECT_EQ(GetLastError(), ErrorInvalidName) << name;
    }
}

TEST(Searching, LetterCaseIsIgnoredBeyondAsciiAndAWrittenNameWins)
{
    const Folder folder;
    WriteText(folder / "\xC3\x84RGER.txt", "");
    EXPECT_EQ(Find(folder / "\xC3\xA4rger.*").size(), 1u);
    WriteText(folder / "readme", "");
    WriteText(folder / "README", "");
    EXPECT_EQ(Find(folder / "README"), Names{"README"});
    EXPECT_EQ(Find(folder / "readme"), Names{"readme"});
    EXPECT_EQ(Find(folder / "Readme"), (Names{"readme", "README"}));
}

TEST(PosixAttributes, ReadOnlyGivesBackTheOwnersBit)
{
    const Folder folder;
    WriteText(folder / "file", "");
    const std::string native = folder.Path() + "/file";
    const auto mode = [&](DWORD attributes) {
        struct stat status;
        EXPECT_TRUE(SetFileAttributesA((folder / "file").c_str(), attributes));
        EXPECT_EQ(::stat(native.c_str(), &status), 0);
        return status.st_mode & 07777;
    };
    ASSERT_EQ(::chmod(native.c_str(), 0664), 0);
    EXPECT_EQ(mode(AttributeNormal), 0664u);
    EXPECT_EQ(mode(AttributeReadOnly), 0444u);
    EXPECT_EQ(mode(AttributeNormal), 0644u);
}

} // namespace
