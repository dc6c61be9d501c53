#include <gtest/gtest.h>

#include <documents/DocumentBuilder.h>
#include <documents/Words.h>

using namespace KivFile::OLE;
using namespace KivTest;
using Kiv::Variant;

namespace
{

// What a set holds, in words; "(none)" when it is no property set, "(corrupted)" when it ends in its header.
std::string Read(const std::string& set)
try {
    KivFile::StaticMemoryBuffer buffer = Over(set);
    PropertyStorage::AllMap all;
    PropertyStorage(buffer).Properties(all);
    return Words(all);
} catch (const NotAPropertyStorageOLEException&) {
    return "(none)";
} catch (const CorruptedPropertyStorageOLEException&) {
    return "(corrupted)";
}

std::string ReadSection(std::string_view id, const Pairs& pairs)
{
    return Read(PropertySet({{id, Section(pairs)}}));
}

std::string CodePage(std::uint16_t number)
{
    return Bytes(2u, number);
}

// The title that a summary with the given code page and value has.
std::string Title(const std::string& value, std::uint16_t codePage = 1252)
{
    const std::string words = ReadSection(SUMMARY, {{1, CodePage(codePage)}, {2, value}});
    return words.empty() ? "" : words.substr(6, words.size() - 7); // "Title=" and "|"
}

// An entry of a dictionary. The length is in units, those of the padding not counted.
std::string Name(std::uint32_t id, std::string_view name)
{
    return Bytes(id, Count(name.size())) + std::string(name);
}

std::string WideName(std::uint32_t id, std::u16string_view name, std::uint32_t length)
{
    return Bytes(id, length) + BytesOf(name);
}

std::string Repeated(unsigned int times, const std::string& bytes)
{
    std::string repeated;
    for (unsigned int i = 0; i < times; ++i)
        repeated += bytes;
    return repeated;
}

std::string LongText(std::size_t size)
{
    return Text(std::string(size, 'x'));
}

// A section whose properties without a value share this one.
std::string SectionSharing(const Pairs& pairs, const std::string& value)
{
    std::string section = Section(pairs);
    for (std::size_t i = 0; const auto& [id, own] : pairs) {
        i += 8;
        if (own.empty())
            Poke(section, i + 4, Count(section.size()));
    }
    return section + value;
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
        Bytes(64u, STEPS_TO_3001),   Bytes(64u, 0ull),      Text(std::string(2, '\0')),
        Bytes(0x1002u, 0u),          Bytes(8u, 1),          Bytes(0x2003u, 1, 1),
        Bytes(0x1041u, 0xFFFFFFFFu), Bytes(0x1003u, 2u, 1), Text("cut by the end of the set").substr(0, 12),
    };
    for (const std::string& value : nothing)
        EXPECT_EQ(Title(value), "") << testing::PrintToString(value);
}

