#include <gtest/gtest.h>

#include <KivFile/OLE/PropertyStorage.h>
#include <KivFile/StaticMemoryBuffer.h>

#include <documents/DocumentBuilder.h>

using namespace KivFile;
using namespace KivFile::OLE;
using namespace KivTest;
using Kiv::Variant;
using Kiv::Literals::operator""_w;

namespace
{

std::pair<PropertyStorage::EnumMap, PropertyStorage::NameMap> Properties(const std::string& set)
{
    StaticMemoryBuffer buffer(static_cast<const void*>(set.data()), static_cast<unsigned int>(set.size()));
    std::pair<PropertyStorage::EnumMap, PropertyStorage::NameMap> maps;
    PropertyStorage(buffer).Properties(maps.first, maps.second);
    return maps;
}

// "Title=text|name=text|", well-known properties first.
std::string Read(const std::string& set)
{
    const auto [byEnum, byName] = Properties(set);
    std::string text;
    for (const auto& [property, value] : byEnum)
        text += PropertyStorage::PropertyName(property) + ("=" + Kiv::Utf8(value.AsWString())) + '|';
    for (const auto& [name, value] : byName)
        text += name + '=' + Kiv::Utf8(value.AsWString()) + '|';
    return text;
}

std::string ReadSection(std::string_view id, const Pairs& pairs)
{
    return Read(PropertySet({{id, Section(pairs)}}));
}

std::string CodePage(std::uint16_t number)
{
    return Bytes(2u, number);
}

// An entry of a dictionary. The length is in units, those of the padding not counted.
std::string Name(std::uint32_t id, std::string_view name, std::size_t length)
{
    return Bytes(id, Count(length)) + std::string(name);
}

std::string Name(std::uint32_t id, std::string_view name)
{
    return Name(id, name, name.size());
}

// Type and words of the title that a summary with the given code page and value has.
std::string Title(const std::string& value, std::uint16_t codePage = 1252)
{
    const auto byEnum = Properties(PropertySet({{SUMMARY, Section({{1, CodePage(codePage)}, {2, value}})}})).first;
    if (byEnum.empty())
        return "";
    const Variant& title = byEnum.at(PropertyStorage::PROPERTY_TITLE);
    return std::string(title.TypeName()) + ' ' + Kiv::Utf8(title.AsWString());
}

std::string Repeated(unsigned int times, const std::string& bytes)
{
    std::string repeated;
    for (unsigned int i = 0; i < times; ++i)
        repeated += bytes;
    return repeated;
}

} // namespace

TEST(PropertyValue, EachTypeBecomesItsVariant)
{
    // From the first date that a set can hold to the last second of the year 3000.
    constexpr std::uint64_t STEPS_TO_1970 = 116444736000000000;
    constexpr std::uint64_t STEPS_TO_3001 = STEPS_TO_1970 + 32535216000u * 10000000ull;
    const std::pair<std::string, std::string> numbers[] = {
        {Bytes(2u, short{-2}), "short -2"},   {Bytes(3u, -3), "int -3"},
        {Bytes(4u, 0.5f), "float 0.5"},       {Bytes(5u, 0.25), "double 0.25"},
        {Bytes(10u, -10), "int -10"},         {Bytes(11u, short{-1}), "bool true"},
        {Bytes(11u, short{0}), "bool false"}, {Bytes(12u, 12u, 3u, 7), "int 7"},
        {Bytes(17u, '\xFF'), "uchar 255"},    {Bytes(18u, short{-1}), "ushort 65535"},
        {Bytes(19u, -1), "uint 4294967295"},  {Bytes(0xABCD0003u, 7), "int 7"},
    };
    for (const auto& [value, expected] : numbers)
        EXPECT_EQ(Title(value), expected);
    EXPECT_EQ(Title(Bytes(64u, STEPS_TO_1970 + 15000000)), "datetime 1970-01-01T00:00:01Z");
    EXPECT_EQ(Title(Bytes(64u, STEPS_TO_3001 - 1)), "datetime 3000-12-31T23:59:59Z");
    const std::string nothing[] = {
        Bytes(64u, STEPS_TO_3001),
        Bytes(64u, 0ull),
        Text(""),
        Text(std::string(2, '\0')),
        Bytes(31u, 0u),
        Bytes(0x1002u, 0u),
        Bytes(0u, 1),
        Bytes(8u, 1),
        Bytes(0x2003u, 1, 1),
        Bytes(0x1041u, 0xFFFFFFFFu),
        Bytes(0x1003u, 2u, 1),
        Text("cut by the end of the set").substr(0, 12),
    };
    for (const std::string& value : nothing)
        EXPECT_EQ(Title(value), "") << testing::PrintToString(value);
}

