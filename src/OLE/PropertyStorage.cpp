#include <KivFile/OLE/PropertyStorage.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include <KivCharset/Conv.h>
#include <KivFile/FileException.h>

#include <src/OLE/LittleEndian.h>

namespace KivFile::OLE
{

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;
using Kiv::CHARSET;
using Kiv::Variant;
using KivCharset::Conv;

// A well-known property and its ids in the two property sets; 0 where it has none.
struct PropertyRow {
    PropertyStorage::PROPERTY_ENUM property;
    const char* name;
    std::uint32_t summaryId;
    std::uint32_t docSummaryId;
};

// Which of its ids counts in a section; null where none does.
using IdColumn = std::uint32_t PropertyRow::*;

constexpr PropertyRow PROPERTIES[] = {
    {PropertyStorage::PROPERTY_TITLE, "Title", 2, 0},
    {PropertyStorage::PROPERTY_AUTHOR, "Author", 4, 0},
    {PropertyStorage::PROPERTY_APPLICATION, "Application", 18, 0},
    {PropertyStorage::PROPERTY_CATEGORY, "Category", 0, 2},
    {PropertyStorage::PROPERTY_COMMENTS, "Comments", 6, 0},
    {PropertyStorage::PROPERTY_COMPANY, "Company", 0, 15},
    {PropertyStorage::PROPERTY_KEYWORDS, "Keywords", 5, 0},
    {PropertyStorage::PROPERTY_LAST_AUTHOR, "LastAuthor", 8, 0},
    {PropertyStorage::PROPERTY_MANAGER, "Manager", 0, 14},
    {PropertyStorage::PROPERTY_PRESENTATION_TARGET, "PresentationTarget", 0, 3},
    {PropertyStorage::PROPERTY_SUBJECT, "Subject", 3, 0},
    {PropertyStorage::PROPERTY_TEMPLATE_DOCUMENT, "TemplateDocument", 7, 0},
    {PropertyStorage::PROPERTY_TITLE_OF_PARTS, "TitleOfParts", 0, 13},
    {PropertyStorage::PROPERTY_NUMBER_OF_BYTES, "NumberOfBytes", 0, 4},
    {PropertyStorage::PROPERTY_NUMBER_OF_CHARACTERS, "NumberOfCharacters", 16, 0},
    {PropertyStorage::PROPERTY_DOCUMENT_SECURITY, "DocumentSecurity", 19, 0},
    {PropertyStorage::PROPERTY_NUMBER_OF_HIDDEN_SLIDES, "NumberOfHiddenSlides", 0, 9},
    {PropertyStorage::PROPERTY_NUMBER_OF_LINES, "NumberOfLines", 0, 5},
    {PropertyStorage::PROPERTY_NUMBER_OF_MULTIMEDIA_CLIPS, "NumberOfMultimediaClips", 0, 10},
    {PropertyStorage::PROPERTY_NUMBER_OF_NOTES, "NumberOfNotes", 0, 8},
    {PropertyStorage::PROPERTY_NUMBER_OF_PAGES, "NumberOfPages", 14, 0},
    {PropertyStorage::PROPERTY_NUMBER_OF_PARAGRAPHS, "NumberOfParagraphs", 0, 6},
    {PropertyStorage::PROPERTY_REVISION_NUMBER, "RevisionNumber", 9, 0},
    {PropertyStorage::PROPERTY_NUMBER_OF_SLIDES, "NumberOfSlides", 0, 7},
    {PropertyStorage::PROPERTY_NUMBER_OF_WORDS, "NumberOfWords", 15, 0},
    {PropertyStorage::PROPERTY_CREATION_DATE, "CreationDate", 12, 0},
    {PropertyStorage::PROPERTY_LAST_PRINTED_DATE, "LastPrintedDate", 11, 0},
    {PropertyStorage::PROPERTY_MODIFICATION_DATE, "ModificationDate", 13, 0},
};

constexpr bool HasRowForEachValue()
{
    for (std::size_t i = 0; i < std::size(PROPERTIES); ++i) {
        if (PROPERTIES[i].property != static_cast<PropertyStorage::PROPERTY_ENUM>(i))
            return false;
    }
    return std::size(PROPERTIES) == PropertyStorage::PROPERTY_MODIFICATION_DATE + 1;
}
static_assert(HasRowForEachValue(), "a property's value is the index of its row");

// User-defined sections may hold unnamed properties with the ids of the document summary.
IdColumn ColumnFor(const Guid& section)
{
    if (section == PropertyStorage::SUMMARY_INFORMATION_ID)
        return &PropertyRow::summaryId;
    if (section == PropertyStorage::DOC_SUMMARY_INFORMATION_ID ||
        section == PropertyStorage::USER_DEFINED_PROPERTIES_ID)
        return &PropertyRow::docSummaryId;
    return nullptr;
}

const PropertyRow* FindRow(IdColumn column, std::uint32_t id)
{
    if (column == nullptr)
        return nullptr;
    const PropertyRow* const row = std::ranges::find(PROPERTIES, id, column);
    return row == std::end(PROPERTIES) ? nullptr : row;
}

// Ids of properties that describe the others.
constexpr std::uint32_t DICTIONARY = 0;
constexpr std::uint32_t CODE_PAGE = 1;
constexpr std::uint32_t LOCALE = 0x80000000;

enum ValueType : std::uint32_t {
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_FILETIME = 64,
    VT_VECTOR = 0x1000,
    VT_TYPEMASK = 0xFFFF,
};

constexpr std::uint32_t MOST_PROPERTIES = 0x10000;
constexpr std::uint32_t MOST_ELEMENTS = 0x400;
constexpr std::uint32_t LONGEST_TEXT = 0x40000;
constexpr std::uint32_t LONGEST_NAME = 128;
constexpr unsigned int DEEPEST_VALUE = 16;

// The last second of the year 3000, where the calendar of the Windows runtime ends.
constexpr std::int64_t LAST_DATE = 32'535'215'999;

// Sections and values of a well-formed set do not overlap, so reading each costs the set's size once; twice and some
// leaves room for writers that store equal values once. Sets that need more are made to keep their reader busy.
constexpr std::uint64_t MOST_READS_OF_A_BYTE = 2;
constexpr std::uint64_t READS_OF_SMALL_SETS = 4096;

// The longest that a byte becomes in words: "255" and a line end.
constexpr std::uint64_t MOST_UNITS_OF_A_BYTE = 5;

// Reads values of a property set from any position. A read that goes behind the end fails: it yields nothing, and so
// do all that follow until the next Seek.
class Reader
{
public:
    explicit Reader(Buffer& buffer)
        : m_buffer(buffer), m_size(buffer.Size()), m_budget(m_size * MOST_READS_OF_A_BYTE + READS_OF_SMALL_SETS),
          m_windowsLeft(m_budget / WINDOW_SIZE), m_unitsLeft(m_size * MOST_UNITS_OF_A_BYTE)
    {
    }

