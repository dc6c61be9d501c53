#include <KivFile/FileException.h>
#include <KivFile/MemoryBuffer.h>
#include <KivFile/Path.h>

int main()
{
    KivFile::MemoryBuffer buffer;
    buffer.Write("abc", 3);
    try {
        buffer.SeekG(4);
    } catch (const KivFile::FileException&) { // thrown on the other side of the library's boundary
        return KivFile::PathT<char>("a/./b").FullPath() == "a\\b" ? 0 : 1;
    }
    return 2;
}
