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

// "Title=text|name=text|", well-known properties first.
std::string Read(const std::string& set)
{
    StaticMemoryBuffer buffer(static_cast<const void*>(set.data()), static_cast<unsigned int>(set.size()));
    PropertyStorage::EnumMap byEnum;
    PropertyStorage::NameMap byName;
    PropertyStorage(buffer).Properties(byEnum, byName);
    std::string text;
    for (const auto& [property, value] : byEnum)
        text += PropertyStorage::PropertyName(property) + ("=" + Kiv::Utf8(value.AsWString())) + '|';
    for (const auto& [name, value] : byName)
        text += name + '=' + Kiv::Utf8(value.AsWString()) + '|';
    return text;
}

std::string ReadSummary(const Pairs& pairs)
{
    return Read(PropertySet({{SUMMARY, Section(pairs)}}));
}

std::string ReadUserDefined(const Pairs& pairs)
{
    return Read(PropertySet({{USER_DEFINED, Section(pairs)}}));
}

// The title of a summary with the given code page and value.
Variant Title(std::uint16_t codePage, const std::string& value)
{
    const std::string set = PropertySet({{SUMMARY, Section({{1, CodePage(codePage)}, {2, value}})}});
    StaticMemoryBuffer buffer(static_cast<const void*>(set.data()), static_cast<unsigned int>(set.size()));
    PropertyStorage::EnumMap byEnum;
    PropertyStorage::NameMap byName;
    PropertyStorage(buffer).Properties(byEnum, byName);
    return byEnum[PropertyStorage::PROPERTY_TITLE];
}

// A value at the given depth of vectors of variants; what is innermost is at depth 0 of its own.
std::string Nested(unsigned int vectors, const std::string& innermost)
{
    std::string value;
    for (unsigned int i = 0; i < vectors; ++i)
        value += Bytes(0x100Cu, 1u);
    return value + innermost;
}

} // namespace

TEST(PropertyValue, EachTypeBecomesItsVariant)
{
    constexpr std::uint64_t STEPS_TO_1970 = 116444736000000000;
    constexpr std::uint64_t STEPS_TO_3001 = STEPS_TO_1970 + 32535216000u * 10000000ull;
    const Variant nothing;
    struct Row {
        std::string value;
        Variant expected;
        std::uint16_t codePage = 1252;
    };
    const Row rows[] = {
        {Bytes(2u, short{-2}), Variant(short{-2})},
        {Bytes(3u, -3), Variant(-3)},
        {Bytes(4u, 0.5f), Variant(0.5f)},
        {Bytes(5u, 0.25), Variant(0.25)},
        {Bytes(10u, -10), Variant(-10)},
        {Bytes(11u, short{-1}), Variant(true)},
        {Bytes(11u, short{0}), Variant(false)},
        {Bytes(12u, 12u, 3u, 7), Variant(7)},
        {Bytes(17u, '\xFF'), Variant(static_cast<unsigned char>(255))},
        {Bytes(18u, short{-1}), Variant(static_cast<unsigned short>(65535))},
        {Bytes(19u, -1), Variant(0xFFFFFFFFu)},
        {Bytes(0xABCD0003u, 7), Variant(7)},
        {Bytes(64u, STEPS_TO_1970 + 15000000), Variant(Kiv::DateTime(1))},
        {Bytes(64u, STEPS_TO_3001 - 1), Variant(Kiv::DateTime(32535215999))},
        {Bytes(64u, STEPS_TO_3001), nothing},
        {Bytes(64u, std::uint64_t{0}), nothing},
        // Text: zeros go from its end only, what is then empty is nothing.
        {Text(std::string("caf\xE9\0\0", 6)), Variant(u"café"_w)},
        {Text(std::string("a\0b\0", 4)), Variant(u"a\0b"_w)},
        {Text("caf\xC3\xA9"), Variant(u"café"_w), 65001},
        {Text(std::string("\0\0", 2)), nothing},
        {Text(""), nothing},
        {Text("text"), nothing, 4711},
        {Text(Utf16(u"ж\0")), Variant(u"ж"_w), 1200},
        {Text(Utf16(u"ж") + "x"), Variant(u"ж"_w), 1201},
        {Bytes(31u, 3u) + Utf16(std::u16string(u"ж\0\0", 3)), Variant(u"ж"_w), 4711},
        {Bytes(31u, 0u), nothing},
        // Vectors: elements follow each other without padding.
        {Bytes(0x101Eu, 3u) + Text("x").substr(4) + Text("y").substr(4) + Text("z").substr(4),
         Variant(u"x\r\ny\r\nz"_w)},
        {Bytes(0x101Eu, 3u) + Text("x").substr(4) + Text("").substr(4) + Text("z").substr(4), Variant(u"x\r\nz"_w)},
        {Bytes(0x100Cu, 2u) + Bytes(11u, short{1}) + Bytes(5u, 0.5), Variant(u"true\r\n0.5"_w)},
        {Bytes(0x1002u, 0u), nothing},
        {Bytes(0x1003u, 2u, 1), nothing}, // cut by the end of the set
        {Text("cut by the end of the set").substr(0, 12), nothing},
        // Types without values.
        {Bytes(0u, 1), nothing},
        {Bytes(8u, 1), nothing},
        {Bytes(65u, 1), nothing},
        {Bytes(0x2003u, 1, 1), nothing},
        {Bytes(0x1041u, 0xFFFFFFFFu), nothing},
    };
    for (const Row& row : rows)
        EXPECT_TRUE(Title(row.codePage, row.value) == row.expected) << "row " << &row - rows;
}

