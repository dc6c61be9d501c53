// Makes compound documents and property sets in memory, valid ones; whoever needs a damaged one breaks a field.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace KivTest
{

template <class Value>
void Poke(std::string& bytes, std::size_t offset, Value value)
{
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

inline std::uint32_t Peek(const std::string& bytes, std::size_t offset)
{
    std::uint32_t value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

template <class... Values>
std::string Bytes(Values... values)
{
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}

// Of the values of a vector, or of the units of a UTF-16 text.
template <class Values>
std::string BytesOf(const Values& values)
{
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof values[0]};
}

// The sizes of everything made here fit the fields of the format.
inline std::uint32_t Count(std::size_t n)
{
    return static_cast<std::uint32_t>(n);
}

// Sectors are laid out as: content in the order of the entries, mini stream, mini FAT, directory, FAT, DIFAT.
class DocumentBuilder
{
public:
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;
    static constexpr std::uint32_t END = 0xFFFFFFFE;

    unsigned int sectorShift = 9;
    // Swaps every two neighbouring sectors of each stream.
    bool isFragmented = false;

    // Both return the directory id.
    std::uint32_t AddStorage(std::uint32_t parent, std::u16string name)
    {
        return Add(parent, {std::move(name), {}, 1});
    }
    std::uint32_t AddStream(std::uint32_t parent, std::u16string name, std::string content)
    {
        return Add(parent, {std::move(name), std::move(content), 2});
    }

    std::string Build()
    {
        Space sectors{sectorShift, {}, {}}, miniSectors{MINI_SECTOR_SHIFT, {}, {}};
        m_entries[0].content.clear();
        for (Entry& entry : m_entries)
            entry.start = AddChain(entry.content.size() < CUTOFF ? miniSectors : sectors, entry.content);
        m_entries[0].content = miniSectors.bytes;
        m_entries[0].start = AddChain(sectors, miniSectors.bytes);
        const std::uint32_t miniFAT = AddChain(sectors, BytesOf(miniSectors.table));
        m_directory = AddChain(sectors, Directory());
        return WithTables(sectors, miniFAT, SectorsFor(miniSectors.table.size() * 4, SectorSize()));
    }

    // Where things lie in the document built last.
    [[nodiscard]] std::size_t EntryOffset(std::uint32_t id) const { return Offset(m_directory) + id * 128; }
    [[nodiscard]] std::size_t FATOffset(std::uint32_t sector) const { return Offset(m_FAT) + sector * 4; }
    [[nodiscard]] std::size_t Offset(std::uint32_t sector) const { return (sector + 1) * SectorSize(); }

private:
    static constexpr std::uint32_t MINI_SECTOR_SHIFT = 6;
    static constexpr std::uint32_t CUTOFF = 4096;
    static constexpr std::uint32_t HEADER_DIFAT = 109;

    struct Entry {
        std::u16string name;
        std::string content;
        unsigned char type = 0;
        std::uint32_t right = NONE;
        std::uint32_t child = NONE;
        std::uint32_t start = END;
    };

    // Sectors, and for each the one that follows it.
    struct Space {
        unsigned int shift;
        std::string bytes;
        std::vector<std::uint32_t> table;
    };

    // The parent's children hang in one line of right siblings.
    std::uint32_t Add(std::uint32_t parent, Entry entry)
    {
        std::uint32_t* link = &m_entries[parent].child;
        while (*link != NONE)
            link = &m_entries[*link].right;
        *link = Count(m_entries.size());
        m_entries.push_back(std::move(entry));
        return Count(m_entries.size() - 1);
    }

    [[nodiscard]] std::size_t SectorSize() const { return std::size_t{1} << sectorShift; }
    static std::uint32_t SectorsFor(std::size_t n, std::size_t size) { return Count((n + size - 1) / size); }

    // Returns its first sector.
    std::uint32_t AddChain(Space& space, const std::string& content) const
    {
        const std::size_t size = std::size_t{1} << space.shift;
        const std::uint32_t first = Count(space.table.size());
        const std::uint32_t count = SectorsFor(content.size(), size);
        const auto place = [&](std::uint32_t i) { return first + (isFragmented && (i ^ 1) < count ? i ^ 1 : i); };
        space.table.resize(first + count, END);
        space.bytes.resize(space.table.size() * size);
        for (std::uint32_t i = 0; i < count; ++i) {
            content.copy(space.bytes.data() + place(i) * size, size, i * size);
            space.table[place(i)] = i + 1 < count ? place(i + 1) : END;
        }
        return count == 0 ? END : place(0);
    }

    std::string WithTables(Space& sectors, std::uint32_t miniFAT, std::uint32_t miniFATSectors)
    {
        m_FAT = Count(sectors.table.size());

        const std::size_t perSector = SectorSize() / 4;
        std::uint32_t fatSectors = 0, difatSectors = 0;
        while (fatSectors * perSector < m_FAT + fatSectors + difatSectors) {
            ++fatSectors;
            difatSectors = Count((std::max(fatSectors, HEADER_DIFAT) - HEADER_DIFAT + perSector - 2) / (perSector - 1));
        }
        sectors.table.resize(m_FAT + fatSectors, 0xFFFFFFFD);
        sectors.table.resize(m_FAT + fatSectors + difatSectors, 0xFFFFFFFC);
        sectors.table.resize(fatSectors * perSector, NONE);
        const std::vector<std::uint32_t> difat = DIFAT(fatSectors, difatSectors);
        std::string header = Bytes(0xE11AB1A1E011CFD0ull, 0ull, 0ull, 0x0003003Eu, 0xFFFEu | sectorShift << 16,
                                   MINI_SECTOR_SHIFT, 0u, 0u, fatSectors, m_directory, 0u, CUTOFF, miniFAT,
                                   miniFATSectors, difatSectors == 0 ? END : m_FAT + fatSectors, difatSectors) +
                             BytesOf(difat).substr(0, HEADER_DIFAT * 4);
        header.resize(SectorSize());
        return header + sectors.bytes + BytesOf(sectors.table) + BytesOf(difat).substr(HEADER_DIFAT * 4);
    }

    [[nodiscard]] std::string Directory() const
    {
        std::string directory;
        for (const Entry& entry : m_entries) {
            std::string bytes = BytesOf(entry.name);
            bytes.resize(64);
            bytes += Bytes(static_cast<std::uint16_t>(entry.name.size() * 2 + 2), entry.type, '\0', NONE, entry.right,
                           entry.child);
            bytes.resize(116);
            directory += bytes + Bytes(entry.start, Count(entry.content.size()), 0u);
        }
        return directory;
    }

    // The FAT's sectors. The last entry of each DIFAT sector is the next one's number.
    [[nodiscard]] std::vector<std::uint32_t> DIFAT(std::uint32_t fatSectors, std::uint32_t difatSectors) const
    {
        const std::uint32_t perSector = Count(SectorSize() / 4);
        std::vector<std::uint32_t> difat;
        for (std::uint32_t i = 0; i < fatSectors; ++i)
            difat.push_back(m_FAT + i);
        difat.resize(HEADER_DIFAT + difatSectors * (perSector - 1), NONE);
        for (std::uint32_t i = 1; i <= difatSectors; ++i)
            difat.insert(difat.begin() + HEADER_DIFAT + i * perSector - 1,
                         i == difatSectors ? END : m_FAT + fatSectors + i);
        return difat;
    }

    std::vector<Entry> m_entries{{u"Root Entry", {}, 5}};
    // The first sectors of both.
    std::uint32_t m_directory = 0;
    std::uint32_t m_FAT = 0;
};

inline constexpr std::string_view SUMMARY("\xE0\x85\x9F\xF2\xF9\x4F\x68\x10\xAB\x91\x08\x00\x2B\x27\xB3\xD9", 16);
inline constexpr std::string_view DOC_SUMMARY("\x02\xD5\xCD\xD5\x9C\x2E\x1B\x10\x93\x97\x08\x00\x2B\x2C\xF9\xAE", 16);
inline constexpr std::string_view USER_DEFINED("\x05\xD5\xCD\xD5\x9C\x2E\x1B\x10\x93\x97\x08\x00\x2B\x2C\xF9\xAE", 16);

// The properties of a section in the order of its list: id, and what lies at its offset.
using Pairs = std::vector<std::pair<std::uint32_t, std::string>>;

inline std::string Section(const Pairs& pairs)
{
    std::string list, values;
    for (const auto& [id, value] : pairs) {
        list += Bytes(id, Count(8 + pairs.size() * 8 + values.size()));
        values += value;
        values.resize((values.size() + 3) / 4 * 4);
    }
    return Bytes(Count(8 + list.size() + values.size()), Count(pairs.size())) + list + values;
}

// A property set of sections, each with its format identifier.
inline std::string PropertySet(const std::vector<std::pair<std::string_view, std::string>>& sections)
{
    std::string list, content;
    for (const auto& [id, section] : sections) {
        list += std::string(id) + Bytes(Count(28 + sections.size() * 20 + content.size()));
        content += section;
    }
    return Bytes(0xFFFEu, 0x00020105u, 0ull, 0ull, Count(sections.size())) + list + content;
}

// A text with its type, as it lies at a property's offset.
inline std::string Text(std::string_view text)
{
    return Bytes(30u, Count(text.size())) + std::string(text);
}

} // namespace KivTest