// Zeros go from the end of a text only.
TEST(PropertyValue, TextsAndVectorsAreConvertedAndCut)
{
    const std::string x = Text("x").substr(4);
    const std::string vector = Bytes(0x100Cu, 1u);
    const std::string longest(0x40000, 'x');
    const struct {
        std::string value;
        std::string expected;
        std::uint16_t codePage = 1252;
    } rows[] = {
        {Text(std::string("caf\xE9\0\0", 6)), "café"},
        {Text(std::string("a\0b\0", 4)), std::string("a\0b", 3)},
        {Text("caf\xC3\xA9"), "café", 65001},
        {Text("text"), "", 4711},
        {Text(BytesOf(std::u16string(u"жa\0", 3))), "жa", 1200},
        {Text(BytesOf(std::u16string(u"ж")) + "x"), "ж", 1201},
        {Bytes(31u, 3u) + BytesOf(std::u16string(u"ж\0\0", 3)), "ж", 4711},
        {Text(longest + 'x'), longest},
        {Bytes(31u, 0x40001u) + BytesOf(std::u16string(0x40001, u'x')), longest},
        {Bytes(0x101Eu, 4u) + x + Text("").substr(4) + x + x, "x\r\nx\r\nx"},
        {Bytes(0x100Cu, 2u) + Bytes(11u, short{1}) + Bytes(5u, 0.5), "true\r\n0.5"},
        {Bytes(0x1011u, 0x401u) + std::string(0x401, '\1'), "1" + Repeated(0x3FF, "\r\n1")},
        {Repeated(16, Bytes(12u)) + Bytes(31u, 1u, u'x'), "x"},
        {Repeated(17, Bytes(12u)) + Bytes(31u, 1u, u'x'), ""},
        {Repeated(9, vector) + Bytes(3u, 7), ""},
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
        {SUMMARY, {{2, zhe}, {1, CodePage(65001)}, {3, zhe}}, "Subject=ж|Title=Ð¶|"},
        {SUMMARY, {{2, zhe}, {0, zheName}, {0x80000000, one}, {1, CodePage(65001)}, {2, zhe}}, "Title=Ð¶|ж=ж|"},
        // The dictionary waits for the next property, and so for the code page in front of that.
        {SUMMARY, {{1, CodePage(4711)}, {0, zheName}, {2, one}}, "Title=int 1|"},
        {SUMMARY, {{2, one}, {14, one}, {10, one}, {99, one}}, "NumberOfPages=int 1|Title=int 1|"},
        {DOC_SUMMARY, {{2, one}, {15, one}, {99, one}}, "Category=int 1|Company=int 1|"},
        {USER_DEFINED, {{2, one}, {14, one}}, "Category=int 1|Manager=int 1|"},
        {other, {{2, one}, {0, Bytes(1u) + Name(99, "n.")}, {99, one}}, "n=int 1|"},
        // The first value of a key wins, but nothing takes no key.
        {SUMMARY, {{2, Text("")}, {2, Text("b")}, {2, Text("c")}}, "Title=b|"},
        {USER_DEFINED, {{0, equalNames}, {9, Text("b")}, {8, Text("c")}}, "NAME=b|"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ReadSection(row.section, row.pairs), row.expected);
    EXPECT_EQ(Read(PropertySet({{other, Section({{2, one}})}, {DOC_SUMMARY, Section({{15, one}})}})), "Company=int 1|");
}

TEST(PropertyDictionary, NamesAreReadAsWritersPadThem)
{
    const std::string one = Bytes(3u, 1);
    const std::string b = WideName(3, u"b.", 2);
    const struct {
        const char* what;
        std::uint16_t codePage;
        std::string dictionary;
        const char* expected;
    } rows[] = {
        {"narrow names lie without padding", 1252, Bytes(2u) + Name(2, "a.") + Name(3, "b."), "a=int 1|b=int 1|"},
        {"wide names are padded", 1200, Bytes(2u) + WideName(2, u"aa.x", 3) + b, "aa=int 1|b=int 1|"},
        {"unless they are one unit long", 1200, Bytes(2u) + WideName(2, u"a", 1) + b, "b=int 1|Category=int 1|"},
        {"length 0 is passed over", 1252, Bytes(2u) + Name(2, "") + Name(3, "b."), "b=int 1|Category=int 1|"},
        {"a later entry replaces", 1252, Bytes(2u) + Name(2, "a.") + Name(2, "b."),
         "b=int 1|PresentationTarget=int 1|"},
        {"a count behind the end costs one property", 1252, Bytes(0xFFFFFFFFu) + Name(3, "b."), "b=int 1|"},
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
    EXPECT_EQ(Words(all), "=int 3|Title=int 1|TITLE=int 2|");
}

TEST(PropertySet, HeaderListsAndOffsetsThatBreakCostWhatTheyLeadTo)
{
    const std::string all = "Subject=s|Title=t|";
    const std::string valid = PropertySet({{SUMMARY, Section({{3, Text("s")}, {2, Text("t")}})}});
    const struct {
        std::size_t offset;
        std::uint32_t value;
        std::string expected;
    } rows[] = {
        {0, 0x0000FFFF, "(none)"},             // the mark of the byte order
        {0, 0x0001FFFE, "(none)"},             // the version
        {24, 0, "(none)"},                     // no section
        {24, 0xFFFF, all},                     // the list ends where the first section begins
        {48 + 12, 0xFFFFFFF0, "Title=t|"},     // an offset that would wrap
        {48 + 4, 0xFFFFFFFF, ""},              // more properties than there are bytes
        {44, 0xFFFFFFFF, ""},                  // a section behind the end
        {48 + 24 + 4, 0xFFFFFFFF, "Title=t|"}, // a text longer than the set
    };
    for (const auto& row : rows) {
        std::string set = valid;
        Poke(set, row.offset, row.value);
        EXPECT_EQ(Read(set), row.expected) << row.offset;
    }
    const std::string unknown = Repeated(0x10000, Bytes(99u, 0u));
    const std::string title = Bytes(2u, 16 + 0x80000u) + Text("beyond the largest number of properties");
    EXPECT_EQ(Read(PropertySet({{SUMMARY, Bytes(0u, 0x10001u) + unknown + title}})), "");
    for (const std::size_t size : {0, 27, 47})
        EXPECT_EQ(Read(valid.substr(0, size)), "(corrupted)") << size;
    for (std::size_t size = 48; size < valid.size(); ++size)
        EXPECT_TRUE(all.starts_with(Read(valid.substr(0, size)))) << size;
}

// A thousand names that all lead to one text of 200 KB: converting it for each would take hundreds of megabytes.
TEST(HostilePropertySet, OneLongTextIsNotConvertedForEveryProperty)
{
    Pairs pairs = {{0, Bytes(1000u)}};
    for (std::uint32_t id = 2; id < 1002; ++id) {
        pairs.front().second += Name(id, Bytes(id, '\0'));
        pairs.push_back({id, ""});
    }
    const std::string set = PropertySet({{USER_DEFINED, SectionSharing(pairs, LongText(200000))}});
    EXPECT_LT(Read(set).size(), 3 * set.size());
}

// Vectors of their own are all read, though a byte becomes the most that it can; shared ones end with a limit.
TEST(HostilePropertySet, VectorsInWordsAreNoMoreThanASetCanHold)
{
    constexpr std::uint32_t COUNT = 300;
    const std::string vector = Bytes(0x1011u, 1024u) + std::string(1024, '\xFF');
    Pairs own = {{0, Bytes(COUNT)}};
    for (std::uint32_t id = 2; id < COUNT + 2; ++id) {
        own.front().second += Name(id, std::to_string(id) + '\0');
        own.push_back({id, vector});
    }
    Pairs shared = own;
    for (auto property = shared.begin() + 1; property != shared.end(); ++property)
        property->second.clear();
    const auto count = [](const std::string& section) {
        return std::ranges::count(Read(PropertySet({{USER_DEFINED, section}})), '=');
    };
    EXPECT_EQ(count(Section(own)), COUNT);
    EXPECT_LT(count(SectionSharing(shared, vector)), 20);
}

// What shares a long text may be left out beyond a limit, but costs no other property.
TEST(HostilePropertySet, ASharedTextHidesNothingBehindIt)
{
    const Pairs pairs = {{2, ""}, {3, ""}, {4, ""}, {5, ""}, {6, Text("after")}};
    const std::string words = Read(PropertySet({{SUMMARY, SectionSharing(pairs, LongText(10000))}}));
    EXPECT_NE(words.find("Comments=after|"), words.npos);
    const Pairs few = {{2, ""}, {3, ""}, {4, ""}, {5, ""}, {6, ""}, {7, ""}, {8, ""}, {9, ""}, {18, ""}};
    EXPECT_EQ(std::ranges::count(Read(PropertySet({{SUMMARY, SectionSharing(few, LongText(60))}})), '|'), 9);
}

TEST(HostilePropertySet, SectionsThatOverlapEndWithTheirBudget)
{
    const std::string pairs = Bytes(0u, 0x10000u) + Repeated(0x10000, Bytes(99u, 0x10000u));
    // 20000 entries of the list, each 8 bytes further into the same pairs.
    std::string list;
    constexpr std::uint32_t ENTRIES = 20000;
    for (std::uint32_t i = 0; i < ENTRIES; ++i)
        list += std::string(SUMMARY) + Bytes(28 + ENTRIES * 20 + i * 8);
    EXPECT_EQ(Read(PropertySet({}).replace(24, 4, Bytes(1u)) + list + pairs + pairs), "");
}
