#include <ios>
#include <limits>
#include <stdexcept>
#include <streambuf>

#include <KivFile/FileException.h>
#include <KivFile/IStreamBuffer.h>
#include <KivFile/OStreamBuffer.h>

namespace KivFile
{

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

constexpr unsigned int NO_POSITION = 0xFFFFFFFF;
constexpr unsigned int LARGEST_OFFSET = std::numeric_limits<std::int32_t>::max();

// The position, in or out, of a stream that has not failed.
std::streamoff Position(const std::ios& stream, std::ios::openmode side)
{
    return stream.fail() ? -1 : std::streamoff{stream.rdbuf()->pubseekoff(0, std::ios::cur, side)};
}

unsigned int Narrow(std::streamoff position)
{
    return position < 0 || position > NO_POSITION ? NO_POSITION : static_cast<unsigned int>(position);
}

unsigned int SizeOf(const std::ios& stream, std::ios::openmode side)
{
    const std::streamoff position = Position(stream, side);
    if (!stream.fail())
        stream.rdbuf()->pubseekoff(0, std::ios::end, side);
    const std::streamoff size = Position(stream, side);
    if (!stream.fail())
        stream.rdbuf()->pubseekpos(position, side);
    return Narrow(size);
}

// Clears a stream that has met its end and moves it unless it has failed otherwise.
void Seek(std::ios& stream, unsigned int off, Buffer::Origin origin, Buffer::Direction direction,
          std::ios::openmode side)
{
    const bool forward = direction == Buffer::Forward;
    if (off > LARGEST_OFFSET || (origin == Buffer::Beginning && !forward))
        throw SeekOutOfRangeException();
    if (stream.eof())
        stream.clear();
    if (stream.fail())
        return;
    const std::ios::seekdir way = origin == Buffer::Beginning ? std::ios::beg
                                  : origin == Buffer::End     ? std::ios::end
                                                              : std::ios::cur;
    stream.rdbuf()->pubseekoff(forward ? std::streamoff{off} : -std::streamoff{off}, way, side);
}

[[noreturn]] void Refuse(const char* text)
{
    throw std::runtime_error(text);
}

} // namespace

// ---- Output -------------------------------------------------------------------------------------------------

OStreamBuffer::OStreamBuffer(std::ostream& stream) : BinaryStreamBufT(WRITABLE), m_stream(stream) {}

OStreamBuffer::OStreamBuffer(std::ostream* stream, bool owns)
    : BinaryStreamBufT(WRITABLE), m_owned(owns ? stream : nullptr), m_stream(*stream)
{
}

OStreamBuffer::~OStreamBuffer() = default;

unsigned int OStreamBuffer::vPut(const void* src, unsigned int n)
{
    m_stream.write(static_cast<const char*>(src), n);
    return n;
}

unsigned int OStreamBuffer::vTellP() const
{
    return Narrow(Position(m_stream, std::ios::out));
}

unsigned int OStreamBuffer::vSeekP(unsigned int off, Origin origin, Direction direction)
{
    Seek(m_stream, off, origin, direction, std::ios::out);
    return vTellP();
}

unsigned int OStreamBuffer::vSize() const
{
    return SizeOf(m_stream, std::ios::out);
}

bool OStreamBuffer::vEndOfFile() const
{
    return m_stream.eof();
}

unsigned int OStreamBuffer::vGet(void*, unsigned int)
{
    Refuse("OStreamBuffer::Get : Not implemented!");
}

unsigned int OStreamBuffer::vTellG() const
{
    Refuse("OStreamBuffer::TellG : Not implemented!");
}

unsigned int OStreamBuffer::vSeekG(unsigned int, Origin, Direction)
{
    Refuse("OStreamBuffer::SeekG : Not implemented!");
}

void OStreamBuffer::vClear()
{
    Refuse("OStreamBuffer::Clear : Not implemented!");
}

void OStreamBuffer::vClearMemory()
{
    Refuse("OStreamBuffer::ClearMemory : Not implemented!");
}

void OStreamBuffer::vClearEnd()
{
    Refuse("OStreamBuffer::ClearEnd : Not implemented!");
}

// ---- Input --------------------------------------------------------------------------------------------------

IStreamBuffer::IStreamBuffer(std::istream& stream) : m_stream(stream) {}

IStreamBuffer::IStreamBuffer(std::istream* stream, bool owns) : m_owned(owns ? stream : nullptr), m_stream(*stream) {}

IStreamBuffer::~IStreamBuffer() = default;

unsigned int IStreamBuffer::vGet(void* dst, unsigned int n)
{
    m_stream.read(static_cast<char*>(dst), n);
    return static_cast<unsigned int>(m_stream.gcount());
}

unsigned int IStreamBuffer::vTellG() const
{
    return Narrow(Position(m_stream, std::ios::in));
}

unsigned int IStreamBuffer::vSeekG(unsigned int off, Origin origin, Direction direction)
{
    Seek(m_stream, off, origin, direction, std::ios::in);
    m_stream.clear();
    return vTellG() - PutBackIndex();
}

unsigned int IStreamBuffer::vSize() const
{
    return SizeOf(m_stream, std::ios::in);
}

bool IStreamBuffer::vEndOfFile() const
{
    return m_stream.eof();
}

// The words of the seek: programs know them.
unsigned int IStreamBuffer::vPut(const void*, unsigned int)
{
    Refuse("IStreamBuffer::SeekP: Not implemented!");
}

unsigned int IStreamBuffer::vTellP() const
{
    Refuse("PStreamBuffer::TellP : Not implemented!");
}

unsigned int IStreamBuffer::vSeekP(unsigned int, Origin, Direction)
{
    Refuse("IStreamBuffer::SeekP: Not implemented!");
}

void IStreamBuffer::vClear()
{
    Refuse("IStreamBuffer::Clear : Not implemented!");
}

void IStreamBuffer::vClearMemory()
{
    Refuse("IStreamBuffer::ClearMemory : Not implemented!");
}

void IStreamBuffer::vClearEnd()
{
    Refuse("IStreamBuffer::ClearEnd : Not implemented!");
}

} // namespace KivFile