    [[nodiscard]] bool HasFailed() const { return m_hasFailed; }
    // Whether as much has been read as a well-formed set holds. A read that would go beyond that fails.
    [[nodiscard]] bool IsExhausted() const { return m_budget < sizeof(std::uint32_t) || m_windowsLeft == 0; }
    [[nodiscard]] std::uint64_t Position() const { return m_position; }

    void Seek(std::uint64_t position)
    {
        m_hasFailed = position > m_size || IsExhausted();
        if (!m_hasFailed)
            m_position = position;
    }

    // The next n bytes, until the next read; none when it fails.
    [[nodiscard]] std::string_view Take(std::size_t n)
    {
        m_hasFailed = m_hasFailed || n > m_size - m_position || n > m_budget;
        if (m_hasFailed || !HoldsInWindow(n))
            return {};
        m_budget -= n;
        m_position += n;
        return std::string_view(m_window).substr(static_cast<std::size_t>(m_position - m_windowStart) - n, n);
    }

    // Whether n more units of text may be made of vectors: no more than of a well-formed set, whose vectors do not
    // overlap.
    [[nodiscard]] bool TakeUnits(std::uint64_t n)
    {
        const bool isThere = n <= m_unitsLeft;
        m_unitsLeft -= isThere ? n : 0;
        return isThere;
    }

    // The next value; 0 when it fails.
    template <class Value>
    [[nodiscard]] Value Read()
    {
        const std::string_view bytes = Take(sizeof(Value));
        return m_hasFailed ? Value{} : Load<Value>(reinterpret_cast<const unsigned char*>(bytes.data()));
    }

private:
    // Small values lie close together; most are read with others, and those of most sets all at once.
    static constexpr std::uint64_t WINDOW_SIZE = 512;
    static constexpr std::uint64_t LARGEST_WINDOW = 65536;

    // Brings the next n bytes into the window, which are there by the buffer's size. Some buffers take long over each
    // place that they are asked for, so the windows are counted as the bytes are.
    bool HoldsInWindow(std::size_t n)
    {
        const std::uint64_t end = m_position + n;
        if (m_position >= m_windowStart && end <= m_windowStart + m_window.size())
            return true;
        m_hasFailed = m_windowsLeft == 0;
        if (m_hasFailed)
            return false;
        --m_windowsLeft;
        if (m_size <= LARGEST_WINDOW)
            ReadWindow(0, m_size);
        else
            ReadWindow(m_position, std::max(end, std::min(m_position + WINDOW_SIZE, m_size)));
        m_hasFailed = end > m_windowStart + m_window.size();
        return !m_hasFailed;
    }

