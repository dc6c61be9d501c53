// Copies and moves where file systems, links, devices and limits come in.
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "../Folder.h"

namespace
{

using namespace KivSys;
namespace fs = std::filesystem;

TEST(MovingAcrossVolumes, TakesFilesAndLinksButNoDirectories)
{
    const Folder folder;
    const Folder other("/dev/shm");
    struct stat here, there;
    if (::stat(folder.Path().c_str(), &here) != 0 || ::stat(other.Path().c_str(), &there) != 0 ||
        here.st_dev == there.st_dev)
        GTEST_SKIP() << "one volume only";
    WriteText(folder / "file", "text");
    ASSERT_EQ(::chmod((folder.Path() + "/file").c_str(), 0440), 0);
    fs::create_symlink("nowhere", fs::path(folder.Path()) / "link");
    ASSERT_EQ(MakeDirectoryA((folder / "sub").c_str()), 0);
    ASSERT_EQ(::mkfifo((folder.Path() + "/pipe").c_str(), 0600), 0);
    const auto move = [](const std::string& from, const std::string& to) {
        return CodeOf(MoveFileA(from.c_str(), to.c_str()));
    };
    EXPECT_EQ(RenameA((folder / "file").c_str(), (other / "file").c_str()), -1);
    EXPECT_EQ(GetLastError(), ErrorNotSameDevice);
    EXPECT_EQ(move(folder / "sub", other / "sub"), ErrorNotSameDevice);
    EXPECT_EQ(move(folder / "pipe", other / "pipe"), ErrorNotSameDevice);
    WriteText(other / "taken", "taken");
    EXPECT_EQ(move(folder / "file", other / "taken"), ErrorAlreadyExists);
    EXPECT_EQ(ReadText(other / "taken"), "taken");
    EXPECT_EQ(move(folder / "file", other / "missing\\x"), ErrorPathNotFound);
    EXPECT_EQ(ReadText(folder / "file"), "text");
    EXPECT_EQ(move(folder / "file", other / "file"), ErrorSuccess);
    EXPECT_EQ(move(folder / "link", other / "link"), ErrorSuccess);
    EXPECT_EQ(ReadText(other / "file"), "text");
    EXPECT_EQ(GetFileAttributesA((other / "file").c_str()), DWORD{AttributeReadOnly});
    EXPECT_EQ(fs::read_symlink(fs::path(other.Path()) / "link"), "nowhere");
    EXPECT_EQ(Find(folder / "*"), (Found{"sub", "pipe"}));
}

TEST(PosixCopying, FollowsLinksLeavesDevicesAloneAndDropsLentRights)
{
    const Folder folder;
    const fs::path root = folder.Path();
    WriteText(folder / "from", "text");
    WriteText(folder / "target", "old");
    fs::create_symlink("from", root / "source link");
    fs::create_symlink("target", root / "target link");
    fs::create_symlink("from", root / "self");
    ASSERT_EQ(::chmod((root / "from").c_str(), 04750), 0);
    ASSERT_EQ(::mkfifo((root / "pipe").c_str(), 0600), 0);
    const auto copy = [](const std::string& from, const std::string& to) {
        return CodeOf(CopyFileA(from.c_str(), to.c_str(), false));
    };
    EXPECT_EQ(copy(folder / "source link", folder / "target link"), ErrorSuccess);
    EXPECT_TRUE(fs::is_symlink(root / "target link"));
    EXPECT_EQ(ReadText(folder / "target"), "text");
    EXPECT_EQ(fs::status(root / "target").permissions(), fs::perms(0750));
    EXPECT_EQ(copy(folder / "from", folder / "self"), ErrorSharingViolation);
    EXPECT_EQ(copy(folder / "pipe", folder / "new"), ErrorAccessDenied);
    EXPECT_EQ(copy("\\dev\\zero", folder / "new"), ErrorAccessDenied);
    EXPECT_EQ(copy(folder / "from", "\\dev\\null"), ErrorAccessDenied);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(copy("\\proc\\self\\status", folder / "new"), ErrorSuccess);
    EXPECT_GT(fs::file_size(root / "new"), 100u) << "it has bytes but no size";
}

// As on a file system that cannot rename without replacing; for the rest of the process.
void ForbidRenameat2()
{
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(rules), rules};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0);
}

TEST(MovingDeathTest, ReplacesNothingWhereTheSystemCouldOnlyReplace)
{
    const Folder folder;
    for (const char* name : {"file", "link's target", "taken"})
        WriteText(folder / name, name);
    fs::create_symlink("link's target", fs::path(folder.Path()) / "link");
    for (const char* name : {"sub", "taken sub"})
        ASSERT_EQ(MakeDirectoryA((folder / name).c_str()), 0);
    WriteText(folder / "sub\\inside", "");
    const auto moveAll = [&folder] {
        ForbidRenameat2();
        const auto code = [&](const char* from, const char* to) {
            return CodeOf(MoveFileA((folder / from).c_str(), (folder / to).c_str()));
        };
        int failures = ::renameat2(-1, "", -1, "", 1) == -1 && errno == EINVAL ? 0 : 100;
        failures += code("file", "taken") != ErrorAlreadyExists;
        failures += code("sub", "taken sub") != ErrorAlreadyExists;
        failures += code("missing", "new") != ErrorFileNotFound;
        failures += code("sub", "sub\\below") == ErrorSuccess;
        failures += code("file", "moved file") != ErrorSuccess;
        failures += code("link", "moved link") != ErrorSuccess;
        failures += code("sub", "moved sub") != ErrorSuccess;
        std::_Exit(failures);
    };
    EXPECT_EXIT(moveAll(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Find(folder / "*"),
              (Found{"moved file", "moved link", "link's target", "moved sub", "taken", "taken sub"}));
    EXPECT_EQ(Find(folder / "moved sub\\*"), Found{"inside"});
    EXPECT_EQ(ReadText(folder / "moved link"), "link's target");
    EXPECT_EQ(ReadText(folder / "taken"), "taken");
}

} // namespace
