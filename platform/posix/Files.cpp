#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <platform/posix/Errors.h>
#include <platform/posix/Object.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

struct Request {
    std::string path;
    DWORD access;
    DWORD share;
    DWORD disposition;
    DWORD flags;

    bool Has(DWORD flag) const { return (flags & flag) != 0; }
    bool MayCreate() const { return disposition != OpenExisting; }
    bool Truncates() const { return disposition == CreateAlways; }
};

bool IsSameFile(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The result of a system call, made again for as long as a signal interrupts it.
template <class Call>
int Resumed(Call call)
{
    int result = 0;
    do
        result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

std::string Absolute(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> current(::getcwd(nullptr, 0), std::free);
    return path.front() == '/' || !current ? path : std::string(current.get()) + '/' + path;
}

// A file and its descriptor.
class File : public Object
{
public:
    File() = default;
    ~File() override
    {
        if (!m_deletePath.empty())
            DeleteName();
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    // False, with errno set, on failure.
    bool Open(const char* path, int flags, mode_t mode)
    {
        m_descriptor = Resumed([&] { return ::open(path, flags, mode); });
        return m_descriptor >= 0;
    }

    int Descriptor() const override { return m_descriptor; }
    // Removes the file's name when the file is closed.
    void DeleteOnClose(std::string&& absolutePath) noexcept { m_deletePath = std::move(absolutePath); }

private:
    // The name may stand for another file by now.
    void DeleteName() const
    {
        struct stat named;
        struct stat opened;
        if (::lstat(m_deletePath.c_str(), &named) == 0 && ::fstat(m_descriptor, &opened) == 0 &&
            IsSameFile(named, opened))
            ::unlink(m_deletePath.c_str());
    }

    int m_descriptor = -1;
    std::string m_deletePath;
};

using FilePointer = std::unique_ptr<File>;

int OpenFlags(const Request& request)
{
    const bool reads = (request.access & GenericWrite) == 0 || (request.access & GenericRead) != 0;
    const bool writes = (request.access & GenericWrite) != 0;
    int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK; // no waiting for the other end of a pipe
    flags |= writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
    if (request.Has(FlagWriteThrough))
        flags |= O_DSYNC;
    if (request.Has(FlagDeleteOnClose))
        flags |= O_NOFOLLOW;
    return flags;
}

FilePointer OpenNative(const Request& request, int moreFlags)
{
    const mode_t mode = request.Has(FlagDeleteOnClose) ? 0600 : 0666;
    auto file = std::make_unique<File>();
    return file->Open(request.path.c_str(), OpenFlags(request) | moreFlags, mode) ? std::move(file) : nullptr;
}

// Advisory, between all who open through this function. Sharing writes only is taken as sharing nothing: whoever may
// write must not be read. File systems without locks do without.
bool Lock(const File& file, DWORD share)
{
    const int operation = (share & ShareRead) != 0 ? LOCK_SH : LOCK_EX;
    return Resumed([&] { return ::flock(file.Descriptor(), operation | LOCK_NB); }) == 0 || errno != EWOULDBLOCK ||
           FailWithErrno();
}

// Refuses what Windows would not open, locks what is a file. A file without a write bit is read-only for everyone, root
// included.
bool Admit(const File& file, const Request& request, bool existed)
{
    struct stat status;
    if (::fstat(file.Descriptor(), &status) != 0)
        return FailWithErrno();
    const bool isReadOnly = existed && (status.st_mode & 0222) == 0;
    if (S_ISDIR(status.st_mode) || (isReadOnly && (request.access & GenericWrite) != 0))
        return Fail(ErrorAccessDenied);
    if (!S_ISREG(status.st_mode)) {
        const int flags = ::fcntl(file.Descriptor(), F_GETFL);
        return ::fcntl(file.Descriptor(), F_SETFL, flags & ~O_NONBLOCK) == 0 || FailWithErrno();
    }
    return Lock(file, request.share);
}

// What is deleted on close must be nobody else's: a regular file of this user, or nothing as yet.
bool IsOwnOrMissing(const Request& request)
{
    struct stat status;
    return ::lstat(request.path.c_str(), &status) != 0 || (S_ISREG(status.st_mode) && status.st_uid == ::geteuid()) ||
           Fail(ErrorAccessDenied);
}

// Removes an old file, so that a fresh one can take its name.
bool RemoveOld(const Request& request)
{
    const FilePointer old = OpenNative(request, 0);
    if (!old)
        return FailOnPath(request.path);
    return Lock(*old, ShareNone) && (::unlink(request.path.c_str()) == 0 || FailOnPath(request.path));
}

FilePointer CreateFresh(const Request& request)
{
    FilePointer file = OpenNative(request, O_CREAT | O_EXCL);
    if (!file)
        FailOnPath(request.path);
    return file && Admit(*file, request, false) ? std::move(file) : nullptr;
}

FilePointer ReplaceWithFresh(const Request& request, bool& existed)
{
    FilePointer file = CreateFresh(request);
    existed = !file && GetLastError() == ErrorFileExists;
    return existed && IsOwnOrMissing(request) && RemoveOld(request) ? CreateFresh(request) : std::move(file);
}

// Opens what is there; creates it when there is nothing and it may be created. Truncates only what it has locked.
FilePointer OpenOrCreate(const Request& request, bool& existed)
{
    FilePointer file = OpenNative(request, 0);
    existed = file != nullptr;
    if (!file && errno == ENOENT && request.MayCreate()) {
        file = OpenNative(request, O_CREAT | O_EXCL);
        // Someone was quicker, or the name is a dangling link whose target is created; neither will do for a file that
        // must be this user's own.
        if (!file && errno == EEXIST && !request.Has(FlagDeleteOnClose))
            file = OpenNative(request, O_CREAT);
    }
    if (!file)
        FailOnPath(request.path);
    if (!file || !Admit(*file, request, existed))
        return nullptr;
    // What is no regular file has no length: EINVAL.
    if (request.Truncates() && Resumed([&] { return ::ftruncate(file->Descriptor(), 0); }) != 0 && errno != EINVAL) {
        FailWithErrno();
        return nullptr;
    }
    return file;
}

FilePointer Open(const Request& request, bool& existed)
{
    if (request.disposition == CreateNew)
        return CreateFresh(request);
    if (!request.Has(FlagDeleteOnClose))
        return OpenOrCreate(request, existed);
    if (!IsOwnOrMissing(request))
        return nullptr;
    return request.Truncates() ? ReplaceWithFresh(request, existed) : OpenOrCreate(request, existed);
}

void Advise(const File& file, const Request& request)
{
    if (request.Has(FlagSequentialScan))
        ::posix_fadvise(file.Descriptor(), 0, 0, POSIX_FADV_SEQUENTIAL);
    if (request.Has(FlagRandomAccess))
        ::posix_fadvise(file.Descriptor(), 0, 0, POSIX_FADV_RANDOM);
}

HANDLE CreateNativeFile(const Request& request)
{
    bool existed = false;
    // Known before there is a file that would stay.
    std::string deletePath = request.Has(FlagDeleteOnClose) ? Absolute(request.path) : std::string();
    FilePointer file = Open(request, existed);
    if (!file)
        return InvalidHandle();
    Advise(*file, request);
    file->DeleteOnClose(std::move(deletePath));
    SetLastError(existed && request.MayCreate() ? ErrorAlreadyExists : ErrorSuccess);
    return HandleOf(file.release());
}

// The descriptor of a file's handle; -1, with the last error set, for any other handle.
int DescriptorOf(HANDLE handle)
{
    const Object* object = ObjectOf(handle);
    const int descriptor = object != nullptr ? object->Descriptor() : -1;
    if (descriptor < 0)
        SetLastError(ErrorInvalidHandle);
    return descriptor;
}

// Calls transfer(offset, count) until all is transferred, it comes to an end or fails.
template <class Transfer>
bool TransferAll(DWORD count, DWORD* done, Transfer transfer)
{
    *done = 0;
    while (*done < count) {
        const ssize_t n = transfer(*done, count - *done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return FailWithErrno();
        if (n == 0)
            break;
        *done += static_cast<DWORD>(n);
    }
    return true;
}

} // namespace

HANDLE CreateFileA(const char* path, DWORD access, DWORD share, DWORD disposition, DWORD flagsAndAttributes)
{
    std::optional<std::string> native = NativePath(path);
    return native ? CreateNativeFile({*std::move(native), access, share, disposition, flagsAndAttributes})
                  : InvalidHandle();
}

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD share, DWORD disposition, DWORD flagsAndAttributes)
{
    return CreateFileA(NarrowPath(path).c_str(), access, share, disposition, flagsAndAttributes);
}

bool CloseHandle(HANDLE handle)
{
    const Object* object = ObjectOf(handle);
    delete object;
    return object != nullptr;
}

bool FindClose(HANDLE search)
{
    return CloseHandle(search);
}

bool ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* read)
{
    *read = 0;
    const int descriptor = DescriptorOf(file);
    const auto transfer = [=](DWORD offset, DWORD n) {
        return ::read(descriptor, static_cast<char*>(buffer) + offset, n);
    };
    return descriptor >= 0 && TransferAll(count, read, transfer);
}

bool WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* written)
{
    *written = 0;
    const int descriptor = DescriptorOf(file);
    const auto transfer = [=](DWORD offset, DWORD n) {
        return ::write(descriptor, static_cast<const char*>(buffer) + offset, n);
    };
    return descriptor >= 0 && TransferAll(count, written, transfer);
}

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method)
{
    static_assert(FileBegin == SEEK_SET && FileCurrent == SEEK_CUR && FileEnd == SEEK_END);
    const int descriptor = DescriptorOf(file);
    if (descriptor < 0)
        return InvalidSetFilePointer;
    if (method > FileEnd) {
        SetLastError(ErrorInvalidParameter);
        return InvalidSetFilePointer;
    }
    const auto low = static_cast<DWORD>(distance);
    const off_t offset = std::int64_t{*distanceHigh} * (std::int64_t{1} << 32) + low;
    const off_t position = ::lseek(descriptor, offset, static_cast<int>(method));
    if (position < 0) {
        const bool isNegative = errno == EINVAL && offset < 0;
        SetLastError(isNegative ? DWORD{ErrorNegativeSeek} : CodeOfErrno(errno));
        return InvalidSetFilePointer;
    }
    SetLastError(ErrorSuccess);
    *distanceHigh = static_cast<LONG>(position >> 32);
    return static_cast<DWORD>(position);
}