    void ReadWindow(std::uint64_t begin, std::uint64_t end)
    {
        m_windowStart = begin;
        m_window.resize(static_cast<std::size_t>(end - begin));
        m_buffer.SeekG(static_cast<unsigned int>(begin));
        m_window.resize(m_buffer.Get(m_window.data(), static_cast<unsigned int>(m_window.size())));
    }

    Buffer& m_buffer;
    const std::uint64_t m_size;
    std::uint64_t m_position = 0;
    std::uint64_t m_budget;
    std::uint64_t m_windowsLeft;
    std::uint64_t m_unitsLeft;
    std::string m_window;
    std::uint64_t m_windowStart = 0;
    bool m_hasFailed = false;
};

// Text of 16-bit units without the zeros at its end.
std::string_view WithoutZeroUnits(std::string_view bytes)
{
    bytes = bytes.substr(0, bytes.size() / 2 * 2);
    while (bytes.ends_with(std::string_view("\0\0", 2)))
        bytes.remove_suffix(2);
    return bytes;
}

std::string_view WithoutZeros(std::string_view bytes)
{
    return bytes.substr(0, bytes.find_last_not_of('\0') + 1);
}

Variant TextOrNothing(Kiv::WString text)
{
    return text.empty() ? Variant() : Variant(std::move(text));
}

// Reads the properties of one section into the maps. The code page and the dictionary count for the properties that
// are listed behind them, as writers of this format expect.
class SectionReader
{
public:
    SectionReader(Reader& reader, IdColumn column, PropertyStorage::EnumMap& byEnum, PropertyStorage::NameMap& byName)
        : m_reader(reader), m_column(column), m_byEnum(byEnum), m_byName(byName)
    {
    }

    // Returns false when the section's list of properties is not all there.
    [[nodiscard]] bool Read(std::uint32_t offset)
    {
        constexpr std::size_t ID_AND_OFFSET = 8;
        m_reader.Seek(offset);
        (void)m_reader.Read<std::uint32_t>(); // the size: writers do not agree on what it counts
        const std::uint32_t count = std::min(m_reader.Read<std::uint32_t>(), MOST_PROPERTIES);
        const std::string list(m_reader.Take(count * ID_AND_OFFSET));
        if (m_reader.HasFailed())
            return false;
        for (std::size_t at = 0; at < list.size() && !m_reader.IsExhausted(); at += ID_AND_OFFSET) {
            const auto* const entry = reinterpret_cast<const unsigned char*>(list.data()) + at;
            ReadListed(Load<std::uint32_t>(entry), std::uint64_t{offset} + Load<std::uint32_t>(entry + 4));
        }
        return true;
    }

private:
    void ReadListed(std::uint32_t id, std::uint64_t position)
    {
        if (id == DICTIONARY)
            m_pendingDictionary = position;
        else if (id == CODE_PAGE)
            ReadCodePage(position);
        else if (id != LOCALE && TakePendingDictionary())
            ReadProperty(id, position);
    }

    void ReadCodePage(std::uint64_t position)
    {
        m_reader.Seek(position + sizeof(std::uint32_t));
        const auto number = m_reader.Read<std::uint16_t>();
        if (m_reader.HasFailed())
            return;
        m_codePage = static_cast<CHARSET>(number);
        m_isConvertible = Conv::IsImplemented(m_codePage);
    }

    // A dictionary that ends too early takes with it the property in front of which it is read; the names read by
    // then count.
    [[nodiscard]] bool TakePendingDictionary()
    {
        if (!m_pendingDictionary)
            return true;
        m_reader.Seek(*std::exchange(m_pendingDictionary, std::nullopt));
        if (m_isConvertible)
            ReadDictionary();
        return !m_reader.HasFailed();
    }

    void ReadDictionary()
    {
        for (auto left = m_reader.Read<std::uint32_t>(); left != 0 && !m_reader.HasFailed(); --left) {
            const auto id = m_reader.Read<std::uint32_t>();
            ReadName(id, std::min(m_reader.Read<std::uint32_t>(), LONGEST_NAME));
        }
    }

