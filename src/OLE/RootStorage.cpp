#include <KivFile/OLE/Storage.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include <KivFile/FileException.h>

#include <src/OLE/DirectoryEntry.h>
#include <src/OLE/LittleEndian.h>
#include <src/OLE/StreamView.h>

namespace KivFile::OLE
{

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

constexpr unsigned char SIGNATURE[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr unsigned char SIGNATURE_BETA_2[] = {0x0E, 0x11, 0xFC, 0x0D, 0xD0, 0xCF, 0x11, 0xE0};

// Where the fields of the header lie.
constexpr std::size_t BYTE_ORDER_MARK = 28;
constexpr std::size_t SECTOR_SHIFT = 30;
constexpr std::size_t MINI_SECTOR_SHIFT = 32;
constexpr std::size_t NUMBER_OF_FAT_SECTORS = 44;
constexpr std::size_t FIRST_DIRECTORY_SECTOR = 48;
constexpr std::size_t MINI_STREAM_CUTOFF = 56;
constexpr std::size_t FIRST_MINI_FAT_SECTOR = 60;
constexpr std::size_t NUMBER_OF_MINI_FAT_SECTORS = 64;
constexpr std::size_t FIRST_DIFAT_SECTOR = 68;
constexpr std::size_t HEADER_DIFAT = 76;
constexpr std::size_t HEADER_DIFAT_ENTRIES = 109;

constexpr std::uint16_t LITTLE_ENDIAN_MARK = 0xFFFE;
constexpr std::uint32_t MOST_TABLE_SECTORS = 0x10000;
constexpr unsigned int LARGEST_SECTOR = 4096;
constexpr unsigned int SMALLEST_MINI_SECTOR = 64;
constexpr std::size_t TABLE_ENTRY_SIZE = 4;

// The mini stream's blocks, and what of it stays in memory.
constexpr unsigned int MINI_STREAM_BLOCK_SIZE = 32768;
constexpr unsigned int MINI_STREAM_IN_MEMORY = 0x40000;

using SectorEntries = std::array<std::uint32_t, LARGEST_SECTOR / TABLE_ENTRY_SIZE>;

// Copies the pieces of a stream. Short pieces that lie close together, in whatever order, are read at once: reading
// each sector of a scattered stream by itself takes more than twice as long.
class PieceCopier
{
public:
    PieceCopier(const std::vector<Piece>& pieces, Buffer& source, Buffer& destination)
        : m_next(pieces.begin()), m_end(pieces.end()), m_source(source), m_destination(destination)
    {
    }

    // Copies all, or up to where the source fails.
    void Copy()
    {
        while (m_next != m_end) {
            const bool isCopied = m_next->size > m_block.size() ? CopyLongPiece() : CopyNeighbours();
            if (!isCopied)
                return;
        }
    }

private:
    using Iterator = std::vector<Piece>::const_iterator;

    [[nodiscard]] bool CopyLongPiece()
    {
        m_source.SeekG(m_next->offset);
        const unsigned int n = (m_next++)->size;
        return m_source.Copy(m_destination, n) == n;
    }

    // The block is filled with the part of the source in which the next pieces lie, as far as it is there.
    [[nodiscard]] bool CopyNeighbours()
    {
        unsigned int begin = m_next->offset;
        unsigned int end = begin;
        const Iterator last = FindNeighbours(begin, end);
        m_source.SeekG(begin);
        const unsigned int count = m_source.Get(m_block.data(), end - begin);
        unsigned int used = 0;
        bool isWhole = true;
        for (; m_next != last && isWhole; ++m_next) {
            const unsigned int from = std::min(m_next->offset - begin, count);
            const unsigned int there = std::min(m_next->size, count - from);
            std::memcpy(m_ordered.data() + used, m_block.data() + from, there);
            used += there;
            isWhole = there == m_next->size;
        }
        m_destination.Write(m_ordered.data(), used);
        return isWhole;
    }

    // Where the pieces end that fit the block together and fill at least half of what is read for them, which is the
    // part of the source from begin to end.
    [[nodiscard]] Iterator FindNeighbours(unsigned int& begin, unsigned int& end) const
    {
        std::size_t used = 0;
        Iterator piece = m_next;
        for (; piece != m_end; ++piece) {
            const unsigned int newBegin = std::min(begin, piece->offset);
            const unsigned int newEnd = std::max(end, piece->offset + piece->size);
            used += piece->size;
            if (newEnd - newBegin > std::min(m_block.size(), 2 * used))
                break;
            begin = newBegin;
            end = newEnd;
        }
        return piece;
    }

    Iterator m_next;
    const Iterator m_end;
    Buffer& m_source;
    Buffer& m_destination;
    // As the pieces lie in the source, and as they follow each other. No two pieces overlap.
    std::array<unsigned char, 32768> m_block;
    std::array<unsigned char, 32768> m_ordered;
};

} // namespace

const unsigned char* const Storage::RootStorage::OLE_SIG = SIGNATURE;
const unsigned char* const Storage::RootStorage::OLE_SIG_BETA_2 = SIGNATURE_BETA_2;
const Kiv::WString Storage::RootStorage::ROOT_STORAGE_NAME = Kiv::Wide(u"Root Entry");

// Only sectors below the limit have an entry in the table and bytes in the source. The values with a meaning of their
// own (END_OF_CHAIN and the like) lie above it, as do all whose offset would not fit 32 bits.
struct Storage::RootStorage::SectorSpace {
    SectorSpace(const Kiv::FastVector<std::uint32_t>& chains, Kiv::BinaryStreamBufT<unsigned int>& bytes,
                unsigned int sourceSize, unsigned int sectorShift, std::uint32_t slotOfFirst)
        : table(chains), source(bytes), size(sourceSize), shift(sectorShift), firstSlot(slotOfFirst)
    {
        const std::uint64_t slots = SectorsFor(size);
        limit = slots > firstSlot ? std::min<std::uint64_t>(slots - firstSlot, chains.size()) : 0;
    }

