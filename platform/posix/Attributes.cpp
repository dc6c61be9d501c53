#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <platform/posix/Attributes.h>
#include <platform/posix/Errors.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

constexpr mode_t WRITE_BITS = 0222;
constexpr mode_t ALL_MODE_BITS = 07777;

constexpr std::size_t STORED_CAPACITY = 255;

// The number that an extended attribute holds. Programs that share it may put more behind the text.
std::optional<DWORD> ParseStored(const char* text, ssize_t length)
{
    return length > 2 ? std::optional(static_cast<DWORD>(std::strtoul(text, nullptr, 16))) : std::nullopt;
}

// Of what a path leads to.
std::optional<DWORD> ReadStored(const char* path)
{
    char text[STORED_CAPACITY + 1] = {};
    return ParseStored(text, ::getxattr(path, ATTRIBUTES_NAME, text, STORED_CAPACITY));
}

// The kernel's getxattrat, for which the library has no function; older kernels have no such call either.
ssize_t GetExtendedAttributeAt(int directory, const char* name, char* buffer)
{
    struct {
        std::uint64_t value;
        std::uint32_t size;
        std::uint32_t flags;
    } arguments{reinterpret_cast<std::uintptr_t>(buffer), STORED_CAPACITY, 0};
    constexpr long getxattrat = 464;
    return ::syscall(getxattrat, directory, name, 0, ATTRIBUTES_NAME, &arguments, sizeof arguments);
}

// Of an entry of an open directory. The path through the directory's descriptor takes three times as long.
std::optional<DWORD> ReadStoredAt(int directory, const char* name)
{
    static std::atomic<bool> isUnknown = false;
    if (!isUnknown) {
        char text[STORED_CAPACITY + 1] = {};
        const ssize_t length = GetExtendedAttributeAt(directory, name, text);
        isUnknown = length < 0 && (errno == ENOSYS || errno == EPERM);
        if (!isUnknown)
            return ParseStored(text, length);
    }
    return ReadStored(("/proc/self/fd/" + std::to_string(directory) + '/' + name).c_str());
}

// Leaves alone what holds the same already, so that what others put behind the text stays. File systems and kinds of
// files without extended attributes do without.
bool WriteStored(const char* path, DWORD attributes)
{
    const std::optional<DWORD> old = ReadStored(path);
    const DWORD value = (old.value_or(0) & ~AttributesStored) | (attributes & AttributesStored);
    if (value == old.value_or(0))
        return true;
    char text[16];
    const int length = std::snprintf(text, sizeof text, "0x%x", value);
    const bool isDone = ::setxattr(path, ATTRIBUTES_NAME, text, static_cast<std::size_t>(length), 0) == 0;
    return isDone || errno == ENOTSUP || FailWithErrno();
}

DWORD StoredAttributes(int directory, const char* path)
{
    const std::optional<DWORD> stored = directory == AT_FDCWD ? ReadStored(path) : ReadStoredAt(directory, path);
    return stored.value_or(0) & AttributesStored;
}

const char* NameOf(const char* path)
{
    const char* separator = std::strrchr(path, '/');
    return separator != nullptr ? separator + 1 : path;
}

bool IsDotName(const char* name)
{
    return name[0] == '.' && name[1] != 0 && (name[1] != '.' || name[2] != 0);
}

bool IsSparse(const struct stat& status)
{
    constexpr std::int64_t blockSize = 512;
    return S_ISREG(status.st_mode) && status.st_blocks * blockSize < status.st_size;
}

// A link has no mode of its own: it is never read-only, whatever its target is.
DWORD ModeAttributes(const struct stat& status, bool isLink)
{
    const bool isReadOnly = !isLink && (status.st_mode & WRITE_BITS) == 0;
    return (isReadOnly ? DWORD{AttributeReadOnly} : 0) | (S_ISDIR(status.st_mode) ? DWORD{AttributeDirectory} : 0) |
           (IsSparse(status) ? DWORD{AttributeSparseFile} : 0) | (isLink ? DWORD{AttributeReparsePoint} : 0);
}

