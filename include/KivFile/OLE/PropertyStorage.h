// Property sets: what a document says of itself (title, author, dates, properties its user added).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <Kiv/Variant.h>
#include <KivBase/BinaryStreamBuf.h>
#include <KivBase/NoCase.h>
#include <KivBase/SmartPtr.h>
#include <KivFile/Export.h>
#include <KivFile/OLE/OLEException.h>

namespace KivFile::OLE
{

// A format identifier, in the layout in which documents store it.
struct Guid {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::array<std::uint8_t, 8> data4;

    friend bool operator==(const Guid&, const Guid&) = default;
};

// Reads one property-set stream: summary information, document summary information, user-defined properties.
//
// It is tolerant: unknown types are passed over, a damaged property costs only itself, and what cannot be read is
// left out without an exception. The source buffer is not owned and must outlive the object. One thread at a time.
// Memory and work stay below a small multiple of the stream's size, whatever the stream holds.
class KIVFILE_EXPORT PropertyStorage : public Kiv::RefCountedT<PropertyStorage>
{
public:
    // The well-known properties. Their values are fixed; PropertyName tells their names.
    enum PROPERTY_ENUM {
        PROPERTY_TITLE = 0,
        PROPERTY_AUTHOR = 1,
        PROPERTY_APPLICATION = 2,
        PROPERTY_CATEGORY = 3,
        PROPERTY_COMMENTS = 4,
        PROPERTY_COMPANY = 5,
        PROPERTY_KEYWORDS = 6,
        PROPERTY_LAST_AUTHOR = 7,
        PROPERTY_MANAGER = 8,
        PROPERTY_PRESENTATION_TARGET = 9,
        PROPERTY_SUBJECT = 10,
        PROPERTY_TEMPLATE_DOCUMENT = 11,
        PROPERTY_TITLE_OF_PARTS = 12,
        PROPERTY_NUMBER_OF_BYTES = 13,
        PROPERTY_NUMBER_OF_CHARACTERS = 14,
        PROPERTY_DOCUMENT_SECURITY = 15,
        PROPERTY_NUMBER_OF_HIDDEN_SLIDES = 16,
        PROPERTY_NUMBER_OF_LINES = 17,
        PROPERTY_NUMBER_OF_MULTIMEDIA_CLIPS = 18,
        PROPERTY_NUMBER_OF_NOTES = 19,
        PROPERTY_NUMBER_OF_PAGES = 20,
        PROPERTY_NUMBER_OF_PARAGRAPHS = 21,
        PROPERTY_REVISION_NUMBER = 22,
        PROPERTY_NUMBER_OF_SLIDES = 23,
        PROPERTY_NUMBER_OF_WORDS = 24,
        PROPERTY_CREATION_DATE = 25,
        PROPERTY_LAST_PRINTED_DATE = 26,
        PROPERTY_MODIFICATION_DATE = 27,
    };

    // Names are UTF-8 and compared without regard to letter case.
    using EnumMap = std::map<PROPERTY_ENUM, Kiv::Variant>;
    using NameMap = std::map<std::string, Kiv::Variant, Kiv::NoCase>;
    using AllMap = std::multimap<std::string, Kiv::Variant, Kiv::NoCase>;

    static const Guid SUMMARY_INFORMATION_ID;
    static const Guid DOC_SUMMARY_INFORMATION_ID;
    static const Guid USER_DEFINED_PROPERTIES_ID;

    // First character of the name of every stream that holds a property set.
    static constexpr char NAME_PREFIX = 0x05;
    static constexpr unsigned short W_NAME_PREFIX = 0x0005;

    // Reads the header and the list of sections from the buffer's get position, which is that of the stream's first
    // byte and must be 0: all offsets count from the beginning of the buffer. Throws NotAPropertyStorageOLEException
    // when it is no property set, CorruptedPropertyStorageOLEException when it ends inside the header or the list.
    explicit PropertyStorage(Kiv::BinaryStreamBufT<unsigned int>& buffer);

    // The format identifier of the first section.
    [[nodiscard]] const Guid& GetID() const { return m_sections.front().id; }

    // Adds the well-known properties to byEnum and those that carry a name of their own to byName. A key that is
    // there already keeps its value, also when two properties of this stream have the same key. Moves the buffer's
    // get position.
    void Properties(EnumMap& byEnum, NameMap& byName) const;
    // Adds every property under its name: first the well-known ones in the order of the enumeration, then the others.
    // Equal names are all kept.
    void Properties(AllMap& all) const;

    // Adds both maps to all as the second form of Properties does; the second form here moves the values there.
    static void MergePropertyMap(const EnumMap& byEnum, const NameMap& byName, AllMap& all);
    static void MergePropertyMap(EnumMap&& byEnum, NameMap&& byName, AllMap& all);

    // The name of a well-known property, such as "Title"; empty for a value outside the enumeration.
    [[nodiscard]] static const char* PropertyName(PROPERTY_ENUM property);

private:
    struct Section {
        Guid id;
        std::uint32_t offset;
    };

    static constexpr std::size_t SECTION_LIST_ENTRY_SIZE = 20;

    void CheckHeader();
    void ReadSectionList();
    std::uint32_t ReadSectionListEntry();

    Kiv::BinaryStreamBufT<unsigned int>& m_buffer;
    std::vector<Section> m_sections;
};

} // namespace KivFile::OLE
