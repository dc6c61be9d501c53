// Names and links that only this system lets a directory hold.
#include <algorithm>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../FileSystem.h"

namespace
{

namespace fs = std::filesystem;

// The system's path of one of the house, for what tests do behind the library's back.
std::string Native(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

// What is mapped, what is a mapped character by itself, and what would be something else in a path.
const std::vector<std::string> NAMES = {
    "..\\x",        "..\\..\\..", "end",      "end.",         "end..",     "end ",         "...",         ".. ",
    ". .",          " lead",      "C:y",      "C:\\",         "file:\\z",  " \\\\y",       "\\\\srv\\sh", "*.*",
    "?.*",          "<\">|",      "\x01\x1F", "tab\tline\n",  "\x7F~%",    "CON",          "\xFF\xFE",    "caf\xE9",
    "\xED\xA0\x80", "\uF05Cx",    "\uF02E",   "\uF02E\uF02E", "end\uF02E", "\uF07F\uF05C", "\uF07F\\",    "\xEF\x81\\"};

template <class T>
class HostileTree : public FileSystem<T>
{
protected:
    HostileTree()
    {
        fs::create_directories(m_root / "tree");
        fs::create_directories(m_root / "beside");
        for (const char* name : {"x", "beside/x", "beside/kept", "..x"})
            std::ofstream(m_root / name) << "beside";
        ::chmod((m_root / "beside/kept").c_str(), 0444);
        Fill(m_root / "tree");
        for (const std::string& name : NAMES) {
            const fs::path directory = m_root / "tree" / (name + "-dir\\");
            fs::create_directory(directory);
            Fill(directory);
        }
        m_before = Beside();
    }

    // Every name as a file that holds it, and links out of the tree.
    void Fill(const fs::path& directory)
    {
        for (const std::string& name : NAMES)
            std::ofstream(directory / name) << name;
        fs::create_symlink("/", directory / "root");
        fs::create_symlink("loop", directory / "loop");
        fs::create_symlink(m_root / "beside", directory / "out");
        fs::create_symlink(m_root / "beside/kept", directory / "kept");
        fs::create_symlink(".", directory / "self");
    }

    std::set<std::string> Beside() const
    {
        std::set<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(m_root)) {
            const std::string path = entry.path().string();
            struct stat status;
            if (!path.starts_with((m_root / "tree").string()) && ::lstat(path.c_str(), &status) == 0)
                found.insert(path + ' ' + std::to_string(status.st_mode) + ' ' + std::to_string(status.st_size));
        }
        return found;
    }

    const fs::path m_root = Native(this->In(""));
    std::set<std::string> m_before;
};
TYPED_TEST_SUITE(HostileTree, BothWidths);

constexpr std::size_t LINKS = 5;

// In the current directory, too, where no name may be taken for a drive or a server.
TYPED_TEST(HostileTree, EveryEntryIsListedAndCanBeOpenedThroughItsPath)
{
    const fs::path before = fs::current_path();
    fs::current_path(this->m_root / "tree");
    for (const auto& directory : {this->At("tree"), this->Of("")}) {
        std::vector<KivFile::PathT<TypeParam>> entries;
        directory.GetFileList(entries, this->Text("*.*"));
        EXPECT_EQ(entries.size(), 2 * NAMES.size() + LINKS);
        std::set<std::string> contents;
        for (const auto& entry : entries) {
            const KivFile::PathT<TypeParam> reread(entry.FullPath());
            EXPECT_TRUE(reread.FullPath() == entry.FullPath() && reread.Exists());
            EXPECT_TRUE(!entry.HasDrive() && !entry.IsUNC() && entry.IsRelative() == directory.IsRelative());
            if (entry.IsFile() && reread.FileName() != this->Text("loop")) {
                entry.Copy(this->At("copy").FullPath(), true);
                contents.insert(ReadText(this->m_folder / "copy"));
                ::unlink((this->m_root / "copy").c_str());
            }
        }
        for (const std::string& name : NAMES)
            EXPECT_TRUE(contents.contains(name)) << testing::PrintToString(name);
    }
    fs::current_path(before);
}

TYPED_TEST(HostileTree, DeletingLinksOrTheTreeLeavesEverythingBesideItUntouched)
{
    for (const std::string link : {"out", "kept", "loop", "root", "self"}) {
        this->At("tree\\" + link).RecursiveDelete(true);
        EXPECT_FALSE(fs::exists(fs::symlink_status(this->m_root / "tree" / link))) << link;
    }
    for (const bool force : {false, true}) {
        fs::create_directory(this->m_root / "tree");
        this->Fill(this->m_root / "tree");
        this->At("tree").RecursiveDelete(force);
        EXPECT_FALSE(fs::exists(this->m_root / "tree"));
        EXPECT_EQ(this->Beside(), this->m_before);
    }
}

TYPED_TEST(HostileTree, WhatBecameALinkSinceItWasAskedIsNotEntered)
{
    const auto replace = [this] {
        fs::remove_all(this->m_root / "tree");
        fs::create_directory_symlink("beside", this->m_root / "tree");
    };
    auto tree = this->At("tree");
    EXPECT_TRUE(tree.IsDirectory());
    replace();
    tree.RecursiveDelete(true);
    EXPECT_FALSE(fs::exists(this->m_root / "tree"));
    EXPECT_EQ(this->Beside(), this->m_before);

    for (const std::string name : {"a", "b"}) {
        this->Directory("tree\\" + name);
        this->File("tree\\" + name + "\\file");
    }
    const auto recorder = Kiv::MakeShared<Recorder>([&](const KivFile::PathT<char>& file) {
        const fs::path other = this->m_root / (file.Directory().ends_with("a\\") ? "tree/b" : "tree/a");
        fs::remove_all(other);
        fs::create_directory_symlink("../beside", other);
        return true;
    });
    KivFile::DirectoryWalker walker;
    walker.AddHandler(recorder);
    walker.Walk(KivFile::PathT<char>(this->In("tree")), "*.*", true, "");
    EXPECT_EQ(recorder->names, std::vector<std::string>{"file"});
}

TEST(HostileWalk, EntersNoLinkAndMeetsEveryFileOnce)
{
    const Folder folder;
    const std::string root = Native(folder.Path());
    fs::create_directories(root + "/a/b");
    std::ofstream(root + "/a/b/file") << "x";
    fs::create_symlink("/", root + "/a/root");
    fs::create_symlink("..", root + "/a/b/up");
    fs::create_symlink("file", root + "/a/b/link");
    fs::create_symlink(root + "/a", root + "/given");
    std::set<std::string> files;
    KivFile::DirectoryWalker walker;
    walker.AddHandler(Kiv::MakeShared<Recorder>(
        [&](const KivFile::PathT<char>& file) { return files.insert(file.FullPath()).second; }));
    walker.Walk(KivFile::PathT<char>(root + "/given"), "*.*", true, "");
    EXPECT_FALSE(walker.HasBeenStopped()) << "a file was met twice";
    const std::string b = KivFile::PathT<char>(root).FullPath() + "\\given\\b\\";
    EXPECT_EQ(files, (std::set<std::string>{b + "file", b + "link"}));
}

// A tree of one directory in the other, deeper than any path can say.
TEST(DeepTree, BeyondTheLongestPathIsAnErrorAndNotACrash)
{
    const Folder folder;
    const std::string name(200, 'd');
    int level = ::open(Native(folder.Path()).c_str(), O_RDONLY | O_DIRECTORY);
    for (int depth = 0; depth < 40; ++depth) {
        ASSERT_EQ(::mkdirat(level, name.c_str(), 0777), 0);
        const int next = ::openat(level, name.c_str(), O_RDONLY | O_DIRECTORY);
        ::close(level);
        level = next;
    }
    ::close(level);
    KivFile::PathT<char> top(folder / name);
    EXPECT_EQ(CauseOf<KivFile::FileCannotDeleteException>([&] { top.RecursiveDelete(true); }).error,
              KivSys::DWORD{KivSys::ErrorFilenameExcedRange});
    KivFile::DirectoryWalker walker;
    walker.Walk(top, "*.*", true, "");
}

} // namespace