FileTime FileTimeOf(const timespec& time)
{
    constexpr std::int64_t secondsTo1970 = 11644473600;
    constexpr std::int64_t stepsPerSecond = 10'000'000;
    const std::int64_t seconds = std::max<std::int64_t>(time.tv_sec + secondsTo1970, 0);
    const auto steps = static_cast<std::uint64_t>(seconds * stepsPerSecond + time.tv_nsec / 100);
    return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

// All that the status says.
FileAttributeData StatusData(const struct stat& status, bool isLink)
{
    const auto size = static_cast<std::uint64_t>(S_ISDIR(status.st_mode) ? 0 : status.st_size);
    return {ModeAttributes(status, isLink), FileTimeOf(status.st_mtim), static_cast<DWORD>(size >> 32),
            static_cast<DWORD>(size)};
}

// Gives back the owner's write bit only: nothing tells who else had it.
bool ChangeReadOnly(const char* path, mode_t mode, bool isReadOnly)
{
    const bool wasReadOnly = (mode & WRITE_BITS) == 0;
    const mode_t newMode = isReadOnly ? mode & ~WRITE_BITS : mode | S_IWUSR;
    return isReadOnly == wasReadOnly || ::chmod(path, newMode & ALL_MODE_BITS) == 0 || FailWithErrno();
}

bool IsReadOnlyFile(const char* path)
{
    struct stat status;
    return ::lstat(path, &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & WRITE_BITS) == 0;
}

// Extended attributes can be written only while the file can.
bool WriteStoredInTurn(const char* path, mode_t mode, DWORD attributes)
{
    if (WriteStored(path, attributes))
        return true;
    const bool isKeptByMode = GetLastError() == ErrorAccessDenied && (mode & WRITE_BITS) == 0;
    if (!isKeptByMode || ::chmod(path, (mode | S_IWUSR) & ALL_MODE_BITS) != 0)
        return false;
    const bool isWritten = WriteStored(path, attributes);
    return (::chmod(path, mode & ALL_MODE_BITS) == 0 || FailWithErrno()) && isWritten;
}

bool ChangeAttributes(const char* path, mode_t mode, DWORD attributes)
{
    const bool hasStored = S_ISREG(mode) || S_ISDIR(mode);
    const bool isReadOnly = (attributes & AttributeReadOnly) != 0;
    const DWORD stored = IsDotName(NameOf(path)) ? attributes & ~DWORD{AttributeHidden} : attributes;
    return (isReadOnly || ChangeReadOnly(path, mode, false)) && (!hasStored || WriteStoredInTurn(path, mode, stored)) &&
           (!isReadOnly || ChangeReadOnly(path, mode, true));
}

} // namespace

bool ReadAttributeData(int directory, const char* path, StoredPart storedPart, FileAttributeData* data)
{
    struct stat status;
    if (::fstatat(directory, path, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0)
        return false;
    const bool isLink = S_ISLNK(status.st_mode);
    struct stat target;
    if (isLink && ::fstatat(directory, path, &target, 0) == 0)
        status = target;
    *data = StatusData(status, isLink);
    data->attributes |= storedPart == StoredPart::Read ? StoredAttributes(directory, path) : AttributeStoredUnread;
    // A link itself is at hand, wherever the content of its target is.
    if (isLink)
        data->attributes &= ~DWORD{AttributeOffline};
    if (IsDotName(directory == AT_FDCWD ? NameOf(path) : path))
        data->attributes |= AttributeHidden;
    if (data->attributes == 0)
        data->attributes = AttributeNormal;
    return true;
}

DWORD GetFileAttributesA(const char* path)
{
    FileAttributeData data;
    return GetFileAttributesExA(path, &data) ? data.attributes : InvalidFileAttributes;
}

DWORD GetFileAttributesW(const WCHAR* path)
{
    return GetFileAttributesA(NarrowPath(path).c_str());
}

bool GetFileAttributesExA(const char* path, FileAttributeData* data)
{
    const std::optional<std::string> native = NativePath(path);
    return native && (ReadAttributeData(AT_FDCWD, native->c_str(), StoredPart::Read, data) || FailOnPath(*native));
}

bool GetFileAttributesExW(const WCHAR* path, FileAttributeData* data)
{
    return GetFileAttributesExA(NarrowPath(path).c_str(), data);
}

bool SetFileAttributesA(const char* path, DWORD attributes)
{
    const std::optional<std::string> native = NativePath(path);
    struct stat status;
    if (!native)
        return false;
    if (::lstat(native->c_str(), &status) != 0)
        return FailOnPath(*native);
    return S_ISLNK(status.st_mode) || ChangeAttributes(native->c_str(), status.st_mode, attributes);
}

bool SetFileAttributesW(const WCHAR* path, DWORD attributes)
{
    return SetFileAttributesA(NarrowPath(path).c_str(), attributes);
}

int UnlinkA(const char* path, bool isWritable)
{
    const std::optional<std::string> native = NativePath(path);
    if (!native)
        return -1;
    // Windows keeps read-only files, whatever the directory allows.
    const bool isKept = !isWritable && IsReadOnlyFile(native->c_str());
    const bool isDone = isKept ? Fail(ErrorAccessDenied) : ::unlink(native->c_str()) == 0 || FailOnPath(*native);
    return isDone ? 0 : -1;
}

int UnlinkW(const WCHAR* path, bool isWritable)
{
    return UnlinkA(NarrowPath(path).c_str(), isWritable);
}

} // namespace KivSys
