#include <KivFile/DiskBuffer.h>

#include <algorithm>

#include <platform/Platform.h>
#include <src/BufferLimits.h>
#include <src/SeekTarget.h>

namespace KivFile
{

namespace
{

using SpillFile = CFileT<unsigned int>;

} // namespace

const std::string DiskBuffer::DEFAULT_NAME_TEMPLATE = "KivDiskBuffer-";
const std::string DiskBuffer::DEFAULT_NAME_EXT = "tmp";
const std::string DiskBuffer::ms_defaultDirectory = KivSys::TemporaryDirectory();
const std::uint32_t DiskBuffer::ms_processId = KivSys::GetCurrentProcessId();
std::atomic<std::uint32_t> DiskBuffer::ms_counter{0};

DiskBuffer::DiskBuffer(const std::string& directory, unsigned int blockSize, unsigned int memoryBufferSize)
    : m_cache(blockSize), m_cacheSize(memoryBufferSize), m_directory(directory)
{
}

DiskBuffer::~DiskBuffer() = default;

unsigned int DiskBuffer::vPut(const void* src, unsigned int n)
{
    m_put = std::min(m_put, m_size);
    const unsigned int count = std::min(n, LARGEST_POSITION - m_put);
    auto from = static_cast<const unsigned char*>(src);
    for (unsigned int left = count; left != 0;) {
        const unsigned int piece = PieceAt(m_put, left);
        PutPiece(from, piece);
        from += piece;
        left -= piece;
    }
    EnsureOffsetInCache(m_put);
    return count;
}

unsigned int DiskBuffer::vSeekP(unsigned int off, Origin origin, Direction direction)
{
    return Seek(m_put, off, origin, direction);
}

unsigned int DiskBuffer::vGet(void* dst, unsigned int n)
{
    m_get = std::min(m_get, m_size);
    const unsigned int begin = m_get;
    const unsigned int count = std::min(n, m_size - m_get);
    try {
        GetPieces(static_cast<unsigned char*>(dst), count);
        EnsureOffsetInCache(m_get);
    } catch (...) {
        m_get = begin; // what was not delivered is not passed over
        throw;
    }
    return count;
}

void DiskBuffer::GetPieces(unsigned char* dst, unsigned int count)
{
    for (unsigned int left = count; left != 0;) {
        const unsigned int piece = PieceAt(m_get, left);
        GetPiece(dst, piece);
        dst += piece;
        left -= piece;
    }
}

unsigned int DiskBuffer::vSeekG(unsigned int off, Origin origin, Direction direction)
{
    return Seek(m_get, off, origin, direction);
}

void DiskBuffer::vFlush()
{
    if (m_file)
        m_file->Flush();
}

void DiskBuffer::vClear()
{
    DropPutBack();
    m_file.reset();
    m_put = 0;
    vClearEnd();
    m_cacheStart = 0;
}

void DiskBuffer::vClearMemory()
{
    m_cache.ClearMemory();
}

void DiskBuffer::vClearEnd()
{
    m_size = m_put = std::min(m_put, m_size);
    m_get = std::min(m_get, m_size);
    const unsigned int kept = CachedBytes();
    m_cache.SeekP(kept);
    m_cache.ClearEnd();
    m_dirty = m_dirty && kept != 0;
    if (m_file)
        m_file->Resize(m_size, true);
}

std::string DiskBuffer::GetTempFileNameW(const std::string& directory, const std::string& nameTemplate,
                                         const std::string& extension)
{
    const std::string& base = directory.empty() ? ms_defaultDirectory : directory;
    // A root ends in its separator, and a second one would make a network name of it.
    const bool endsInSeparator = base.ends_with('/') || base.ends_with('\\');
    std::string name = base + (endsInSeparator ? "" : "/") + nameTemplate + std::to_string(ms_processId) + "-" +
                       std::to_string(++ms_counter);
    if (!extension.empty())
        name += "." + extension;
    return name;
}

void DiskBuffer::OpenAndSeek(unsigned int offset)
{
    if (!m_file) {
        auto file = std::make_unique<SpillFile>(GetTempFileNameW(m_directory, DEFAULT_NAME_TEMPLATE, DEFAULT_NAME_EXT),
                                                SpillFile::DeleteOnClose);
        file->Open(SpillFile::OpenMode::Truncate);
        m_file = std::move(file);
    }
    if (m_file->Tell() != offset)
        m_file->Seek(offset);
}

// Moves the window to an offset that it does not hold.
void DiskBuffer::EnsureOffsetInCache(unsigned int offset)
{
    if (m_cacheSize == 0 || IsInCache(offset) || IsWholeContentInCache(offset))
        return;
    if (m_dirty) {
        WriteToFile(m_cache, m_cacheStart, CachedBytes());
        m_dirty = false;
    }
    // A window behind the content holds none of it: that is what a failing read leaves.
    m_cacheStart = m_size;
    m_cache.Clear();
    ReadFromFile(m_cache, offset, std::min(m_size - offset, m_cacheSize));
    m_cacheStart = offset;
}

void DiskBuffer::WriteToFile(const void* src, unsigned int offset, unsigned int count)
{
    OpenAndSeek(offset);
    m_file->Write(src, 1, count);
}

void DiskBuffer::WriteToFile(MemoryBuffer& src, unsigned int offset, unsigned int count)
{
    OpenAndSeek(offset);
    src.SeekG(0);
    unsigned char piece[LARGEST_PIECE];
    while (const unsigned int n = src.Get(piece, std::min(count, LARGEST_PIECE))) {
        m_file->Write(piece, 1, n);
        count -= n;
    }
}

void DiskBuffer::ReadFromFile(void* dst, unsigned int offset, unsigned int count)
{
    OpenAndSeek(offset);
    m_file->Read(dst, 1, count, true);
}

void DiskBuffer::ReadFromFile(MemoryBuffer& dst, unsigned int offset, unsigned int count)
{
    unsigned char piece[LARGEST_PIECE];
    for (unsigned int done = 0; done < count;) {
        const unsigned int n = std::min(count - done, LARGEST_PIECE);
        ReadFromFile(piece, offset + done, n);
        dst.Put(piece, n);
        done += n;
    }
}

bool DiskBuffer::IsInCache(unsigned int offset) const
{
    return offset >= m_cacheStart && offset - m_cacheStart < m_cacheSize;
}

// Whether the offset is the end of a content that just fills the window. Moving on would make a file for nothing.
bool DiskBuffer::IsWholeContentInCache(unsigned int offset) const
{
    return !m_file && offset == m_size && m_cacheStart == 0 && m_size == m_cacheSize;
}

// How many of the n bytes from an offset on lie on the same side of the window's borders.
unsigned int DiskBuffer::PieceAt(unsigned int offset, unsigned int n) const
{
    if (offset < m_cacheStart)
        return std::min(n, m_cacheStart - offset);
    if (IsInCache(offset))
        return std::min(n, m_cacheSize - (offset - m_cacheStart));
    return n;
}

// How much of the content the window holds.
unsigned int DiskBuffer::CachedBytes() const
{
    return m_size > m_cacheStart ? std::min(m_size - m_cacheStart, m_cacheSize) : 0;
}

void DiskBuffer::PutPiece(const unsigned char* src, unsigned int n)
{
    if (IsInCache(m_put))
        PutIntoCache(src, n);
    else
        PutIntoFile(src, n);
}

void DiskBuffer::PutIntoCache(const unsigned char* src, unsigned int n)
{
    m_cache.SeekP(m_put - m_cacheStart);
    m_dirty = true;
    try {
        AdvancePut(m_cache.Put(src, n));
    } catch (...) {
        AdvancePut(m_cacheStart + m_cache.TellP() - m_put);
        throw;
    }
}

void DiskBuffer::PutIntoFile(const unsigned char* src, unsigned int n)
{
    OpenAndSeek(m_put);
    try {
        WriteToFile(src, m_put, n);
    } catch (...) {
        AdvancePut(m_file->Tell() - m_put);
        throw;
    }
    AdvancePut(n);
}

void DiskBuffer::AdvancePut(unsigned int count)
{
    m_put += count;
    m_size = std::max(m_size, m_put);
}

void DiskBuffer::GetPiece(unsigned char* dst, unsigned int n)
{
    if (IsInCache(m_get)) {
        m_cache.SeekG(m_get - m_cacheStart);
        m_cache.Read(dst, n);
    } else {
        ReadFromFile(dst, m_get, n);
    }
    m_get += n;
}

// The position is stored before it is found to lie behind the end.
unsigned int DiskBuffer::Seek(unsigned int& position, unsigned int off, Origin origin, Direction direction)
{
    const unsigned int rest = position < m_size ? m_size - position : 0;
    if (origin == Current && direction == Forward && off > rest)
        throw SeekOutOfRangeException();
    position = SeekTarget(position, m_size, off, origin, direction);
    if (position > m_size)
        throw SeekOutOfRangeException();
    return position;
}

} // namespace KivFile
