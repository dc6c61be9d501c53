// Edits through links, with owner, rights and attributes kept; what is not edited; a full disk.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "../Tool.h"
#include "tests/FileSizeLimit.h"

namespace
{

Outcome Set(const std::string& file)
{
    return Call({"config", "set", file, "S", "k", "v"});
}

class EditedFile : public Tool
{
protected:
    EditedFile() { fs::create_directory(m_root / "deep"); }

    const fs::path m_root = User(".");
};

TEST_F(EditedFile, LinksModeAndOwnerStay)
{
    const fs::path target = m_root / "deep" / "tar\\get";
    std::ofstream(target) << "[S]\n";
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(::chown(target.c_str(), 12, 34), 0);
    }
    fs::create_symlink("deep/tar\\get", m_root / "middle");
    fs::create_symlink(m_root / "middle", m_root / "link");
    fs::create_symlink("deep/new", m_root / "dangling");

    for (const char* link : {"link", "dangling"})
        EXPECT_EQ(Set(User(link)).err, "");
    for (const char* link : {"link", "middle", "dangling"})
        EXPECT_TRUE(fs::is_symlink(m_root / link) && fs::is_regular_file(m_root / link)) << link;
    struct stat status;
    ASSERT_EQ(::stat(target.c_str(), &status), 0);
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
    const auto put = [](const std::string& file, const char* name, const std::string& value) {
        return ::setxattr(file.c_str(), name, value.data(), value.size(), 0) == 0;
    };
    const auto get = [](const std::string& file, const char* name) {
        char value[100];
        const ssize_t size = ::getxattr(file.c_str(), name, value, sizeof value);
        return size < 0 ? "none" : std::string(value, static_cast<std::size_t>(size));
    };
    const std::string listed = Write("listed", "[S]\n");
    const std::string plain = Write("plain", "[S]\n");
    ASSERT_EQ(::chmod(plain.c_str(), 0640), 0);
    if (!put(listed, "user.note", "mine") || !put(listed, "system.posix_acl_access", list) ||
        !put(m_root, "system.posix_acl_default", list))
        GTEST_SKIP() << "no extended attributes or access lists on this file system";
    EXPECT_EQ(Set(listed).err + Set(plain).err, "");
    EXPECT_EQ(get(listed, "user.note"), "mine");
    EXPECT_EQ(get(listed, "system.posix_acl_access"), list);
    EXPECT_EQ(get(plain, "system.posix_acl_access"), "none");
    EXPECT_EQ(fs::status(plain).permissions(), fs::perms(0640));
}

// Opening it may wait for another program, and a new file in its place would cut that off.
TEST_F(EditedFile, WhatIsNoRegularFileIsRefused)
{
    ASSERT_EQ(::mkfifo((m_root / "pipe").c_str(), 0600), 0);
    fs::create_symlink("pipe", m_root / "link");
    fs::create_symlink("/dev/null", m_root / "null");
    for (const char* name : {"pipe", "link", "null", "deep"}) {
        const std::string message = "kivfile: " + User(name) + ": is no regular file\n";
        EXPECT_EQ(Set(User(name)).err, message);
        EXPECT_EQ(Call({"strings", "add", User(name), "s"}).err, message);
    }
    EXPECT_TRUE(fs::is_fifo(m_root / "pipe"));
}

TEST_F(EditedFile, AFullDiskKeepsTheOldContent)
{
    const std::string content = "[S]\nk = " + std::string(10'000, 'x') + "\n";
    const std::string file = Write("file", content);
    {
        const FileSizeLimit limit(4096);
        for (const Outcome& outcome : {Set(file), Call({"strings", "add", file, "s"})}) {
            EXPECT_EQ(outcome.code, 1);
            EXPECT_NE(outcome.err, "");
        }
    }
    EXPECT_EQ(Content("file"), content);
    EXPECT_EQ(Entries(), 2) << "a work file was left behind";
}

TEST_F(EditedFile, IsNotExtractedThroughALink)
{
    Write("outside", "mine");
    fs::create_symlink("../outside", m_root / "deep" / "Workbook");
    const Outcome outcome = Call({"extract", "--force", SAMPLES + "many.xls", User("deep")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("Workbook: is a link"), std::string::npos) << outcome.err;
    EXPECT_EQ(Content("outside"), "mine");
}

} // namespace
