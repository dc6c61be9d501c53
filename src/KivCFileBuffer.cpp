#include <KivFile/CFileBuffer.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include <src/BufferLimits.h>
#include <src/SeekTarget.h>

namespace KivFile
{

namespace
{

using File = CFileT<unsigned int>;
using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

// All that is ever staged lies in the one block.
std::unique_ptr<MemoryBuffer> MakeStaging(unsigned int capacity)
{
    return capacity == 0 ? nullptr : std::make_unique<MemoryBuffer>(capacity);
}

File::MoveMethod MoveMethodOf(Buffer::Origin origin)
{
    switch (origin) {
    case Buffer::Beginning:
        return File::FromBegin;
    case Buffer::End:
        return File::FromEnd;
    default:
        return File::FromCurrent;
    }
}

unsigned int UnreadIn(const std::unique_ptr<MemoryBuffer>& staging)
{
    return staging ? staging->Size() - staging->TellG() : 0;
}

} // namespace

OCFileBufferT<unsigned int>::OCFileBufferT(File* file, unsigned int capacity)
    : m_file(file), m_staging(MakeStaging(capacity)), m_capacity(capacity)
{
}

OCFileBufferT<unsigned int>::~OCFileBufferT() = default;

unsigned int OCFileBufferT<unsigned int>::vPut(const void* src, unsigned int n)
{
    if (n >= m_capacity) {
        WriteOutStaging();
        return m_file->Write(src, 1, n);
    }
    const unsigned int first = std::min(m_capacity - m_staging->TellP(), n);
    m_staging->Put(src, first);
    if (first < n) {
        WriteOutStaging();
        m_staging->Put(static_cast<const unsigned char*>(src) + first, n - first);
    }
    return n;
}

unsigned int OCFileBufferT<unsigned int>::vTellP() const
{
    const std::uint64_t position = std::uint64_t{m_file->Tell()} + UnreadIn(m_staging);
    return static_cast<unsigned int>(std::min<std::uint64_t>(position, LARGEST_POSITION));
}

unsigned int OCFileBufferT<unsigned int>::vSeekP(unsigned int off, Origin origin, Direction direction)
{
    WriteOutStaging();
    return m_file->Seek(off, MoveMethodOf(origin), direction);
}

unsigned int OCFileBufferT<unsigned int>::vGet(void*, unsigned int)
{
    throw std::runtime_error("OCFileBufferT<T>::Get : Not implemented!");
}

unsigned int OCFileBufferT<unsigned int>::vTellG() const
{
    throw std::runtime_error("OCFileBufferT<T>::TellG : Not implemented!");
}

unsigned int OCFileBufferT<unsigned int>::vSeekG(unsigned int, Origin, Direction)
{
    throw std::runtime_error("OCFileBufferT<T>::SeekG : Not implemented!");
}

void OCFileBufferT<unsigned int>::vFlush()
{
    WriteOutStaging();
    m_file->Flush();
}

void OCFileBufferT<unsigned int>::vClear()
{
    if (m_staging)
        m_staging->Clear();
}

void OCFileBufferT<unsigned int>::vClearMemory()
{
    if (m_staging)
        m_staging->ClearMemory();
}

void OCFileBufferT<unsigned int>::vClearEnd()
{
    throw std::runtime_error("OCFileBufferT<T>::ClearEnd : Not implemented!");
}

unsigned int OCFileBufferT<unsigned int>::vSize() const
{
    return std::max(m_file->Size(), vTellP());
}

bool OCFileBufferT<unsigned int>::vEndOfFile() const
{
    return m_file->EndOfFile() && UnreadIn(m_staging) == 0;
}

// Takes from staging what the file has stored and nothing else, so that what remains after a failure can be tried
// again.
void OCFileBufferT<unsigned int>::WriteOutStaging()
{
    if (!m_staging)
        return;
    unsigned char piece[LARGEST_PIECE];
    while (const unsigned int n = m_staging->Get(piece, LARGEST_PIECE)) {
        const unsigned int start = m_file->Tell();
        try {
            m_file->Write(piece, 1, n);
        } catch (...) {
            const unsigned int stored = m_file->Tell() - start;
            m_staging->SeekG(n - stored, Current, Backward);
            throw;
        }
    }
    m_staging->Clear();
}

ICFileBufferT<unsigned int>::ICFileBufferT(File* file, unsigned int capacity)
    : m_file(file), m_staging(MakeStaging(capacity)), m_capacity(capacity)
{
}

ICFileBufferT<unsigned int>::~ICFileBufferT() = default;

unsigned int ICFileBufferT<unsigned int>::vPut(const void*, unsigned int)
{
    throw std::runtime_error("ICFileBufferT<T>::SeekP: Not implemented!");
}

unsigned int ICFileBufferT<unsigned int>::vTellP() const
{
    throw std::runtime_error("ICFileBuffer::TellP : Not implemented!");
}

unsigned int ICFileBufferT<unsigned int>::vSeekP(unsigned int, Origin, Direction)
{
    throw std::runtime_error("ICFileBufferT<T>::SeekP: Not implemented!");
}

unsigned int ICFileBufferT<unsigned int>::vGet(void* dst, unsigned int n)
{
    if (!m_staging)
        return m_file->Read(dst, 1, n, false);
    if (n < m_capacity && UnreadIn(m_staging) == 0)
        FillStaging();
    const unsigned int staged = m_staging->Get(dst, n);
    if (staged == n)
        return n;
    vClear(); // the file moves on, and what was staged no longer lies right before its position
    return staged + ReadFile(static_cast<unsigned char*>(dst) + staged, n - staged);
}

unsigned int ICFileBufferT<unsigned int>::vTellG() const
{
    return m_file->Tell() - UnreadIn(m_staging);
}

unsigned int ICFileBufferT<unsigned int>::vSeekG(unsigned int off, Origin origin, Direction direction)
{
    const unsigned int staged = m_staging ? m_staging->Size() : 0;
    const unsigned int stagedEnd = m_file->Tell();
    const unsigned int stagedStart = stagedEnd - staged;
    // Only the system knows the end: the file's idea of it rises with every seek behind it.
    const unsigned int target =
        origin == End ? MoveFileFromEnd(off, direction) : SeekTarget(TellG(), 0, off, origin, direction);
    if (staged != 0 && target >= stagedStart && target <= stagedEnd) {
        MoveFile(stagedEnd);
        m_staging->SeekG(target - stagedStart);
    } else {
        MoveFile(target);
        vClear();
    }
    return target;
}

void ICFileBufferT<unsigned int>::vFlush()
{
    throw std::runtime_error("ICFileBufferT<T>::Flush: Not implemented!");
}

void ICFileBufferT<unsigned int>::vClear()
{
    if (m_staging)
        m_staging->Clear();
}

void ICFileBufferT<unsigned int>::vClearMemory()
{
    if (m_staging)
        m_staging->ClearMemory();
}

void ICFileBufferT<unsigned int>::vClearEnd()
{
    throw std::runtime_error("ICFileBufferT<T>::ClearEnd : Not implemented!");
}

unsigned int ICFileBufferT<unsigned int>::vSize() const
{
    return m_file->Size();
}

bool ICFileBufferT<unsigned int>::vEndOfFile() const
{
    return m_file->EndOfFile() && UnreadIn(m_staging) == 0;
}

// A failure leaves nothing staged, and the file where it was if it can be moved.
void ICFileBufferT<unsigned int>::FillStaging()
{
    m_staging->Clear();
    const unsigned int begin = m_file->Tell();
    try {
        StagePieces();
    } catch (...) {
        m_staging->Clear();
        MoveFileBack(begin);
        throw;
    }
}

void ICFileBufferT<unsigned int>::StagePieces()
{
    unsigned char piece[LARGEST_PIECE];
    for (unsigned int left = m_capacity; left != 0;) {
        const unsigned int n = m_file->Read(piece, 1, std::min(left, LARGEST_PIECE), false);
        if (n == 0)
            return;
        m_staging->Put(piece, n);
        left -= n;
    }
}

void ICFileBufferT<unsigned int>::MoveFileBack(unsigned int position)
try {
    if (m_file->Tell() != position)
        MoveFile(position);
} catch (const FileException&) {
    // A pipe does not give its bytes again.
}

// Reads up to n bytes past staging, less only at the end of the file.
unsigned int ICFileBufferT<unsigned int>::ReadFile(void* dst, unsigned int n)
{
    auto to = static_cast<unsigned char*>(dst);
    unsigned int done = 0;
    while (done < n) {
        const unsigned int read = m_file->Read(to + done, 1, std::min(n - done, LARGEST_PIECE), false);
        if (read == 0)
            break;
        done += read;
    }
    return done;
}

// A failure may have moved the file all the same; what is staged then belongs to another place.
unsigned int ICFileBufferT<unsigned int>::MoveFileFromEnd(unsigned int off, Direction direction)
{
    const unsigned int stagedEnd = m_file->Tell();
    try {
        return m_file->Seek(off, File::FromEnd, direction);
    } catch (...) {
        if (m_file->Tell() != stagedEnd)
            vClear();
        throw;
    }
}

void ICFileBufferT<unsigned int>::MoveFile(unsigned int position)
{
    if (m_file->Tell() != position)
        m_file->Seek(position);
}

} // namespace KivFile
