#include <platform/windows/System.h>

namespace KivSys
{

bool CopyFileA(const char* from, const char* to, bool failIfExists)
{
    return ::CopyFileA(from, to, failIfExists ? TRUE : FALSE) != 0;
}

bool CopyFileW(const WCHAR* from, const WCHAR* to, bool failIfExists)
{
    return ::CopyFileW(Wide(from), Wide(to), failIfExists ? TRUE : FALSE) != 0;
}

bool MoveFileA(const char* from, const char* to)
{
    return ::MoveFileA(from, to) != 0;
}

bool MoveFileW(const WCHAR* from, const WCHAR* to)
{
    return ::MoveFileW(Wide(from), Wide(to)) != 0;
}

// The runtime's own rename would move a file to another volume.
int RenameA(const char* from, const char* to)
{
    return ::MoveFileExA(from, to, 0) != 0 ? 0 : -1;
}

int RenameW(const WCHAR* from, const WCHAR* to)
{
    return ::MoveFileExW(Wide(from), Wide(to), 0) != 0 ? 0 : -1;
}

} // namespace KivSys
