#include <algorithm>

#include <gtest/gtest.h>

#include "Folder.h"
#include "Listing.h"

namespace
{

using namespace KivSys;

DWORD CodeOfMake(const std::string& path)
{
    return MakeDirectoryA(path.c_str()) == 0 ? DWORD{ErrorSuccess} : GetLastError();
}

DWORD CodeOfRemove(const std::string& path)
{
    return RemoveDirectoryA(path.c_str()) == 0 ? DWORD{ErrorSuccess} : GetLastError();
}

TEST(Searching, WildcardsFollowTheDosRules)
{
    const Folder folder;
    for (const char* name : {"a", "a.txt", "B.TXT", "ab.c.txt", "noext", "x.t"})
        WriteText(folder / name, "");
    const struct {
        const char* pattern;
        Names names;
        bool wineDiffers = false; // its dot is a dot of the name always, or never
    } rows[] = {
        {"*", {"a", "a.txt", "B.TXT", "ab.c.txt", "noext", "x.t"}},
        {"*.*", {"a", "a.txt", "B.TXT", "ab.c.txt", "noext", "x.t"}},
        {"*.", {"a", "noext"}, true},
        {"*.txt", {"a.txt", "B.TXT", "ab.c.txt"}},
        {"*.TXT", {"a.txt", "B.TXT", "ab.c.txt"}},
        {"*.t", {"x.t"}},
        {"a*", {"a", "a.txt", "ab.c.txt"}},
        {"a*.*", {"a", "a.txt", "ab.c.txt"}, true},
        {"?.txt", {"a.txt", "B.TXT"}},
        {"??.txt", {"a.txt", "B.TXT"}, true},
        {"?", {"a"}},
        {"a.*", {"a", "a.txt"}, true},
        {"*c*", {"ab.c.txt"}},
        {"*.c.*", {"ab.c.txt"}},
        {"A.TXT", {"a.txt"}},
        {"*.doc", {}},
        {"noext.", {"noext"}},
    };
    for (const auto& row : rows) {
        if (IsWine() && row.wineDiffers)
            continue;
        EXPECT_EQ(Find(folder / row.pattern), row.names) << row.pattern;
        EXPECT_EQ(GetLastError(), row.names.empty() ? ErrorFileNotFound : ErrorNoMoreFiles) << row.pattern;
    }
}

TEST(Searching, APatternOfManyStarsTakesNoLongerThanOthers)
{
    const Folder folder;
    WriteText(folder / std::string(200, 'a'), "");
    std::string pattern;
    for (int i = 0; i < 30; ++i)
        pattern += "a*";
    EXPECT_EQ(Find(folder / (pattern + "b")), Names());
    EXPECT_EQ(Find(folder / pattern).size(), 1u);
}

TEST(Searching, FailuresHaveTheirCodesAndAnEmptyDirectoryHoldsOnlyDots)
{
    const Folder folder;
    EXPECT_EQ(Find(folder / "*"), Names());
    EXPECT_EQ(GetLastError(), ErrorNoMoreFiles);
    FindDataA found;
    EXPECT_EQ(FindFirstFileA((folder / "missing\\*").c_str(), &found, 0), InvalidHandle());
    EXPECT_EQ(GetLastError(), ErrorPathNotFound);
    EXPECT_EQ(FindFirstFileA((folder / "missing").c_str(), &found, 0), InvalidHandle());
    EXPECT_EQ(GetLastError(), ErrorFileNotFound);
    WriteText(folder / "file", "");
    EXPECT_EQ(FindFirstFileA((folder / "file\\*").c_str(), &found, 0), InvalidHandle());
    EXPECT_FALSE(FindNextFileA(InvalidHandle(), &found));
    EXPECT_EQ(GetLastError(), ErrorInvalidHandle);
}

TEST(Directories, AreMadeAndRemovedOrSayWhyNot)
{
    const Folder folder;
    WriteText(folder / "file", "");
    EXPECT_EQ(CodeOfMake(folder / "sub\\"), ErrorSuccess) << "a separator at the end";
    EXPECT_EQ(CodeOfMake(folder / "sub"), ErrorAlreadyExists);
    EXPECT_EQ(CodeOfMake(folder / "file"), ErrorAlreadyExists);
    EXPECT_EQ(CodeOfMake(folder / "a\\b"), ErrorPathNotFound);
    EXPECT_EQ(CodeOfMake(folder / "file\\b"), ErrorPathNotFound);
    EXPECT_EQ(GetFileAttributesA((folder / "sub\\").c_str()) & AttributeDirectory, AttributeDirectory);

    WriteText(folder / "sub\\file", "");
    EXPECT_EQ(CodeOfRemove(folder / "sub"), ErrorDirNotEmpty);
    EXPECT_EQ(UnlinkA((folder / "sub").c_str()), -1);
    EXPECT_EQ(GetLastError(), ErrorAccessDenied);
    EXPECT_EQ(UnlinkA((folder / "sub\\file").c_str()), 0);
    EXPECT_EQ(CodeOfRemove(folder / "file"), ErrorDirectory);
    EXPECT_EQ(CodeOfRemove(folder / "missing"), ErrorFileNotFound);
    EXPECT_EQ(CodeOfRemove(folder / "missing\\sub"), ErrorPathNotFound);
    EXPECT_EQ(CodeOfRemove(folder / "sub\\"), ErrorSuccess);
}

TEST(CurrentDirectory, HoldsRelativePathsHoweverDeepItIs)
{
    const Folder folder;
    const auto before = std::filesystem::current_path();
    std::string deep = folder.Path();
    for (int i = 0; i < (IsWine() ? 1 : 4); ++i) { // Wine and Windows keep a current directory to 260 characters
        deep += '\\' + std::string(100, static_cast<char>('a' + i));
        ASSERT_EQ(CodeOfMake(deep), ErrorSuccess);
    }
    std::string native = deep;
    std::replace(native.begin(), native.end(), '\\', '/');
    std::filesystem::current_path(native);
    NarrowText current, full;
    WideText wide;
    ASSERT_TRUE(GetCurrentDirectoryA(&current));
    EXPECT_TRUE(current.ends_with(deep.substr(deep.find("kiv-platform")))) << current;
    ASSERT_TRUE(GetCurrentDirectoryW(&wide));
    EXPECT_EQ(NarrowText(wide.begin(), wide.end()), current);
    ASSERT_TRUE(GetFullPathNameA("file", &full));
    EXPECT_EQ(full, current + "\\file");
    ASSERT_TRUE(GetFullPathNameA(deep.c_str(), &full));
    EXPECT_TRUE(full.ends_with(deep.substr(deep.find("kiv-platform")))) << full;
    std::filesystem::current_path(before);
    EXPECT_FALSE(GetFullPathNameA("", &full));
}

} // namespace
