// What only this side has to do: names that Windows cannot hold, links, foreign attributes.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <platform/posix/Paths.h>

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
        {"a//b/", "a//b/"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(PathFromUser(row.user), row.house) << row.user;
        EXPECT_EQ(PathForUser(row.house), row.user) << row.user;
    }
    EXPECT_EQ(PathFromUser("//server/x"), "/server/x") << "two slashes would name a server";
    EXPECT_EQ(PathForUser("a\\b"), "a/b");
}

TEST(PosixPaths, ParentsBehindLinksAreThoseThatTheSystemFinds)
{
    const Folder folder;
    const fs::path root = fs::canonical(folder.Path());
    fs::create_directories(root / "real/sub");
    fs::create_directory_symlink("real/sub", root / "link");
    fs::create_symlink("link/../file", root / "file");
    for (const std::string user : {"real/../x", "link/x", "missing/../x", "../x/..", "x"})
        EXPECT_EQ(PathFromUser((root / user).string()), (root / user).string()) << "the text says the same";
    EXPECT_EQ(PathFromUser((root / "link/../x").string()), (root / "real/x").string());
    EXPECT_EQ(PathFromUser((root / "link/x/../../y").string()), (root / "link/x/../../y").string()) << "leads nowhere";
    EXPECT_EQ(PathFromUser((root / "link/..").string()), (root / "real").string());
    EXPECT_EQ(FollowLinks(HousePath((root / "file").string())), HousePath((root / "real/file").string()));
}

TEST(PosixAttributes, ComeFromTheNameTheModeTheLinkAndTheExtendedAttribute)
{
    const Folder folder;
    const fs::path root = folder.Path();
    for (const char* name : {".hidden", "plain", "sparse", "stored"})
        WriteText(folder / name, "x");
    fs::create_directory(root / "sub");
    fs::create_directory_symlink("sub", root / "link");
    fs::create_symlink("nowhere", root / "dangling");
    fs::create_symlink("stored", root / "linked");
    fs::resize_file(root / "sparse", 1 << 20);
    const std::string text("0x1027\0more", 11);
    const bool isStored = ::setxattr((root / "stored").c_str(), "user.DOSATTRIB", text.data(), text.size(), 0) == 0;
    const DWORD stored = DWORD{AttributeHidden} | AttributeSystem | AttributeArchive;
    const std::pair<const char*, DWORD> rows[] = {
        {".hidden", AttributeHidden},
        {"plain", AttributeNormal},
        {".", AttributeDirectory},
        {"link", DWORD{AttributeDirectory} | AttributeReparsePoint},
        {"dangling", AttributeReparsePoint},
        {"sparse", AttributeSparseFile},
        // Not every file system keeps extended attributes.
        {"stored", isStored ? stored | AttributeOffline : DWORD{AttributeNormal}},
        {"linked", isStored ? stored | AttributeReparsePoint : DWORD{AttributeReparsePoint}},
    };
    for (const auto& [name, attributes] : rows)
        EXPECT_EQ(GetFileAttributesA((folder / name).c_str()), attributes) << name;
    EXPECT_EQ(UnlinkA((folder / "link").c_str()), 0);
    EXPECT_TRUE(fs::exists(root / "sub"));
}

TEST(PosixDeleteOnClose, TakesNoLinkAndNothingElseThatIsNoFile)
{
    const Folder folder;
    WriteText(folder / "target", "old");
    fs::create_symlink("target", fs::path(folder.Path()) / "link");
    ASSERT_EQ(::mkfifo((folder.Path() + "/pipe").c_str(), 0600), 0);
    for (const char* name : {"link", "pipe"}) {
        for (const DWORD disposition : {CreateAlways, OpenAlways, OpenExisting})
            EXPECT_EQ(CodeOfOpening(folder / name, disposition, ReadWrite, ShareNone, FlagDeleteOnClose),
                      ErrorAccessDenied)
                << name << disposition;
    }
    EXPECT_EQ(ReadText(folder / "target"), "old");
}

TEST(PosixDeleteOnClose, IsPrivateFindsItsRelativeNameAndLeavesASuccessorAlone)
{
    const Folder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    Opened first(OpenFile("first", CreateAlways, ReadWrite, ShareNone, FlagDeleteOnClose));
    Opened second(OpenFile("second", CreateAlways, ReadWrite, ShareNone, FlagDeleteOnClose));
    fs::current_path(before);
    EXPECT_EQ(fs::status(folder.Path() + "/first").permissions(), fs::perms(0600));
    fs::rename(folder.Path() + "/second", folder.Path() + "/moved");
    WriteText(folder / "second", "successor");
    first.Close();
    second.Close();
    EXPECT_FALSE(fs::exists(folder.Path() + "/first"));
    EXPECT_EQ(ReadText(folder / "second"), "successor");
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
        {949, "\xA2\xE8x\xA2\xE8", {0xFFFD, 0xFFFD, 'x', 0xFFFD, 0xFFFD}},
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

TEST(HostileNames, DotsAndBlanksAtTheEndOfAComponentAreNoPartOfIt)
{
    const Folder folder;
    for (const char* name : {"x", "x.", "...", "  "})
        ASSERT_EQ(::mkdir((folder.Path() + '/' + name).c_str(), 0777), 0);
    WriteText(folder / "x. .\\file", "in x");
    EXPECT_TRUE(fs::exists(folder.Path() + "/x/file"));
    for (const char* name : {"...", "  ", "...\\x", "x\\..."})
        EXPECT_EQ(CodeOf(GetFileAttributesA((folder / name).c_str()) != InvalidFileAttributes), ErrorInvalidName)
            << name;
}

TEST(Searching, LetterCaseIsIgnoredBeyondAsciiAndAWrittenNameWins)
{
    const Folder folder;
    WriteText(folder / "\xC3\x84RGER.txt", "");
    EXPECT_EQ(Find(folder / "\xC3\xA4rger.*").size(), 1u);
    WriteText(folder / "readme", "");
    WriteText(folder / "README", "");
    EXPECT_EQ(Find(folder / "README"), Found{"README"});
    EXPECT_EQ(Find(folder / "readme"), Found{"readme"});
    EXPECT_EQ(Find(folder / "Readme"), (Found{"readme", "README"}));
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
