// Makes compound documents and property sets in memory, valid ones; whoever needs a damaged one breaks a field.
#pragma once

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

template <class... Values>
std::string Bytes(Values... values)
{
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}

inline std::string Utf16(std::u16string_view text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
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

    // Adds a storage (type 1) or a stream (type 2) and returns its directory id. The parent's children hang in one
    // line of right siblings.
    std::uint32_t Add(std::uint32_t parent, std::u16string name, unsigned char type, std::string content = {})
    {
        const auto id = static_cast<std::uint32_t>(m_entries.size());
        std::uint32_t* link = &m_entries[parent].child;
        while (*link != NONE)
            link = &m_entries[*link].right;
        *link = id;
        m_entries.push_back({std::move(name), std::move(content), type});
        return id;
    }
    std::uint32_t AddStorage(std::uint32_t parent, std::u16string name) { return Add(parent, std::move(name), 1); }
    std::uint32_t AddStream(std::uint32_t parent, std::u16string name, std::string content)
    {
        return Add(parent, std::move(name), 2, std::move(content));
    }

    std::string Build()
    {
        m_sectors.assign(SectorSize(), '\0');
        m_FAT.clear();
        std::string header = Bytes(0xE11AB1A1E011CFD0ull);
        header.resize(SectorSize());
        std::string miniFAT = PlaceStreams();
        m_miniFATSector = AddChain(miniFAT);
        m_directorySector = AddChain(Directory());
        AddTables(header);
        Poke(header, 24, 0x0003003Eu);
        Poke(header, 28, std::uint16_t{0xFFFE});
        Poke(header, 30, static_cast<std::uint16_t>(sectorShift));
        Poke(header, 32, std::uint16_t{6});
        Poke(header, 48, m_directorySector);
        Poke(header, 56, CUTOFF);
        Poke(header, 60, m_miniFATSector);
        Poke(header, 64, static_cast<std::uint32_t>((miniFAT.size() + SectorSize() - 1) / SectorSize()));
        return header + m_sectors.substr(SectorSize());
    }

    // Where things lie in the document built last.
    [[nodiscard]] std::size_t EntryOffset(std::uint32_t id) const { return Offset(m_directorySector) + id * 128; }
    [[nodiscard]] std::size_t FATOffset(std::uint32_t sector) const { return Offset(m_FATSector) + sector * 4; }
    [[nodiscard]] std::size_t Offset(std::uint32_t sector) const { return (sector + 1) * SectorSize(); }
    [[nodiscard]] std::uint32_t FirstSector(std::uint32_t id) const { return m_entries[id].start; }
    [[nodiscard]] std::uint32_t FATSector() const { return m_FATSector; }
    [[nodiscard]] std::uint32_t MiniFATSector() const { return m_miniFATSector; }
    [[nodiscard]] std::uint32_t DirectorySector() const { return m_directorySector; }

private:
    static constexpr std::uint32_t CUTOFF = 4096;

    struct Entry {
        std::u16string name;
        std::string content;
        unsigned char type = 0;
        std::uint32_t right = NONE;
        std::uint32_t child = NONE;
        std::uint32_t start = END;
        std::uint32_t size = 0;
    };

    [[nodiscard]] std::size_t SectorSize() const { return std::size_t{1} << sectorShift; }

    std::uint32_t AddChain(const std::string& content)
    {
        const auto first = static_cast<std::uint32_t>(m_FAT.size());
        const auto count = static_cast<std::uint32_t>((content.size() + SectorSize() - 1) / SectorSize());
        const auto place = [&](std::uint32_t i) { return first + (isFragmented && (i ^ 1) < count ? i ^ 1 : i); };
        m_FAT.resize(first + count, END);
        m_sectors.resize(m_sectors.size() + count * SectorSize());
        for (std::uint32_t i = 0; i < count; ++i) {
            m_sectors.replace(Offset(place(i)), std::min(SectorSize(), content.size() - i * SectorSize()), content,
                              i * SectorSize(), SectorSize());
            m_FAT[place(i)] = i + 1 < count ? place(i + 1) : END;
        }
        return count == 0 ? END : place(0);
    }

    // Returns the mini FAT.
    std::string PlaceStreams()
    {
        std::string miniStream;
        std::vector<std::uint32_t> miniFAT;
        for (Entry& entry : m_entries) {
            entry.size = static_cast<std::uint32_t>(entry.content.size());
            if (entry.size >= CUTOFF) {
                entry.start = AddChain(entry.content);
            } else if (entry.size != 0) {
                entry.start = static_cast<std::uint32_t>(miniFAT.size());
                miniStream += entry.content;
                miniStream.resize((miniStream.size() + 63) / 64 * 64);
                while (miniFAT.size() < miniStream.size() / 64)
                    miniFAT.push_back(static_cast<std::uint32_t>(miniFAT.size()) + 1);
                miniFAT.back() = END;
            }
        }
        m_entries[0].start = AddChain(miniStream);
        m_entries[0].size = static_cast<std::uint32_t>(miniStream.size());
        return {reinterpret_cast<const char*>(miniFAT.data()), miniFAT.size() * 4};
    }

    [[nodiscard]] std::string Directory() const
    {
        std::string directory;
        for (const Entry& entry : m_entries) {
            std::string bytes = Utf16(entry.name);
            bytes.resize(128);
            Poke(bytes, 64, static_cast<std::uint16_t>(entry.name.size() * 2 + 2));
            Poke(bytes, 66, entry.type);
            Poke(bytes, 68, NONE);
            Poke(bytes, 72, entry.right);
            Poke(bytes, 76, entry.child);
            Poke(bytes, 116, entry.start);
            Poke(bytes, 120, entry.size);
            directory += bytes;
        }
        return directory;
    }

    void AddTables(std::string& header)
    {
        const std::size_t perSector = SectorSize() / 4;
        std::size_t fatSectors = 0;
        std::size_t difatSectors = 0;
        while (fatSectors * perSector < m_FAT.size() + fatSectors + difatSectors) {
            ++fatSectors;
            difatSectors = fatSectors > 109 ? (fatSectors - 109 + perSector - 2) / (perSector - 1) : 0;
        }
        m_FATSector = static_cast<std::uint32_t>(m_FAT.size());
        const auto difatSector = static_cast<std::uint32_t>(m_FATSector + fatSectors);
        m_FAT.resize(m_FATSector + fatSectors, 0xFFFFFFFD);
        m_FAT.resize(m_FATSector + fatSectors + difatSectors, 0xFFFFFFFC);
        m_FAT.resize(fatSectors * perSector, NONE);
        m_sectors.append(reinterpret_cast<const char*>(m_FAT.data()), m_FAT.size() * 4);

        std::vector<std::uint32_t> difat(109 + difatSectors * perSector, NONE);
        for (std::size_t i = 0, at = 0; i < fatSectors; ++i, ++at) {
            if (at > 109 && (at - 109) % perSector == perSector - 1)
                ++at;
            difat[at] = static_cast<std::uint32_t>(m_FATSector + i);
        }
        for (std::size_t i = 0; i < difatSectors; ++i)
            difat[109 + (i + 1) * perSector - 1] =
                i + 1 < difatSectors ? static_cast<std::uint32_t>(difatSector + i + 1) : END;
        std::memcpy(header.data() + 76, difat.data(), 109 * 4);
        m_sectors.append(reinterpret_cast<const char*>(difat.data() + 109), difatSectors * perSector * 4);
        Poke(header, 44, static_cast<std::uint32_t>(fatSectors));
        Poke(header, 68, difatSectors == 0 ? END : difatSector);
        Poke(header, 72, static_cast<std::uint32_t>(difatSectors));
    }

    std::vector<Entry> m_entries{{u"Root Entry", {}, 5}};
    std::vector<std::uint32_t> m_FAT;
    std::string m_sectors;
    std::uint32_t m_FATSector = 0;
    std::uint32_t m_miniFATSector = 0;
    std::uint32_t m_directorySector = 0;
};

