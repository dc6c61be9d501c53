// A buffer over memory that the caller owns.
#pragma once

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/Export.h>

namespace KivFile
{

// A span of the caller's memory as a buffer. It never grows: a Put at its end takes 0 bytes.
//
// Positions and sizes are bytes. Owns nothing; the memory must outlive the buffer. One thread at a time.
// Invariants: both positions are at most the size.
// Over constant memory, writing and the put position throw std::runtime_error; Clear, ClearMemory and ClearEnd throw it
// over any memory. Seeks throw SeekOutOfRangeException, positions unchanged.
class KIVFILE_EXPORT StaticMemoryBuffer final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    // A span that can be read and overwritten.
    StaticMemoryBuffer(void* data, unsigned int size);
    // A span that can only be read.
    StaticMemoryBuffer(const void* data, unsigned int size);
    ~StaticMemoryBuffer() override;

protected:
    unsigned int vPut(const void* src, unsigned int n) override;
    unsigned int vTellP() const override;
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vGet(void* dst, unsigned int n) override;
    unsigned int vTellG() const override { return m_get; }
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    void vFlush() override {}
    void vClear() override;
    void vClearMemory() override;
    void vClearEnd() override;
    unsigned int vSize() const override { return m_size; }
    bool vEndOfFile() const override { return m_get >= m_size; }

    // The wide form reads its code units at twice the get position; those that lie behind the span are left out. It
    // counts and advances like the others.
    unsigned int vCopy(Kiv::WString& out, unsigned int n) override;
    unsigned int vCopy(std::string& out, unsigned int n) override;
    // Advances and counts by what was there to copy, whatever dst took of it.
    unsigned int vCopy(Kiv::BaseBinaryStreamBuf& dst, unsigned int n) override;

private:
    void RequireMutable(const char* refusal) const;
    unsigned int Available(unsigned int n) const;

    const unsigned int m_size;
    unsigned int m_get = 0;
    unsigned int m_put = 0;
    unsigned char* const m_data;
    const bool m_isConst;
};

} // namespace KivFile
