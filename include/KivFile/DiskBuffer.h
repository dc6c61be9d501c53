// A buffer of any length with a window in memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/CFile.h>
#include <KivFile/Export.h>
#include <KivFile/MemoryBuffer.h>

namespace KivFile
{

// Scratch content of which only a window (the cache) stays in memory; the rest goes to a spill file, which is made when
// content first leaves the window and vanishes when the buffer goes.
//
// Positions and sizes are bytes. Owns its spill file. One thread at a time; the names of spill files are unique
// among all buffers of the process.
// The cache holds the content from m_cacheStart on, m_cacheSize bytes at most; what lies outside is always in the spill
// file, what lies inside is there too unless the cache is dirty. The window moves to the position where a Put or Get
// ends outside it, never on a seek.
// A position is at most the size, except after a seek that failed behind the end: it keeps that position, which Put,
// Get and ClearEnd take for the size.
// Throws SeekOutOfRangeException from seeks and whatever CFileT throws for the spill file. What a failed Put stored is
// part of the content.
class KIVFILE_EXPORT DiskBuffer final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    static const std::string DEFAULT_NAME_TEMPLATE; // "KivDiskBuffer-"
    static const std::string DEFAULT_NAME_EXT;      // "tmp"

    // An empty buffer; no file is made. The spill file goes into directory, or into the temporary directory where that
    // is empty. The cache holds memoryBufferSize bytes in blocks of blockSize; with 0 every byte goes to the file.
    DiskBuffer(const std::string& directory, unsigned int blockSize, unsigned int memoryBufferSize);
    ~DiskBuffer() override;

    // The size of the cache.
    [[nodiscard]] unsigned int MemoryBufferSize() const { return m_cacheSize; }
    // The directory given.
    [[nodiscard]] const std::string& Path() const { return m_directory; }

protected:
    unsigned int vPut(const void* src, unsigned int n) override;
    unsigned int vTellP() const override { return m_put; }
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vGet(void* dst, unsigned int n) override;
    unsigned int vTellG() const override { return m_get; }
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    // Flushes the spill file; a dirty cache is not written to it.
    void vFlush() override;
    // Removes the spill file too; the next one has a new name.
    void vClear() override;
    void vClearMemory() override;
    void vClearEnd() override;
    unsigned int vSize() const override { return m_size; }
    bool vEndOfFile() const override { return m_get >= m_size; }

private:
    static std::string GetTempFileNameW(const std::string& directory, const std::string& nameTemplate,
                                        const std::string& extension);

    void OpenAndSeek(unsigned int offset);
    void EnsureOffsetInCache(unsigned int offset);
    void WriteToFile(const void* src, unsigned int offset, unsigned int count);
    void WriteToFile(MemoryBuffer& src, unsigned int offset, unsigned int count);
    void ReadFromFile(void* dst, unsigned int offset, unsigned int count);
    void ReadFromFile(MemoryBuffer& dst, unsigned int offset, unsigned int count);

    [[nodiscard]] bool IsInCache(unsigned int offset) const;
    [[nodiscard]] bool IsWholeContentInCache(unsigned int offset) const;
    [[nodiscard]] unsigned int PieceAt(unsigned int offset, unsigned int n) const;
    [[nodiscard]] unsigned int CachedBytes() const;
    void PutPiece(const unsigned char* src, unsigned int n);
    void PutIntoCache(const unsigned char* src, unsigned int n);
    void PutIntoFile(const unsigned char* src, unsigned int n);
    void AdvancePut(unsigned int count);
    void GetPieces(unsigned char* dst, unsigned int count);
    void GetPiece(unsigned char* dst, unsigned int n);
    unsigned int Seek(unsigned int& position, unsigned int off, Origin origin, Direction direction);

    static const std::string ms_defaultDirectory;
    static const std::uint32_t ms_processId;
    static std::atomic<std::uint32_t> ms_counter;

    MemoryBuffer m_cache;
    const unsigned int m_cacheSize;
    unsigned int m_cacheStart = 0;
    bool m_dirty = false;
    const std::string m_directory;
    std::unique_ptr<CFileT<unsigned int>> m_file;
    unsigned int m_get = 0;
    unsigned int m_put = 0;
    unsigned int m_size = 0;
};

} // namespace KivFile
