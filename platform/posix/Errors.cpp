#include <cerrno>
#include <cstring>
#include <string_view>

#include <platform/Utf8.h>
#include <platform/posix/Errors.h>

namespace KivSys
{

// One variable for the whole process although each shared library holds a copy of the platform floor: a call made in
// one of them must be explained in the other.
[[gnu::visibility("default")]] constinit inline thread_local DWORD t_lastError = ErrorSuccess;

namespace
{

struct ErrnoRow {
    int error;
    DWORD code;
};

// The first row of a code gives its text.
constexpr ErrnoRow ERRNO_ROWS[] = {
    {ENOSYS, ErrorInvalidFunction},
    {ESPIPE, ErrorInvalidFunction},
    {ENOTTY, ErrorInvalidFunction},
    {ENOENT, ErrorFileNotFound},
    {ENOTDIR, ErrorPathNotFound},
    {EMFILE, ErrorTooManyOpenFiles},
    {ENFILE, ErrorTooManyOpenFiles},
    {EACCES, ErrorAccessDenied},
    {EPERM, ErrorAccessDenied},
    {EISDIR, ErrorAccessDenied},
    // The descriptor of a live handle is always good: the access asked for is missing.
    {EBADF, ErrorAccessDenied},
    {ENOMEM, ErrorNotEnoughMemory},
    {EXDEV, ErrorNotSameDevice},
    {EROFS, ErrorWriteProtect},
    {ENXIO, ErrorNotReady},
    {ENODEV, ErrorNotReady},
    {EWOULDBLOCK, ErrorSharingViolation},
    {ETXTBSY, ErrorSharingViolation},
    {EOPNOTSUPP, ErrorNotSupported},
    {EEXIST, ErrorFileExists},
    {EINVAL, ErrorInvalidParameter},
    {EPIPE, ErrorBrokenPipe},
    {ENOSPC, ErrorDiskFull},
    {EDQUOT, ErrorDiskFull},
    {ENOTEMPTY, ErrorDirNotEmpty},
    {EBUSY, ErrorBusy},
    {ENAMETOOLONG, ErrorFilenameExcedRange},
    {EFBIG, ErrorFileTooLarge},
    {EOVERFLOW, ErrorFileTooLarge},
    {EILSEQ, ErrorNoUnicodeTranslation},
    {EIO, ErrorIoDevice},
    {ETIMEDOUT, ErrorTimeout},
    {ELOOP, ErrorCantResolveFilename},
    {ENOTCONN, ErrorNotConnected},
};

struct TextRow {
    DWORD code;
    std::string_view text;
};

// Codes that no error number stands for, or only one with misleading words.
constexpr TextRow TEXT_ROWS[] = {
    {ErrorSuccess, "Success"},
    {ErrorPathNotFound, "No such path"},
    {ErrorInvalidHandle, "Invalid handle"},
    {ErrorNoMoreFiles, "No more files"},
    {ErrorSharingViolation, "The file is in use elsewhere"},
    {ErrorLockViolation, "Part of the file is locked elsewhere"},
    {ErrorHandleEof, "End of file"},
    {ErrorBadNetPath, "No such server or share"},
    {ErrorInsufficientBuffer, "Buffer too small"},
    {ErrorInvalidName, "Invalid name"},
    {ErrorNegativeSeek, "Seek to before the beginning of the file"},
    {ErrorAlreadyExists, "The name exists already"},
    {ErrorMoreData, "More data available"},
    {ErrorDirectory, "Invalid directory name"},
    {ErrorMappedAlignment, "The offset is no multiple of the granularity"},
    {ErrorNotConnected, "Not a network path"},
};

// The text for a code, empty when there is none. The buffer is used when the system needs one.
std::string_view TextOf(DWORD code, char* buffer, std::size_t size)
{
    for (const TextRow& row : TEXT_ROWS) {
        if (row.code == code)
            return row.text;
    }
    for (const ErrnoRow& row : ERRNO_ROWS) {
        if (row.code == code)
            return ::strerror_r(row.error, buffer, size);
    }
    return {};
}

} // namespace

DWORD GetLastError()
{
    return t_lastError;
}

void SetLastError(DWORD code)
{
    t_lastError = code;
}

DWORD FormatMessageW(DWORD code, WCHAR* buffer, DWORD capacity)
{
    char bytes[256];
    WCHAR units[sizeof bytes];
    const std::string_view text = TextOf(code, bytes, sizeof bytes).substr(0, sizeof bytes);
    const auto length = static_cast<std::size_t>(Utf16FromUtf8(text.data(), text.size(), units) - units);
    const std::size_t written = length < capacity ? length : capacity;
    std::memcpy(buffer, units, written * sizeof(WCHAR));
    return static_cast<DWORD>(written);
}

DWORD CodeOfErrno(int error)
{
    for (const ErrnoRow& row : ERRNO_ROWS) {
        if (row.error == error)
            return row.code;
    }
    return ErrorIoDevice;
}

bool Fail(DWORD code)
{
    SetLastError(code);
    return false;
}

bool FailWithErrno()
{
    return Fail(CodeOfErrno(errno));
}

} // namespace KivSys
