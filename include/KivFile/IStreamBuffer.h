// An input stream of the standard library as a buffer.
#pragma once

#include <istream>
#include <memory>

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/Export.h>

namespace KivFile
{

// What is got comes from the stream. Writing, the put position and clearing throw std::runtime_error.
//
// Positions are the stream's. The failures of a stream are no exceptions: Get comes short, and the position and the
// size of a stream that has failed, or does not know them, or has them beyond 4 GiB - 1, are 0xFFFFFFFF. A Get that
// comes short at the stream's end is such a failure, which a seek takes away: a seek leaves every stream in good state.
// Seeks throw SeekOutOfRangeException for an offset of 2 GiB or more and backward from the beginning; what the stream
// refuses leaves the position as it was. EndOfFile is the stream's end-of-file flag: false until a Get meets the end.
class KIVFILE_EXPORT IStreamBuffer final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    // The stream must outlive the buffer.
    explicit IStreamBuffer(std::istream& stream);
    // The same, or, when owns is set, a stream that the buffer deletes with itself.
    IStreamBuffer(std::istream* stream, bool owns);
    ~IStreamBuffer() override;

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
    const std::unique_ptr<std::istream> m_owned;
    std::istream& m_stream;
};

} // namespace KivFile
