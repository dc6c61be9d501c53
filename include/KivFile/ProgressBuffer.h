// Buffers that tell how far the reading or writing of another buffer has come.
#pragma once

#include <cstdint>

#include <KivBase/BinaryStreamBuf.h>
#include <KivBase/LogEntryCallInterface.h>
#include <KivBase/SmartPtr.h>
#include <KivFile/Export.h>

namespace KivFile
{

// What both have in common: every operation is passed on to another buffer, which is not owned and must outlive this
// one, and the log hears of the progress each time that about a chunk of bytes has gone through. The log is called on
// the thread that reads or writes; no log hears nothing. Only Put and Get (and so Write and Read) are observed, no
// copies from this buffer.
class KIVFILE_EXPORT ProgressBuffer : public Kiv::BinaryStreamBufWrapper
{
public:
    // How many reports make a smooth bar.
    static constexpr unsigned int ms_DefaultMaxProgressUpdate = 100;

    ~ProgressBuffer() override;

    // The bytes between two reports, never less than 4096.
    [[nodiscard]] unsigned int UpdateChunk() const { return m_chunk; }
    void UpdateChunk(unsigned int chunk);

protected:
    ProgressBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer, const Kiv::SmartPtr<Kiv::LogEntryCallInterface>& log,
                   unsigned int chunk);

    // The chunk with which total bytes make at most maxUpdates reports.
    [[nodiscard]] static unsigned int ChunkFor(unsigned int total, unsigned int maxUpdates);
    void Report(double ratio) const;

private:
    const Kiv::SmartPtr<Kiv::LogEntryCallInterface> m_log;
    unsigned int m_chunk;
};

// Reports on writing. Every byte that a Put is asked to take counts, and the ratio is at most 1; it is 1 when the total
// is 0.
class KIVFILE_EXPORT OProgressBuffer final : public ProgressBuffer
{
public:
    // total is the number of bytes that will be written; maxUpdates 0 means 1.
    OProgressBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer, const Kiv::SmartPtr<Kiv::LogEntryCallInterface>& log,
                    unsigned int total, unsigned int maxUpdates = ms_DefaultMaxProgressUpdate);
    ~OProgressBuffer() override;

protected:
    unsigned int vPut(const void* src, unsigned int n) override;

private:
    const unsigned int m_total;
    std::uint64_t m_processed = 0;
    std::uint64_t m_nextThreshold;
};

// Reports on reading: the place where a read begins, once a chunk has been asked for and the place lies behind the last
// one reported. The ratio passes 1 where the total is less than there is. Nothing is reported of an empty buffer.
class KIVFILE_EXPORT IProgressBuffer final : public ProgressBuffer
{
public:
    // total is the number of bytes that will be read, 0 for the size of buffer; maxUpdates 0 means 1.
    IProgressBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer, const Kiv::SmartPtr<Kiv::LogEntryCallInterface>& log,
                    unsigned int total = 0, unsigned int maxUpdates = ms_DefaultMaxProgressUpdate);
    ~IProgressBuffer() override;

protected:
    unsigned int vGet(void* dst, unsigned int n) override;

private:
    unsigned int m_total;
    std::uint64_t m_processed = 0;
    unsigned int m_lastReported = 0;
};

} // namespace KivFile
