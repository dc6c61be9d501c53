#include <algorithm>
#include <string_view>

#include <platform/windows/System.h>

namespace KivSys
{

static_assert(ErrorSuccess == ERROR_SUCCESS && ErrorInvalidFunction == ERROR_INVALID_FUNCTION &&
              ErrorFileNotFound == ERROR_FILE_NOT_FOUND && ErrorPathNotFound == ERROR_PATH_NOT_FOUND &&
              ErrorTooManyOpenFiles == ERROR_TOO_MANY_OPEN_FILES && ErrorAccessDenied == ERROR_ACCESS_DENIED &&
              ErrorInvalidHandle == ERROR_INVALID_HANDLE && ErrorNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY &&
              ErrorNotSameDevice == ERROR_NOT_SAME_DEVICE && ErrorNoMoreFiles == ERROR_NO_MORE_FILES &&
              ErrorWriteProtect == ERROR_WRITE_PROTECT && ErrorNotReady == ERROR_NOT_READY &&
              ErrorSharingViolation == ERROR_SHARING_VIOLATION && ErrorLockViolation == ERROR_LOCK_VIOLATION &&
              ErrorHandleEof == ERROR_HANDLE_EOF && ErrorNotSupported == ERROR_NOT_SUPPORTED &&
              ErrorBadNetPath == ERROR_BAD_NETPATH && ErrorFileExists == ERROR_FILE_EXISTS &&
              ErrorInvalidParameter == ERROR_INVALID_PARAMETER && ErrorBrokenPipe == ERROR_BROKEN_PIPE &&
              ErrorDiskFull == ERROR_DISK_FULL && ErrorInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER &&
              ErrorInvalidName == ERROR_INVALID_NAME && ErrorNegativeSeek == ERROR_NEGATIVE_SEEK &&
              ErrorDirNotEmpty == ERROR_DIR_NOT_EMPTY && ErrorBusy == ERROR_BUSY &&
              ErrorAlreadyExists == ERROR_ALREADY_EXISTS && ErrorFilenameExcedRange == ERROR_FILENAME_EXCED_RANGE &&
              ErrorFileTooLarge == ERROR_FILE_TOO_LARGE && ErrorMoreData == ERROR_MORE_DATA &&
              ErrorDirectory == ERROR_DIRECTORY && ErrorTimeout == ERROR_TIMEOUT && ErrorIoDevice == ERROR_IO_DEVICE &&
              ErrorNoUnicodeTranslation == ERROR_NO_UNICODE_TRANSLATION &&
              ErrorCantResolveFilename == ERROR_CANT_RESOLVE_FILENAME && ErrorNotConnected == ERROR_NOT_CONNECTED);

DWORD GetLastError()
{
    return ::GetLastError();
}

void SetLastError(DWORD code)
{
    ::SetLastError(code);
}

DWORD FormatMessageW(DWORD code, WCHAR* buffer, DWORD capacity)
{
    wchar_t text[1024];
    const ::DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                                            0, text, sizeof text / sizeof text[0], nullptr);
    const std::wstring_view words(text, length);
    const std::size_t trimmed = words.find_last_not_of(L"\r\n ") + 1;
    const auto written = std::min(static_cast<DWORD>(trimmed), capacity);
    std::copy_n(text, written, Wide(buffer));
    return written;
}

} // namespace KivSys
