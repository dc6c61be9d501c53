#include <KivBase/BinaryStreamException.h>
#include <KivBase/Exception.h>
#include <KivBase/Messages.h>

#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>
#include <platform/Platform.h>

using namespace Kiv;

namespace
{

void AppendNumber(std::string& block, std::size_t value, unsigned size)
{
    for (unsigned i = 0; i < size; ++i)
        block += static_cast<char>(value >> 8 * i);
}

// A catalog block of one record.
std::string Block(std::string_view module, std::uint32_t id, std::u16string_view text)
{
    std::string block;
    AppendNumber(block, 1, 4);
    AppendNumber(block, module.size(), 4);
    block += module;
    AppendNumber(block, id, 4);
    AppendNumber(block, 7, 4);
    AppendNumber(block, 1, 1);
    AppendNumber(block, 2 * text.size(), 4);
    for (const char16_t unit : text)
        AppendNumber(block, unit, 2);
    AppendNumber(block, 0, 2 + 4);
    return block;
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

TEST_F(Catalog, LaterMessageReplacesAnEarlierOne)
{
    Load(Block("Test", 3, u"old"));
    Load(Block("Test", 3, u"new"));
    EXPECT_EQ(KivMessages::Text("Test", 3), u"new"_w);
    EXPECT_EQ(KivMessages::Text("Test", 4), WString());
    EXPECT_EQ(KivMessages::Text("Tes", 3), WString());
    KivMessages::Free();
    EXPECT_EQ(KivMessages::Text("Test", 3), WString());
    EXPECT_THROW(Load(Block("Test", 3, u"x")), std::logic_error);
}

TEST_F(Catalog, MalformedBlockIsRefusedWhole)
{
    const std::string good = Block("Test", 1, u"ab");
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_THROW(Load(good.substr(0, length)), std::runtime_error) << length;
    EXPECT_THROW(Load(good + '\0'), std::runtime_error);

    const struct {
        std::size_t offset;
        char value;
        const char* what;
    } rows[] = {
        {0, 2, "a second record that is not there"},
        {3, '\xFF', "four thousand million records"},
        {4, 5, "module one byte too long"},
        {7, '\xFF', "endless module"},
        {21, 3, "odd text length"},
        {24, '\x7F', "endless text"},
        {29, 1, "no terminator"},
    };
    for (const auto& row : rows) {
        std::string bad = good;
        bad[row.offset] = row.value;
        EXPECT_THROW(Load(bad), std::runtime_error) << row.what;
    }
    EXPECT_EQ(KivMessages::Text("Test", 1), WString());
    Load(good);
    EXPECT_EQ(KivMessages::Text("Test", 1), u"ab"_w);
}

TEST_F(MessageText, SubstitutesEachPlaceOnce)
{
    const struct {
        std::u16string_view text, expected;
    } rows[] = {
        {u"%1 to %2.", u"%2 to b."}, // the first parameter is itself "%2"
        {u"%2%1%2", u"b%2b"},        {u"%3 and %9 stay", u"%3 and %9 stay"}, {u"%0 %a %%1 100%", u"%0 %a %%2 100%"},
        {u"none", u"none"},
    };
    for (const auto& row : rows) {
        Load(Block("Test", 1, row.text));
        EXPECT_EQ(Utf8(Record(1, {u"%2"_w, u"b"_w})->Text()), Utf8(Wide(row.expected)));
    }
}

TEST_F(MessageText, ShowsEmptyParametersAndCutsLongNarrowOnes)
{
    Load(Block("Test", 1, u"<%1>"));
    EXPECT_EQ(Record(1, {WString()})->Text(), u"<"_w + MessageInfo::EMPTY_PARAM_VALUE + u">"_w);
    EXPECT_FALSE(MessageInfo::EMPTY_PARAM_VALUE.empty());

    const auto narrow = MakeShared<MessageInfo>("Test", 1u, "src/Test", 1u);
    narrow->AddParameter(std::string(2000, 'x'));
    EXPECT_EQ(narrow->Text().size(), 1024u + 2);
    EXPECT_EQ(Record(1, {WString(2000, u'x')})->Text().size(), 2000u + 2);
}

TEST_F(MessageText, EndsWithTheSystemsWordsForTheErrorCode)
{
    Load(Block("Test", 1, u"Failed."));
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

TEST_F(MessageText, OutlivesTheCatalogInAnException)
{
    Load(Block("Test", 1, u"Kept."));
    const Exception exception(Record(1));
    KivMessages::Free();
    EXPECT_EQ(exception.What(), u"Kept."_w);
    EXPECT_EQ(Exception(Record(1)).What(), WString());
    EXPECT_EQ(Exception(SmartPtr<MessageInfo>()).What(), WString());
}

TEST_F(MessageText, IsAllThatCopyAndThrowKeep)
{
    Load(Block("Test", 1, u"text"));
    const BinaryStreamPutEOFException original(Record(1));
    const BinaryStreamPutEOFException copy = original;
    EXPECT_EQ(copy.Message(), original.Message());

    const std::unique_ptr<BaseException> kept(original.Copy());
    const auto* kin = dynamic_cast<const BinaryStreamPutEOFException*>(kept.get());
    ASSERT_TRUE(kin);
    EXPECT_EQ(kin->What(), u"text"_w);
    EXPECT_FALSE(kin->Message());
    try {
        kept->Throw();
    } catch (const BinaryStreamGetEOFException&) {
        FAIL() << "a sibling";
    } catch (const BinaryStreamException& thrown) {
        EXPECT_TRUE(dynamic_cast<const BinaryStreamPutEOFException*>(&thrown));
        EXPECT_EQ(thrown.What(), u"text"_w);
    }
}