    // Names are cut at their longest length, which leaves the position inside a longer one, and wide names alone are
    // followed by padding. The last unit of a name is its terminator.
    void ReadName(std::uint32_t id, std::size_t length)
    {
        constexpr std::uint64_t PADDED_TO = 4;
        const bool isWide = Conv::IsWCCS(m_codePage);
        const std::size_t unit = isWide ? 2 : 1;
        std::string_view name = m_reader.Take(length * unit);
        if (length <= 1 || m_reader.HasFailed())
            return;
        name.remove_suffix(unit);
        m_names[id] = Conv::FromWide(CHARSET::UTF8, Conv::ToWide(m_codePage, name));
        if (isWide)
            m_reader.Seek((m_reader.Position() + PADDED_TO - 1) / PADDED_TO * PADDED_TO);
    }

    void ReadProperty(std::uint32_t id, std::uint64_t position)
    {
        const auto name = m_names.find(id);
        if (name != m_names.end() && !name->second.empty())
            ReadInto(m_byName, name->second, position);
        else if (const PropertyRow* const row = FindRow(m_column, id))
            ReadInto(m_byEnum, row->property, position);
    }

    // A value whose key is taken is not even converted: any number of properties may claim the longest text of a set.
    template <class Map>
    void ReadInto(Map& map, const typename Map::key_type& key, std::uint64_t position)
    {
        const auto place = map.lower_bound(key);
        if (place != map.end() && !map.key_comp()(key, place->first))
            return;
        m_reader.Seek(position);
        Variant value = ReadTypedValue(0);
        if (!m_reader.HasFailed() && !value.IsEmpty())
            map.emplace_hint(place, key, std::move(value));
    }

    // Yields nothing, as the functions below do, for what has no value here and for what fails.
    Variant ReadTypedValue(unsigned int depth)
    {
        const std::uint32_t type = m_reader.Read<std::uint32_t>() & VT_TYPEMASK;
        return m_reader.HasFailed() ? Variant() : ReadValue(type, depth);
    }

    Variant ReadValue(std::uint32_t type, unsigned int depth)
    {
        if (depth > DEEPEST_VALUE)
            return {};
        if (type & VT_VECTOR)
            return ReadVector(type & ~VT_VECTOR, depth);
        switch (type) {
        case VT_I2:
            return Variant(m_reader.Read<short>());
        case VT_I4:
        case VT_ERROR:
            return Variant(m_reader.Read<int>());
        case VT_R4:
            return Variant(m_reader.Read<float>());
        case VT_R8:
            return Variant(m_reader.Read<double>());
        case VT_BOOL:
            return Variant(m_reader.Read<std::uint16_t>() != 0);
        case VT_VARIANT:
            return ReadTypedValue(depth + 1);
        case VT_UI1:
            return Variant(m_reader.Read<unsigned char>());
        case VT_UI2:
            return Variant(m_reader.Read<unsigned short>());
        case VT_UI4:
            return Variant(m_reader.Read<unsigned int>());
        case VT_LPSTR:
            return ReadText();
        case VT_LPWSTR:
            return ReadWideText();
        case VT_FILETIME:
            return ReadDate();
        default:
            return {};
        }
    }

    // The elements in words, a line each.
    Variant ReadVector(std::uint32_t type, unsigned int depth)
    {
        Kiv::WString joined;
        for (auto left = std::min(m_reader.Read<std::uint32_t>(), MOST_ELEMENTS); left != 0; --left) {
            const std::uint64_t begin = m_reader.Position();
            const Variant element = ReadValue(type, depth + 1);
            // An element that takes no bytes is of a type without values, and so are those behind it.
            if (m_reader.HasFailed() || m_reader.Position() == begin)
                break;
            if (element.IsEmpty())
                continue;
            if (!joined.empty())
                joined.append({'\r', '\n'});
            joined += element.AsWString();
        }
        joined.shrink_to_fit();
        return m_reader.TakeUnits(joined.size()) ? TextOrNothing(std::move(joined)) : Variant();
    }

    Variant ReadText()
    {
        if (!m_isConvertible)
            return {};
        const std::string_view bytes = m_reader.Take(std::min(m_reader.Read<std::uint32_t>(), LONGEST_TEXT));
        return TextOrNothing(
            Conv::ToWide(m_codePage, Conv::IsWCCS(m_codePage) ? WithoutZeroUnits(bytes) : WithoutZeros(bytes)));
    }

    Variant ReadWideText()
    {
        const std::string_view bytes =
            m_reader.Take(2 * std::size_t{std::min(m_reader.Read<std::uint32_t>(), LONGEST_TEXT)});
        return TextOrNothing(Conv::ToWide(CHARSET::UTF16, WithoutZeroUnits(bytes)));
    }

