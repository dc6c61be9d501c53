#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <linux/magic.h>
#include <memory>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <platform/posix/Attributes.h>
#include <platform/posix/Errors.h>
#include <platform/posix/Object.h>
#include <platform/posix/Paths.h>
#include <platform/posix/Wildcards.h>

namespace KivSys
{

namespace
{

bool IsDots(std::string_view name)
{
    return name == "." || name == "..";
}

// What an open directory holds. The system's own stream asks for more than is needed, and its buffer costs as much as
// the entries of a small directory.
class Directory
{
public:
    Directory() = default;
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    // False, with errno set, when it cannot be opened.
    bool Open(const char* path, int moreFlags)
    {
        m_descriptor = ::open(path, O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC | moreFlags);
        return m_descriptor >= 0;
    }

    int Descriptor() const { return m_descriptor; }

    // The next entry, good until the next call; null at the end, with errno 0, and on failure.
    const dirent64* Next()
    {
        if (m_next == m_end && !Fill())
            return nullptr;
        const auto* entry = reinterpret_cast<const dirent64*>(m_buffer + m_next);
        m_next += entry->d_reclen;
        m_position = entry->d_off;
        return entry;
    }

private:
    // Nothing can stand behind the largest position. ext4 gives it to the last entry, which spares a call.
    bool Fill()
    {
        errno = 0;
        if (m_position == std::numeric_limits<off64_t>::max())
            return false;
        const ssize_t length = ::getdents64(m_descriptor, m_buffer, sizeof m_buffer);
        // A directory that was removed meanwhile holds nothing.
        if (length < 0 && errno == ENOENT)
            errno = 0;
        m_next = 0;
        m_end = static_cast<std::size_t>(std::max<ssize_t>(length, 0));
        return m_end > 0;
    }

    int m_descriptor = -1;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    // Behind the last entry.
    off64_t m_position = 0;
    // Not initialised, which would cost more than a small directory.
    alignas(dirent64) char m_buffer[32768];
};

// A search in an open directory. Entries are asked for by their names in it, which walks no path.
class Search : public Object
{
public:
    Search(std::string_view pattern, DWORD findFlags) : m_pattern(pattern), m_findFlags(findFlags) {}

    bool Open(const char* directory)
    {
        return m_directory.Open(directory, (m_findFlags & FindNoLink) != 0 ? O_NOFOLLOW : 0);
    }

    bool NextEntry(FindDataA* found) override
    {
        while (const dirent64* entry = ReadEntry()) {
            if (IsLeftOut(*entry))
                continue;
            AssignShownName(found->name, entry->d_name);
            if (m_pattern.Match(found->name) && ReadData(*entry, found))
                return true;
        }
        return false;
    }

    // As NextEntry, but the entry that bears the pattern as its name comes first, and then alone.
    bool FirstEntry(std::string_view pattern, FindDataA* found)
    {
        const std::optional<std::string> name = m_pattern.IsName() ? NativePath(pattern) : std::nullopt;
        if (!name || !ReadAttributeData(m_directory.Descriptor(), name->c_str(), Stored(), found))
            return NextEntry(found);
        m_isDone = true;
        AssignShownName(found->name, *name);
        return true;
    }

private:
    const dirent64* ReadEntry()
    {
        const dirent64* entry = m_isDone ? nullptr : m_directory.Next();
        if (entry == nullptr)
            SetLastError(m_isDone || errno == 0 ? DWORD{ErrorNoMoreFiles} : CodeOfErrno(errno));
        return entry;
    }

    bool IsLeftOut(const dirent64& entry) const
    {
        const bool mayBeDirectory = entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN;
        return (m_findFlags & FindLimitToDirectories) != 0 && !mayBeDirectory;
    }

    StoredPart Stored() const { return (m_findFlags & FindBasicInfo) != 0 ? StoredPart::Leave : StoredPart::Read; }

