// Files as buffers, each way its own class.
#pragma once

#include <memory>

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/CFile.h>
#include <KivFile/Export.h>
#include <KivFile/MemoryBuffer.h>

namespace KivFile
{

template <class Offset>
class OCFileBufferT;
template <class Offset>
class ICFileBufferT;

// Call Flush before destroying it: what is still staged is lost otherwise.
//
// A buffer that writes to an open file. Writes shorter than the capacity are staged in memory and reach the file
// together; longer ones go straight to it.
//
// Sizes and positions are bytes. Owns its staging; the file is not owned, must outlive the buffer and is not moved by
// others meanwhile. One thread at a time.
// Throws what CFileT throws; what could not be written out then stays staged and is tried again by the next write out.
// Reading, the get position and ClearEnd throw std::runtime_error. Clear and ClearMemory drop what is staged and leave
// the file alone.
template <>
class KIVFILE_EXPORT OCFileBufferT<unsigned int> final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    // Capacity is the number of bytes that can be staged; with 0 every write goes straight to the file.
    OCFileBufferT(CFileT<unsigned int>* file, unsigned int capacity);
    ~OCFileBufferT() override;

protected:
    unsigned int vPut(const void* src, unsigned int n) override;
    unsigned int vTellP() const override;
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vGet(void* dst, unsigned int n) override;
    unsigned int vTellG() const override;
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    // Writes out what is staged, then flushes the file.
    void vFlush() override;
    void vClear() override;
    void vClearMemory() override;
    void vClearEnd() override;
    // The larger of the file's size and the put position.
    unsigned int vSize() const override;
    bool vEndOfFile() const override;

private:
    void WriteOutStaging();

    CFileT<unsigned int>* const m_file;
    const std::unique_ptr<MemoryBuffer> m_staging;
    const unsigned int m_capacity;
};

// A buffer that reads from an open file. Reads shorter than the capacity are answered from staging, which is filled by
// one read of the file; longer ones go straight to the file.
//
// Sizes and positions are bytes. Owns its staging; the file is not owned, must outlive the buffer and is not moved by
// others meanwhile. One thread at a time.
// Throws what CFileT throws. Writing, the put position, Flush and ClearEnd throw std::runtime_error. Clear and
// ClearMemory drop what is staged and leave the file alone, so that reading goes on behind it.
template <>
class KIVFILE_EXPORT ICFileBufferT<unsigned int> final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    // Capacity is the number of bytes that can be staged; with 0 every read goes straight to the file.
    ICFileBufferT(CFileT<unsigned int>* file, unsigned int capacity);
    ~ICFileBufferT() override;

protected:
    unsigned int vPut(const void* src, unsigned int n) override;
    unsigned int vTellP() const override;
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vGet(void* dst, unsigned int n) override;
    unsigned int vTellG() const override;
    // May lead behind the end, where reads yield 0 bytes. Within what is staged the file is not read again.
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    void vFlush() override;
    void vClear() override;
    void vClearMemory() override;
    void vClearEnd() override;
    // The file's size.
    unsigned int vSize() const override;
    bool vEndOfFile() const override;

private:
    void FillStaging();
    void StagePieces();
    void MoveFileBack(unsigned int position);
    unsigned int ReadFile(void* dst, unsigned int n);
    void MoveFile(unsigned int position);
    unsigned int MoveFileFromEnd(unsigned int off, Direction direction);

    CFileT<unsigned int>* const m_file;
    const std::unique_ptr<MemoryBuffer> m_staging;
    const unsigned int m_capacity;
};

} // namespace KivFile
