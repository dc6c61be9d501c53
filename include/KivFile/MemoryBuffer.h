// A growable buffer in memory.
#pragma once

#include <cstring>
#include <memory>

#include <KivBase/BinaryStreamBuf.h>
#include <KivBase/FastVector.h>
#include <KivFile/Export.h>

namespace KivFile
{

template <class Offset>
class OCFileBufferT;

// Content held in memory as a list of equal blocks: byte i lies in block i / block size. Growing appends a block and
// moves no content.
//
// Positions and sizes are bytes. Owns its blocks, which come from the family's pool. One thread at a time.
// A seek never takes the get position behind the end, but ClearEnd may leave it there; it then reads 0 bytes until the
// content has grown past it again. The put position may lie behind the end after a seek; the next Put or ClearEnd fills
// the gap with zeros. Put stores zeros where src is null, and takes all n bytes, or as many as the largest position of
// 4 GiB - 1 leaves room for.
// Throws SeekOutOfRangeException from seeks, positions unchanged, and std::bad_alloc when there is no memory; what was
// stored before that stays.
class KIVFILE_EXPORT MemoryBuffer final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    static constexpr unsigned int DEFAULT_BLOCK_SIZE = 1024;

    // An empty buffer without blocks. Block size 0 means DEFAULT_BLOCK_SIZE.
    explicit MemoryBuffer(unsigned int blockSize = DEFAULT_BLOCK_SIZE);
    // A buffer with a copy of size bytes of data, as by SetFromBuffer; the get position is 0.
    MemoryBuffer(const void* data, unsigned int size, unsigned int blockSize = DEFAULT_BLOCK_SIZE);
    ~MemoryBuffer() override;

    // Replaces the content by a copy of size bytes of data; a null pointer does what ClearMemory does. The put position
    // is then the size, the get position 0. data must not lie in this buffer.
    void SetFromBuffer(const void* data, unsigned int size);

    // Bytes held in blocks, used or not; at most 4 GiB - 1 is told.
    [[nodiscard]] unsigned int Capacity() const;

protected:
    unsigned int vPut(const void* src, unsigned int n) override
    {
        unsigned char* const room = src != nullptr && m_put <= m_size ? m_putBlock.Find(m_put, n) : nullptr;
        if (room == nullptr)
            return PutAcrossBlocks(src, n);
        std::memmove(room, src, n); // the source may be this buffer
        m_put += n;
        if (m_put > m_size)
            m_size = m_put;
        return n;
    }

    unsigned int vGet(void* dst, unsigned int n) override
    {
        const unsigned char* const content = n <= Remaining() ? m_getBlock.Find(m_get, n) : nullptr;
        if (content == nullptr)
            return GetAcrossBlocks(dst, n);
        std::memcpy(dst, content, n);
        m_get += n;
        return n;
    }

    unsigned int vTellP() const override { return m_put; }
    // Going behind the end writes as many zeros as that is behind it, at the old put position: an append when that was
    // the end, otherwise content is overwritten.
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vTellG() const override { return m_get; }
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    void vFlush() override {}
    // Keeps the blocks for reuse.
    void vClear() override;
    void vClearMemory() override;
    // Frees the blocks behind the put position.
    void vClearEnd() override;
    unsigned int vSize() const override { return m_size; }
    bool vEndOfFile() const override { return m_get >= m_size; }

    using BinaryStreamBufT::vCopy;
    unsigned int vCopy(Kiv::BaseBinaryStreamBuf& dst, unsigned int n) override;

private:
    // The block that was used last, and the position of its first byte. Small transfers are answered from it inline,
    // which makes 16-byte writes four times and 16-byte reads six times as fast.
    struct Block {
        unsigned char* data = nullptr;
        unsigned int start = 0;
        unsigned int size = 0;

        // Where a position lies, null unless n bytes from there are in the block. n is not 0.
        unsigned char* Find(unsigned int position, unsigned int n) const
        {
            const unsigned int offset = position - start;
            return n <= size && offset <= size - n ? data + offset : nullptr;
        }
    };

    void AllocChunk();
    void FreeBlocksFrom(std::size_t index);
    Block BlockAt(unsigned int position);
    template <class Use>
    unsigned int ForEachPiece(unsigned int& position, Block& block, unsigned int n, Use use);

    unsigned int Remaining() const { return m_get < m_size ? m_size - m_get : 0; }
    void FillGap();
    unsigned int PutAcrossBlocks(const void* src, unsigned int n);
    unsigned int GetAcrossBlocks(void* dst, unsigned int n);
    unsigned int CopyTo(OCFileBufferT<unsigned int>& dst, unsigned int n);
    unsigned int CopyTo(Kiv::BaseBinaryStreamBuf& dst, unsigned int n);

    Kiv::PointerVector<unsigned char> m_blocks;
    const unsigned int m_blockSize;
    unsigned int m_size = 0;
    unsigned int m_get = 0;
    unsigned int m_put = 0;
    Block m_getBlock;
    Block m_putBlock;
};

} // namespace KivFile
