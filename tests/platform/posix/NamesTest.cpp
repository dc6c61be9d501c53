// Names that Windows cannot hold, and links: every entry is shown, is reached by what is shown, and leads nowhere else.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../Folder.h"
#include "../Listing.h"

namespace
{

using namespace KivSys;
namespace fs = std::filesystem;

// What is mapped, and what is a mapped character by itself.
const std::string HOSTILE_NAMES[] = {
    "..\\x",
    "..\\..\\..",
    "x.",
    "x",
    "x..",
    "x ",
    "...",
    " ",
    " lead",
    ".. ",
    "C:y",
    "a:b",
    "\\\\server\\s",
    "C:\\",
    "file:\\\\x",
    "*",
    "?\"<>|",
    "tab\tline\n\x01",
    "\xFF\xFE",
    "\xC3",
    "\xED\xA0\x80",
    "\xEF\x81\x9C",
    "\\",
    "\xEF\x80\xAE\xEF\x80\xAE",
    "\xEF\x80\xAE",
    "\xEF\x81\xBF",
    "\xEF\x81\xBF\xEF\x81\x9C",
    "\xEF\x81\xBF\\",
    "\xEF\\",
    "\xEF\x81\\",
    "x\xEF\x80\xAE",
    "\x7F~%",
    "NUL",
};

TEST(HostileNames, EveryEntryIsListedAndReachedInBothWidths)
{
    const Folder folder;
    for (const std::string& name : HOSTILE_NAMES) {
        const fs::path path = fs::path(folder.Path()) / name;
        ASSERT_EQ(::mkdir(path.c_str(), 0777), 0) << name;
        ASSERT_EQ(::symlink(name.c_str(), (path / "inside").c_str()), 0);
    }
    const Names shown = Find(folder / "*.*");
    ASSERT_EQ(shown.size(), std::size(HOSTILE_NAMES)) << "no two are shown alike";
    Names reached;
    for (const std::string& name : shown) {
        EXPECT_EQ(name.find_first_of("\\/:*?\"<>|"), std::string::npos) << name;
        EXPECT_EQ(name.find_last_not_of(". ") + 1, name.size()) << name;
        ASSERT_EQ(Find(folder / (name + "\\*")), Names{"inside"}) << name;
        char target[100] = {};
        ASSERT_GT(::readlink(PathForUser(folder / (name + "\\inside")).c_str(), target, sizeof target - 1), 0);
        reached.insert(target);
    }
    EXPECT_EQ(reached, Names(std::begin(HOSTILE_NAMES), std::end(HOSTILE_NAMES)));

    std::size_t removed = 0;
    WideText pattern(folder.Path().begin(), folder.Path().end());
    const std::size_t length = pattern.size() + 1;
    pattern.insert(pattern.end(), {'\\', '*', 0});
    FindDataW found;
    const HANDLE search = FindFirstFileW(pattern.data(), &found, FindBasicInfo);
    ASSERT_NE(search, InvalidHandle());
    do {
        WideText path(pattern.begin(), pattern.begin() + static_cast<std::ptrdiff_t>(length));
        path.insert(path.end(), found.name.begin(), found.name.end());
        WideText inside = path;
        path.push_back(0);
        for (const char c : std::string("\\inside"))
            inside.push_back(static_cast<WCHAR>(c));
        inside.push_back(0);
        if (found.name.size() > 2 || found.name.back() != '.')
            removed += UnlinkW(inside.data()) == 0 && RemoveDirectoryW(path.data()) == 0;
    } while (FindNextFileW(search, &found));
    FindClose(search);
    EXPECT_EQ(removed, std::size(HOSTILE_NAMES));
}

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

TEST(HostileNames, AreShownInTheCurrentDirectory)
{
    const Folder folder;
    const fs::path before = fs::current_path();
    ASSERT_EQ(::mkdir((folder.Path() + "/C:").c_str(), 0777), 0);
    fs::current_path(folder.Path() + "/C:");
    WriteText(PathFromUser("a:b"), "text");
    EXPECT_EQ(Find("*"), Names{PathFromUser("a:b")});
    NarrowText current;
    EXPECT_TRUE(GetCurrentDirectoryA(&current));
    EXPECT_EQ(ReadText(current + '\\' + PathFromUser("a:b")), "text");
    fs::current_path(before);
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

TEST(Searching, StoredAttributesAreReadUnlessLeftUnread)
{
    const Folder folder;
    WriteText(folder / "file", "");
    ASSERT_TRUE(SetFileAttributesA((folder / "file").c_str(), AttributeSystem));
    if (GetFileAttributesA((folder / "file").c_str()) != AttributeSystem)
        GTEST_SKIP() << "no extended attributes in " << folder.Path();
    const auto attributes = [&](DWORD flags) {
        FindDataA found;
        FindClose(FindFirstFileA((folder / "f*").c_str(), &found, flags));
        return found.attributes;
    };
    EXPECT_EQ(attributes(0), DWORD{AttributeSystem});
    EXPECT_EQ(attributes(FindBasicInfo), AttributeStoredUnread);
}

TEST(Links, AreRemovedThemselvesAndNeverChangeTheirTarget)
{
    const Folder folder;
    const fs::path root = folder.Path();
    ASSERT_EQ(MakeDirectoryA((folder / "target").c_str()), 0);
    WriteText(folder / "target\\file", "kept");
    fs::permissions(root / "target/file", fs::perms::owner_read);
    fs::permissions(root / "target", fs::perms(0555));
    fs::create_directory(root / "links");
    fs::create_directory_symlink("../target", root / "links/directory");
    fs::create_directory_symlink("/", root / "links/root");
    fs::create_symlink("../target/file", root / "links/file");
    fs::create_symlink("loop", root / "links/loop");
    fs::create_symlink("nowhere", root / "links/dangling");
    for (const std::string& name : Find(folder / "links\\*")) {
        const std::string path = folder / ("links\\" + name);
        const DWORD attributes = GetFileAttributesA(path.c_str());
        EXPECT_EQ(attributes & (AttributeReparsePoint | AttributeReadOnly), DWORD{AttributeReparsePoint}) << name;
        EXPECT_TRUE(SetFileAttributesA(path.c_str(), AttributeNormal));
        const bool isDirectory = (attributes & AttributeDirectory) != 0;
        EXPECT_EQ(isDirectory, name == "directory" || name == "root");
        EXPECT_EQ(isDirectory ? RemoveDirectoryA(path.c_str()) : UnlinkA(path.c_str()), 0) << name;
    }
    EXPECT_TRUE(fs::is_empty(root / "links"));
    EXPECT_EQ(ReadText(folder / "target\\file"), "kept");
    EXPECT_EQ(GetFileAttributesA((folder / "target\\file").c_str()), DWORD{AttributeReadOnly});
    EXPECT_EQ(GetFileAttributesA((folder / "target").c_str()), DWORD{AttributeDirectory} | AttributeReadOnly);
    EXPECT_EQ(RemoveDirectoryA((folder / "target").c_str()), -1);
    EXPECT_EQ(GetLastError(), ErrorAccessDenied);
    fs::permissions(root / "target", fs::perms(0755));
}

TEST(PosixAttributes, HiddenOnADotNameStaysAndReadOnlyGivesBackTheOwnersBit)
{
    const Folder folder;
    WriteText(folder / ".dot", "");
    EXPECT_TRUE(SetFileAttributesA((folder / ".dot").c_str(), AttributeNormal));
    EXPECT_EQ(GetFileAttributesA((folder / ".dot").c_str()), DWORD{AttributeHidden});
    const std::string native = folder.Path() + "/.dot";
    const auto mode = [&](DWORD attributes) {
        struct stat status;
        EXPECT_TRUE(SetFileAttributesA((folder / ".dot").c_str(), attributes));
        EXPECT_EQ(::stat(native.c_str(), &status), 0);
        return status.st_mode & 07777;
    };
    ASSERT_EQ(::chmod(native.c_str(), 0664), 0);
    EXPECT_EQ(mode(AttributeNormal), 0664u);
    EXPECT_EQ(mode(AttributeReadOnly), 0444u);
    EXPECT_EQ(mode(AttributeNormal), 0644u);
}

} // namespace
