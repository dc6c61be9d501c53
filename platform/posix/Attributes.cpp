#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <platform/posix/Errors.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

constexpr mode_t WRITE_BITS = 0222;
constexpr const char* ATTRIBUTES_NAME = "user.DOSATTRIB";
constexpr DWORD STORED_ATTRIBUTES = AttributeHidden | AttributeSystem | AttributeArchive | AttributeTemporary |
                                    AttributeOffline | AttributeNotContentIndexed;

// Attributes that the mode has no place for. Programs that share this extended attribute may put more behind the text.
DWORD StoredAttributes(const std::string& path)
{
    char text[256] = {};
    const ssize_t length = ::getxattr(path.c_str(), ATTRIBUTES_NAME, text, sizeof text - 1);
    return length > 2 ? static_cast<DWORD>(std::strtoul(text, nullptr, 16)) & STORED_ATTRIBUTES : 0;
}

bool IsDotName(const std::string& path)
{
    const std::size_t end = path.find_last_not_of('/') + 1;
    const std::size_t separator = path.substr(0, end).find_last_of('/');
    const std::string name = path.substr(separator + 1, end - separator - 1);
    return name.size() > 1 && name.front() == '.' && name != "..";
}

bool IsSparse(const struct stat& status)
{
    constexpr std::int64_t blockSize = 512;
    return S_ISREG(status.st_mode) && status.st_blocks * blockSize < status.st_size;
}

DWORD Attributes(const std::string& path, const struct stat& status, bool isLink)
{
    const bool isReadOnly = (status.st_mode & WRITE_BITS) == 0;
    const DWORD attributes = StoredAttributes(path) | (isReadOnly ? AttributeReadOnly : 0u) |
                             (IsDotName(path) ? AttributeHidden : 0u) |
                             (S_ISDIR(status.st_mode) ? AttributeDirectory : 0u) |
                             (IsSparse(status) ? AttributeSparseFile : 0u) | (isLink ? AttributeReparsePoint : 0u);
    return attributes != 0 ? attributes : DWORD{AttributeNormal};
}

FileTime FileTimeOf(const timespec& time)
{
    constexpr std::int64_t secondsTo1970 = 11644473600;
    constexpr std::int64_t stepsPerSecond = 10'000'000;
    const std::int64_t seconds = std::max<std::int64_t>(time.tv_sec + secondsTo1970, 0);
    const auto steps = static_cast<std::uint64_t>(seconds * stepsPerSecond + time.tv_nsec / 100);
    return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

bool IsEarlier(const timespec& a, const timespec& b)
{
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

FileAttributeData AttributeData(const std::string& path, const struct stat& status, bool isLink)
{
    // Not every file system keeps the creation: the earlier of the other times is never before it.
    const timespec& created = IsEarlier(status.st_ctim, status.st_mtim) ? status.st_ctim : status.st_mtim;
    const auto size = static_cast<std::uint64_t>(S_ISDIR(status.st_mode) ? 0 : status.st_size);
    return {Attributes(path, status, isLink), FileTimeOf(created),
            FileTimeOf(status.st_atim),       FileTimeOf(status.st_mtim),
            static_cast<DWORD>(size >> 32),   static_cast<DWORD>(size)};
}

} // namespace

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
    if (!native)
        return false;
    struct stat status;
    if (::lstat(native->c_str(), &status) != 0)
        return FailOnPath(*native);
    const bool isLink = S_ISLNK(status.st_mode);
    struct stat target;
    if (isLink && ::stat(native->c_str(), &target) == 0)
        status = target;
    *data = AttributeData(*native, status, isLink);
    return true;
}

bool GetFileAttributesExW(const WCHAR* path, FileAttributeData* data)
{
    return GetFileAttributesExA(NarrowPath(path).c_str(), data);
}

int UnlinkA(const char* path)
{
    const std::optional<std::string> native = NativePath(path);
    if (!native)
        return -1;
    // Windows keeps read-only files, whatever the directory allows.
    struct stat status;
    const bool exists = ::lstat(native->c_str(), &status) == 0;
    const bool isReadOnly = exists && S_ISREG(status.st_mode) && (status.st_mode & WRITE_BITS) == 0;
    const bool isDone = isReadOnly ? Fail(ErrorAccessDenied) : ::unlink(native->c_str()) == 0 || FailOnPath(*native);
    return isDone ? 0 : -1;
}

int UnlinkW(const WCHAR* path)
{
    return UnlinkA(NarrowPath(path).c_str());
}

int MakeDirectoryA(const char* path)
{
    const std::optional<std::string> native = NativePath(path);
    if (!native)
        return -1;
    if (::mkdir(native->c_str(), 0777) == 0)
        return 0;
    if (errno == EEXIST)
        SetLastError(ErrorAlreadyExists);
    else
        FailOnPath(*native);
    return -1;
}

} // namespace KivSys
