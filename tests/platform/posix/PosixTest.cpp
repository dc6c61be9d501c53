// What only this side has to do: names that Windows cannot hold, links, foreign attributes.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../Folder.h"

namespace
{

using namespace KivSys;
namespace fs = std::filesystem;

TEST(UserPaths, CharactersThatWindowsCannotHoldAreMappedAndComeBack)
{
    const struct {
        std::string user;
        std::string house;
    } rows[] = {
        {"a/b.txt", "a/b.txt"},
        {"/a\\b", "/a\xEF\x81\x9C"
                  "b"},
        {"C:x", "C\xEF\x80\xBAx"},
        {"*?\"<>|", "\xEF\x80\xAA\xEF\x80\xBF\xEF\x80\xA2\xEF\x80\xBC\xEF\x80\xBE\xEF\x81\xBC"},
        {"\x01\x1F\x7F", "\xEF\x80\x81\xEF\x80\x9F\x7F"},
        {"a. ./b", "a\xEF\x80\xAE\xEF\x80\xA0\xEF\x80\xAE/b"},
        {" a.b", " a.b"},
        {"./../...", "./../\xEF\x80\xAE\xEF\x80\xAE\xEF\x80\xAE"},
        {"", ""},
        {"a//b/", "a//b/"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(PathFromUser(row.user), row.house) << row.user;
        EXPECT_EQ(PathForUser(row.house), row.user) << row.user;
    }
    EXPECT_EQ(PathFromUser("//server/x"), "/server/x") << "two slashes would name a server";
    EXPECT_EQ(PathForUser("a\\b"), "a/b");
}

TEST(HousePaths, MappedNamesReachTheirEntryAndNeverLeadOut)
{
    const Folder folder;
    for (const std::string name : {"a\\b", "C:", "x. ", "...", "tab\t"}) {
        WriteText(folder / PathFromUser(name), name);
        EXPECT_TRUE(fs::is_regular_file(fs::path(folder.Path()) / name)) << name;
        EXPECT_EQ(ReadText(folder / PathFromUser(name)), name);
    }
    const std::string mappedUp = "\xEF\x80\xAE\xEF\x80\xAE";
    EXPECT_EQ(GetFileAttributesA((folder / mappedUp).c_str()), InvalidFileAttributes);
    WriteText(folder / mappedUp, "here");
    EXPECT_TRUE(fs::is_regular_file(fs::path(folder.Path()) / mappedUp));
}

TEST(HousePaths, DrivesAndServersAreNotThere)
{
    for (const std::string path : {"C:\\x", "c:", "\\\\server\\x", "//server/x"}) {
        EXPECT_EQ(GetFileAttributesA(path.c_str()), InvalidFileAttributes) << path;
        EXPECT_EQ(GetLastError(), path[1] == ':' ? ErrorPathNotFound : ErrorBadNetPath) << path;
    }
}

TEST(PosixAttributes, ComeFromTheNameTheModeTheLinkAndTheExtendedAttribute)
{
    const Folder folder;
    const auto attributes = [&](const char* name) { return GetFileAttributesA((folder / name).c_str()); };
    WriteText(folder / ".hidden", "x");
    EXPECT_EQ(attributes(".hidden"), DWORD{AttributeHidden});
    WriteText(folder / "plain", "x");
    EXPECT_EQ(attributes("plain"), DWORD{AttributeNormal});
    EXPECT_EQ(attributes("."), DWORD{AttributeDirectory});

    fs::create_directory(fs::path(folder.Path()) / "sub");
    fs::create_directory_symlink("sub", fs::path(folder.Path()) / "link");
    fs::create_symlink("nowhere", fs::path(folder.Path()) / "dangling");
    EXPECT_EQ(attributes("link"), DWORD{AttributeDirectory} | AttributeReparsePoint);
    EXPECT_EQ(attributes("dangling"), DWORD{AttributeReparsePoint});
    EXPECT_EQ(UnlinkA((folder / "link").c_str()), 0);
    EXPECT_TRUE(fs::exists(fs::path(folder.Path()) / "sub"));

    ASSERT_EQ(::truncate((folder.Path() + "/plain").c_str(), 1 << 20), 0);
    EXPECT_EQ(attributes("plain"), DWORD{AttributeSparseFile});

    WriteText(folder / "stored", "x");
    const std::string text("0x27\0more", 9);
    if (::setxattr((folder.Path() + "/stored").c_str(), "user.DOSATTRIB", text.data(), text.size(), 0) != 0)
        GTEST_SKIP() << "no extended attributes in " << folder.Path();
    EXPECT_EQ(attributes("stored"), DWORD{AttributeHidden} | AttributeSystem | AttributeArchive);
}

TEST(PosixDeleteOnClose, TakesNoLinkAndNothingElseThatIsNoFile)
{
    const Folder folder;
    WriteText(folder / "target", "old");
    fs::create_symlink("target", fs::path(folder.Path()) / "link");
    ASSERT_EQ(::mkfifo((folder.Path() + "/pipe").c_str(), 0600), 0);
    for (const char* name : {"link", "pipe"}) {
        for (const DWORD disposition : {CreateAlways, OpenAlways, OpenExisting}) {
            EXPECT_EQ(OpenFile(folder / name, disposition, ReadWrite, ShareNone, FlagDeleteOnClose), InvalidHandle());
            EXPECT_EQ(GetLastError(), ErrorAccessDenied) << name << disposition;
        }
    }
    EXPECT_EQ(ReadText(folder / "target"), "old");
}

TEST(PosixDeleteOnClose, IsPrivateAndLeavesASuccessorOfItsNameAlone)
{
    const Folder folder;
    Opened file(OpenFile(folder / "spill", CreateAlways, ReadWrite, ShareNone, FlagDeleteOnClose));
    ASSERT_TRUE(file);
    struct stat status;
    ASSERT_EQ(::stat((folder.Path() + "/spill").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    fs::rename(folder.Path() + "/spill", folder.Path() + "/moved");
    WriteText(folder / "spill", "successor");
    file.Close();
    EXPECT_EQ(ReadText(folder / "spill"), "successor");
}

TEST(PosixDeleteOnClose, FindsItsRelativeNameFromAnotherDirectory)
{
    const Folder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    Opened file(OpenFile("spill", CreateAlways, ReadWrite, ShareNone, FlagDeleteOnClose));
    fs::current_path(before);
    EXPECT_TRUE(fs::exists(folder.Path() + "/spill"));
    file.Close();
    EXPECT_FALSE(fs::exists(folder.Path() + "/spill"));
}

TEST(PosixFiles, AFullDiskIsAnErrorOfTheWrite)
{
    const Opened full(OpenFile("\\dev\\full", OpenExisting, GenericWrite));
    DWORD written = 1;
    EXPECT_FALSE(WriteFile(full, "x", 1, &written));
    EXPECT_EQ(GetLastError(), ErrorDiskFull);
    EXPECT_EQ(written, 0u);
}

TEST(PosixText, BytesWithoutACharacterAreReplacedOneByOne)
{
    const struct {
        unsigned int codePage;
        std::string bytes;
        std::vector<WCHAR> units;
    } rows[] = {
        {20127, "a\x85\xFFz", {'a', 0xFFFD, 0xFFFD, 'z'}},
        {932, "a\x82", {'a', 0xFFFD}},
        {874, "\xDB\x81", {0xFFFD, 0x81}},
        {54936, "\x81\x30\x84", {0xFFFD, '0', 0xFFFD}},
        {1258, "a\xDB", {'a', 0xDB}},
    };
    for (const auto& row : rows) {
        std::vector<WCHAR> units(16);
        const int count =
            MultiByteToWideChar(row.codePage, row.bytes.data(), static_cast<int>(row.bytes.size()), units.data(), 16);
        units.resize(static_cast<std::size_t>(count));
        EXPECT_EQ(units, row.units) << row.codePage;
    }
}

} // namespace