    // Sectors that n bytes take.
    [[nodiscard]] std::uint64_t SectorsFor(unsigned int n) const
    {
        return (std::uint64_t{n} + (1u << shift) - 1) >> shift;
    }

    [[nodiscard]] std::uint32_t SectorAt(unsigned int offset) const { return (offset >> shift) - firstSlot; }

    [[nodiscard]] unsigned int OffsetOf(std::uint32_t sector) const
    {
        return static_cast<unsigned int>((std::uint64_t{sector} + firstSlot) << shift);
    }

    // Where the first n bytes of a chain lie, or as many as there are up to its end, its first sector that is not there
    // or the first that it repeats. The marks are all off before and after.
    [[nodiscard]] std::vector<Piece> FindPieces(std::uint32_t sector, std::uint32_t n, std::vector<bool>& marks) const
    {
        std::vector<Piece> pieces;
        pieces.reserve(static_cast<std::size_t>(std::min(limit, SectorsFor(n))));
        for (std::uint32_t position = 0; position < n && sector < limit && !marks[sector]; sector = table[sector]) {
            marks[sector] = true;
            const unsigned int offset = OffsetOf(sector);
            const unsigned int wanted = std::min(1u << shift, n - position);
            const unsigned int there = std::min(wanted, size - offset);
            if (!pieces.empty() && pieces.back().offset + pieces.back().size == offset)
                pieces.back().size += there;
            else
                pieces.push_back({offset, there, position});
            position += there;
            if (there < wanted)
                break;
        }
        for (const Piece& piece : pieces)
            std::fill_n(marks.begin() + SectorAt(piece.offset), SectorsFor(piece.size), false);
        return pieces;
    }

