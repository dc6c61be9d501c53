// One open file.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <KivBase/BinaryStreamBuf.h>
#include <KivBase/Handle.h>
#include <KivFile/Export.h>
#include <KivFile/FileException.h>
#include <KivFile/Path.h>

namespace KivFile
{

// What every file has whatever its offset type: a path, and one place that turns failures into exceptions.
class KIVFILE_EXPORT CFileBase
{
public:
    CFileBase(const CFileBase&) = delete;
    CFileBase& operator=(const CFileBase&) = delete;

    // Write or read elementSize * count bytes at the file pointer and return the bytes transferred. A read may come
    // short unless it is exact.
    virtual unsigned int Write(const void* src, unsigned int elementSize, unsigned int count) = 0;
    virtual unsigned int Read(void* dst, unsigned int elementSize, unsigned int count, bool exact) = 0;

protected:
    // What failed. The values between these are nobody's.
    enum class Action {
        OpenForReading = 0,
        OpenForWriting = 1,
        Delete = 3,
        Seek = 5, // and changes of the length
        Write = 6,
        Read = 7,
        QueryAttributes = 8,
    };

    explicit CFileBase(const std::string& path);
    virtual ~CFileBase();

    // Throws what the action and the thread's last error call for, with the full path and the system's words in the
    // text. Returns only for a value that is no action.
    void Throw(Action action) const;

    PathT<char> m_path;

    // Whether the file system of a drive, named by its letter, supports sparse files. Filled as drives are met.
    static std::map<char, bool> m_mSparseDrive;
};

template <class Offset>
class CFileT;

// One file, opened through the narrow system calls, with 32-bit position and size. No stream buffer in itself: the
// buffered file streams, the disk buffer and others hold one and call it.
//
// Sizes and positions are bytes. Owns the file's handle. One thread at a time; the map of sparse drives is shared by
// all files without a lock, so files that ask to be sparse are opened on one thread.
// The position and the size are the object's own idea of the file's: the size follows the position upward, so a seek
// behind the end raises it, and only Open and Resize lower it.
// A position that would pass 4 GiB - 1 is the failure of the operation that led there.
// Throws SeekOutOfRangeException, with the file untouched, for seeks and extensions out of range; for every failure of
// the system what the operation names below.
template <>
class KIVFILE_EXPORT CFileT<unsigned int> : public CFileBase
{
public:
    using Direction = Kiv::BinaryStreamBufT<unsigned int>::Direction;

    // How the file will be used. DeleteOnClose makes a file that vanishes when it is closed.
    enum AccessHint { Normal = 0, Sequential = 1, Random = 2, Temporary = 3, DeleteOnClose = 4 };

    enum class OpenMode {
        Read = 0,      // an existing file; others may read it too
        ReadWrite = 1, // a file that is made when it does not exist; nobody else may open it
        Truncate = 2,  // the same, and its content is discarded
    };

    // What a seek is relative to, in the system's numbers.
    enum MoveMethod { FromBegin = 0, FromCurrent = 1, FromEnd = 2 };

    // A closed file. Unless buffered, writes go through to the medium. A file that is to be sparse is marked so by the
    // first Open when its drive can hold sparse files.
    explicit CFileT(const std::string& path, AccessHint accessHint = Normal, bool buffered = true, bool sparse = false);

    // Throws WriteErrorException unless every byte was stored; the position is then behind those that were.
    unsigned int Write(const void* src, unsigned int elementSize, unsigned int count) override;
    // Throws FileException on failure, and when an exact read comes short; the position is then behind what was read.
    unsigned int Read(void* dst, unsigned int elementSize, unsigned int count, bool exact) override;

    // Closes the file.
    ~CFileT() override;

    // Opens the file at position 0 and returns its size; a file that is open already is closed first. A mode that is
    // none of the three starts anew with the file that is open.
    // Throws SharingViolationException, FileAccessDeniedException or FileCannotOpenException, and FileException when
    // the attributes of a file to be made sparse cannot be read.
    virtual unsigned int Open(OpenMode mode);
    // Does nothing to a closed file.
    virtual void Close();
    // Closes the file and removes it if it exists. Throws FileCannotDeleteException.
    virtual void Delete();

    [[nodiscard]] virtual unsigned int Tell() const;
    // Whether the position is the size.
    [[nodiscard]] virtual bool EndOfFile() const;
    // Moves the file pointer and returns the new position. Anything but Forward is backward, which must not lead
    // before the beginning and is refused from there; the end is the system's. Throws FileException on failure.
    virtual unsigned int Seek(unsigned int offset, MoveMethod method = FromBegin,
                              Direction direction = Kiv::BinaryStreamBufT<unsigned int>::Forward);
    [[nodiscard]] virtual unsigned int Size() const;
    // Cuts or lengthens the file to newSize, where the file pointer is then too. Nothing happens when that is the size
    // already, unless forced. Throws FileException on failure; the size is then the old one, the position may be
    // newSize.
    virtual void Resize(unsigned int newSize, bool force);
    // Pushes the system's buffers of a writable file to the medium. What the medium refuses is not told.
    virtual void Flush();
    // Lengthens the file by count bytes at its end, where the file pointer is then too. Throws FileException on
    // failure.
    virtual void Extend(unsigned int count);

private:
    [[nodiscard]] void* CreateHandle(OpenMode mode) const;
    [[nodiscard]] bool DriveHoldsSparseFiles() const;
    void MakeSparse();
    [[nodiscard]] bool MoveFilePointer(std::int64_t distance, MoveMethod method);
    std::uint32_t ByteCount(unsigned int elementSize, unsigned int count, Action action) const;
    void Advance(std::uint32_t count, Action action);
    void ThrowTooLarge(Action action) const;

    Kiv::Handle m_handle;
    const AccessHint m_accessHint;
    const bool m_buffered;
    bool m_writable = false;
    bool m_sparseRequested;
    unsigned int m_position = 0;
    unsigned int m_size = 0;
    void* m_backupContext = nullptr;
};

} // namespace KivFile