TEST(PropertyValue, LongTextsAndVectorsAreCut)
{
    const std::string text(0x40001, 'x');
    EXPECT_EQ(Title(1252, Text(text)).As<Kiv::WString>().size(), 0x40000u);
    EXPECT_EQ(Title(1252, Bytes(31u, 0x40001u) + text + text).As<Kiv::WString>().size(), 0x40000u);
    const std::string bytes(0x401, '\1');
    EXPECT_EQ(Title(1252, Bytes(0x1011u, 0x401u) + bytes).As<Kiv::WString>().size(), 0x400u * 3 - 2);
}

TEST(PropertyValue, NestingStopsAtItsDepth)
{
    EXPECT_EQ(Title(1252, Nested(8, Bytes(3u, 7))), Variant(u"7"_w));
    EXPECT_EQ(Title(1252, Nested(9, Bytes(3u, 7))), Variant());
    EXPECT_EQ(Title(1252, Nested(100000, Bytes(3u, 7))), Variant());
    std::string variants;
    for (int i = 0; i < 100000; ++i)
        variants += Bytes(12u);
    EXPECT_EQ(Title(1252, variants), Variant());
}

TEST(PropertySection, CodePageAndDictionaryCountForWhatFollowsThem)
{
    const std::string dictionary = Bytes(1u) + DictionaryEntry(2, 3, std::string("\xD0\xB6\0", 3));
    const std::string value = Text("\xD0\xB6");
    EXPECT_EQ(ReadSummary({{2, value}, {1, CodePage(65001)}, {3, value}}), "Title=Ð¶|Subject=ж|");
    EXPECT_EQ(ReadSummary({{2, value}, {0, dictionary}, {1, CodePage(65001)}, {2, value}}), "Title=Ð¶|ж=ж|");
    // The dictionary waits for the next property, and so for the code page in front of that.
    EXPECT_EQ(ReadSummary({{1, CodePage(4711)}, {0, dictionary}, {2, Bytes(3u, 7)}}), "Title=7|");
    EXPECT_EQ(ReadSummary({{0x80000000, Bytes(3u, 7)}, {2, Bytes(3u, 8)}}), "Title=8|");
}