    const Kiv::FastVector<std::uint32_t>& table;
    Kiv::BinaryStreamBufT<unsigned int>& source;
    unsigned int size;
    unsigned int shift;
    std::uint32_t firstSlot;
    std::uint64_t limit;
};

struct Storage::RootStorage::Extents {
    Buffer& source;
    std::vector<Piece> pieces;
};

Storage::RootStorage::RootStorage(const std::string& tempPath, Kiv::BinaryStreamBufT<unsigned int>& buffer)
    : m_tempPath(tempPath), m_source(buffer), m_sourceSize(buffer.Size())
{
    ReadHeader();
    ReadFAT();
    ReadMiniFAT();
    ReadDirectoryChain();
    m_marks.resize(std::max<std::size_t>(m_sourceSize / SMALLEST_MINI_SECTOR + 1, DirectoryIds()));
}

Storage::RootStorage::~RootStorage() = default;

template <class Field>
Field Storage::RootStorage::HeaderField(std::size_t offset) const
{
    return Load<Field>(m_header.data() + offset);
}

void Storage::RootStorage::ReadHeader()
{
    if (m_sourceSize < HEADER_SIZE)
        throw NotAStorageOLEException();
    m_source.Read(m_header.data(), HEADER_SIZE);
    if (!IsStructuredStorage())
        throw NotAStorageOLEException();
    m_sectorShift = HeaderField<std::uint16_t>(SECTOR_SHIFT) & 31u;
    m_miniSectorShift = HeaderField<std::uint16_t>(MINI_SECTOR_SHIFT) & 31u;
    const bool isPlausible = HeaderField<std::uint16_t>(BYTE_ORDER_MARK) == LITTLE_ENDIAN_MARK && m_sectorShift >= 9 &&
                             m_sectorShift <= 12 && m_miniSectorShift >= 6 && m_miniSectorShift <= 9;
    if (!isPlausible)
        throw CorruptedStorageOLEException();
}

bool Storage::RootStorage::IsStructuredStorage() const
{
    return std::memcmp(m_header.data(), OLE_SIG, OLE_SIG_SIZE) == 0 ||
           std::memcmp(m_header.data(), OLE_SIG_BETA_2, OLE_SIG_SIZE) == 0;
}

std::uint32_t Storage::RootStorage::TableSectors(std::size_t offset) const
{
    return std::min(HeaderField<std::uint32_t>(offset), MOST_TABLE_SECTORS);
}

// The header may claim any number of sectors; only those that the document can hold are believed.
void Storage::RootStorage::ReserveTable(Kiv::FastVector<std::uint32_t>& table, std::uint32_t sectors) const
{
    table.reserve(std::min<std::size_t>(sectors, m_sourceSize >> m_sectorShift) * EntriesPerSector());
}

void Storage::RootStorage::ReadFAT()
{
    std::uint32_t left = TableSectors(NUMBER_OF_FAT_SECTORS);
    ReserveTable(m_FAT, left);
    std::array<std::uint32_t, HEADER_DIFAT_ENTRIES> difat;
    std::memcpy(difat.data(), m_header.data() + HEADER_DIFAT, sizeof difat);
    if (ReadFATSectors(difat.data(), difat.size(), left))
        FollowDIFATChain(left);
}

// The last entry of a DIFAT sector is the next one's number.
void Storage::RootStorage::FollowDIFATChain(std::uint32_t left)
{
    SectorEntries difat;
    const std::size_t last = EntriesPerSector() - 1;
    std::vector<bool> visited(m_sourceSize >> m_sectorShift);
    std::uint32_t sector = HeaderField<std::uint32_t>(FIRST_DIFAT_SECTOR);
    while (left != 0 && sector < visited.size() && !visited[sector]) {
        visited[sector] = true;
        if (!ReadSector(sector, difat.data()) || !ReadFATSectors(difat.data(), last, left))
            return;
        sector = difat[last];
    }
}

// Appends the FAT sectors listed to the FAT, at most left of them. Returns false when the FAT ends here: all are read,
// the list says so, or one cannot be read. It also ends when it has become as large as the document, which must then
// list some sector twice.
bool Storage::RootStorage::ReadFATSectors(const std::uint32_t* sectors, std::size_t n, std::uint32_t& left)
{
    for (std::size_t i = 0; i < n; ++i, --left) {
        const bool isEnd = left == 0 || sectors[i] == FREE_SECT || m_FAT.size() >= m_sourceSize / TABLE_ENTRY_SIZE;
        if (isEnd || !AppendSector(sectors[i], m_FAT))
            return false;
    }
    return true;
}

// Entries of mini sectors that the document has no room for are left out: nothing can lie there.
void Storage::RootStorage::ReadMiniFAT()
{
    const std::uint32_t first = HeaderField<std::uint32_t>(FIRST_MINI_FAT_SECTOR);
    if (first == END_OF_CHAIN)
        return;
    ReserveTable(m_miniFAT, TableSectors(NUMBER_OF_MINI_FAT_SECTORS));
    FollowChain(first, [this](std::uint32_t sector) {
        return m_miniFAT.size() <= m_sourceSize >> m_miniSectorShift && AppendSector(sector, m_miniFAT);
    });
}

// A FAT may chain a hundred times as many sectors as the document has. Those that are not there only count.
void Storage::RootStorage::ReadDirectoryChain()
{
    std::uint32_t index = 0;
    bool isThere = true;
    const bool isEnded = FollowChain(HeaderField<std::uint32_t>(FIRST_DIRECTORY_SECTOR), [&](std::uint32_t sector) {
        const std::uint64_t offset = SectorOffset(sector);
        if (offset < m_sourceSize)
            m_directoryChain.push_back({index, sector});
        isThere = isThere && offset + (1u << m_sectorShift) <= m_sourceSize;
        ++index;
        return true;
    });
    m_isDirectoryWhole = isEnded && isThere && index != 0;
}

// Calls use for the sectors of a chain through the FAT, until it returns false, up to the chain's end or the first one
// that it repeats. The last one may be any number: where the FAT is cut short, the sector at which it fails can still
// be read. Returns whether the chain came to its end.
template <class Use>
bool Storage::RootStorage::FollowChain(std::uint32_t sector, Use use) const
{
    std::vector<bool> visited(m_FAT.size());
    while (sector < visited.size() && !visited[sector] && use(sector)) {
        visited[sector] = true;
        sector = m_FAT[sector];
    }
    if (sector >= visited.size() && sector != END_OF_CHAIN)
        use(sector);
    return sector == END_OF_CHAIN;
}

// Reads n bytes of the document; false when they are not all there.
bool Storage::RootStorage::ReadAt(std::uint64_t offset, void* dst, std::size_t n) const
try {
    if (offset + n > m_sourceSize)
        return false;
    m_source.SeekG(static_cast<unsigned int>(offset));
    return m_source.Get(dst, static_cast<unsigned int>(n)) == n;
} catch (const SeekOutOfRangeException&) {
    return false;
} catch (const Kiv::BinaryStreamGetEOFException&) {
    return false;
}

bool Storage::RootStorage::ReadSector(std::uint32_t sector, void* dst) const
{
    return ReadAt(SectorOffset(sector), dst, std::size_t{1} << m_sectorShift);
}

bool Storage::RootStorage::AppendSector(std::uint32_t sector, Kiv::FastVector<std::uint32_t>& table) const
{
    SectorEntries entries;
    if (!ReadSector(sector, entries.data()))
        return false;
    std::copy_n(entries.data(), EntriesPerSector(), table.append(EntriesPerSector()));
    return true;
}

Storage::RootStorage::SectorSpace Storage::RootStorage::Sectors() const
{
    return {m_FAT, m_source, m_sourceSize, m_sectorShift, 1};
}

Storage::RootStorage::SectorSpace Storage::RootStorage::MiniSectors() const
{
    if (!m_miniStream)
        ReadMiniStream();
    return {m_miniFAT, *m_miniStream, m_miniStream->Size(), m_miniSectorShift, 0};
}

void Storage::RootStorage::ReadMiniStream() const
{
    const auto miniStream = Kiv::MakeShared<DiskBuffer>(m_tempPath, MINI_STREAM_BLOCK_SIZE, MINI_STREAM_IN_MEMORY);
    const DirectoryEntry root = GetDirEntry(ROOT_STORAGE_ID);
    if (root.IsValid())
        Copy(Find(Sectors(), root.StartingSector(), root.StreamSize()), *miniStream);
    miniStream->ClearEnd();
    m_miniStream = miniStream;
}

Storage::RootStorage::Extents Storage::RootStorage::Find(const SectorSpace& space, std::uint32_t sector,
                                                         std::uint32_t size) const
{
    return {space.source, space.FindPieces(sector, size, m_marks)};
}

// The stream of a directory entry; empty where there is none.
Storage::RootStorage::Extents Storage::RootStorage::FindStream(std::uint32_t id) const
{
    const DirectoryEntry entry = GetDirEntry(id);
    if (!entry.IsValid() || entry.StreamSize() == 0)
        return {m_source, {}};
    const bool isMini = entry.StreamSize() < HeaderField<std::uint32_t>(MINI_STREAM_CUTOFF);
    return Find(isMini ? MiniSectors() : Sectors(), entry.StartingSector(), entry.StreamSize());
}

void Storage::RootStorage::ReadStream(std::uint32_t id, Buffer& out) const
{
    Copy(FindStream(id), out);
}

// A source that has become shorter meanwhile ends the copy.
void Storage::RootStorage::Copy(const Extents& stream, Buffer& out)
try {
    PieceCopier(stream.pieces, stream.source, out).Copy();
} catch (const SeekOutOfRangeException&) {
    // What is copied stays.
}

// Adds the properties of a stream, if it holds any, and returns the stream's size. They are read where they lie:
// copying a summary with a preview picture takes far longer than reading its properties.
std::uint64_t Storage::RootStorage::ReadProperties(std::uint32_t id, PropertyStorage::EnumMap& byEnum,
                                                   PropertyStorage::NameMap& byName) const
{
    const Extents stream = FindStream(id);
    StreamView view(stream.source, stream.pieces);
    try {
        if (view.Size() != 0)
            PropertyStorage(view).Properties(byEnum, byName);
    } catch (const OLEException&) {
        // No property set. The next stream may be one.
    } catch (const SeekOutOfRangeException&) {
        // The source has become shorter.
    }
    return view.Size();
}

std::size_t Storage::RootStorage::EntriesPerDirectorySector() const
{
    return (std::size_t{1} << m_sectorShift) / DIRECTORY_ENTRY_SIZE;
}

std::size_t Storage::RootStorage::DirectoryIds() const
{
    return m_directoryChain.empty() ? 0
                                    : (m_directoryChain.back().index + std::size_t{1}) * EntriesPerDirectorySector();
}

// The entry with the given id; not valid where there is none.
Storage::RootStorage::DirectoryEntry Storage::RootStorage::GetDirEntry(std::uint32_t id) const
{
    if (const auto known = m_directory.find(id); known != m_directory.end())
        return DirectoryEntry(known->second.data());
    const std::size_t index = id / EntriesPerDirectorySector();
    const auto place = std::ranges::lower_bound(m_directoryChain, index, {}, &DirectorySector::index);
    if (place == m_directoryChain.end() || place->index != index)
        return {};
    EntryBytes bytes;
    const std::size_t offset = id % EntriesPerDirectorySector() * bytes.size();
    const bool isRead = ReadAt(SectorOffset(place->sector) + offset, bytes.data(), bytes.size());
    if (!isRead || !DirectoryEntry(bytes.data()).IsValid())
        return {};
    return DirectoryEntry(m_directory.emplace(id, bytes).first->second.data());
}

// The ids in the tree of a storage's children that are not visited yet, in ascending order.
std::vector<std::uint32_t> Storage::RootStorage::GetStorageEntries(std::uint32_t id, std::vector<bool>& visited) const
{
    std::vector<std::uint32_t> ids;
    const auto visit = [&](std::uint32_t next) {
        if (next < visited.size() && !visited[next]) {
            visited[next] = true;
            ids.push_back(next);
        }
    };
    if (const DirectoryEntry storage = GetDirEntry(id); storage.IsValid())
        visit(storage.Child());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (const DirectoryEntry child = GetDirEntry(ids[i]); child.IsValid()) {
            visit(child.LeftSibling());
            visit(child.RightSibling());
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

void Storage::RootStorage::GetChild(std::uint32_t id, std::vector<Item>& storages, std::vector<Item>& streams) const
{
    const std::vector<std::uint32_t> ids = GetStorageEntries(id, m_marks);
    for (const std::uint32_t child : ids)
        m_marks[child] = false;
    AppendItems(ids, storages, streams);
}

void Storage::RootStorage::AppendItems(const std::vector<std::uint32_t>& ids, std::vector<Item>& storages,
                                       std::vector<Item>& streams) const
{
    for (const std::uint32_t id : ids) {
        const DirectoryEntry entry = GetDirEntry(id);
        if (!entry.IsValid())
            continue;
        Kiv::WString name = entry.Name();
        if (name.empty())
            continue;
        if (entry.ObjectType() == DirectoryEntry::STORAGE)
            storages.push_back({id, std::move(name), 0});
        else if (entry.ObjectType() == DirectoryEntry::STREAM)
            streams.push_back({id, std::move(name), entry.StreamSize()});
    }
}

} // namespace KivFile::OLE