    Variant ReadDate()
    try {
        const auto low = m_reader.Read<std::uint32_t>();
        const auto high = m_reader.Read<std::uint32_t>();
        std::int64_t seconds = 0;
        Kiv::FileTimeToUnixTime({low, high}, &seconds);
        return seconds > LAST_DATE ? Variant() : Variant(Kiv::DateTime(seconds));
    } catch (const Kiv::DateTimeException&) {
        return {};
    }

    Reader& m_reader;
    IdColumn m_column;
    PropertyStorage::EnumMap& m_byEnum;
    PropertyStorage::NameMap& m_byName;
    CHARSET m_codePage = CHARSET::WINDOWS_1252;
    bool m_isConvertible = Conv::IsImplemented(CHARSET::WINDOWS_1252);
    std::optional<std::uint64_t> m_pendingDictionary;
    std::map<std::uint32_t, std::string> m_names;
};

} // namespace

const Guid PropertyStorage::SUMMARY_INFORMATION_ID = {
    0xF29F85E0, 0x4FF9, 0x1068, {0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9}};
const Guid PropertyStorage::DOC_SUMMARY_INFORMATION_ID = {
    0xD5CDD502, 0x2E9C, 0x101B, {0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE}};
const Guid PropertyStorage::USER_DEFINED_PROPERTIES_ID = {
    0xD5CDD505, 0x2E9C, 0x101B, {0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE}};

PropertyStorage::PropertyStorage(Buffer& buffer)
try : m_buffer(buffer) {
    CheckHeader();
    ReadSectionList();
} catch (const Kiv::BinaryStreamGetEOFException&) {
    throw CorruptedPropertyStorageOLEException();
}

void PropertyStorage::CheckHeader()
{
    constexpr std::uint16_t LITTLE_ENDIAN_MARK = 0xFFFE;
    constexpr std::uint16_t VERSION = 0;
    unsigned char header[28];
    m_buffer.Read(header, sizeof header);
    const bool isPropertySet = Load<std::uint16_t>(header) == LITTLE_ENDIAN_MARK &&
                               Load<std::uint16_t>(header + 2) == VERSION && Load<std::uint32_t>(header + 24) != 0;
    if (!isPropertySet)
        throw NotAPropertyStorageOLEException();
}

// The list ends where the first of its sections begins. The number of sections is not always right.
void PropertyStorage::ReadSectionList()
{
    std::uint32_t firstSection = ReadSectionListEntry();
    while (m_buffer.TellG() + std::uint64_t{SECTION_LIST_ENTRY_SIZE} <= firstSection)
        firstSection = std::min(firstSection, ReadSectionListEntry());
}

// Returns the offset of the section.
std::uint32_t PropertyStorage::ReadSectionListEntry()
{
    unsigned char entry[SECTION_LIST_ENTRY_SIZE];
    m_buffer.Read(entry, sizeof entry);
    Section section{{Load<std::uint32_t>(entry), Load<std::uint16_t>(entry + 4), Load<std::uint16_t>(entry + 6), {}},
                    Load<std::uint32_t>(entry + 16)};
    std::copy_n(entry + 8, section.id.data4.size(), section.id.data4.begin());
    m_sections.push_back(section);
    return section.offset;
}

void PropertyStorage::Properties(EnumMap& byEnum, NameMap& byName) const
try {
    Reader reader(m_buffer);
    for (const Section& section : m_sections) {
        if (!SectionReader(reader, ColumnFor(section.id), byEnum, byName).Read(section.offset))
            return;
    }
} catch (const SeekOutOfRangeException&) {
    // The buffer has become shorter: what was read stays.
} catch (const Kiv::BinaryStreamGetEOFException&) {
    // Likewise.
}

void PropertyStorage::Properties(AllMap& all) const
{
    EnumMap byEnum;
    NameMap byName;
    Properties(byEnum, byName);
    MergePropertyMap(std::move(byEnum), std::move(byName), all);
}

void PropertyStorage::MergePropertyMap(const EnumMap& byEnum, const NameMap& byName, AllMap& all)
{
    MergePropertyMap(EnumMap(byEnum), NameMap(byName), all);
}

void PropertyStorage::MergePropertyMap(EnumMap&& byEnum, NameMap&& byName, AllMap& all)
{
    for (auto& [property, value] : byEnum)
        all.emplace(PropertyName(property), std::move(value));
    all.merge(byName);
}

const char* PropertyStorage::PropertyName(PROPERTY_ENUM property)
{
    const auto index = static_cast<std::size_t>(property);
    return index < std::size(PROPERTIES) ? PROPERTIES[index].name : "";
}

} // namespace KivFile::OLE
