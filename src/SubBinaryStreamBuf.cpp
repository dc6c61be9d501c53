#include <KivFile/SubBinaryStreamBuf.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include <src/SeekTarget.h>

namespace KivFile
{

SubBinaryStreamBuf::SubBinaryStreamBuf(const unsigned int& begin, const unsigned int& end,
                                       Kiv::BinaryStreamBufT<unsigned int>& buffer)
    : m_begin(begin), m_end(std::max(begin, end)), m_buffer(buffer)
{
    if (m_begin == 0)
        m_buffer.DropPutBack();
    m_buffer.SeekG(m_begin);
}

SubBinaryStreamBuf::~SubBinaryStreamBuf() = default;

unsigned int SubBinaryStreamBuf::vPut(const void* src, unsigned int n)
{
    return m_buffer.Put(src, n);
}

unsigned int SubBinaryStreamBuf::vTellP() const
{
    return m_buffer.TellP() - m_begin;
}

unsigned int SubBinaryStreamBuf::vSeekP(unsigned int off, Origin origin, Direction direction)
{
    return m_buffer.SeekP(InnerTarget(m_buffer.TellP(), off, origin, direction)) - m_begin;
}

unsigned int SubBinaryStreamBuf::vGet(void* dst, unsigned int n)
{
    const std::int64_t position = std::int64_t{m_buffer.TellG()} - m_buffer.PutBackIndex();
    const std::int64_t room = std::max<std::int64_t>(0, std::int64_t{m_end} + PutBackIndex() - position);
    return m_buffer.Get(dst, static_cast<unsigned int>(std::min<std::int64_t>(n, room)));
}

unsigned int SubBinaryStreamBuf::vTellG() const
{
    return InnerTellG() - m_begin;
}

unsigned int SubBinaryStreamBuf::vSeekG(unsigned int off, Origin origin, Direction direction)
{
    return m_buffer.SeekG(InnerTarget(InnerTellG(), off, origin, direction)) - m_begin;
}

void SubBinaryStreamBuf::vFlush()
{
    m_buffer.Flush();
}

void SubBinaryStreamBuf::vClear()
{
    throw std::runtime_error("SubBinaryStreamBuf::Clear: Not implemented!");
}

void SubBinaryStreamBuf::vClearMemory()
{
    throw std::runtime_error("SubBinaryStreamBuf::ClearMemory: Not implemented!");
}

void SubBinaryStreamBuf::vClearEnd()
{
    throw std::runtime_error("SubBinaryStreamBuf::ClearEnd: Not implemented!");
}

bool SubBinaryStreamBuf::vEndOfFile() const
{
    return m_begin + vTellG() - PutBackIndex() >= m_end;
}

// The position in the other buffer of what will be read next.
unsigned int SubBinaryStreamBuf::InnerTellG() const
{
    return m_buffer.TellG() - m_buffer.PutBackIndex();
}

unsigned int SubBinaryStreamBuf::InnerTarget(unsigned int innerPosition, unsigned int off, Origin origin,
                                             Direction direction) const
{
    // The beginning of the range is a place of its own in the other buffer, the end is the same place in both.
    if (origin == Beginning && direction == Forward)
        return SeekTargetWithin(m_begin, m_end, off, Current, direction);
    return SeekTargetWithin(innerPosition, m_end, off, origin, direction);
}

} // namespace KivFile
