#include <platform/windows/System.h>

namespace KivSys
{

static_assert(PageReadOnly == PAGE_READONLY && PageReadWrite == PAGE_READWRITE);
static_assert(FileMapWrite == FILE_MAP_WRITE && FileMapRead == FILE_MAP_READ);
static_assert(ErrorMappedAlignment == ERROR_MAPPED_ALIGNMENT);

void GetSystemInfo(SystemInfo* info)
{
    ::SYSTEM_INFO system;
    ::GetSystemInfo(&system);
    info->allocationGranularity = system.dwAllocationGranularity;
}

HANDLE CreateFileMappingW(HANDLE file, DWORD protection, DWORD sizeHigh, DWORD sizeLow)
{
    return ::CreateFileMappingW(file, nullptr, protection, sizeHigh, sizeLow, nullptr);
}

void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, std::size_t size)
{
    return ::MapViewOfFile(mapping, access, offsetHigh, offsetLow, size);
}

bool FlushViewOfFile(const void* view, std::size_t size)
{
    return ::FlushViewOfFile(view, size) != 0;
}

bool UnmapViewOfFile(const void* view)
{
    return ::UnmapViewOfFile(view) != 0;
}

} // namespace KivSys