inline constexpr std::string_view SUMMARY("\xE0\x85\x9F\xF2\xF9\x4F\x68\x10\xAB\x91\x08\x00\x2B\x27\xB3\xD9", 16);
inline constexpr std::string_view DOC_SUMMARY("\x02\xD5\xCD\xD5\x9C\x2E\x1B\x10\x93\x97\x08\x00\x2B\x2C\xF9\xAE", 16);
inline constexpr std::string_view USER_DEFINED("\x05\xD5\xCD\xD5\x9C\x2E\x1B\x10\x93\x97\x08\x00\x2B\x2C\xF9\xAE", 16);

// The properties of a section in the order of its list: id, and what lies at its offset.
using Pairs = std::vector<std::pair<std::uint32_t, std::string>>;

inline std::string Section(const Pairs& pairs)
{
    std::string list;
    std::string values;
    for (const auto& [id, value] : pairs) {
        list += Bytes(id, static_cast<std::uint32_t>(8 + pairs.size() * 8 + values.size()));
        values += value;
        values.resize((values.size() + 3) / 4 * 4);
    }
    return Bytes(static_cast<std::uint32_t>(8 + list.size() + values.size()),
                 static_cast<std::uint32_t>(pairs.size())) +
           list + values;
}

// A property set of sections, each with its format identifier.
inline std::string PropertySet(const std::vector<std::pair<std::string_view, std::string>>& sections)
{
    std::string list;
    std::string content;
    for (const auto& [id, section] : sections) {
        list += std::string(id) + Bytes(static_cast<std::uint32_t>(28 + sections.size() * 20 + content.size()));
        content += section;
    }
    return Bytes(std::uint16_t{0xFFFE}, std::uint16_t{0}, 0x00020105u) + std::string(16, '\0') +
           Bytes(static_cast<std::uint32_t>(sections.size())) + list + content;
}

// Values with their types, and dictionaries, as they lie at a property's offset.
inline std::string Text(std::string_view text)
{
    return Bytes(30u, static_cast<std::uint32_t>(text.size())) + std::string(text);
}

inline std::string CodePage(std::uint16_t number)
{
    return Bytes(2u, number);
}

inline std::string DictionaryEntry(std::uint32_t id, std::uint32_t length, std::string_view name)
{
    return Bytes(id, length) + std::string(name);
}

} // namespace KivTest
