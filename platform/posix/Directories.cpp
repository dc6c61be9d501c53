#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
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

// A search in an open directory. Entries are asked for by their names in it, which walks no path.
class Search : public Object
{
public:
    Search(DIR* directory, std::string_view pattern, DWORD findFlags)
        : m_directory(directory), m_pattern(pattern), m_findFlags(findFlags)
    {
    }
    ~Search() override { ::closedir(m_directory); }

    const FindDataA* NextEntry() override
    {
        while (const dirent* entry = ReadEntry()) {
            if (IsLeftOut(*entry))
                continue;
            m_found.name.clear();
            AppendShownName(m_found.name, entry->d_name);
            if (m_pattern.Match(m_found.name) && ReadData(*entry))
                return &m_found;
        }
        return nullptr;
    }

    // As NextEntry, but the entry that bears the pattern as its name comes first, and then alone.
    const FindDataA* FirstEntry(const std::string& pattern)
    {
        const std::optional<std::string> name = m_pattern.IsName() ? NativePath(pattern.c_str()) : std::nullopt;
        if (!name || !ReadAttributeData(::dirfd(m_directory), name->c_str(), Stored(), &m_found))
            return NextEntry();
        m_isDone = true;
        AppendShownName(m_found.name, *name);
        return &m_found;
    }

private:
    const dirent* ReadEntry()
    {
        errno = 0;
        const dirent* entry = m_isDone ? nullptr : ::readdir(m_directory);
        if (entry == nullptr)
            SetLastError(errno == 0 ? DWORD{ErrorNoMoreFiles} : CodeOfErrno(errno));
        return entry;
    }

    bool IsLeftOut(const dirent& entry) const
    {
        const bool mayBeDirectory = entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN;
        return (m_findFlags & FindLimitToDirectories) != 0 && !mayBeDirectory;
    }

    StoredPart Stored() const { return (m_findFlags & FindBasicInfo) != 0 ? StoredPart::Leave : StoredPart::Read; }

    // False for an entry that is gone. One that may not be looked at is there all the same, and "." and ".." are not
    // worth a call each where little is asked for.
    bool ReadData(const dirent& entry)
    {
        const bool isDots = entry.d_type == DT_DIR && IsDots(entry.d_name) && Stored() == StoredPart::Leave;
        if (!isDots && ReadAttributeData(::dirfd(m_directory), entry.d_name, Stored(), &m_found))
            return true;
        if (!isDots && errno == ENOENT)
            return false;
        static_cast<FileAttributeData&>(m_found) = {};
        m_found.attributes = entry.d_type == DT_DIR ? AttributeDirectory : AttributeNormal;
        return true;
    }

    DIR* m_directory;
    Wildcards m_pattern;
    DWORD m_findFlags;
    bool m_isDone = false;
    FindDataA m_found{};
};

void Assign(FindDataA& to, const FindDataA& found)
{
    to = found;
}

void Assign(FindDataW& to, const FindDataA& found)
{
    static_cast<FileAttributeData&>(to) = found;
    AssignWide(to.name, found.name);
}

// Whether the number of links says that a directory holds no others, where it counts them: each has a ".." for it.
// This spares a walk to open the directories that hold only files, which are most, a second time.
bool HoldsNoDirectories(const char* path)
{
    struct stat status;
    struct statfs volume;
    const auto counts = [&volume](auto... types) { return ((volume.f_type == types) || ...); };
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode) && status.st_nlink == 2 &&
           ::statfs(path, &volume) == 0 && counts(EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, TMPFS_MAGIC);
}

std::unique_ptr<Search> OpenSearch(const NativePattern& pattern, DWORD findFlags)
{
    if ((findFlags & FindLimitToDirectories) != 0 && HoldsNoDirectories(pattern.directory.c_str())) {
        SetLastError(ErrorFileNotFound);
        return nullptr;
    }
    DIR* directory = ::opendir(pattern.directory.c_str());
    if (directory != nullptr)
        return std::make_unique<Search>(directory, pattern.name, findFlags);
    if (errno == ENOENT)
        SetLastError(ErrorPathNotFound);
    else
        FailOnPath(pattern.directory);
    return nullptr;
}

template <class Data>
HANDLE FindFirst(const char* text, Data* data, DWORD findFlags)
{
    const std::optional<NativePattern> pattern = SplitPattern(text);
    std::unique_ptr<Search> search = pattern ? OpenSearch(*pattern, findFlags) : nullptr;
    if (!search)
        return InvalidHandle();
    const FindDataA* found = search->FirstEntry(std::string(pattern->name));
    if (found == nullptr) {
        if (GetLastError() == ErrorNoMoreFiles)
            SetLastError(ErrorFileNotFound);
        return InvalidHandle();
    }
    Assign(*data, *found);
    return HandleOf(search.release());
}

template <class Data>
bool FindNext(HANDLE search, Data* data)
{
    Object* object = ObjectOf(search);
    const FindDataA* found = object != nullptr ? object->NextEntry() : nullptr;
    if (found != nullptr)
        Assign(*data, *found);
    return found != nullptr;
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
    return FindFirst(pattern, data, findFlags);
}

HANDLE FindFirstFileW(const WCHAR* pattern, FindDataW* data, DWORD findFlags)
{
    return FindFirst(NarrowPath(pattern).c_str(), data, findFlags);
}

bool FindNextFileA(HANDLE search, FindDataA* data)
{
    return FindNext(search, data);
}

bool FindNextFileW(HANDLE search, FindDataW* data)
{
    return FindNext(search, data);
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
