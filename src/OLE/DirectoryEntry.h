// A directory entry of a compound document.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <KivFile/OLE/Storage.h>

#include <src/OLE/LittleEndian.h>

namespace KivFile::OLE
{

// Reads the fields of an entry that lies elsewhere, DIRECTORY_ENTRY_SIZE bytes; or is none.
class Storage::RootStorage::DirectoryEntry
{
public:
    enum Type : unsigned char { STORAGE = 1, STREAM = 2, ROOT = 5 };

    DirectoryEntry() = default;
    explicit DirectoryEntry(const unsigned char* bytes) : m_bytes(bytes) {}

    // Whether there is an entry and it is of a known type.
    [[nodiscard]] bool IsValid() const { return m_bytes && ObjectType() >= STORAGE && ObjectType() <= ROOT; }

    [[nodiscard]] unsigned char ObjectType() const { return m_bytes[66]; }
    [[nodiscard]] std::uint32_t LeftSibling() const { return Load<std::uint32_t>(m_bytes + 68); }
    [[nodiscard]] std::uint32_t RightSibling() const { return Load<std::uint32_t>(m_bytes + 72); }
    [[nodiscard]] std::uint32_t Child() const { return Load<std::uint32_t>(m_bytes + 76); }
    [[nodiscard]] std::uint32_t StartingSector() const { return Load<std::uint32_t>(m_bytes + 116); }
    // The low half of the field: writers of small documents leave rubbish in the high one.
    [[nodiscard]] std::uint32_t StreamSize() const { return Load<std::uint32_t>(m_bytes + 120); }

    // Without the zeros at its end; some writers leave out the terminator, some count several.
    [[nodiscard]] Kiv::WString Name() const
    {
        constexpr std::size_t LONGEST = 32;
        std::size_t length = std::min<std::size_t>(Load<std::uint16_t>(m_bytes + 64) / 2u, LONGEST);
        while (length != 0 && NameUnit(length - 1) == 0)
            --length;
        Kiv::WString name(length, 0);
        std::memcpy(name.data(), m_bytes, length * 2);
        return name;
    }

private:
    [[nodiscard]] std::uint16_t NameUnit(std::size_t index) const { return Load<std::uint16_t>(m_bytes + index * 2); }

    const unsigned char* m_bytes = nullptr;
};

} // namespace KivFile::OLE