// Zeros go from the end of a text only.
TEST(PropertyValue, TextsAndVectorsAreConvertedAndCut)
{
    const std::string x = Text("x").substr(4);
    const std::string vector = Bytes(0x100Cu, 1u);
    const struct {
        std::string value;
        std::string expected;
        std::uint16_t codePage = 1252;
    } rows[] = {
        {Text(std::string("caf\xE9\0\0", 6)), "wstring café"},
        {Text(std::string("a\0b\0", 4)), std::string("wstring a\0b", 11)},
        {Text("caf\xC3\xA9"), "wstring café", 65001},
        {Text("text"), "", 4711},
        {Text(Utf16(u"ж\0")), "wstring ж", 1200},
        {Text(Utf16(u"ж") + "x"), "wstring ж", 1201},
        {Bytes(31u, 3u) + Utf16(std::u16string(u"ж\0\0", 3)), "wstring ж", 4711},
        {Text(std::string(0x40001, 'x')), "wstring " + std::string(0x40000, 'x')},
        {Bytes(31u, 0x40001u) + Repeated(0x40001, Utf16(u"x")), "wstring " + std::string(0x40000, 'x')},
        {Bytes(0x101Eu, 4u) + x + Text("").substr(4) + x + x, "wstring x\r\nx\r\nx"},
        {Bytes(0x100Cu, 2u) + Bytes(11u, short{1}) + Bytes(5u, 0.5), "wstring true\r\n0.5"},
        {Bytes(0x1011u, 0x401u) + std::string(0x401, '\1'), "wstring 1" + Repeated(0x3FF, "\r\n1")},
        {Repeated(8, vector) + Bytes(3u, 7), "wstring 7"},
        {Repeated(9, vector) + Bytes(3u, 7), ""},
        {Repeated(100000, vector) + Bytes(3u, 7), ""},
        {Repeated(100000, Bytes(12u)), ""},
    };
    for (const auto& row : rows)
        EXPECT_TRUE(Title(row.value, row.codePage) == row.expected) << "row " << &row - rows;
}