TEST(PropertySection, FormatIdentifierChoosesTheTable)
{
    const Pairs pairs = {{2, Bytes(3u, 2)}, {14, Bytes(3u, 14)}, {10, Bytes(3u, 10)}, {99, Bytes(3u, 99)}};
    EXPECT_EQ(ReadSummary(pairs), "Title=2|NumberOfPages=14|");
    EXPECT_EQ(ReadUserDefined(pairs), "Category=2|Manager=14|NumberOfMultimediaClips=10|");
    const std::string other(16, 'x');
    EXPECT_EQ(Read(PropertySet({{other, Section(pairs)}, {DOC_SUMMARY, Section({{15, Bytes(3u, 15)}})}})),
              "Company=15|");
    EXPECT_EQ(Read(PropertySet({{other, Section({{0, Bytes(1u) + DictionaryEntry(99, 2, std::string("n\0", 2))},
                                                 {99, Bytes(3u, 99)}})}})),
              "n=99|");
}

TEST(PropertySection, FirstValueOfAKeyWinsButNothingTakesNoKey)
{
    const std::string dictionary =
        Bytes(2u) + DictionaryEntry(8, 5, std::string("Name\0", 5)) + DictionaryEntry(9, 5, std::string("NAME\0", 5));
    EXPECT_EQ(ReadSummary({{2, Text("")}, {2, Text("b")}, {2, Text("c")}}), "Title=b|");
    EXPECT_EQ(ReadUserDefined({{0, dictionary}, {9, Text("b")}, {8, Text("c")}}), "NAME=b|");
    PropertyStorage::AllMap all;
    PropertyStorage::MergePropertyMap(
        {{PropertyStorage::PROPERTY_TITLE, Variant(1)}, {static_cast<PropertyStorage::PROPERTY_ENUM>(28), Variant(3)}},
        {{"TITLE", Variant(2)}}, all);
    std::string merged;
    for (const auto& [name, value] : all)
        merged += name + '=' + Kiv::Utf8(value.AsWString()) + '|';
    EXPECT_EQ(merged, "=3|Title=1|TITLE=2|");
}

