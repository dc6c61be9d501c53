#include <io.h>

#include <platform/windows/System.h>

namespace KivSys
{

static_assert(AttributeReadOnly == FILE_ATTRIBUTE_READONLY && AttributeHidden == FILE_ATTRIBUTE_HIDDEN &&
              AttributeSystem == FILE_ATTRIBUTE_SYSTEM && AttributeDirectory == FILE_ATTRIBUTE_DIRECTORY &&
              AttributeArchive == FILE_ATTRIBUTE_ARCHIVE && AttributeNormal == FILE_ATTRIBUTE_NORMAL &&
              AttributeTemporary == FILE_ATTRIBUTE_TEMPORARY && AttributeSparseFile == FILE_ATTRIBUTE_SPARSE_FILE &&
              AttributeReparsePoint == FILE_ATTRIBUTE_REPARSE_POINT && AttributeOffline == FILE_ATTRIBUTE_OFFLINE &&
              AttributeNotContentIndexed == FILE_ATTRIBUTE_NOT_CONTENT_INDEXED &&
              InvalidFileAttributes == INVALID_FILE_ATTRIBUTES);

namespace
{

template <class Call, class Path>
bool ReadData(Call call, Path path, FileAttributeData* data)
{
    ::WIN32_FILE_ATTRIBUTE_DATA found;
    const bool isDone = call(path, ::GetFileExInfoStandard, &found) != 0;
    if (isDone)
        *data = DataOf(found);
    return isDone;
}

} // namespace

DWORD GetFileAttributesA(const char* path)
{
    return ::GetFileAttributesA(path);
}

DWORD GetFileAttributesW(const WCHAR* path)
{
    return ::GetFileAttributesW(Wide(path));
}

bool GetFileAttributesExA(const char* path, FileAttributeData* data)
{
    return ReadData(::GetFileAttributesExA, path, data);
}

bool GetFileAttributesExW(const WCHAR* path, FileAttributeData* data)
{
    return ReadData(::GetFileAttributesExW, Wide(path), data);
}

bool SetFileAttributesA(const char* path, DWORD attributes)
{
    return ::SetFileAttributesA(path, attributes) != 0;
}

bool SetFileAttributesW(const WCHAR* path, DWORD attributes)
{
    return ::SetFileAttributesW(Wide(path), attributes) != 0;
}

int UnlinkA(const char* path, bool)
{
    return ::_unlink(path);
}

int UnlinkW(const WCHAR* path, bool)
{
    return ::_wunlink(Wide(path));
}

} // namespace KivSys
