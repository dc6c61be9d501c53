#include "Folder.h"

namespace
{

using namespace KivSys;

TEST(Searching, WildcardsFollowTheDosRules)
{
    const Folder folder;
    for (const char* name : {"a", "a.txt", "B.TXT", "ab.c.txt", "noext", "x.t"})
        WriteText(folder / name, "");
    const struct {
        const char* pattern;
        Found names;
        bool wineDiffers = false; // its dot is a dot of the name always, or never
    } rows[] = {
        {"*.*", {"a", "a.txt", "B.TXT", "ab.c.txt", "noext", "x.t"}},
        {"*.", {"a", "noext"}, true},
        {"*.TXT", {"a.txt", "B.TXT", "ab.c.txt"}},
        {"*.t", {"x.t"}},
        {"a*.*", {"a", "a.txt", "ab.c.txt"}, true},
        {"??.txt", {"a.txt", "B.TXT"}, true},
        {"?", {"a"}},
        {"a.*", {"a", "a.txt"}, true},
        {"*.c.*", {"ab.c.txt"}},
        {"*.doc", {}},
        {"noext.", {"noext"}},
    };
    for (const auto& row : rows) {
        if (IsWine() && row.wineDiffers)
            continue;
        EXPECT_EQ(Find(folder / row.pattern), row.names) << row.pattern;
        EXPECT_EQ(GetLastError(), row.names.empty() ? ErrorFileNotFound : ErrorNoMoreFiles) << row.pattern;
    }
    EXPECT_EQ(Find(folder / "missing\\*"), Found());
    EXPECT_EQ(GetLastError(), ErrorPathNotFound);
    EXPECT_EQ(Find(Folder() / "*"), Found());
    EXPECT_EQ(GetLastError(), ErrorNoMoreFiles) << "an empty directory has its dots";
}

TEST(Searching, APatternOfManyStarsTakesNoLongerThanOthers)
{
    const Folder folder;
    WriteText(folder / std::string(200, 'a'), "");
    std::string pattern;
    for (int i = 0; i < 30; ++i)
        pattern += "a*";
    EXPECT_EQ(Find(folder / (pattern + "b")), Found());
    EXPECT_EQ(Find(folder / pattern).size(), 1u);
}

TEST(Directories, AreMadeAndRemovedOrSayWhyNot)
{
    const Folder folder;
    const auto make = [](const char* path) { return MakeDirectoryA(path) == 0; };
    const auto remove = [](const char* path) { return RemoveDirectoryA(path) == 0; };
    const auto unlink = [](const char* path) { return UnlinkA(path) == 0; };
    WriteText(folder / "file", "");
    const struct {
        bool (*change)(const char* path);
        const char* name;
        DWORD error;
    } rows[] = {
        {make, "sub\\", ErrorSuccess},          {make, "sub", ErrorAlreadyExists},
        {make, "file", ErrorAlreadyExists},     {make, "a\\b", ErrorPathNotFound},
        {make, "file\\b", ErrorPathNotFound},   {make, "sub\\below", ErrorSuccess},
        {remove, "sub", ErrorDirNotEmpty},      {unlink, "sub\\below", ErrorAccessDenied},
        {remove, "sub\\below", ErrorSuccess},   {remove, "file", ErrorDirectory},
        {remove, "missing", ErrorFileNotFound}, {remove, "missing\\sub", ErrorPathNotFound},
        {remove, "sub\\", ErrorSuccess},
    };
    for (const auto& row : rows)
        EXPECT_EQ(CodeOf(row.change((folder / row.name).c_str())), row.error) << row.name << ' ' << row.error;
}

TEST(CurrentDirectory, HoldsRelativePathsHoweverDeepItIs)
{
    const Folder folder;
    const auto before = std::filesystem::current_path();
    std::string deep = folder.Path();
    for (int i = 0; i < (IsWine() ? 1 : 4); ++i) { // Wine and Windows keep a current directory to 260 characters
        deep += '\\' + std::string(100, static_cast<char>('a' + i));
        ASSERT_EQ(MakeDirectoryA(deep.c_str()), 0);
    }
    std::filesystem::current_path(PathForUser(deep));
    NarrowText current, full;
    ASSERT_TRUE(GetCurrentDirectoryA(&current));
    EXPECT_TRUE(current.ends_with(deep.substr(deep.find("kiv-test")))) << current;
    ASSERT_TRUE(GetFullPathNameA("file", &full));
    EXPECT_EQ(full, current + "\\file");
    std::filesystem::current_path(before);
    EXPECT_FALSE(GetFullPathNameA("", &full));
}

} // namespace
