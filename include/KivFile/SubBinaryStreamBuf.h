// A range of another buffer as a buffer of its own.
#pragma once

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/Export.h>

namespace KivFile
{

// The bytes [begin, end) of another buffer. Position 0 is begin; the positions are the other buffer's own, which both
// move. Does not own the other buffer, which must outlive it. One thread at a time.
//
// Reading stops at end, and gives nothing where the position lies behind it. Writing has no bound: a Put may pass end.
// Seeks throw SeekOutOfRangeException for places behind end, backward from the beginning and what 32 bits cannot hold.
// A place before begin is not refused; as a position it has wrapped below 0. Clear, ClearMemory and ClearEnd throw
// std::runtime_error.
class KIVFILE_EXPORT SubBinaryStreamBuf final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    // begin and end are positions of buffer; an end before begin makes an empty range. Takes buffer's get position to
    // begin, and drops its put-back bytes when that is 0. Throws what the seek of buffer throws.
    SubBinaryStreamBuf(const unsigned int& begin, const unsigned int& end, Kiv::BinaryStreamBufT<unsigned int>& buffer);
    ~SubBinaryStreamBuf() override;

protected:
    unsigned int vPut(const void* src, unsigned int n) override;
    unsigned int vTellP() const override;
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vGet(void* dst, unsigned int n) override;
    unsigned int vTellG() const override;
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    void vFlush() override;
    void vClear() override;
    void vClearMemory() override;
    void vClearEnd() override;
    unsigned int vSize() const override { return m_end - m_begin; }
    bool vEndOfFile() const override;

private:
    [[nodiscard]] unsigned int InnerTellG() const;
    [[nodiscard]] unsigned int InnerTarget(unsigned int innerPosition, unsigned int off, Origin origin,
                                           Direction direction) const;

    const unsigned int m_begin;
    const unsigned int m_end;
    Kiv::BinaryStreamBufT<unsigned int>& m_buffer;
};

} // namespace KivFile
