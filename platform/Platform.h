// The platform seam: every call that the house makes to the operating system, in the vocabulary of its home.
//
// Each function bears the name of a Win32 or runtime-library call and keeps that call's parameters, result and
// last-error behaviour; where only one form of a call is needed, parameters that nobody varies are left out.
// `windows/` forwards to the system, `posix/` implements the same meaning. This header is private to the build.
//
// Narrow text is in the narrow code page (UTF-8 on POSIX, the system code page on Windows), wide text is UTF-16.
// Paths are written in the house's form, with backslashes; the POSIX side turns them into its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

namespace KivSys
{

using DWORD = std::uint32_t;
using LONG = std::int32_t;
using WCHAR = unsigned short;
using HANDLE = void*;

// ---- Errors -------------------------------------------------------------------------------------------------

// The codes that the house tests for or that the POSIX side reports.
enum ErrorCode : DWORD {
    ErrorSuccess = 0,
    ErrorInvalidFunction = 1,
    ErrorFileNotFound = 2,
    ErrorPathNotFound = 3,
    ErrorTooManyOpenFiles = 4,
    ErrorAccessDenied = 5,
    ErrorInvalidHandle = 6,
    ErrorNotEnoughMemory = 8,
    ErrorNotSameDevice = 17,
    ErrorNoMoreFiles = 18,
    ErrorWriteProtect = 19,
    ErrorNotReady = 21,
    ErrorSharingViolation = 32,
    ErrorLockViolation = 33,
    ErrorHandleEof = 38,
    ErrorNotSupported = 50,
    ErrorBadNetPath = 53,
    ErrorFileExists = 80,
    ErrorInvalidParameter = 87,
    ErrorBrokenPipe = 109,
    ErrorDiskFull = 112,
    ErrorInsufficientBuffer = 122,
    ErrorInvalidName = 123,
    ErrorNegativeSeek = 131,
    ErrorDirNotEmpty = 145,
    ErrorBusy = 170,
    ErrorAlreadyExists = 183,
    ErrorFilenameExcedRange = 206,
    ErrorFileTooLarge = 223,
    ErrorMoreData = 234,
    ErrorDirectory = 267,
    ErrorTimeout = 1460,
    ErrorIoDevice = 1117,
    ErrorNoUnicodeTranslation = 1113,
    ErrorCantResolveFilename = 1921,
    ErrorNotConnected = 2250,
};

// The calling thread's last error.
DWORD GetLastError();
void SetLastError(DWORD code);

// The system's own words for an error code, without a line end: at most capacity units, no terminator.
// Returns the number of units written, 0 when the system has no words for the code.
DWORD FormatMessageW(DWORD code, WCHAR* buffer, DWORD capacity);

// ---- Handles and files --------------------------------------------------------------------------------------

inline HANDLE InvalidHandle()
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}

enum Access : DWORD {
    GenericRead = 0x80000000,
    GenericWrite = 0x40000000,
};

enum Share : DWORD {
    ShareNone = 0,
    ShareRead = 1,
    ShareWrite = 2,
};

enum Disposition : DWORD {
    CreateNew = 1,
    CreateAlways = 2,
    OpenExisting = 3,
    OpenAlways = 4,
};

enum FileFlags : DWORD {
    AttributeReadOnly = 0x1,
    AttributeHidden = 0x2,
    AttributeSystem = 0x4,
    AttributeDirectory = 0x10,
    AttributeArchive = 0x20,
    AttributeNormal = 0x80,
    AttributeTemporary = 0x100,
    AttributeSparseFile = 0x200,
    AttributeReparsePoint = 0x400,
    AttributeOffline = 0x1000,
    AttributeNotContentIndexed = 0x2000,
    FlagDeleteOnClose = 0x04000000,
    FlagSequentialScan = 0x08000000,
    FlagRandomAccess = 0x10000000,
    FlagWriteThrough = 0x80000000,
};

constexpr DWORD InvalidFileAttributes = 0xFFFFFFFF;

enum MoveMethod : DWORD {
    FileBegin = 0,
    FileCurrent = 1,
    FileEnd = 2,
};

constexpr DWORD InvalidSetFilePointer = 0xFFFFFFFF;
constexpr DWORD InvalidFileSize = 0xFFFFFFFF;

// 100-nanosecond steps since 1 January 1601, UTC.
struct FileTime {
    DWORD low;
    DWORD high;
};

struct FileAttributeData {
    DWORD attributes;
    FileTime creationTime;
    FileTime lastAccessTime;
    FileTime lastWriteTime;
    DWORD sizeHigh;
    DWORD sizeLow;
};

// Opens or creates a file. InvalidHandle() on failure, with the last error set. On success the last error is
// ErrorAlreadyExists when CreateAlways or OpenAlways met an existing file, else ErrorSuccess.
// POSIX: share modes are advisory locks, directories are refused with ErrorAccessDenied, and a file created with
// FlagDeleteOnClose is made fresh with mode 0600 (an old regular file of the same user is replaced, never followed).
HANDLE CreateFileA(const char* path, DWORD access, DWORD share, DWORD disposition, DWORD flagsAndAttributes);
HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD share, DWORD disposition, DWORD flagsAndAttributes);
bool CloseHandle(HANDLE handle);
// Ends a directory search.
bool FindClose(HANDLE search);

