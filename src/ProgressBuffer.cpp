#include <KivFile/ProgressBuffer.h>

#include <algorithm>

namespace KivFile
{

namespace
{

constexpr unsigned int SMALLEST_CHUNK = 4096;

} // namespace

// ---- What both have in common -------------------------------------------------------------------------------

ProgressBuffer::ProgressBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer,
                               const Kiv::SmartPtr<Kiv::LogEntryCallInterface>& log, unsigned int chunk)
    : BinaryStreamBufWrapper(buffer), m_log(log), m_chunk(std::max(SMALLEST_CHUNK, chunk))
{
}

ProgressBuffer::~ProgressBuffer() = default;

void ProgressBuffer::UpdateChunk(unsigned int chunk)
{
    m_chunk = std::max(SMALLEST_CHUNK, chunk);
}

unsigned int ProgressBuffer::ChunkFor(unsigned int total, unsigned int maxUpdates)
{
    return total / std::max(1u, maxUpdates);
}

void ProgressBuffer::Report(double ratio) const
{
    if (m_log)
        m_log->Progress(ratio);
}

// ---- Writing ------------------------------------------------------------------------------------------------

OProgressBuffer::OProgressBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer,
                                 const Kiv::SmartPtr<Kiv::LogEntryCallInterface>& log, unsigned int total,
                                 unsigned int maxUpdates)
    : ProgressBuffer(buffer, log, ChunkFor(total, maxUpdates)), m_total(total), m_nextThreshold(UpdateChunk())
{
}

OProgressBuffer::~OProgressBuffer() = default;

unsigned int OProgressBuffer::vPut(const void* src, unsigned int n)
{
    const unsigned int taken = Wrapped().Put(src, n);
    m_processed += n;
    if (m_processed >= m_nextThreshold) {
        Report(m_processed >= m_total ? 1.0 : static_cast<double>(m_processed) / m_total);
        m_nextThreshold = m_processed + UpdateChunk();
    }
    return taken;
}

// ---- Reading ------------------------------------------------------------------------------------------------

IProgressBuffer::IProgressBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer,
                                 const Kiv::SmartPtr<Kiv::LogEntryCallInterface>& log, unsigned int total,
                                 unsigned int maxUpdates)
    : ProgressBuffer(buffer, log, 0), m_total(total != 0 ? total : buffer.Size())
{
    UpdateChunk(ChunkFor(m_total, maxUpdates));
}

IProgressBuffer::~IProgressBuffer() = default;

unsigned int IProgressBuffer::vGet(void* dst, unsigned int n)
{
    const unsigned int position = Wrapped().TellG() - Wrapped().PutBackIndex();
    const unsigned int delivered = Wrapped().Get(dst, n);
    m_processed += n;
    if (m_total != 0 && m_processed >= UpdateChunk() && m_lastReported < position) {
        Report(static_cast<double>(position) / m_total);
        m_processed = 0;
        m_lastReported = position;
    }
    return delivered;
}

} // namespace KivFile
