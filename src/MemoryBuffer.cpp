#include <KivFile/MemoryBuffer.h>

#include <algorithm>
#include <cstdint>

#include <KivFile/CFileBuffer.h>
#include <KivMem/MemoryPool.h>

#include <src/BufferLimits.h>
#include <src/SeekTarget.h>

namespace KivFile
{

namespace
{

struct PoolDelete {
    void operator()(unsigned char* block) const noexcept { KivMem::MemoryPool::Delete(block); }
};

} // namespace

MemoryBuffer::MemoryBuffer(unsigned int blockSize) : m_blockSize(blockSize == 0 ? DEFAULT_BLOCK_SIZE : blockSize) {}

MemoryBuffer::MemoryBuffer(const void* data, unsigned int size, unsigned int blockSize) : MemoryBuffer(blockSize)
{
    SetFromBuffer(data, size);
}

MemoryBuffer::~MemoryBuffer()
{
    FreeBlocksFrom(0);
}

void MemoryBuffer::SetFromBuffer(const void* data, unsigned int size)
{
    if (data == nullptr) {
        ClearMemory();
        return;
    }
    Clear();
    Write(data, size);
}

unsigned int MemoryBuffer::Capacity() const
{
    const std::uint64_t capacity = std::uint64_t{m_blocks.size()} * m_blockSize;
    return static_cast<unsigned int>(std::min<std::uint64_t>(capacity, LARGEST_POSITION));
}

unsigned int MemoryBuffer::vSeekP(unsigned int off, Origin origin, Direction direction)
{
    const unsigned int target = SeekTarget(m_put, m_size, off, origin, direction);
    if (target > m_size) {
        if (target - m_size > LARGEST_POSITION - m_put)
            throw SeekOutOfRangeException();
        Write(nullptr, target - m_size);
    }
    return m_put = target;
}

unsigned int MemoryBuffer::vSeekG(unsigned int off, Origin origin, Direction direction)
{
    return m_get = SeekTargetWithin(m_get, m_size, off, origin, direction);
}

void MemoryBuffer::vClear()
{
    m_size = m_get = m_put = 0;
}

void MemoryBuffer::vClearMemory()
{
    FreeBlocksFrom(0);
    m_size = m_get = m_put = 0;
}

void MemoryBuffer::vClearEnd()
{
    FillGap();
    const std::uint64_t needed = (std::uint64_t{m_put} + m_blockSize - 1) / m_blockSize;
    FreeBlocksFrom(static_cast<std::size_t>(needed));
    m_size = m_put;
}

unsigned int MemoryBuffer::vCopy(Kiv::BaseBinaryStreamBuf& dst, unsigned int n)
{
    if (auto* file = dynamic_cast<OCFileBufferT<unsigned int>*>(&dst))
        return CopyTo(*file, n);
    return CopyTo(dst, n);
}

void MemoryBuffer::AllocChunk()
{
    std::unique_ptr<unsigned char, PoolDelete> block(static_cast<unsigned char*>(KivMem::MemoryPool::New(m_blockSize)));
    m_blocks.push_back(block.get());
    block.release();
}

void MemoryBuffer::FreeBlocksFrom(std::size_t index)
{
    while (m_blocks.size() > index) {
        KivMem::MemoryPool::Delete(m_blocks.back());
        m_blocks.pop_back();
    }
    m_getBlock = m_putBlock = Block();
}

// The block that holds a position; the one right behind the last block is made. The last byte of a block that would
// end at 4 GiB has no position behind it and is not used.
MemoryBuffer::Block MemoryBuffer::BlockAt(unsigned int position)
{
    const unsigned int index = position / m_blockSize;
    if (index == m_blocks.size())
        AllocChunk();
    const unsigned int start = index * m_blockSize;
    return {m_blocks[index], start, std::min(m_blockSize, LARGEST_POSITION - start)};
}

// Calls use(where, length) for the n bytes from a position on, a piece of one block at a time, and advances the
// position behind each piece that use returns from. block is left at the last one. Returns n.
template <class Use>
unsigned int MemoryBuffer::ForEachPiece(unsigned int& position, Block& block, unsigned int n, Use use)
{
    for (unsigned int left = n; left != 0;) {
        block = BlockAt(position);
        const unsigned int offset = position - block.start;
        const unsigned int length = std::min({left, block.size - offset, LARGEST_PIECE});
        use(block.data + offset, length);
        position += length;
        left -= length;
    }
    return n;
}

void MemoryBuffer::FillGap()
{
    if (m_put <= m_size)
        return;
    const unsigned int target = m_put;
    m_put = m_size;
    PutAcrossBlocks(nullptr, target - m_size);
}

unsigned int MemoryBuffer::PutAcrossBlocks(const void* src, unsigned int n)
{
    FillGap();
    auto from = static_cast<const unsigned char*>(src);
    return ForEachPiece(m_put, m_putBlock, std::min(n, LARGEST_POSITION - m_put),
                        [&](unsigned char* piece, unsigned int length) {
                            if (from == nullptr) {
                                std::memset(piece, 0, length);
                            } else {
                                std::memmove(piece, from, length);
                                from += length;
                            }
                            m_size = std::max(m_size, m_put + length);
                        });
}

unsigned int MemoryBuffer::GetAcrossBlocks(void* dst, unsigned int n)
{
    auto to = static_cast<unsigned char*>(dst);
    return ForEachPiece(m_get, m_getBlock, std::min(n, Remaining()),
                        [&](const unsigned char* piece, unsigned int length) {
                            std::memcpy(to, piece, length);
                            to += length;
                        });
}

// A file either takes all of a piece or throws.
unsigned int MemoryBuffer::CopyTo(OCFileBufferT<unsigned int>& dst, unsigned int n)
{
    return ForEachPiece(m_get, m_getBlock, std::min(n, Remaining()),
                        [&](const unsigned char* piece, unsigned int length) { dst.Put(piece, length); });
}

unsigned int MemoryBuffer::CopyTo(Kiv::BaseBinaryStreamBuf& dst, unsigned int n)
{
    return ForEachPiece(m_get, m_getBlock, std::min(n, Remaining()),
                        [&](const unsigned char* piece, unsigned int length) { dst.Write(piece, length); });
}

} // namespace KivFile
