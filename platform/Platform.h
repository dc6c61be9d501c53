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
#include <vector>

namespace KivSys
{

using DWORD = std::uint32_t;
using LONG = std::int32_t;
using WCHAR = unsigned short;
using HANDLE = void*;

// Text of any length that a call yields, without a terminator. A call that fails leaves it as it was.
using NarrowText = std::string;
using WideText = std::vector<WCHAR>;

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
    ErrorMappedAlignment = 1132,
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

// Stores the read-only, hidden, system, archive, temporary, offline and not-indexed bits; the others are ignored.
// POSIX: a link has no attributes of its own to store, and its target is left alone; it is never read-only.
bool SetFileAttributesA(const char* path, DWORD attributes);
bool SetFileAttributesW(const WCHAR* path, DWORD attributes);

// The path of the file that a path stands for when all symbolic links in its last component are followed; the path
// itself when it is none. Whether the file exists does not matter.
std::string FollowLinks(const std::string& path);
// Whether the path, or what its links lead to, is a file with bytes of its own: no directory, pipe or device. It is not
// opened for reading, which for those may wait, or take something away.
bool IsRegularFile(const char* path);
// Puts a file in the place of another one, of which Windows keeps the owner and the rights; a file that does not exist
// is replaced too.
bool ReplaceFileA(const char* replaced, const char* replacement);
// Gives a file the owner and the rights of another one, and what of its extended attributes can be carried over, ahead
// of a replacement. Does nothing on Windows.
bool CopyOwnerAndRights(const char* from, const char* to);

// The runtime's unlink: 0 on success, -1 with the last error set. Read-only files are refused; POSIX has to ask whether
// a file is one, unless the caller has just asked itself and says that it is writable.
int UnlinkA(const char* path, bool isWritable = false);
int UnlinkW(const WCHAR* path, bool isWritable = false);

// Copies bytes, times and attributes. An existing target is replaced, or refused with ErrorFileExists when failIfExists
// is set; a read-only one is refused with ErrorAccessDenied. A failed copy leaves no partial target.
bool CopyFileA(const char* from, const char* to, bool failIfExists);
bool CopyFileW(const WCHAR* from, const WCHAR* to, bool failIfExists);

// Gives a file or directory another name. An existing target is never replaced: ErrorAlreadyExists. A file, but no
// directory, may change its volume.
bool MoveFileA(const char* from, const char* to);
bool MoveFileW(const WCHAR* from, const WCHAR* to);

// The runtime's rename: 0 on success, -1 with the last error set. As MoveFile, but within one volume only.
int RenameA(const char* from, const char* to);
int RenameW(const WCHAR* from, const WCHAR* to);

// ---- Mapping ------------------------------------------------------------------------------------------------

enum PageProtection : DWORD {
    PageReadOnly = 2,
    PageReadWrite = 4,
};

enum ViewAccess : DWORD {
    FileMapWrite = 2, // and read
    FileMapRead = 4,
};

struct SystemInfo {
    DWORD allocationGranularity; // what the offset of a view is a multiple of. POSIX: 65536
};

void GetSystemInfo(SystemInfo* info);

// A mapping of the file's first bytes, as many as the two halves of the size say, not 0. Null on failure. A file that
// is shorter is lengthened with the space reserved (ErrorDiskFull, and the file as it was, where there is none); for
// reading only that is ErrorNotEnoughMemory. Closed with CloseHandle; views of it stay valid.
HANDLE CreateFileMappingW(HANDLE file, DWORD protection, DWORD sizeHigh, DWORD sizeLow);

// Maps size bytes of the mapping, not 0, at an offset that is a multiple of the granularity (else
// ErrorMappedAlignment). Null on failure: ErrorAccessDenied for bytes behind the mapping, and for an access that its
// protection does not allow.
void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, std::size_t size);
// Writes the view's first size bytes back to the file, 0 for all of them.
bool FlushViewOfFile(const void* view, std::size_t size);
bool UnmapViewOfFile(const void* view);

// ---- Directories --------------------------------------------------------------------------------------------

// The runtime's mkdir and rmdir: 0 on success, -1 with the last error set. The path may end in a separator. Removing
// takes empty directories and links to directories; what a link leads to stays.
int MakeDirectoryA(const char* path);
int MakeDirectoryW(const WCHAR* path);
int RemoveDirectoryA(const char* path);
int RemoveDirectoryW(const WCHAR* path);

// One entry that a directory search found. Used again for the next entry, it keeps its buffer. After a call that found
// none it holds nothing of use.
template <class Text>
struct FindData : FileAttributeData {
    Text name;
};
using FindDataA = FindData<NarrowText>;
using FindDataW = FindData<WideText>;

