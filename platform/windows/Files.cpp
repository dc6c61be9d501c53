#include <platform/windows/System.h>

namespace KivSys
{

static_assert(DWORD{GenericRead} == GENERIC_READ && DWORD{GenericWrite} == GENERIC_WRITE);
static_assert(ShareRead == FILE_SHARE_READ && ShareWrite == FILE_SHARE_WRITE);
static_assert(CreateNew == CREATE_NEW && CreateAlways == CREATE_ALWAYS && OpenExisting == OPEN_EXISTING &&
              OpenAlways == OPEN_ALWAYS);
static_assert(FlagDeleteOnClose == FILE_FLAG_DELETE_ON_CLOSE && FlagSequentialScan == FILE_FLAG_SEQUENTIAL_SCAN &&
              FlagRandomAccess == FILE_FLAG_RANDOM_ACCESS && FlagWriteThrough == FILE_FLAG_WRITE_THROUGH);
static_assert(FileBegin == FILE_BEGIN && FileCurrent == FILE_CURRENT && FileEnd == FILE_END);
static_assert(InvalidSetFilePointer == INVALID_SET_FILE_POINTER && InvalidFileSize == INVALID_FILE_SIZE);
static_assert(FileSupportsSparseFiles == FILE_SUPPORTS_SPARSE_FILES);

HANDLE CreateFileA(const char* path, DWORD access, DWORD share, DWORD disposition, DWORD flagsAndAttributes)
{
    return ::CreateFileA(path, access, share, nullptr, disposition, flagsAndAttributes, nullptr);
}

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD share, DWORD disposition, DWORD flagsAndAttributes)
{
    return ::CreateFileW(Wide(path), access, share, nullptr, disposition, flagsAndAttributes, nullptr);
}

bool CloseHandle(HANDLE handle)
{
    return ::CloseHandle(handle) != 0;
}

bool FindClose(HANDLE search)
{
    return ::FindClose(search) != 0;
}

bool ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* read)
{
    ::DWORD done = 0;
    const bool isDone = ::ReadFile(file, buffer, count, &done, nullptr) != 0;
    *read = done;
    return isDone;
}

bool WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* written)
{
    ::DWORD done = 0;
    const bool isDone = ::WriteFile(file, buffer, count, &done, nullptr) != 0;
    *written = done;
    return isDone;
}

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method)
{
    ::LARGE_INTEGER offset;
    offset.LowPart = static_cast<::DWORD>(distance);
    offset.HighPart = *distanceHigh;
    ::LARGE_INTEGER position;
    if (::SetFilePointerEx(file, offset, &position, method) == 0)
        return InvalidSetFilePointer;
    SetLastError(ErrorSuccess);
    *distanceHigh = position.HighPart;
    return position.LowPart;
}

bool SetEndOfFile(HANDLE file)
{
    return ::SetEndOfFile(file) != 0;
}

DWORD GetFileSize(HANDLE file, DWORD* sizeHigh)
{
    ::LARGE_INTEGER size;
    if (::GetFileSizeEx(file, &size) == 0)
        return InvalidFileSize;
    SetLastError(ErrorSuccess);
    if (sizeHigh != nullptr)
        *sizeHigh = static_cast<DWORD>(size.HighPart);
    return size.LowPart;
}

bool FlushFileBuffers(HANDLE file)
{
    return ::FlushFileBuffers(file) != 0;
}

bool GetVolumeInformationA(const char* root, DWORD* fileSystemFlags)
{
    ::DWORD flags = 0;
    const char* rootOrCurrent = *root != 0 ? root : nullptr;
    const bool isDone = ::GetVolumeInformationA(rootOrCurrent, nullptr, 0, nullptr, nullptr, &flags, nullptr, 0) != 0;
    *fileSystemFlags = flags;
    return isDone;
}

bool DeviceIoControl(HANDLE device, DWORD controlCode)
{
    ::DWORD returned = 0;
    return ::DeviceIoControl(device, controlCode, nullptr, 0, nullptr, 0, &returned, nullptr) != 0;
}

bool AbortBackupRead(HANDLE file, void** context)
{
    ::DWORD read = 0;
    return ::BackupRead(file, nullptr, 0, &read, TRUE, FALSE, context) != 0;
}

} // namespace KivSys
