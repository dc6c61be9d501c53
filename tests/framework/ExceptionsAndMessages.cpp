#include <KivBase/Exception.h>
#include <KivBase/Messages.h>

#include <stdexcept>

#include <gtest/gtest.h>
#include <platform/Platform.h>

using namespace Kiv;

namespace
{

template <class... Values>
std::string Bytes(Values... values)
{
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}

// A catalog block of one record.
std::string Block(std::uint32_t id, std::u16string_view text)
{
    const auto size = static_cast<std::uint32_t>(2 * text.size());
    return Bytes(1u, 4u) + "Test" + Bytes(id, 7u, '\1', size) +
           std::string(reinterpret_cast<const char*>(text.data()), size) + std::string(2 + 4, '\0');
}

void Load(const std::string& block)
{
    // A copy of its own size, so that the sanitizers see a read behind it.
    const std::vector<unsigned char> bytes(block.begin(), block.end());
    KivMessages::Load(bytes.data(), static_cast<unsigned int>(bytes.size()), "Test-I");
}

SmartPtr<MessageInfo> Record(std::uint32_t id, std::initializer_list<WString> parameters = {})
{
    auto record = MakeShared<MessageInfo>("Test", id, "src/Test", 1u);
    for (const WString& parameter : parameters)
        record->AddParameter(WStringView(parameter));
    return record;
}

struct Catalog : testing::Test {
    Catalog() { KivMessages::Init(); }
    ~Catalog() override { KivMessages::Free(); }
};

using MessageText = Catalog;

} // namespace

TEST_F(Catalog, LaterMessageReplacesAnEarlierOneAndExceptionsOutliveThem)
{
    Load(Block(3, u"old"));
    Load(Block(3, u"new"));
    EXPECT_EQ(KivMessages::Text("Test", 3), u"new"_w);
    EXPECT_EQ(KivMessages::Text("Test", 4), WString());
    const Exception original(Record(3));
    KivMessages::Free();
    EXPECT_EQ(original.What(), u"new"_w);
    EXPECT_EQ(Exception(Record(3)).What(), WString());
    EXPECT_THROW(Load(Block(3, u"x")), std::logic_error);
}

TEST_F(Catalog, MalformedBlockIsRefusedWhole)
{
    const std::string good = Block(1, u"ab");
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_THROW(Load(good.substr(0, length)), std::runtime_error) << length;
    EXPECT_THROW(Load(good + '\0'), std::runtime_error);

    // One record too many, far too many; a module too long, endless; an odd text, an endless one, one that has no end.
    const std::pair<std::size_t, char> rows[] = {{0, 2},  {3, '\xFF'},  {4, 5}, {7, '\xFF'},
                                                 {21, 3}, {24, '\x7F'}, {29, 1}};
    for (const auto& [offset, value] : rows) {
        std::string bad = good;
        bad[offset] = value;
        EXPECT_THROW(Load(bad), std::runtime_error) << offset;
    }
    EXPECT_EQ(KivMessages::Text("Test", 1), WString());
    Load(good);
    EXPECT_EQ(KivMessages::Text("Test", 1), u"ab"_w);
}

TEST_F(MessageText, SubstitutesEachPlaceOnceShowsEmptyParametersAndCutsLongNarrowOnes)
{
    Load(Block(1, u"%1 to %2.%2%1%2 %3 and %9 stay %0 %a %%1 100%"));
    EXPECT_EQ(Utf8(Record(1, {u"%2"_w, u"b"_w})->Text()), "%2 to b.b%2b %3 and %9 stay %0 %a %%2 100%");

    Load(Block(1, u"<%1>"));
    EXPECT_EQ(Record(1, {WString()})->Text(), u"<"_w + MessageInfo::EMPTY_PARAM_VALUE + u">"_w);
    EXPECT_FALSE(MessageInfo::EMPTY_PARAM_VALUE.empty());
    const auto narrow = MakeShared<MessageInfo>("Test", 1u, "src/Test", 1u);
    narrow->AddParameter(std::string(2000, 'x'));
    EXPECT_EQ(narrow->Text().size(), 1024u + 2);
    EXPECT_EQ(Record(1, {WString(2000, u'x')})->Text().size(), 2000u + 2);
}

TEST_F(MessageText, EndsWithTheSystemsWordsForTheErrorCode)
{
    Load(Block(1, u"Failed."));
    const auto record = Record(1);
    record->SetLastError(KivSys::ErrorFileNotFound);
    unsigned short words[512];
    const auto length = KivSys::FormatMessageW(KivSys::ErrorFileNotFound, words, 512);
    ASSERT_NE(length, 0u);
    EXPECT_EQ(Utf8(record->Text()), "Failed. " + Utf8({words, length}));

    const auto unknown = Record(1);
    unknown->SetLastError(0xEFFFFFFF);
    EXPECT_EQ(unknown->Text(), u"Failed."_w);
}