// How a search may be cut short.
enum FindFlags : DWORD {
    // Other entries than directories may be left out, ".", ".." and links among them. The caller still tests the
    // attributes.
    FindLimitToDirectories = 1,
    // Attributes that cost a call of their own for each entry may be left unread: then AttributeStoredUnread is among
    // the attributes and those of AttributesStored are not. Never on Windows. On POSIX it halves the time of a search.
    FindBasicInfo = 2,
    // Directories that are no links may come with their name and the directory attribute only. Never on Windows. On
    // POSIX that spares a call for each.
    FindBareDirectories = 4,
    // A directory that is a link is not searched, even where it has become one only now.
    FindNoLink = 8,
};
constexpr DWORD AttributeStoredUnread = 0x08000000;
constexpr DWORD AttributesStored = AttributeHidden | AttributeSystem | AttributeArchive | AttributeTemporary |
                                   AttributeOffline | AttributeNotContentIndexed;

// Begins a search for the names that match the last component of the pattern, in which * and ? are wildcards; "." and
// ".." are among them where the pattern matches them. InvalidHandle() on failure, with the last error set:
// ErrorFileNotFound when nothing matches. The handle is closed with FindClose. POSIX: a pattern without wildcards finds
// the name as it is written, and where there is none, the names that differ in letter case only.
HANDLE FindFirstFileA(const char* pattern, FindDataA* data, DWORD findFlags);
HANDLE FindFirstFileW(const WCHAR* pattern, FindDataW* data, DWORD findFlags);
// Finds the next entry; false at the end with ErrorNoMoreFiles.
bool FindNextFileA(HANDLE search, FindDataA* data);
bool FindNextFileW(HANDLE search, FindDataW* data);

// The process's current directory.
bool GetCurrentDirectoryA(NarrowText* path);
bool GetCurrentDirectoryW(WideText* path);

// The absolute form of a path. That of a drive letter with a colon is the current directory of the drive.
bool GetFullPathNameA(const char* path, NarrowText* fullPath);
bool GetFullPathNameW(const WCHAR* path, WideText* fullPath);

// ---- Drives, computer and network names ---------------------------------------------------------------------

enum DriveType : unsigned int {
    DriveUnknown = 0,
    DriveNoRootDir = 1,
    DriveRemovable = 2,
    DriveFixed = 3,
    DriveRemote = 4,
};

// Bit 0 for A: and so on. POSIX: 0.
DWORD GetLogicalDrives();

// The type of the drive with this root; an empty root asks about the current directory. POSIX: DriveNoRootDir for a
// root with a drive letter.
unsigned int GetDriveTypeA(const char* root);
unsigned int GetDriveTypeW(const WCHAR* root);

// The bytes free for the calling user where the directory lies; an empty one asks about the current directory.
bool GetDiskFreeSpaceExA(const char* directory, std::uint64_t* freeBytesAvailable);
bool GetDiskFreeSpaceExW(const WCHAR* directory, std::uint64_t* freeBytesAvailable);

// The computer's name, cut to 15 characters.
bool GetComputerNameA(NarrowText* name);
bool GetComputerNameW(WideText* name);

// What WNetGetUniversalName puts at the beginning of its buffer; the name lies in the buffer, too.
template <class Character>
struct UniversalNameInfo {
    Character* universalName;
};

// The name with server and share of a path on a network connection, as a UniversalNameInfo. Returns an error code, not
// the last error: ErrorSuccess; ErrorMoreData, with the size needed in *bufferSize; ErrorNotConnected for a local path;
// ErrorInvalidParameter and others. Sizes are bytes.
DWORD WNetGetUniversalNameA(const char* path, void* buffer, DWORD* bufferSize);
DWORD WNetGetUniversalNameW(const WCHAR* path, void* buffer, DWORD* bufferSize);

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

// What ends a line of a text file: LF on POSIX, CR LF on Windows.
const char* TextLineEnd();

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
// that Windows cannot hold in a name is mapped to U+F000 + code, so that it stays part of its name, and where a ".."
// behind a link leads elsewhere than by the text, it comes with the links before it resolved.
std::string PathFromUser(const std::string& path);
// The same path as the user would write it.
std::string PathForUser(const std::string& path);

// Whether standard output and standard error are terminals.
bool StandardOutputIsTerminal();
bool StandardErrorIsTerminal();
// Switches the three standard streams to plain bytes, without line-end translation.
void MakeStandardStreamsBinary();

// An event that is signalled when the program is told to end, in place of its end: by Ctrl-C, on POSIX by SIGINT and
// SIGTERM unless they were ignored. Only the first time, so that a program that hangs on its way out can be ended. Null
// on failure. One at a time; closed with CloseInterruptEvent, from then on the program ends as before.
HANDLE CreateInterruptEvent();
bool CloseInterruptEvent(HANDLE event);

} // namespace KivSys
