// Failures that a test can bring about here only: missing rights, full and write-protected disks and calls that fail.
#include <cerrno>
#include <cstdio>

#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../FileSystem.h"

namespace
{

namespace fs = std::filesystem;
using namespace KivFile;
using Path = PathT<char>;

// Called ahead of the system call of the same name, which fails with the error that it returns. The library's own calls
// find the functions of the test program first.
std::function<int()> g_beforeGetDents, g_beforeGetHostName;

int Before(const std::function<int()>& hook)
{
    errno = hook ? hook() : 0;
    return errno == 0 ? 0 : -1;
}

} // namespace

// Yields no more than four entries of short names at a time while it is watched.
extern "C" [[gnu::visibility("default")]] ssize_t getdents64(int directory, void* buffer, std::size_t size) noexcept
{
    constexpr std::size_t fourEntries = 4 * 24;
    if (Before(g_beforeGetDents) != 0)
        return -1;
    return ::syscall(SYS_getdents64, directory, buffer, g_beforeGetDents ? fourEntries : size);
}

extern "C" [[gnu::visibility("default")]] int gethostname(char* name, std::size_t size) noexcept
{
    utsname system;
    ::uname(&system);
    std::snprintf(name, size, "%s", system.nodename);
    return Before(g_beforeGetHostName);
}

namespace
{

template <class T>
class BrokenCalls : public FileSystem<T>
{
protected:
    ~BrokenCalls() override { g_beforeGetDents = g_beforeGetHostName = nullptr; }

    // From the second call on, which is asked for what follows "." and ".." and two entries.
    static void BreakListsOff()
    {
        g_beforeGetDents = [calls = 0]() mutable { return ++calls > 1 ? EIO : 0; };
    }
};
TYPED_TEST_SUITE(BrokenCalls, BothWidths);

TYPED_TEST(BrokenCalls, AListThatBreaksOffKeepsWhatItFoundAndNamesTheDirectory)
{
    using TypedPath = PathT<TypeParam>;
    const auto& filter = TypedPath::PATH_DEFAULT_FILTER;
    auto directory = this->Directory("d");
    for (const char* name : {"d\\1", "d\\2", "d\\3"})
        this->File(name);
    std::vector<TypedPath> entries;
    std::vector<Kiv::SmartPtr<TypedPath>> shared;
    const std::function<void()> calls[] = {
        [&] { directory.GetFileList(entries, filter); }, [&] { directory.GetFileListSP(shared, filter); },
        [&] { directory.RecursiveDelete(true); },
        [&] { DirectoryWalker().Walk(PathT<char>(this->In("d")), "*.*", true, ""); }};
    for (const auto& call : calls) {
        this->BreakListsOff();
        EXPECT_EQ(CauseOf<CannotListAllFilesException>(call), (Cause{{this->In("d")}, KivSys::ErrorIoDevice}));
    }
    EXPECT_TRUE(entries.size() == 2 && shared.size() == 2);
    this->BreakListsOff();
    entries.clear();
    const bool stop = true;
    directory.GetFileListInterruptable(entries, stop, filter);
    g_beforeGetDents = [] { return EIO; };
    directory.GetFileList(entries, filter);
    EXPECT_LE(entries.size(), 1u) << "a list that is stopped or cannot start is no failure";
}

TYPED_TEST(BrokenCalls, AComputerWithoutANameHasNoServer)
{
    g_beforeGetHostName = [] { return ENAMETOOLONG; };
    EXPECT_EQ(CauseOf<CannotRetrieveServerException>([&] { return this->At("x").GetServer(); }),
              (Cause{{this->In("x")}, KivSys::ErrorFilenameExcedRange}));
}

class Refusals : public FileSystem<char>
{
protected:
    // Runs the test's body in a child that has been prepared, so that nothing is left behind; skips the test where the
    // machine does not let it be.
    template <class Prepare, class Body>
    static void InChild(Prepare prepare, Body body)
    {
        constexpr int refused = 2;
        const pid_t child = ::fork();
        if (child == 0) {
            const bool isPrepared = prepare();
            if (isPrepared)
                body();
            std::fflush(nullptr);
            ::_exit(!isPrepared ? refused : HasFailure() ? 1 : 0);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (WIFEXITED(status) && WEXITSTATUS(status) == refused)
            GTEST_SKIP() << "only the superuser may do this, and not on every machine";
        EXPECT_EQ(status, 0);
    }

    static bool BecomeNobody()
    {
        constexpr uid_t nobody = 65534;
        return ::setegid(nobody) == 0 && ::seteuid(nobody) == 0;
    }

    // Mounts that no other process sees.
    bool Mount(const std::string& name, const char* type, unsigned long flags, const char* data) const
    {
        const std::string point = m_folder.Path() + '/' + name;
        const auto mount = [&](const char* from, unsigned long how) {
            return ::mount(from, point.c_str(), type, how, data) == 0;
        };
        return ::unshare(CLONE_NEWNS) == 0 && ::mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount(point.c_str(), flags) && ((flags & MS_BIND) == 0 || mount("", MS_BIND | MS_REMOUNT | MS_RDONLY));
    }
};

TEST_F(Refusals, ADirectoryWithoutRightsListsNothingAndKeepsItsFiles)
{
    Directory("open\\closed");
    File("open\\closed\\file");
    const std::string closed = In("open\\closed");
    fs::permissions(m_folder.Path() + "/open/closed", fs::perms::owner_all);
    InChild(BecomeNobody, [&] {
        EXPECT_TRUE(Entries("open\\closed").empty());
        DirectoryWalker().Walk(Path(In("open")), "*.*", true, "");
        const Cause denied{{closed}, KivSys::ErrorAccessDenied};
        EXPECT_EQ(CauseOf<FileCannotDeleteException>([&] { Path(In("open")).RecursiveDelete(false); }), denied);
        EXPECT_EQ(CauseOf<FileCannotSetAttributes>([&] { Path(closed).SetAttribute(Path::ATTRIBUTE_READ_ONLY, true); }),
                  denied);
        EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { At("new\\x").CreateFileW(); }),
                  (Cause{{In("new")}, KivSys::ErrorAccessDenied}));
    });
    EXPECT_TRUE(At("open\\closed\\file").Exists());
}