bool SetEndOfFile(HANDLE file)
{
    const int descriptor = DescriptorOf(file);
    if (descriptor < 0)
        return false;
    const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
    if (position < 0)
        return FailWithErrno();
    if (Resumed([=] { return ::ftruncate(descriptor, position); }) == 0)
        return true;
    // The one thing that can be invalid here is a file not open for writing.
    return errno == EINVAL ? Fail(ErrorAccessDenied) : FailWithErrno();
}

DWORD GetFileSize(HANDLE file, DWORD* sizeHigh)
{
    struct stat status;
    const int descriptor = DescriptorOf(file);
    if (descriptor < 0)
        return InvalidFileSize;
    if (::fstat(descriptor, &status) != 0) {
        FailWithErrno();
        return InvalidFileSize;
    }
    SetLastError(ErrorSuccess);
    if (sizeHigh != nullptr)
        *sizeHigh = static_cast<DWORD>(status.st_size >> 32);
    return static_cast<DWORD>(status.st_size);
}

bool FlushFileBuffers(HANDLE file)
{
    const int descriptor = DescriptorOf(file);
    return descriptor >= 0 && (Resumed([=] { return ::fsync(descriptor); }) == 0 || FailWithErrno());
}

bool GetVolumeInformationA(const char* root, DWORD* fileSystemFlags)
{
    const std::optional<std::string> native = NativePath(*root != 0 ? root : ".");
    if (!native)
        return false;
    if (::access(native->c_str(), F_OK) != 0)
        return FailOnPath(*native);
    *fileSystemFlags = FileSupportsSparseFiles;
    return true;
}

bool DeviceIoControl(HANDLE device, DWORD controlCode)
{
    // Every file is sparse where the file system has holes.
    return DescriptorOf(device) >= 0 && (controlCode == FsctlSetSparse || Fail(ErrorInvalidFunction));
}

bool AbortBackupRead(HANDLE, void** context)
{
    *context = nullptr;
    return true;
}

} // namespace KivSys
