// The message catalog of KivFile: one row per message, and the block that the base library loads.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace KivFile
{

// The messages, by what was being done when they arise.
enum class MessageId : std::uint32_t {
    OpeningConfigSource = 0,
    OpeningForReading = 1,
    OpeningForWriting = 2,
    Copying = 3,
    Creating = 4,
    Deleting = 5,
    NoSuchDrive = 6,
    MappingView = 7,
    Listing = 8,
    Moving = 9,
    Reading = 10,
    ReleasingView = 11,
    RetrievingServer = 12,
    Seeking = 13,
    SettingAttributes = 14,
    Writing = 15,
    InvalidConfigSource = 16,
    QueryingAttributes = 17,
};

inline constexpr char MESSAGE_MODULE[] = "KivFile";

struct MessageRow {
    MessageId id;
    std::u16string_view text;
};

inline constexpr MessageRow MESSAGES[] = {
    {MessageId::OpeningConfigSource, u"It is impossible to open the configuration source %1."},
    {MessageId::OpeningForReading, u"An error occurred while opening the read-only file %1."},
    {MessageId::OpeningForWriting, u"An error occurred while opening the write-only file %1."},
    {MessageId::Copying, u"An error occurred while copying the file %1 to %2."},
    {MessageId::Creating, u"An error occurred while creating the file %1."},
    {MessageId::Deleting, u"An error occurred while deleting the file %1."},
    {MessageId::NoSuchDrive, u"The drive %1 in %2 does not exist."},
    {MessageId::MappingView, u"An error occurred while getting a view of the file %1."},
    {MessageId::Listing, u"An error occurred while listing files and subfolders from: %1."},
    {MessageId::Moving, u"An error occurred while moving the file %1 to %2."},
    {MessageId::Reading, u"An error occurred while reading data from file %1."},
    {MessageId::ReleasingView, u"An error occurred while releasing a view of the file %1."},
    {MessageId::RetrievingServer, u"An error occurred while retrieving the server name for the file %1."},
    {MessageId::Seeking, u"An error occurred while seeking in the file %1."},
    {MessageId::SettingAttributes, u"An error occurred while setting the attributes for file %1."},
    {MessageId::Writing, u"An error occurred while writing data in the file %1."},
    {MessageId::InvalidConfigSource, u"The configuration source is invalid."},
    {MessageId::QueryingAttributes, u"An error occurred while getting the file attributes for %1."},
};

// The catalog as the base library loads it: a record count, then the records back to back; all integers little-endian.
class MessageBlock
{
public:
    static constexpr std::size_t SIZE = 2398;

    constexpr MessageBlock()
    {
        Append(std::size(MESSAGES), 4);
        for (const MessageRow& row : MESSAGES)
            AppendRecord(row);
    }

    [[nodiscard]] constexpr bool IsFull() const { return m_end == SIZE; }
    [[nodiscard]] constexpr const unsigned char* Bytes() const { return m_bytes.data(); }

private:
    // The loader's own fields, the same in every record.
    static constexpr std::uint32_t RECORD_FIELD = 7;
    static constexpr std::uint32_t RECORD_BYTE = 1;
    static constexpr std::uint32_t RECORD_END = 0;

    constexpr void AppendRecord(const MessageRow& row)
    {
        constexpr std::string_view module = MESSAGE_MODULE;
        Append(module.size(), 4);
        for (const char c : module)
            Append(static_cast<unsigned char>(c), 1);
        Append(static_cast<std::uint32_t>(row.id), 4);
        Append(RECORD_FIELD, 4);
        Append(RECORD_BYTE, 1);
        Append(2 * row.text.size(), 4);
        for (const char16_t unit : row.text)
            Append(unit, 2);
        Append(0, 2);
        Append(RECORD_END, 4);
    }

    constexpr void Append(std::size_t value, int bytes)
    {
        for (int i = 0; i < bytes; ++i, value >>= 8)
            m_bytes[m_end++] = static_cast<unsigned char>(value & 0xFF);
    }

    std::array<unsigned char, SIZE> m_bytes{};
    std::size_t m_end = 0;
};

inline constexpr MessageBlock MESSAGE_BLOCK;
static_assert(MESSAGE_BLOCK.IsFull());

} // namespace KivFile