TEST_F(Refusals, ItsOwnerMayHideAReadOnlyFile)
{
    InChild(BecomeNobody, [&] {
        fs::current_path(fs::temp_directory_path());
        const std::string name = "kiv-hidden-" + std::to_string(::getpid());
        Path file(name);
        file.CreateFileW();
        file.SetAttribute(Path::ATTRIBUTE_HIDDEN, true);
        const bool isStored = file.IsHidden(); // not every file system has a place for it
        fs::permissions(name, fs::perms(0440));
        for (const bool isHidden : {false, true}) {
            file.SetAttribute(Path::ATTRIBUTE_HIDDEN, isHidden);
            EXPECT_TRUE(file.IsHidden() == (isHidden && isStored) && file.IsReadOnly());
            EXPECT_EQ(fs::status(name).permissions(), fs::perms(0440));
        }
        file.Delete(true);
    });
}

TEST_F(Refusals, AWriteProtectedDiskChangesNothing)
{
    Directory("disk");
    File("disk\\file");
    const auto prepare = [this] { return Mount("disk", nullptr, MS_BIND, nullptr); };
    InChild(prepare, [this] {
        const Cause file{{In("disk\\file")}, KivSys::ErrorWriteProtect};
        const Cause made{{In("disk\\new")}, KivSys::ErrorWriteProtect};
        const Cause both{{In("disk\\file"), In("disk\\new")}, KivSys::ErrorWriteProtect};
        const std::string target = In("disk\\new");
        EXPECT_EQ(CauseOf<FileCannotDeleteException>([&] { At("disk\\file").Delete(false); }), file);
        EXPECT_EQ(CauseOf<FileCannotSetAttributes>([&] { At("disk\\file").SetAttribute(HIDDEN, true); }), file);
        EXPECT_EQ(CauseOf<FileCannotSetAttributes>([&] { At("disk\\file").SetAttribute(READ_ONLY, true); }), file);
        EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { At("disk\\new").CreateFileW(); }), made);
        EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { At("disk\\new").CreateDir(); }), made);
        EXPECT_EQ(CauseOf<FileCannotMoveException>([&] { At("disk\\file").Rename(target); }), both);
        EXPECT_EQ(CauseOf<FileCannotMoveException>([&] { At("disk\\file").Move(target); }), both);
        EXPECT_EQ(CauseOf<FileCannotCopyException>([&] { At("disk\\file").Copy(target, true); }), both);
        At("disk\\file").Copy(In("copy"), false);
    });
    EXPECT_TRUE(At("disk\\file").IsWritable() && !At("disk\\new").Exists());
}

TEST_F(Refusals, AFullDiskEndsACopyWithoutAPartialTarget)
{
    Directory("disk");
    File("from", std::string(1'000'000, 'x'));
    const auto prepare = [this] { return Mount("disk", "tmpfs", 0, "size=64k"); };
    InChild(prepare, [this] {
        File("disk\\old", "old");
        for (const char* name : {"disk\\old", "disk\\new"})
            EXPECT_EQ(CauseOf<FileCannotCopyException>([&] { At("from").Copy(In(name), true); }),
                      (Cause{{In("from"), In(name)}, KivSys::ErrorDiskFull}));
        EXPECT_EQ(Entries("disk"), std::vector<Path>{At("disk\\old")});
        EXPECT_EQ(ReadText(In("disk\\old")), "old");
    });
}

} // namespace
