#include <KivBase/BinaryStreamBuf.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <KivBase/BinaryStream.h>

namespace Kiv
{

namespace
{

constexpr unsigned int COPY_PIECE = 32768;

// Appends the whole code units among count bytes.
void AppendUnits(WString& out, const unsigned char* bytes, unsigned int count)
{
    const std::size_t units = count / sizeof(unsigned short);
    const std::size_t end = out.size();
    out.resize(end + units);
    if (units != 0)
        std::memcpy(out.data() + end, bytes, units * sizeof(unsigned short));
}

} // namespace

BaseBinaryStreamBuf::~BaseBinaryStreamBuf() = default;

// ---- The public operations ----------------------------------------------------------------------------------

using StreamBuf = BinaryStreamBufT<unsigned int>;

StreamBuf::~BinaryStreamBufT() = default;

unsigned int StreamBuf::Copy(WString& out, unsigned int n)
{
    const unsigned int taken = CopyPutBack(out, n);
    return taken < n ? taken + vCopy(out, n - taken) : taken;
}

unsigned int StreamBuf::Copy(std::string& out, unsigned int n)
{
    const unsigned int taken = std::min(n, PutBackUnread());
    out.append(reinterpret_cast<const char*>(UnreadPutBack()), taken);
    ConsumePutBack(taken);
    return taken < n ? taken + vCopy(out, n - taken) : taken;
}

unsigned int StreamBuf::Copy(BinaryStreamT<unsigned int>& dst, unsigned int n)
{
    return Copy(static_cast<BaseBinaryStreamBuf&>(dst.Buffer()), n);
}

unsigned int StreamBuf::Copy(BaseBinaryStreamBuf& dst, unsigned int n)
{
    const unsigned int taken = std::min(n, PutBackUnread());
    if (taken != 0)
        dst.Write(UnreadPutBack(), taken);
    ConsumePutBack(taken);
    return taken < n ? taken + vCopy(dst, n - taken) : taken;
}

void StreamBuf::Clear()
{
    DropPutBack();
    vClear();
}

void StreamBuf::ClearMemory()
{
    Clear();
    vClearMemory();
}

void StreamBuf::ThrowGetEOF()
{
    throw BinaryStreamGetEOFException();
}

void StreamBuf::ThrowPutEOF()
{
    throw BinaryStreamPutEOFException();
}

// ---- The put-back area --------------------------------------------------------------------------------------

void StreamBuf::PutBack(const void* data, unsigned int n)
{
    const unsigned int unread = PutBackUnread();
    if (n > std::numeric_limits<unsigned int>::max() - unread)
        throw std::length_error("more bytes put back than a buffer can count");
    if (n == 0)
        return;

    std::unique_ptr<unsigned char[]> area(new unsigned char[std::size_t{n} + unread]);
    std::memcpy(area.get(), data, n);
    if (unread != 0)
        std::memcpy(area.get() + n, UnreadPutBack(), unread);
    m_putBack = std::move(area);
    m_putBackLength = n + unread;
    m_putBackIndex = 0;
}

void StreamBuf::DropPutBack() noexcept
{
    m_putBack.reset();
    m_putBackLength = 0;
    m_putBackIndex = 0;
}

void StreamBuf::ConsumePutBack(unsigned int n) noexcept
{
    m_putBackIndex += n;
    if (m_putBackIndex == m_putBackLength)
        DropPutBack();
}

unsigned int StreamBuf::GetAfterPutBack(void* dst, unsigned int n)
{
    const unsigned int taken = std::min(n, PutBackUnread());
    std::memcpy(dst, UnreadPutBack(), taken);
    ConsumePutBack(taken);
    return taken < n ? taken + vGet(static_cast<unsigned char*>(dst) + taken, n - taken) : taken;
}

unsigned int StreamBuf::CopyPutBack(WString& out, unsigned int n)
{
    const unsigned int taken = std::min(n, PutBackUnread());
    AppendUnits(out, UnreadPutBack(), taken);
    if (taken % 2 == 0 || taken == n) {
        ConsumePutBack(taken);
        return taken;
    }
    // The last byte put back is half a code unit; its other half is the next byte of the content.
    ConsumePutBack(taken - 1);
    unsigned char unit[2] = {*UnreadPutBack(), 0};
    const unsigned int joined = vGet(unit + 1, 1);
    ConsumePutBack(1);
    AppendUnits(out, unit, 1 + joined);
    return taken + joined;
}

// ---- Copies through vGet ------------------------------------------------------------------------------------

template <class Sink>
unsigned int StreamBuf::CopyInPieces(unsigned int n, Sink sink)
{
    unsigned char piece[COPY_PIECE];
    unsigned int total = 0;
    while (total < n) {
        const unsigned int read = vGet(piece, std::min(n - total, COPY_PIECE));
        if (read == 0)
            break;
        sink(piece, read);
        total += read;
    }
    return total;
}

unsigned int StreamBuf::vCopy(WString& out, unsigned int n)
{
    return CopyInPieces(n, [&](const unsigned char* piece, unsigned int count) { AppendUnits(out, piece, count); });
}

unsigned int StreamBuf::vCopy(std::string& out, unsigned int n)
{
    return CopyInPieces(n, [&](const unsigned char* piece, unsigned int count) {
        out.append(reinterpret_cast<const char*>(piece), count);
    });
}

unsigned int StreamBuf::vCopy(BaseBinaryStreamBuf& dst, unsigned int n)
{
    return CopyInPieces(n, [&](const unsigned char* piece, unsigned int count) { dst.Write(piece, count); });
}

// ---- The wrapper --------------------------------------------------------------------------------------------

BinaryStreamBufWrapper::~BinaryStreamBufWrapper() = default;

unsigned int BinaryStreamBufWrapper::vPut(const void* src, unsigned int n)
{
    return m_buffer.vPut(src, n);
}

unsigned int BinaryStreamBufWrapper::vTellP() const
{
    return m_buffer.vTellP();
}

unsigned int BinaryStreamBufWrapper::vSeekP(unsigned int off, Origin origin, Direction direction)
{
    return m_buffer.vSeekP(off, origin, direction);
}

unsigned int BinaryStreamBufWrapper::vGet(void* dst, unsigned int n)
{
    return m_buffer.vGet(dst, n);
}

unsigned int BinaryStreamBufWrapper::vTellG() const
{
    return m_buffer.vTellG();
}

unsigned int BinaryStreamBufWrapper::vSeekG(unsigned int off, Origin origin, Direction direction)
{
    return m_buffer.vSeekG(off, origin, direction);
}

void BinaryStreamBufWrapper::vFlush()
{
    m_buffer.vFlush();
}

void BinaryStreamBufWrapper::vClear()
{
    m_buffer.vClear();
}

void BinaryStreamBufWrapper::vClearMemory()
{
    m_buffer.vClearMemory();
}

void BinaryStreamBufWrapper::vClearEnd()
{
    m_buffer.vClearEnd();
}

unsigned int BinaryStreamBufWrapper::vSize() const
{
    return m_buffer.vSize();
}

bool BinaryStreamBufWrapper::vEndOfFile() const
{
    return m_buffer.vEndOfFile();
}

unsigned int BinaryStreamBufWrapper::vCopy(WString& out, unsigned int n)
{
    return m_buffer.vCopy(out, n);
}

unsigned int BinaryStreamBufWrapper::vCopy(std::string& out, unsigned int n)
{
    return m_buffer.vCopy(out, n);
}

unsigned int BinaryStreamBufWrapper::vCopy(BaseBinaryStreamBuf& dst, unsigned int n)
{
    return m_buffer.vCopy(dst, n);
}

} // namespace Kiv
