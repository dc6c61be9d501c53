#include <KivFile/StaticMemoryBuffer.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include <KivFile/CFileBuffer.h>

#include <src/BufferLimits.h>
#include <src/SeekTarget.h>

namespace KivFile
{

namespace
{

constexpr std::uint64_t UNIT = sizeof(Kiv::WString::value_type);

// Copies in pieces of a length that GCC copies in place with the processor's string instruction. Where the bytes come
// from memory and not from a cache, a tokenizer that reads by blocks takes three quarters of the time that it takes
// with the C library's copy of a whole block.
void CopyBlock(void* dst, const void* src, std::size_t n)
{
    constexpr std::size_t PIECE = 1024;
    auto* to = static_cast<unsigned char*>(dst);
    const auto* from = static_cast<const unsigned char*>(src);
    while (n != 0) {
        const std::size_t piece = std::min(n, PIECE);
        std::memcpy(to, from, piece);
        to += piece;
        from += piece;
        n -= piece;
    }
}

} // namespace

StaticMemoryBuffer::StaticMemoryBuffer(void* data, unsigned int size)
    : m_size(size), m_data(static_cast<unsigned char*>(data)), m_isConst(false)
{
}

// The cast is safe: nothing is written while m_isConst is set.
StaticMemoryBuffer::StaticMemoryBuffer(const void* data, unsigned int size)
    : m_size(size), m_data(static_cast<unsigned char*>(const_cast<void*>(data))), m_isConst(true)
{
}

StaticMemoryBuffer::~StaticMemoryBuffer() = default;

unsigned int StaticMemoryBuffer::vPut(const void* src, unsigned int n)
{
    RequireMutable("StaticMemoryBuffer::Put: Buffer is const!");
    const unsigned int count = std::min(n, m_size - m_put);
    if (count != 0)
        std::memmove(m_data + m_put, src, count); // the source may be this span
    m_put += count;
    return count;
}

unsigned int StaticMemoryBuffer::vTellP() const
{
    RequireMutable("StaticMemoryBuffer::TellP: Buffer is const!");
    return m_put;
}

unsigned int StaticMemoryBuffer::vSeekP(unsigned int off, Origin origin, Direction direction)
{
    RequireMutable("StaticMemoryBuffer::SeekP: Buffer is const!");
    return m_put = SeekTargetWithin(m_put, m_size, off, origin, direction);
}

unsigned int StaticMemoryBuffer::vGet(void* dst, unsigned int n)
{
    const unsigned int count = Available(n);
    if (count != 0)
        CopyBlock(dst, m_data + m_get, count);
    m_get += count;
    return count;
}

unsigned int StaticMemoryBuffer::vSeekG(unsigned int off, Origin origin, Direction direction)
{
    return m_get = SeekTargetWithin(m_get, m_size, off, origin, direction);
}

void StaticMemoryBuffer::vClear()
{
    throw std::runtime_error("StaticMemoryBuffer::Clear: Not implemented!");
}

void StaticMemoryBuffer::vClearMemory()
{
    throw std::runtime_error("StaticMemoryBuffer::ClearMemory: Not implemented!");
}

void StaticMemoryBuffer::vClearEnd()
{
    throw std::runtime_error("StaticMemoryBuffer::ClearEnd: Not implemented!");
}

unsigned int StaticMemoryBuffer::vCopy(Kiv::WString& out, unsigned int n)
{
    const unsigned int count = Available(n);
    const std::uint64_t from = UNIT * m_get;
    const std::uint64_t unitsThere = from < m_size ? (m_size - from) / UNIT : 0;
    const auto units = static_cast<std::size_t>(std::min(unitsThere, count / UNIT));
    if (units != 0) {
        const std::size_t length = out.size();
        out.resize(length + units);
        std::memcpy(out.data() + length, m_data + from, units * UNIT);
    }
    m_get += count;
    return count;
}

unsigned int StaticMemoryBuffer::vCopy(std::string& out, unsigned int n)
{
    const unsigned int count = Available(n);
    out.append(reinterpret_cast<const char*>(m_data + m_get), count);
    m_get += count;
    return count;
}

unsigned int StaticMemoryBuffer::vCopy(Kiv::BaseBinaryStreamBuf& dst, unsigned int n)
{
    const unsigned int count = Available(n);
    const bool toFile = dynamic_cast<OCFileBufferT<unsigned int>*>(&dst) != nullptr;
    const unsigned int largestPiece = toFile ? LARGEST_PIECE : count;
    for (unsigned int done = 0; done < count;) {
        const unsigned int piece = std::min(count - done, largestPiece);
        dst.Put(m_data + m_get + done, piece);
        done += piece;
    }
    m_get += count;
    return count;
}

void StaticMemoryBuffer::RequireMutable(const char* refusal) const
{
    if (m_isConst)
        throw std::runtime_error(refusal);
}

// How many of n bytes are there to be read.
unsigned int StaticMemoryBuffer::Available(unsigned int n) const
{
    return std::min(n, m_size - m_get);
}

} // namespace KivFile
