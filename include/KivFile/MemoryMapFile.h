// A file whose parts are read and written as memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <KivBase/Handle.h>
#include <KivFile/Export.h>
#include <KivFile/FileException.h>

namespace KivFile
{

// A file of any size, of which views are mapped into memory. It is no buffer: a caller asks for the bytes at an offset,
// works on the memory and releases it.
//
// Offsets and sizes are bytes, in 64 bits. Owns the file's handle, the mapping and every view that it hands out; at
// most one view begins at an offset. One thread at a time; the memory of a view is the caller's to synchronise.
// The mapping never covers less than one granularity unit of the system (65536 bytes) when the file is opened. So a
// shorter file is lengthened by the writable modes, and cannot be opened for reading.
// Every failure is FileCannotOpenException or FileException with the file's name and the system's words.
class KIVFILE_EXPORT MemoryMapFile
{
public:
    enum class OpenMode {
        Read = 0,      // an existing file; others may read and write it too
        ReadWrite = 1, // a file that is made when it does not exist; nobody else may open it
        Truncate = 2,  // the same, and its content is discarded
    };

    // A closed file.
    explicit MemoryMapFile(const std::string& filename);
    MemoryMapFile(const MemoryMapFile&) = delete;
    MemoryMapFile& operator=(const MemoryMapFile&) = delete;
    // As Close.
    virtual ~MemoryMapFile();

    // Opens and maps the whole file; one that is open already is closed first. The space that a file is lengthened by
    // is reserved, so that writing to it needs no more room. Throws FileCannotOpenException; the file is then closed.
    // A mode that is none of the three reads the size of the open file anew, and is a failure for a closed one.
    void Open(OpenMode mode);
    // Writes all views back to the file and releases them. Does nothing to a closed file.
    void Close();
    // Closes the file and removes it if it exists. Throws FileException.
    void Delete();

    [[nodiscard]] bool IsOpen() const { return m_file.IsValid(); }
    // The name as the constructor took it.
    [[nodiscard]] const std::string& GetFilename() const { return m_filename; }
    // The bytes that views may cover; after Close, those of the last Open or Resize.
    [[nodiscard]] std::uint64_t Size() const { return m_size; }

    // The memory of size bytes at an offset that is a multiple of the granularity, or of one granularity unit for size
    // 0. It may be written unless the file is open for Read, and is valid until ReleaseView, Flush, Resize or Close.
    // Where a view begins at the offset already it is returned, however long it is. Throws FileException.
    [[nodiscard]] void* GetView(std::uint64_t offset, std::size_t size);
    // Unmaps the view at exactly this offset; nothing happens where there is none. Throws FileException when the view
    // is to be flushed and the file does not take it; the view is gone then, too.
    void ReleaseView(std::uint64_t offset, bool flush);
    // Writes the first size bytes of the view at exactly this offset back to the file, all of them for size 0.
    void FlushView(std::uint64_t offset, std::size_t size);
    [[nodiscard]] bool IsViewExist(std::uint64_t offset) const { return m_views.contains(offset); }
    // How many views there are.
    [[nodiscard]] std::size_t NbrView() const { return m_views.size(); }

    // Releases all views and pushes the file's bytes to the medium.
    void Flush();
    // Releases all views and maps newSize bytes: a file for writing is cut or lengthened, with the space reserved. Size
    // 0 leaves nothing mapped. Throws FileCannotOpenException when the bytes cannot be mapped; nothing is mapped then.
    void Resize(std::uint64_t newSize);

private:
    // What failed. The value between these is nobody's.
    enum class Action {
        OpenForReading = 0,
        OpenForWriting = 1,
        Delete = 3,
        GetView = 4,
        ReleaseView = 5,
    };

    [[nodiscard]] void* CreateHandle(OpenMode mode) const;
    [[nodiscard]] std::uint64_t FileSize() const;
    void CreateFileMappingObject();
    void ReleaseViews();
    [[nodiscard]] bool IsWritable() const { return m_mode != OpenMode::Read; }

    // Throws what the action calls for, with the thread's last error. Returns only for a value that is no action.
    void Throw(Action action) const;
    void ThrowForOpen(OpenMode mode) const;

    const std::string m_filename;
    Kiv::Handle m_file;
    Kiv::Handle m_mapping;
    OpenMode m_mode = OpenMode::Read;
    std::map<std::uint64_t, void*> m_views;
    std::uint64_t m_size = 0;
    std::uint32_t m_defaultViewSize;
};

} // namespace KivFile