TEST(PropertySection, CodePageDictionaryAndFormatIdentifierDecide)
{
    const std::string one = Bytes(3u, 1);
    const std::string zhe = Text("\xD0\xB6");
    const std::string zheName = Bytes(1u) + Name(2, std::string_view("\xD0\xB6\0", 3));
    const std::string equalNames = Bytes(2u) + Name(8, "Name.") + Name(9, "NAME.");
    const std::string other(16, 'x');
    const struct {
        std::string_view section;
        Pairs pairs;
        const char* expected;
    } rows[] = {
        {SUMMARY, {{2, zhe}, {1, CodePage(65001)}, {3, zhe}}, "Title=Ð¶|Subject=ж|"},
        {SUMMARY, {{2, zhe}, {0, zheName}, {1, CodePage(65001)}, {2, zhe}}, "Title=Ð¶|ж=ж|"},
        // The dictionary waits for the next property, and so for the code page in front of that.
        {SUMMARY, {{1, CodePage(4711)}, {0, zheName}, {2, one}}, "Title=1|"},
        {SUMMARY, {{0x80000000, one}, {2, one}, {14, one}, {10, one}, {99, one}}, "Title=1|NumberOfPages=1|"},
        {DOC_SUMMARY, {{2, one}, {15, one}, {99, one}}, "Category=1|Company=1|"},
        {USER_DEFINED, {{2, one}, {14, one}, {10, one}}, "Category=1|Manager=1|NumberOfMultimediaClips=1|"},
        {other, {{2, one}, {0, Bytes(1u) + Name(99, "n.")}, {99, one}}, "n=1|"},
        // The first value of a key wins, but nothing takes no key.
        {SUMMARY, {{2, Text("")}, {2, Text("b")}, {2, Text("c")}}, "Title=b|"},
        {USER_DEFINED, {{0, equalNames}, {9, Text("b")}, {8, Text("c")}}, "NAME=b|"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ReadSection(row.section, row.pairs), row.expected);
    EXPECT_EQ(Read(PropertySet({{other, Section({{2, one}})}, {DOC_SUMMARY, Section({{15, one}})}})), "Company=1|");
}

TEST(PropertyDictionary, NamesAreReadAsWritersPadThem)
{
    const std::string one = Bytes(3u, 1);
    const std::string b = Name(3, Utf16(u"b."), 2);
    const struct {
        const char* what;
        std::uint16_t codePage;
        std::string dictionary;
        const char* expected;
    } rows[] = {
        {"narrow names lie without padding", 1252, Bytes(2u) + Name(2, "a.") + Name(3, "b."), "a=1|b=1|"},
        {"wide names are padded", 1200, Bytes(2u) + Name(2, Utf16(u"aa.x"), 3) + b, "aa=1|b=1|"},
        {"unless they are one unit long", 1200, Bytes(2u) + Name(2, Utf16(u"a"), 1) + b, "Category=1|b=1|"},
        {"length 0 is passed over", 1252, Bytes(2u) + Name(2, "") + Name(3, "b."), "Category=1|b=1|"},
        {"a later entry replaces", 1252, Bytes(2u) + Name(2, "a.") + Name(2, "b."), "PresentationTarget=1|b=1|"},
        {"a count behind the end costs one property", 1252, Bytes(0xFFFFFFFFu) + Name(3, "b."), "b=1|"},
    };
    for (const auto& row : rows) {
        const Pairs pairs = {{1, CodePage(row.codePage)}, {0, row.dictionary}, {2, one}, {3, one}};
        EXPECT_EQ(ReadSection(USER_DEFINED, pairs), row.expected) << row.what;
    }
}

TEST(PropertyMaps, AreMergedUnderTheirNamesTheWellKnownFirst)
{
    PropertyStorage::AllMap all;
    PropertyStorage::MergePropertyMap(
        {{PropertyStorage::PROPERTY_TITLE, Variant(1)}, {static_cast<PropertyStorage::PROPERTY_ENUM>(28), Variant(3)}},
        {{"TITLE", Variant(2)}}, all);
    const PropertyStorage::AllMap expected = {{"", Variant(3)}, {"Title", Variant(1)}, {"TITLE", Variant(2)}};
    EXPECT_EQ(all, expected);
}

TEST(PropertySet, HeaderListsAndOffsetsThatBreakCostWhatTheyLeadTo)
{
    const std::string valid = PropertySet({{SUMMARY, Section({{2, Text("t")}, {3, Text("s")}})}});
    const std::string refused = "(no property set)";
    const struct {
        std::size_t offset;
        std::uint32_t value;
        std::string expected;
    } rows[] = {
        {0, 0x0000FFFF, refused},                // the mark of the byte order
        {0, 0x0001FFFE, refused},                // the version
        {24, 0, refused},                        // no section
        {24, 0xFFFF, "Title=t|Subject=s|"},      // the list ends where the first section begins
        {48 + 12, 0xFFFFFFF0, "Subject=s|"},     // an offset that would wrap
        {48 + 4, 0xFFFFFFFF, ""},                // more properties than there are bytes
        {44, 0xFFFFFFFF, ""},                    // a section behind the end
        {48 + 24 + 4, 0xFFFFFFFF, "Subject=s|"}, // a text longer than the set
    };
    for (const auto& row : rows) {
        std::string set = valid;
        Poke(set, row.offset, row.value);
        try {
            EXPECT_EQ(Read(set), row.expected);
        } catch (const NotAPropertyStorageOLEException&) {
            EXPECT_EQ(refused, row.expected) << row.offset;
        }
    }
    for (const std::size_t size : {0, 27, 47})
        EXPECT_THROW(Read(valid.substr(0, size)), CorruptedPropertyStorageOLEException) << size;
    for (std::size_t size = 48; size < valid.size(); ++size)
        EXPECT_TRUE(std::string("Title=t|Subject=s|").starts_with(Read(valid.substr(0, size)))) << size;
}

// A thousand names that all lead to one text of 200 KB: converting it for each would take hundreds of megabytes.
TEST(HostilePropertySet, OneLongTextIsNotConvertedForEveryProperty)
{
    std::string dictionary = Bytes(1000u);
    Pairs pairs = {{0, ""}};
    for (std::uint32_t id = 2; id < 1002; ++id) {
        dictionary += Name(id, Bytes(id, '\0'));
        pairs.push_back({id, ""});
    }
    pairs.front().second = dictionary;
    const std::uint32_t textOffset = Count(Section(pairs).size());
    std::string section = Section(pairs) + Text(std::string(200000, 'x'));
    for (std::size_t i = 1; i < pairs.size(); ++i)
        Poke(section, 8 + i * 8 + 4, textOffset);
    const std::string set = PropertySet({{USER_DEFINED, section}});
    EXPECT_LT(Read(set).size(), 3 * set.size());
}

// What shares a long text may be left out beyond a limit, but costs no other property.
TEST(HostilePropertySet, ASharedTextHidesNothingBehindIt)
{
    Pairs pairs = {{2, ""}, {3, ""}, {4, ""}, {5, ""}, {6, Text("after")}};
    const std::uint32_t textOffset = Count(Section(pairs).size());
    std::string section = Section(pairs) + Text(std::string(10000, 'x'));
    for (std::size_t i = 0; i < 4; ++i)
        Poke(section, 8 + i * 8 + 4, textOffset);
    EXPECT_NE(Read(PropertySet({{SUMMARY, section}})).find("Comments=after|"), std::string::npos);
}

TEST(HostilePropertySet, SectionsThatOverlapEndWithTheirBudget)
{
    std::string pairs = Bytes(0u, 0x10000u) + Repeated(0x10000, Bytes(99u, 0x10000u));
    // 20000 entries of the list, each 8 bytes further into the same pairs.
    std::string list;
    constexpr std::uint32_t ENTRIES = 20000;
    for (std::uint32_t i = 0; i < ENTRIES; ++i)
        list += std::string(SUMMARY) + Bytes(28 + ENTRIES * 20 + i * 8);
    const std::string set = PropertySet({}).replace(24, 4, Bytes(1u)) + list + pairs + pairs;
    EXPECT_EQ(Read(set), "");
}
