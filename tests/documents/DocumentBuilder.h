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

template <class Value>
std::string BytesOf(const std::vector<Value>& values)
{
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Value)};
}

inline std::string Utf16(std::u16string_view text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
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
        m_FAT.clear();
        m_bytes = Bytes(0xE11AB1A1E011CFD0ull, 0ull, 0ull, 0x0003003Eu, std::uint16_t{0xFFFE});
        m_bytes.resize(SectorSize());
        Poke(m_bytes, 30, static_cast<std::uint16_t>(sectorShift));
        Poke(m_bytes, 32, std::uint16_t{6});
        Poke(m_bytes, 56, CUTOFF);
        const std::string miniFAT = PlaceStreams();
        Poke(m_bytes, 60, AddChain(miniFAT));
        Poke(m_bytes, 64, Count(SectorsFor(miniFAT.size())));
        Poke(m_bytes, 48, AddChain(Directory()));
        AddTables();
        return m_bytes;
    }

    // Where things lie in the document built last.
    [[nodiscard]] std::size_t EntryOffset(std::uint32_t id) const { return Offset(Peek(m_bytes, 48)) + id * 128; }
    [[nodiscard]] std::size_t FATOffset(std::uint32_t sector) const { return Offset(Peek(m_bytes, 76)) + sector * 4; }
    [[nodiscard]] std::size_t Offset(std::uint32_t sector) const { return (sector + 1) * SectorSize(); }

private:
    static constexpr std::uint32_t CUTOFF = 4096;
    static constexpr std::size_t HEADER_DIFAT_ENTRIES = 109;

    struct Entry {
        std::u16string name;
        std::string content;
        unsigned char type = 0;
        std::uint32_t right = NONE;
        std::uint32_t child = NONE;
        std::uint32_t start = END;
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
    [[nodiscard]] std::size_t SectorsFor(std::size_t n) const { return (n + SectorSize() - 1) / SectorSize(); }

    std::uint32_t AddChain(const std::string& content)
    {
        const std::uint32_t first = Count(m_FAT.size());
        const std::uint32_t count = Count(SectorsFor(content.size()));
        const auto place = [&](std::uint32_t i) { return first + (isFragmented && (i ^ 1) < count ? i ^ 1 : i); };
        m_FAT.resize(first + count, END);
        m_bytes.resize(m_bytes.size() + count * SectorSize());
        for (std::uint32_t i = 0; i < count; ++i) {
            content.copy(m_bytes.data() + Offset(place(i)), SectorSize(), i * SectorSize());
            m_FAT[place(i)] = i + 1 < count ? place(i + 1) : END;
        }
        return count == 0 ? END : place(0);
    }

    // Returns the mini FAT.
    std::string PlaceStreams()
    {
        std::string& miniStream = m_entries[0].content;
        miniStream.clear();
        std::vector<std::uint32_t> miniFAT;
        for (std::size_t id = 1; id < m_entries.size(); ++id) {
            Entry& entry = m_entries[id];
            if (entry.content.size() >= CUTOFF) {
                entry.start = AddChain(entry.content);
            } else if (!entry.content.empty()) {
                entry.start = Count(miniFAT.size());
                miniStream += entry.content;
                miniStream.resize((miniStream.size() + 63) / 64 * 64);
                while (miniFAT.size() < miniStream.size() / 64)
                    miniFAT.push_back(Count(miniFAT.size() + 1));
                miniFAT.back() = END;
            }
        }
        m_entries[0].start = AddChain(miniStream);
        return BytesOf(miniFAT);
    }

    [[nodiscard]] std::string Directory() const
    {
        std::string directory;
        for (const Entry& entry : m_entries) {
            std::string bytes = Utf16(entry.name);
            bytes.resize(64);
            bytes += Bytes(static_cast<std::uint16_t>(entry.name.size() * 2 + 2), entry.type, '\0', NONE, entry.right,
                           entry.child);
            bytes.resize(116);
            directory += bytes + Bytes(entry.start, Count(entry.content.size()), 0u);
        }
        return directory;
    }

    void AddTables()
    {
        const std::size_t perSector = SectorSize() / 4;
        std::size_t fatSectors = 0;
        std::size_t difatSectors = 0;
        while (fatSectors * perSector < m_FAT.size() + fatSectors + difatSectors) {
            ++fatSectors;
            difatSectors =
                (std::max(fatSectors, HEADER_DIFAT_ENTRIES) - HEADER_DIFAT_ENTRIES + perSector - 2) / (perSector - 1);
        }
        const std::size_t fatSector = m_FAT.size();
        const std::size_t difatSector = fatSector + fatSectors;
        m_FAT.resize(difatSector, 0xFFFFFFFD);
        m_FAT.resize(difatSector + difatSectors, 0xFFFFFFFC);
        m_FAT.resize(fatSectors * perSector, NONE);

        std::vector<std::uint32_t> difat;
        for (std::size_t sector = fatSector; sector < difatSector; ++sector) {
            // The last entry of a DIFAT sector is the next one's number.
            const std::size_t following = difat.size() + 1 - HEADER_DIFAT_ENTRIES;
            if (difat.size() > HEADER_DIFAT_ENTRIES && following % perSector == 0)
                difat.push_back(Count(difatSector + following / perSector));
            difat.push_back(Count(sector));
        }
        difat.resize(HEADER_DIFAT_ENTRIES + difatSectors * perSector, NONE);
        std::memcpy(m_bytes.data() + 76, difat.data(), HEADER_DIFAT_ENTRIES * 4);
        m_bytes += BytesOf(m_FAT) + BytesOf(difat).substr(HEADER_DIFAT_ENTRIES * 4);
        Poke(m_bytes, 44, Count(fatSectors));
        Poke(m_bytes, 68, difatSectors == 0 ? END : Count(difatSector));
        Poke(m_bytes, 72, Count(difatSectors));
    }

    std::vector<Entry> m_entries{{u"Root Entry", {}, 5}};
    std::vector<std::uint32_t> m_FAT;
    std::string m_bytes;
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
        list += Bytes(id, Count(8 + pairs.size() * 8 + values.size()));
        values += value;
        values.resize((values.size() + 3) / 4 * 4);
    }
    return Bytes(Count(8 + list.size() + values.size()), Count(pairs.size())) + list + values;
}

// A property set of sections, each with its format identifier.
inline std::string PropertySet(const std::vector<std::pair<std::string_view, std::string>>& sections)
{
    std::string list;
    std::string content;
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