// Reads up to count bytes at the file pointer; *read is less than count only at the end of the file.
bool ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* read);
// Writes count bytes at the file pointer. After a failure *written holds what was stored before it.
bool WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* written);

// Moves the file pointer by the signed 64-bit distance formed by *distanceHigh and distance. Returns the low half of
// the new position and stores the high half. InvalidSetFilePointer is a failure only when the last error is set,
// so the last error is ErrorSuccess after every success.
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method);
// Makes the file end at the file pointer.
bool SetEndOfFile(HANDLE file);
// Returns the low half of the size and stores the high half (sizeHigh may be null).
DWORD GetFileSize(HANDLE file, DWORD* sizeHigh);
bool FlushFileBuffers(HANDLE file);

constexpr DWORD FileSupportsSparseFiles = 0x40;
// The flags of the file system behind a root ("C:\").
bool GetVolumeInformationA(const char* root, DWORD* fileSystemFlags);

constexpr DWORD FsctlSetSparse = 0x000900C4;
// Sends a control code that takes no input and gives no output.
bool DeviceIoControl(HANDLE device, DWORD controlCode);

// Ends a backup sequence and releases its context (BackupRead with no buffer and abort set).
bool AbortBackupRead(HANDLE file, void** context);

DWORD GetFileAttributesA(const char* path);
DWORD GetFileAttributesW(const WCHAR* path);
bool GetFileAttributesExA(const char* path, FileAttributeData* data);
bool GetFileAttributesExW(const WCHAR* path, FileAttributeData* data);

// The runtime's unlink: 0 on success, -1 with the last error set.
int UnlinkA(const char* path);
int UnlinkW(const WCHAR* path);

// The runtime's mkdir: 0 on success, -1 with the last error set.
int MakeDirectoryA(const char* path);

// ---- Text ---------------------------------------------------------------------------------------------------

constexpr unsigned int CodePageUtf8 = 65001;

// The code page of narrow text: 65001 on POSIX, the system code page on Windows.
unsigned int NarrowCodePage();

bool IsValidCodePage(unsigned int codePage);

// Convert count bytes (units) and return the number of units (bytes) produced; with capacity 0 nothing is stored and
// the number needed is returned. 0 is a failure with the last error set (ErrorInsufficientBuffer,
// ErrorInvalidParameter for an unknown code page). What has no counterpart is replaced: by U+FFFD, or by '?'.
// Bytes 0x80 to 0x9F that a single-byte code page leaves undefined become the control characters of the same value.
int MultiByteToWideChar(unsigned int codePage, const char* bytes, int count, WCHAR* units, int capacity);
int WideCharToMultiByte(unsigned int codePage, const WCHAR* units, int count, char* bytes, int capacity);

// ---- Time, process, environment -----------------------------------------------------------------------------

// Local calendar time of seconds since 1970. False outside 1970-01-01 to 3000-12-31 (UTC), the runtime's range.
bool LocalTime(std::int64_t seconds, std::tm* result);

DWORD GetCurrentProcessId();

// Switches off the notices of threads that begin and end in the process for the module that this is linked into. POSIX
// sends none; Windows goes on with them where the module's own runtime has data for each thread.
void DisableThreadNotifications();

// Where temporary files go: TEMP, else TMP, else (POSIX) TMPDIR, else /tmp; empty when Windows names none.
std::string TemporaryDirectory();

// ---- Threads and synchronisation ----------------------------------------------------------------------------

constexpr DWORD Infinite = 0xFFFFFFFF;

enum WaitResult : DWORD {
    WaitObject0 = 0,
    WaitAbandoned = 0x80,
    WaitTimeout = 258,
    WaitFailed = 0xFFFFFFFF,
};

// An event, unnamed and not signalled at first. Null on failure. Closed with CloseHandle.
HANDLE CreateEventW(bool manualReset);
bool SetEvent(HANDLE event);
bool ResetEvent(HANDLE event);

// A thread that runs start(parameter). Null on failure. Signalled when it has ended; closing the handle does not
// end the thread. The name (ASCII) is what a debugger shows.
using ThreadStart = DWORD (*)(void* parameter);
HANDLE CreateThread(ThreadStart start, void* parameter, const char* name);
DWORD GetCurrentThreadId();

// Waits for an event or a thread.
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);

// A recursive lock that spins spinCount times before it sleeps. The pointer is opaque and owned by the caller.
struct CriticalSection;
CriticalSection* InitializeCriticalSectionAndSpinCount(DWORD spinCount);
void EnterCriticalSection(CriticalSection* section);
void LeaveCriticalSection(CriticalSection* section);
void DeleteCriticalSection(CriticalSection* section);

// ---- Command line and console -------------------------------------------------------------------------------

// A path as the user wrote it on the command line, in the house's form: on POSIX a backslash or another character
// that Windows cannot hold in a name is mapped to U+F000 + code, so that it stays part of its name.
std::string PathFromUser(const std::string& path);
// The same path as the user would write it.
std::string PathForUser(const std::string& path);

// Whether standard error is a terminal.
bool StandardErrorIsTerminal();
// Switches the three standard streams to plain bytes, without line-end translation.
void MakeStandardStreamsBinary();

} // namespace KivSys
