// An output stream of the standard library as a buffer.
#pragma once

#include <memory>
#include <ostream>

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/Export.h>

namespace KivFile
{

// What is put goes to the stream. Mode() is WRITABLE alone: reading, and clearing, throw std::runtime_error.
//
// Positions are the stream's. The failures of a stream are no exceptions: Put counts all bytes as taken whatever became
// of them, and the position and the size of a stream that has failed, or does not know them, or has them beyond
// 4 GiB - 1, are 0xFFFFFFFF. Ask the stream itself whether all was written. Flush does nothing.
// Seeks throw SeekOutOfRangeException for an offset of 2 GiB or more and backward from the beginning; what the stream
// refuses leaves the position as it was. EndOfFile is the stream's end-of-file flag.
class KIVFILE_EXPORT OStreamBuffer final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    // The stream must outlive the buffer.
    explicit OStreamBuffer(std::ostream& stream);
    // The same, or, when owns is set, a stream that the buffer deletes with itself.
    OStreamBuffer(std::ostream* stream, bool owns);
    ~OStreamBuffer() override;

protected:
    unsigned int vPut(const void* src, unsigned int n) override;
    unsigned int vTellP() const override;
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vGet(void* dst, unsigned int n) override;
    unsigned int vTellG() const override;
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    void vFlush() override {}
    void vClear() override;
    void vClearMemory() override;
    void vClearEnd() override;
    unsigned int vSize() const override;
    bool vEndOfFile() const override;

private:
    const std::unique_ptr<std::ostream> m_owned;
    std::ostream& m_stream;
};

} // namespace KivFile
