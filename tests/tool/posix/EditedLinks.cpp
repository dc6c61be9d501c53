// Edits through links, with owner, rights and attributes kept; what is not edited; a full disk.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/FileSizeLimit.h"
#include "tools/kivfile/Commands.h"

namespace
{

namespace fs = std::filesystem;

struct Outcome {
    int code;
    std::string err;
};

Outcome Call(const std::vector<std::string>& arguments)
{
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int code = KivTool::Run(arguments, {in, out, err, false});
    return {code, err.str()};
}

Outcome Set(const fs::path& file)
{
    return Call({"config", "set", file.string(), "S", "k", "v"});
}

// A folder of the test's own, empty at first.
class EditedFile : public testing::Test
{
protected:
    EditedFile()
    {
        fs::remove_all(m_folder);
        fs::create_directories(m_folder / "deep");
    }
    ~EditedFile() override { fs::remove_all(m_folder); }

    const fs::path m_folder = fs::temp_directory_path() / ("kivfile-edited-" + std::to_string(::getpid()));
};

TEST_F(EditedFile, LinksModeAndOwnerStay)
{
    const fs::path target = m_folder / "deep" / "tar\\get";
    std::ofstream(target) << "[S]\n";
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(::chown(target.c_str(), 12, 34), 0);
    }
    fs::create_symlink("deep/tar\\get", m_folder / "middle");
    fs::create_symlink(m_folder / "middle", m_folder / "link");
    fs::create_symlink("deep/new", m_folder / "dangling");

    EXPECT_EQ(Set(m_folder / "link").err, "");
    EXPECT_EQ(Set(m_folder / "dangling").err, "");
    EXPECT_TRUE(fs::is_symlink(m_folder / "link") && fs::is_symlink(m_folder / "middle"));
    EXPECT_TRUE(fs::is_symlink(m_folder / "dangling") && fs::is_regular_file(m_folder / "deep" / "new"));
    struct stat status;
    ASSERT_EQ(::stat((m_folder / "link").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(status.st_size, 11);
    if (isRoot) {
        EXPECT_EQ(status.st_uid, 12u);
        EXPECT_EQ(status.st_gid, 34u);
    }
}

// The mode alone would give the group what the list gives one user, and the directory's list would give more.
TEST_F(EditedFile, ExtendedAttributesAndTheAccessListStay)
{
    // Version 2; owner rw, user 1000 rw, group none, mask rw, others none.
    const std::string list("\2\0\0\0\1\0\6\0\xFF\xFF\xFF\xFF\2\0\6\0\xE8\3\0\0\4\0\0\0\xFF\xFF\xFF\xFF"
                           "\x10\0\6\0\xFF\xFF\xFF\xFF\x20\0\0\0\xFF\xFF\xFF\xFF",
                           44);
    const std::string listName = "system.posix_acl_access";
    const auto put = [](const fs::path& file, const std::string& name, const std::string& value) {
        return ::setxattr(file.c_str(), name.c_str(), value.data(), value.size(), 0) == 0;
    };
    const auto get = [](const fs::path& file, const std::string& name) {
        char value[100];
        const ssize_t size = ::getxattr(file.c_str(), name.c_str(), value, sizeof value);
        return size < 0 ? "none" : std::string(value, static_cast<std::size_t>(size));
    };
    for (const char* name : {"listed", "plain"}) {
        std::ofstream(m_folder / name) << "[S]\n";
        ASSERT_EQ(::chmod((m_folder / name).c_str(), 0640), 0);
    }
    if (!put(m_folder / "listed", "user.note", "mine") || !put(m_folder / "listed", listName, list) ||
        !put(m_folder, "system.posix_acl_default", list))
        GTEST_SKIP() << "no extended attributes or access lists on this file system";
    for (const char* name : {"listed", "plain"})
        EXPECT_EQ(Set(m_folder / name).err, "");
    EXPECT_EQ(get(m_folder / "listed", "user.note"), "mine");
    EXPECT_EQ(get(m_folder / "listed", listName), list);
    EXPECT_EQ(get(m_folder / "plain", listName), "none");
    EXPECT_EQ(fs::status(m_folder / "plain").permissions(), fs::perms(0640));
}

// Opening it may wait for another program, and a new file in its place would cut that off.
TEST_F(EditedFile, WhatIsNoRegularFileIsRefused)
{
    ASSERT_EQ(::mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("pipe", m_folder / "link");
    fs::create_symlink("/dev/null", m_folder / "null");
    for (const char* name : {"pipe", "link", "null", "deep"}) {
        const std::string file = (m_folder / name).string();
        const std::string message = "kivfile: " + file + ": is no regular file\n";
        EXPECT_EQ(Set(file).err, message);
        EXPECT_EQ(Call({"strings", "add", file, "s"}).err, message);
    }
    EXPECT_TRUE(fs::is_fifo(m_folder / "pipe"));
}

TEST_F(EditedFile, AFullDiskKeepsTheOldContent)
{
    const std::string content = "[S]\nk = " + std::string(10'000, 'x') + "\n";
    const std::string file = (m_folder / "file").string();
    std::ofstream(file) << content;
    {
        const FileSizeLimit limit(4096);
        for (const Outcome& outcome : {Set(file), Call({"strings", "add", file, "s"})}) {
            EXPECT_EQ(outcome.code, 1);
            EXPECT_NE(outcome.err, "");
        }
    }
    std::ifstream in(file);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), content);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), {}), 2) << "a work file was left behind";
}

TEST(Extraction, DoesNotFollowLinksInItsFolder)
{
    const fs::path folder = fs::temp_directory_path() / ("kivfile-extract-" + std::to_string(::getpid()));
    fs::create_directories(folder / "parts");
    std::ofstream(folder / "outside") << "mine";
    fs::create_symlink("../outside", folder / "parts" / "Workbook");
    std::istringstream in;
    std::ostringstream out;
    const std::string sample = KIV_SAMPLES "/many.xls";
    EXPECT_EQ(KivTool::Run({"extract", "--force", sample, (folder / "parts").string()}, {in, out, out, false}), 1);
    EXPECT_NE(out.str().find("Workbook: is a link"), std::string::npos) << out.str();
    EXPECT_EQ(fs::file_size(folder / "outside"), 4u);
    fs::remove_all(folder);
}

} // namespace
