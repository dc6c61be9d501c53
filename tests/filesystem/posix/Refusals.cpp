// Failures that a test can bring about here only: missing rights, full disks and entries that vanish.
#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <KivFile/DirectoryWalker.h>

#include "../FileSystem.h"

namespace
{

using KivFile::FileCannotCopyException;
using KivFile::FileCannotDeleteException;
using Path = KivFile::PathT<char>;

// Runs the test's body in a child without the rights of the superuser; whether it saw no failure.
template <class Body>
bool PassesAsNobody(Body body)
{
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        if (::setegid(nobody) == 0 && ::seteuid(nobody) == 0)
            body();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

class Refusals : public FileSystem<char>
{
};

TEST_F(Refusals, ADirectoryWithoutRightsListsNothingAndKeepsItsFiles)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can become somebody else";
    Directory("open\\closed");
    File("open\\closed\\file");
    const std::string closed = In("open\\closed");
    std::filesystem::permissions(m_folder.Path() + "/open/closed", std::filesystem::perms::owner_all);
    EXPECT_TRUE(PassesAsNobody([&] {
        std::vector<Path> entries;
        Path(closed).GetFileList(entries, "*.*");
        EXPECT_TRUE(entries.empty());
        KivFile::DirectoryWalker().Walk(Path(In("open")), "*.*", true, "");
        const Cause denied{{closed}, KivSys::ErrorAccessDenied};
        EXPECT_EQ(CauseOf<FileCannotDeleteException>([&] { Path(In("open")).RecursiveDelete(false); }), denied);
        EXPECT_EQ(CauseOf<KivFile::FileCannotSetAttributes>(
                      [&] { Path(closed).SetAttribute(Path::ATTRIBUTE_READ_ONLY, true); }),
                  denied);
        EXPECT_EQ(CauseOf<KivFile::FileCannotCreateException>([&] { At("new\\x").CreateFileW(); }),
                  (Cause{{In("new")}, KivSys::ErrorAccessDenied}));
    }));
    EXPECT_TRUE(At("open\\closed\\file").Exists());
}

TEST_F(Refusals, AFullDiskEndsACopyWithoutAPartialTarget)
{
    File("from", std::string(100'000, 'x'));
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit low{4096, old.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &low);
    const Cause cause = CauseOf<FileCannotCopyException>([&] { At("from").Copy(In("to"), true); });
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(cause.parameters, (std::vector<std::string>{In("from"), In("to")}));
    EXPECT_NE(cause.error, 0u);
    EXPECT_FALSE(At("to").Exists());
}

TEST_F(Refusals, AnEntryThatVanishesAfterItWasListedCannotBeDeleted)
{
    File("file");
    std::vector<Path> entries;
    At(".").GetFileList(entries, "*.*");
    ASSERT_EQ(entries.size(), 1u);
    std::filesystem::remove(m_folder.Path() + "/file");
    EXPECT_EQ(CauseOf<FileCannotDeleteException>([&] { entries[0].Delete(false); }),
              (Cause{{In("file")}, KivSys::ErrorFileNotFound}));
    entries[0].Delete(false);
}

TEST_F(Refusals, ANameThatIsTooLongIsRefused)
{
    const std::string name(300, 'n');
    EXPECT_EQ(CauseOf<KivFile::FileCannotCreateException>([&] { At(name).CreateFileW(); }),
              (Cause{{In(name)}, KivSys::ErrorFilenameExcedRange}));
    EXPECT_EQ(CauseOf<KivFile::FileCannotCreateException>([&] { At(name).CreateDir(); }),
              (Cause{{In(name)}, KivSys::ErrorFilenameExcedRange}));
    EXPECT_FALSE(At(name).Exists());
}

} // namespace