    // Whether the kind of an entry is all that is asked for. "." and ".." are not worth a call each where little is.
    bool IsBare(const dirent64& entry) const
    {
        return entry.d_type == DT_DIR && ((m_findFlags & FindBareDirectories) != 0 ||
                                          ((m_findFlags & FindBasicInfo) != 0 && IsDots(entry.d_name)));
    }

    // False for an entry that is gone. One that may not be looked at is there all the same.
    bool ReadData(const dirent64& entry, FileAttributeData* data) const
    {
        const bool isBare = IsBare(entry);
        if (!isBare && ReadAttributeData(m_directory.Descriptor(), entry.d_name, Stored(), data))
            return true;
        if (!isBare && errno == ENOENT)
            return false;
        *data = {};
        data->attributes = entry.d_type == DT_DIR ? AttributeDirectory : AttributeNormal;
        return true;
    }

    Directory m_directory;
    Wildcards m_pattern;
    DWORD m_findFlags;
    bool m_isDone = false;
};

// Whether directories of the mounted file system count the ".." of those that they hold among their links.
bool CountsDirectories(const char* path)
{
    struct statfs volume;
    const auto isOneOf = [&volume](auto... types) { return ((volume.f_type == types) || ...); };
    return ::statfs(path, &volume) == 0 && isOneOf(EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, TMPFS_MAGIC);
}

// Whether the number of links says that a directory holds no others. This spares a walk to open the directories that
// hold only files, which are most, a second time. The kernel gives the number of a mount to no other one, so the last
// that was seen to count need not be asked again.
bool HoldsNoDirectories(const char* path)
{
    constexpr unsigned int uniqueMountId = 0x4000;
    static std::atomic<std::uint64_t> countingMount = 0;
    struct statx status;
    if (::statx(AT_FDCWD, path, AT_NO_AUTOMOUNT, STATX_TYPE | STATX_NLINK | uniqueMountId, &status) != 0 ||
        !S_ISDIR(status.stx_mode) || status.stx_nlink != 2)
        return false;
    const bool isUnique = (status.stx_mask & uniqueMountId) != 0;
    if (isUnique && status.stx_mnt_id == countingMount)
        return true;
    const bool counts = CountsDirectories(path);
    if (isUnique && counts)
        countingMount = status.stx_mnt_id;
    return counts;
}

std::unique_ptr<Search> OpenSearch(const NativePattern& pattern, DWORD findFlags)
{
    if ((findFlags & FindLimitToDirectories) != 0 && HoldsNoDirectories(pattern.directory.c_str())) {
        SetLastError(ErrorFileNotFound);
        return nullptr;
    }
    auto search = std::make_unique<Search>(pattern.name, findFlags);
    if (search->Open(pattern.directory.c_str()))
        return search;
    if (errno == ENOENT)
        SetLastError(ErrorPathNotFound);
    else
        FailOnPath(pattern.directory);
    return nullptr;
}

// The search and its first entry; null, with the last error set, when there is none.
std::unique_ptr<Search> FindFirst(const char* text, FindDataA* data, DWORD findFlags)
{
    const std::optional<NativePattern> pattern = SplitPattern(text);
    std::unique_ptr<Search> search = pattern ? OpenSearch(*pattern, findFlags) : nullptr;
    if (!search || search->FirstEntry(pattern->name, data))
        return search;
    if (GetLastError() == ErrorNoMoreFiles)
        SetLastError(ErrorFileNotFound);
    return nullptr;
}

HANDLE HandleOf(std::unique_ptr<Search> search)
{
    return search ? HandleOf(search.release()) : InvalidHandle();
}

void Assign(FindDataW* to, const FindDataA& found)
{
    static_cast<FileAttributeData&>(*to) = found;
    AssignWide(to->name, found.name);
}

int ResultOf(bool isDone)
{
    return isDone ? 0 : -1;
}

bool RemoveNative(const std::string& path)
{
    FileAttributeData data;
    if (!ReadAttributeData(AT_FDCWD, path.c_str(), StoredPart::Leave, &data))
        return FailOnPath(path);
    if ((data.attributes & AttributeDirectory) == 0)
        return Fail(ErrorDirectory);
    // Windows keeps read-only directories, whatever their parent allows.
    if ((data.attributes & AttributeReadOnly) != 0)
        return Fail(ErrorAccessDenied);
    const bool isLink = (data.attributes & AttributeReparsePoint) != 0;
    if ((isLink ? ::unlink(path.c_str()) : ::rmdir(path.c_str())) == 0)
        return true;
    return errno == EEXIST ? Fail(ErrorDirNotEmpty) : FailOnPath(path);
}

// The path of the current directory, empty with the last error set when it has none.
std::string CurrentDirectory()
{
    const std::unique_ptr<char, void (*)(void*)> path(::getcwd(nullptr, 0), std::free);
    if (!path)
        FailWithErrno();
    return path ? HousePath(path.get()) : std::string();
}

// The path in the house's form, empty with the last error set when there is none.
std::string FullPath(const char* path)
{
    if (!NativePath(path))
        return {};
    std::string text = path;
    if (text.front() == '\\' || text.front() == '/')
        return text;
    const std::string current = CurrentDirectory();
    return current.empty() ? current : current + '\\' + text;
}

bool Yield(NarrowText* to, std::string&& text)
{
    if (text.empty())
        return false;
    *to = std::move(text);
    return true;
}

bool Yield(WideText* to, const std::string& text)
{
    if (text.empty())
        return false;
    AssignWide(*to, text);
    return true;
}

} // namespace

int MakeDirectoryA(const char* path)
{
    const std::optional<std::string> native = NativePath(path);
    if (!native || ::mkdir(native->c_str(), 0777) == 0)
        return ResultOf(native.has_value());
    return ResultOf(errno == EEXIST ? Fail(ErrorAlreadyExists) : FailOnPath(*native));
}

int MakeDirectoryW(const WCHAR* path)
{
    return MakeDirectoryA(NarrowPath(path).c_str());
}

int RemoveDirectoryA(const char* path)
{
    const std::optional<std::string> native = NativePath(path);
    return ResultOf(native && RemoveNative(*native));
}

int RemoveDirectoryW(const WCHAR* path)
{
    return RemoveDirectoryA(NarrowPath(path).c_str());
}

HANDLE FindFirstFileA(const char* pattern, FindDataA* data, DWORD findFlags)
{
    return HandleOf(FindFirst(pattern, data, findFlags));
}

HANDLE FindFirstFileW(const WCHAR* pattern, FindDataW* data, DWORD findFlags)
{
    FindDataA found;
    std::unique_ptr<Search> search = FindFirst(NarrowPath(pattern).c_str(), &found, findFlags);
    if (search)
        Assign(data, found);
    return HandleOf(std::move(search));
}

bool FindNextFileA(HANDLE search, FindDataA* data)
{
    Object* object = ObjectOf(search);
    return object != nullptr && object->NextEntry(data);
}

bool FindNextFileW(HANDLE search, FindDataW* data)
{
    FindDataA found;
    const bool isFound = FindNextFileA(search, &found);
    if (isFound)
        Assign(data, found);
    return isFound;
}

bool GetCurrentDirectoryA(NarrowText* path)
{
    return Yield(path, CurrentDirectory());
}

bool GetCurrentDirectoryW(WideText* path)
{
    return Yield(path, CurrentDirectory());
}

bool GetFullPathNameA(const char* path, NarrowText* fullPath)
{
    return Yield(fullPath, FullPath(path));
}

bool GetFullPathNameW(const WCHAR* path, WideText* fullPath)
{
    return Yield(fullPath, FullPath(NarrowPath(path).c_str()));
}

} // namespace KivSys