TEST(PropertyDictionary, NamesAreReadAsWritersPadThem)
{
    const std::string one = Bytes(3u, 1);
    struct Row {
        const char* what;
        std::uint16_t codePage;
        std::string dictionary;
        std::string expected;
    };
    const Row rows[] = {
        {"narrow names lie without padding", 1252,
         Bytes(2u) + DictionaryEntry(2, 2, std::string("a\0", 2)) + DictionaryEntry(3, 2, std::string("b\0", 2)),
         "a=1|b=1|"},
        {"wide names are padded", 1200,
         Bytes(2u) + DictionaryEntry(2, 3, Utf16(std::u16string(u"aa\0x", 4))) +
             DictionaryEntry(3, 2, Utf16(std::u16string(u"b\0", 2))),
         "aa=1|b=1|"},
        {"unless they are one unit long", 1200,
         Bytes(2u) + DictionaryEntry(2, 1, Utf16(u"a")) + DictionaryEntry(3, 2, Utf16(std::u16string(u"b\0", 2))),
         "Category=1|b=1|"},
        {"the last unit goes, whatever it is", 1252, Bytes(1u) + DictionaryEntry(2, 3, "abc"),
         "PresentationTarget=1|ab=1|"},
        {"length 0 is passed over", 1252, Bytes(2u) + DictionaryEntry(2, 0, "") + DictionaryEntry(3, 2, "b."),
         "Category=1|b=1|"},
        {"a later entry replaces", 1252, Bytes(2u) + DictionaryEntry(2, 2, "a.") + DictionaryEntry(2, 2, "b."),
         "PresentationTarget=1|b=1|"},
        {"a count behind the end costs one property", 1252, Bytes(0xFFFFFFFFu) + DictionaryEntry(3, 2, "b."), "b=1|"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ReadUserDefined({{1, CodePage(row.codePage)}, {2, one}, {3, one}, {0, row.dictionary}}),
                  "Category=1|PresentationTarget=1|")
            << row.what;
    for (const Row& row : rows)
        EXPECT_EQ(ReadUserDefined({{1, CodePage(row.codePage)}, {0, row.dictionary}, {2, one}, {3, one}}), row.expected)
            << row.what;
}

TEST(PropertySetHeader, Decides)
{
    const std::string valid =
        PropertySet({{SUMMARY, Section({{2, Text("t")}})}, {USER_DEFINED, Section({{2, Text("c")}})}});
    struct Row {
        std::size_t offset;
        std::uint16_t value;
        bool isPropertySet;
    };
    const Row rows[] = {{0, 0xFFFF, false}, {2, 1, false}, {24, 0, false}, {24, 0xFFFF, true}, {24, 1, true}};
    for (const Row& row : rows) {
        std::string set = valid;
        Poke(set, row.offset, row.value);
        if (row.isPropertySet)
            EXPECT_EQ(Read(set), "Title=t|Category=c|") << "the list ends where the first section begins";
        else
            EXPECT_THROW(Read(set), NotAPropertyStorageOLEException);
    }
    for (const std::size_t size : {0, 27, 47, 67})
        EXPECT_THROW(Read(valid.substr(0, size)), CorruptedPropertyStorageOLEException) << size;
    for (std::size_t size = 68; size < valid.size(); ++size)
        EXPECT_TRUE(std::string("Title=t|Category=c|").starts_with(Read(valid.substr(0, size)))) << size;
}

TEST(HostilePropertySet, OffsetsBehindTheEndCostTheirPropertyOrTheRest)
{
    const std::string valid = PropertySet({{SUMMARY, Section({{2, Text("t")}, {3, Text("s")}})}});
    struct Row {
        std::size_t offset;
        std::uint32_t value;
        const char* expected;
    };
    const Row rows[] = {
        {48 + 12, 0xFFFFFFF0, "Subject=s|"},     // an offset that would wrap
        {48 + 4, 0xFFFFFFFF, ""},                // more properties than there are bytes
        {44, 0xFFFFFFFF, ""},                    // a section behind the end
        {48 + 24 + 4, 0xFFFFFFFF, "Subject=s|"}, // a text longer than the set
    };
    for (const Row& row : rows) {
        std::string set = valid;
        Poke(set, row.offset, row.value);
        EXPECT_EQ(Read(set), row.expected);
    }
}

// A thousand names, or sections, or both, that all lead to one text of 200 KB: converting it for each would take
// hundreds of megabytes.
TEST(HostilePropertySet, OneLongTextIsNotConvertedForEveryProperty)
{
    std::string dictionary = Bytes(1000u);
    for (std::uint32_t id = 2; id < 1002; ++id)
        dictionary += DictionaryEntry(id, 5, Bytes(id, '\0'));
    Pairs pairs = {{0, dictionary}};
    for (std::uint32_t id = 2; id < 1001; ++id)
        pairs.push_back({id, ""});
    pairs.push_back({1001, Text(std::string(200000, 'x'))});
    std::string section = Section(pairs);
    const std::uint32_t textOffset = static_cast<std::uint32_t>(section.size() - 200008);
    for (std::size_t i = 1; i < pairs.size(); ++i)
        Poke(section, 8 + i * 8 + 4, textOffset);
    const std::string set = PropertySet({{USER_DEFINED, section}});
    EXPECT_LT(Read(set).size(), 3 * set.size());
}

TEST(HostilePropertySet, SectionsThatOverlapEndWithTheirBudget)
{
    std::string pairs = Bytes(0u, 0x10000u);
    for (std::uint32_t i = 0; i < 0x10000; ++i)
        pairs += Bytes(99u, 0x10000u);
    // 20000 entries of the list, each 8 bytes further into the same pairs.
    std::string list;
    constexpr std::uint32_t ENTRIES = 20000;
    for (std::uint32_t i = 0; i < ENTRIES; ++i)
        list += std::string(SUMMARY) + Bytes(28 + ENTRIES * 20 + i * 8);
    const std::string set = PropertySet({}).replace(24, 4, Bytes(1u)) + list + pairs + pairs;
    EXPECT_EQ(Read(set), "");
}
