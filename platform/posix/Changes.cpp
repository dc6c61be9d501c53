#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <tuple>
#include <unistd.h>
#include <vector>

#include <platform/posix/Attributes.h>
#include <platform/posix/Errors.h>
#include <platform/posix/Object.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

struct NativePair {
    std::string from;
    std::string to;
};

std::optional<NativePair> NativePaths(const char* from, const char* to)
{
    std::optional<std::string> nativeFrom = NativePath(from);
    std::optional<std::string> nativeTo = nativeFrom ? NativePath(to) : std::nullopt;
    return nativeTo ? std::optional(NativePair{*std::move(nativeFrom), *std::move(nativeTo)}) : std::nullopt;
}

bool IsThere(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

// ---- Renaming -----------------------------------------------------------------------------------------------

// Takes the name for something of the same kind that renaming may replace; false, with errno set, when it is taken.
bool Reserve(const std::string& path, bool isDirectory)
{
    if (isDirectory)
        return ::mkdir(path.c_str(), 0700) == 0;
    const int descriptor = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
    return descriptor >= 0 && ::close(descriptor) == 0;
}

// For file systems that cannot rename without replacing.
bool RenameOverReserved(const NativePair& paths)
{
    struct stat status;
    if (::lstat(paths.from.c_str(), &status) != 0 || !Reserve(paths.to, S_ISDIR(status.st_mode)))
        return false;
    if (::rename(paths.from.c_str(), paths.to.c_str()) == 0)
        return true;
    const int error = errno;
    ::remove(paths.to.c_str());
    errno = error;
    return false;
}

// Never replaces the target. False, with errno set, on failure.
bool RenameNative(const NativePair& paths)
{
    if (::renameat2(AT_FDCWD, paths.from.c_str(), AT_FDCWD, paths.to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // On Windows a name may be given to its own bearer.
    if (errno == EEXIST && paths.from == paths.to)
        return true;
    const bool isUnknown = errno == EINVAL || errno == ENOSYS;
    return isUnknown && RenameOverReserved(paths);
}

bool FailOnPair(const NativePair& paths)
{
    const int error = errno;
    if (error == EEXIST || error == ENOTEMPTY)
        return Fail(ErrorAlreadyExists);
    const bool isTarget = IsThere(paths.from);
    errno = error;
    // What is missing is not the target itself but the directory for it.
    return isTarget && error == ENOENT ? Fail(ErrorPathNotFound) : FailOnPath(isTarget ? paths.to : paths.from);
}

// ---- Copying ------------------------------------------------------------------------------------------------

// A handle of this file's own that is closed at the end of its scope.
class Opened
{
public:
    explicit Opened(HANDLE handle) : m_handle(handle) {}
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened()
    {
        if (*this)
            CloseHandle(m_handle);
    }

    explicit operator bool() const { return m_handle != InvalidHandle(); }
    int Descriptor() const { return ObjectOf(m_handle)->Descriptor(); }

private:
    HANDLE m_handle;
};

// A file that takes its place when it is complete. Until then, and after a failure, there is only a name of its own in
// the target's directory, gone when this is.
class NewFile
{
public:
    explicit NewFile(const std::string& target)
        : m_path((target.find('/') == std::string::npos ? std::string() : ParentOf(target)) + ".kivfile-XXXXXX"),
          m_descriptor(::mkostemp(m_path.data(), O_CLOEXEC))
    {
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile()
    {
        if (!IsOpen())
            return;
        if (!m_isPlaced)
            ::unlink(m_path.c_str());
        ::close(m_descriptor);
    }

    bool IsOpen() const { return m_descriptor >= 0; }
    int Descriptor() const { return m_descriptor; }

    bool TakePlace(const std::string& target, bool mayReplace)
    {
        m_isPlaced = mayReplace ? ::rename(m_path.c_str(), target.c_str()) == 0 : RenameNative({m_path, target});
        return m_isPlaced;
    }

private:
    std::string m_path;
    int m_descriptor;
    bool m_isPlaced = false;
};

// Some file systems cannot, and some hold files that have bytes but no size: what is left is for a buffer. False, with
// errno set, when that would not go better.
bool CopyInKernel(int from, int to)
{
    constexpr std::size_t largest = std::size_t{1} << 30;
    ssize_t copied = 0;
    do
        copied = ::copy_file_range(from, nullptr, to, nullptr, largest, 0);
    while (copied > 0);
    return copied == 0 || (errno != ENOSPC && errno != EDQUOT && errno != EIO);
}

bool WriteAll(int to, const char* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(to, bytes, count);
        if (written < 0 && errno != EINTR)
            return false;
        bytes += std::max<ssize_t>(written, 0);
        count -= static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
    return true;
}

bool CopyThroughBuffer(int from, int to)
{
    std::vector<char> buffer(1 << 17);
    for (;;) {
        const ssize_t read = ::read(from, buffer.data(), buffer.size());
        if (read == 0)
            return true;
        const bool isDone = read > 0 ? WriteAll(to, buffer.data(), static_cast<std::size_t>(read)) : errno == EINTR;
        if (!isDone)
            return false;
    }
}

bool CopyBytes(int from, int to)
{
    return ::ioctl(to, FICLONE, from) == 0 || (CopyInKernel(from, to) && CopyThroughBuffer(from, to));
}

// File systems without extended attributes do without.
bool CopyStored(int from, int to)
{
    char value[4096];
    const ssize_t length = ::fgetxattr(from, ATTRIBUTES_NAME, value, sizeof value);
    return length < 0 || ::fsetxattr(to, ATTRIBUTES_NAME, value, static_cast<std::size_t>(length), 0) == 0 ||
           errno == ENOTSUP;
}

// The bits that lend the owner's rights are no part of a copy.
bool CopyProperties(int from, int to, const struct stat& status)
{
    const timespec times[] = {status.st_atim, status.st_mtim};
    return CopyStored(from, to) && ::fchmod(to, status.st_mode & 0777) == 0 && ::futimens(to, times) == 0;
}

// Copies to a file that is not there until all of it is.
bool CopyToNew(int from, const struct stat& status, const std::string& target, bool mayReplace)
{
    NewFile file(target);
    return (file.IsOpen() && CopyBytes(from, file.Descriptor()) && CopyProperties(from, file.Descriptor(), status) &&
            file.TakePlace(target, mayReplace)) ||
           FailOnPath(target);
}

bool CopyNative(const Opened& source, const std::string& target, bool mayReplace)
{
    struct stat status;
    if (::fstat(source.Descriptor(), &status) != 0)
        return FailWithErrno();
    // A pipe has no end and a device none that could be waited for.
    return S_ISREG(status.st_mode) ? CopyToNew(source.Descriptor(), status, target, mayReplace)
                                   : Fail(ErrorAccessDenied);
}

// What is to be replaced must be a file that could be opened for writing by itself alone: so the source is not it.
bool MayReplace(const char* path, const std::string& native)
{
    struct stat status;
    const Opened target(CreateFileA(path, GenericWrite, ShareNone, OpenExisting, 0));
    return target && ((::stat(native.c_str(), &status) == 0 && S_ISREG(status.st_mode)) || Fail(ErrorAccessDenied));
}

bool CopyOpened(const Opened& source, const char* to, bool failIfExists)
{
    const std::optional<std::string> target = NativePath(to);
    if (!target)
        return false;
    if (!IsThere(*target))
        return errno == ENOENT ? CopyNative(source, *target, false) : FailOnPath(*target);
    if (failIfExists)
        return Fail(ErrorFileExists);
    return MayReplace(to, *target) && CopyNative(source, RealPath(*target), true);
}

// ---- Moving between file systems ----------------------------------------------------------------------------

bool CopyLink(const std::string& from, const std::string& to)
{
    char target[PATH_MAX + 1] = {};
    return (::readlink(from.c_str(), target, PATH_MAX) > 0 && ::symlink(target, to.c_str()) == 0) || FailOnPath(to);
}

// The owner is kept where that is allowed.
bool CopyToMove(const char* from, const NativePair& paths, const struct stat& status)
{
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode))
        return Fail(ErrorNotSameDevice);
    const Opened source(S_ISREG(status.st_mode) ? CreateFileA(from, GenericRead, ShareRead, OpenExisting, 0)
                                                : InvalidHandle());
    const bool isCopied =
        S_ISLNK(status.st_mode) ? CopyLink(paths.from, paths.to) : source && CopyNative(source, paths.to, false);
    if (isCopied)
        std::ignore = ::lchown(paths.to.c_str(), status.st_uid, status.st_gid);
    return isCopied;
}

bool MoveAcross(const char* from, const NativePair& paths)
{
    struct stat status;
    if (::lstat(paths.from.c_str(), &status) != 0)
        return FailOnPair(paths);
    if (IsThere(paths.to))
        return Fail(ErrorAlreadyExists);
    if (!CopyToMove(from, paths, status))
        return GetLastError() == ErrorFileExists ? Fail(ErrorAlreadyExists) : false;
    if (::unlink(paths.from.c_str()) == 0)
        return true;
    FailOnPath(paths.from);
    ::unlink(paths.to.c_str());
    return false;
}

} // namespace

bool CopyFileA(const char* from, const char* to, bool failIfExists)
{
    const Opened source(
        CreateFileA(from, GenericRead, DWORD{ShareRead} | ShareWrite, OpenExisting, FlagSequentialScan));
    return source && CopyOpened(source, to, failIfExists);
}

bool CopyFileW(const WCHAR* from, const WCHAR* to, bool failIfExists)
{
    return CopyFileA(NarrowPath(from).c_str(), NarrowPath(to).c_str(), failIfExists);
}

bool MoveFileA(const char* from, const char* to)
{
    const std::optional<NativePair> paths = NativePaths(from, to);
    if (!paths || RenameNative(*paths))
        return paths.has_value();
    return errno == EXDEV ? MoveAcross(from, *paths) : FailOnPair(*paths);
}

bool MoveFileW(const WCHAR* from, const WCHAR* to)
{
    return MoveFileA(NarrowPath(from).c_str(), NarrowPath(to).c_str());
}

int RenameA(const char* from, const char* to)
{
    const std::optional<NativePair> paths = NativePaths(from, to);
    return paths && (RenameNative(*paths) || FailOnPair(*paths)) ? 0 : -1;
}

int RenameW(const WCHAR* from, const WCHAR* to)
{
    return RenameA(NarrowPath(from).c_str(), NarrowPath(to).c_str());
}

} // namespace KivSys
