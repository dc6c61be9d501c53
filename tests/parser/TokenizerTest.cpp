#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <KivBase/BinaryStream.h>
#include <KivFile/BinaryStreamParser.h>
#include <KivFile/FileException.h>
#include <KivFile/MemoryBuffer.h>
#include <KivFile/StaticMemoryBuffer.h>

#include <fuzz/ParserModel.h>
#include <src/OLE/StreamView.h>

namespace
{

using KivFile::BinaryStreamParser;
using KivFile::MemoryBuffer;
using KivFile::StaticMemoryBuffer;

// A tokenizer over a text of its own.
struct Reader {
    explicit Reader(std::string content, bool caseSensitive = true)
        : text(std::move(content)),
          buffer(static_cast<const void*>(text.data()), static_cast<unsigned int>(text.size())),
          parser(buffer, caseSensitive)
    {
    }

    [[nodiscard]] std::string Keyword() const { return {parser.GetKeywordBuffer(), parser.GetKeywordLen()}; }
    [[nodiscard]] std::string Unsaved() const { return {parser.GetUnsavedData(), parser.GetUnsavedDataLen()}; }

    std::string text;
    StaticMemoryBuffer buffer;
    BinaryStreamParser parser;
};

std::string Content(MemoryBuffer& buffer)
{
    std::string content;
    buffer.SeekG(0);
    buffer.Copy(content, buffer.Size());
    return content;
}

// Bytes of which no two places near each other look alike.
std::string Numbered(std::size_t size)
{
    std::string text;
    for (unsigned int i = 0; text.size() < size; ++i)
        text += std::to_string(i) + '.';
    text.resize(size);
    return text;
}

TEST(Tokenizer, PatternIsFoundByItsCaseRuleAndLeftOnItsLastByte)
{
    const struct {
        const char *text, *pattern;
        bool caseSensitive, found;
        const char* passed;
        char at;
        unsigned int offset;
    } rows[] = {
        {"xxEnd.", "END", true, true, "xx", 'd', 4},
        {"xxend.", "END", true, false, "xxend.", 0, 6},
        {"xxend.", "END", false, true, "xx", 'd', 4},
        {"aaab", "aab", true, true, "a", 'b', 3},
        {"x[{", "{", false, true, "x[", '{', 2},
        {"\xC4\xE4", "\xE4", false, true, "\xC4", '\xE4', 1},
        {"abEN", "END", true, false, "abEN", 0, 4},
        {"abc", "", true, true, "", 'a', 0},
        {"", "", true, false, "", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.text) + " / " + row.pattern);
        Reader reader(row.text, row.caseSensitive);
        std::string passed = "old";
        EXPECT_EQ(reader.parser.FetchTo(row.pattern, passed), row.found);
        EXPECT_EQ(passed, row.passed);
        EXPECT_EQ(reader.parser.GetCurrentStreamOffset(), row.offset);
        EXPECT_EQ(static_cast<char>(reader.parser.GetCurrentChar()), row.at);
    }
}

// A candidate that the block's end cuts, in every way: it holds, it fails and begins again inside itself.
TEST(Tokenizer, PatternIsOnePieceAcrossBlocks)
{
    for (const std::size_t length :
         {std::size_t{2}, std::size_t{9}, std::size_t{4095}, std::size_t{4097}, std::size_t{9000}}) {
        const std::string pattern = std::string(length - 1, 'a') + 'b';
        for (std::size_t lead = 4080; lead < 4100; ++lead) {
            SCOPED_TRACE(testing::Message() << length << " behind " << lead);
            Reader reader(std::string(lead, 'x') + "AaA" + pattern + "end");
            BinaryStreamParser& parser = reader.parser;
            parser.SetRecordFetching(true);
            ASSERT_TRUE(parser.FetchTo(pattern, true));
            EXPECT_EQ(parser.GetCurrentStreamOffset(), lead + 3 + length - 1);
            std::string record;
            parser.GetRecordFetchingContent(record, static_cast<unsigned int>(lead), 0);
            EXPECT_EQ(record, "AaA");
        }
    }
}

TEST(Tokenizer, StepsOverThePatternAndKeepsOnlyItsLastByteOnRecord)
{
    Reader reader("key: value");
    reader.parser.SetRecordFetching(true);
    ASSERT_TRUE(reader.parser.FetchBeyond(": ", true));
    EXPECT_EQ(reader.Keyword(), "key");
    EXPECT_EQ(reader.parser.GetCurrentChar(), 'v');
    std::string record = "old";
    reader.parser.GetRecordFetchingContent(record, 0, 0);
    EXPECT_EQ(record, " ");
    EXPECT_TRUE(reader.parser.FetchBeyond("", true));
    EXPECT_EQ(reader.parser.GetCurrentChar(), 'v');
}

TEST(Tokenizer, SetsStopBeforeTheByteAndFoldByTheCaseRule)
{
    const struct {
        const char* text;
        std::string set;
        bool until, caseSensitive, stopped;
        const char* passed;
    } rows[] = {
        {"abC", "c", true, true, false, "abC"},
        {"abC", "c", true, false, true, "ab"},
        {"aAb", "a", false, true, true, "a"},
        {"aAb", "A", false, false, true, "aA"},
        {"abc", "", true, true, false, "abc"},
        {"abc", "", false, true, true, ""},
        {"0123456789ABCDEFGHIJKLMNO;", "0123456789abcdefghijklmnopqrstuvwxyz", false, false, true,
         "0123456789ABCDEFGHIJKLMNO"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.text) + " / " + row.set);
        Reader reader(row.text, row.caseSensitive);
        std::string passed;
        EXPECT_EQ(row.until ? reader.parser.FetchUntil(row.set, passed) : reader.parser.FetchUntilNot(row.set, passed),
                  row.stopped);
        EXPECT_EQ(passed, row.passed);
    }
}

// Delimiters in every place of what is searched at once, and beyond its reach, for rules that take turns.
TEST(Tokenizer, TokensOfEveryLengthAreWhole)
{
    std::string text;
    for (std::size_t length = 0; length < 300; ++length)
        text += Numbered(length) + ';';
    Reader reader(text);
    for (std::size_t length = 0; length < 300; ++length) {
        std::string passed = "old";
        EXPECT_TRUE(length % 3 == 0   ? reader.parser.FetchTo(';', passed)
                    : length % 3 == 1 ? reader.parser.FetchUntil("!;", passed)
                                      : reader.parser.FetchUntilNot("0123456789.", passed));
        EXPECT_EQ(passed, Numbered(length));
        EXPECT_EQ(reader.parser.GetCurrentChar(), ';');
        reader.parser.Fetch(1, false, false);
    }
}

TEST(Tokenizer, FetchThatEndsWithTheStreamIsTrueAndTheNextIsNot)
{
    for (const std::size_t size : {std::size_t{3}, std::size_t{4096}, std::size_t{8192}}) {
        Reader reader(std::string(size, 'x'));
        const auto count = static_cast<unsigned int>(size);
        EXPECT_TRUE(reader.parser.Fetch(count, true, true));
        EXPECT_EQ(reader.parser.GetCurrentChar(), 0);
        EXPECT_FALSE(reader.parser.Fetch(0, true, true));
        EXPECT_FALSE(reader.parser.FetchUntilNot("", false));
        reader.parser.Reset();
        EXPECT_FALSE(reader.parser.Fetch(count + 1, true, true));
        EXPECT_EQ(reader.parser.GetCurrentStreamOffset(), count);
    }
}

TEST(Tokenizer, KeywordTakesTheFirstBytesAndUnsavedDataTheLast)
{
    const std::string text = Numbered(9000);
    Reader reader(text + '\n' + "ab\n");
    ASSERT_TRUE(reader.parser.FetchTo('\n', true));
    EXPECT_EQ(reader.Keyword(), text.substr(0, 4096));
    EXPECT_EQ(reader.parser.GetKeywordBuffer()[4096], 0);
    EXPECT_EQ(reader.Unsaved(), text.substr(9000 - 128));
    reader.parser.Fetch(1, false, false);
    reader.parser.FetchTo('\n', true);
    EXPECT_EQ(reader.Keyword(), "ab");
    EXPECT_EQ(reader.Unsaved(), "");
    reader.parser.Seek(0);
    reader.parser.Fetch(4096 + 100, true, false);
    EXPECT_EQ(reader.Unsaved(), text.substr(4096, 100));
}

TEST(Tokenizer, KeywordCanBeSetFromAnywhereButNotBeyondItsRoom)
{
    Reader reader("");
    reader.parser.SetKeywordBuffer("abcdef", 0);
    reader.parser.SetKeywordBuffer(reader.parser.GetKeywordBuffer() + 1, 3);
    EXPECT_STREQ(reader.parser.GetKeywordBuffer(), "bcd");
    const std::string longText = Numbered(5000);
    reader.parser.SetKeywordBuffer(longText.c_str(), 0);
    EXPECT_EQ(reader.parser.GetKeywordBuffer(), longText.substr(0, 4096));
}

TEST(Tokenizer, RecordIsCopiedFromAnOffsetAndNeverFromBehindItsEnd)
{
    Reader reader("abcdef");
    std::string out = "old";
    reader.parser.GetRecordFetchingContent(out, 5, 0);
    EXPECT_EQ(out, "old");
    reader.parser.SetRecordFetching(true);
    reader.parser.Fetch(3, false, true);
    reader.parser.Fetch(2, false, false);
    MemoryBuffer copy;
    reader.parser.GetRecordFetchingContent(copy, 1, 2);
    reader.parser.GetRecordFetchingContent(copy, 3, 0);
    EXPECT_EQ(Content(copy), "bcde");
    reader.parser.GetRecordFetchingContent(out, 5, 9);
    EXPECT_EQ(out, "");
    EXPECT_THROW(reader.parser.GetRecordFetchingContent(out, 6, 1), KivFile::SeekOutOfRangeException);
    reader.parser.SetRecordFetching(false);
    EXPECT_EQ(reader.parser.GetRecordFetchingSize(), 0u);
}

TEST(Tokenizer, TargetIsTrimmedInItsFirstChunkOnly)
{
    const struct {
        std::string text;
        const char* trimSet;
        bool ignoreNulls, spaceForTrim;
        std::string content;
        unsigned int capacity;
    } rows[] = {
        {"  ab;", " ", false, false, "ab", 5},
        {"\t ab ;", " \t", false, true, " ab ", 6},
        {"   ;", " ", false, true, "", 0},
        {";", nullptr, false, true, "", 0},
        {std::string("\0 \0a\0b;", 7), " ", true, true, " ab", 7},
        {std::string("\0 a;", 4), " ", false, true, std::string("\0 a", 3), 4},
        {std::string(5000, ' ') + ";", " ", false, true, std::string(904, ' '), 4096},
        {std::string(20, ' ') + "b", " ", false, true, " b", 128},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Reader reader(row.text);
        Kiv::RefCount<MemoryBuffer> into;
        reader.parser.SetKeywordBuffer("old", 3);
        EXPECT_EQ(reader.parser.FetchIntoUntil(into, ";", row.trimSet, row.ignoreNulls, row.spaceForTrim),
                  row.text.back() == ';');
        ASSERT_TRUE(into);
        EXPECT_EQ(Content(*into), row.content);
        EXPECT_EQ(into->Capacity(), row.capacity);
        EXPECT_EQ(reader.Keyword(), "");
    }
}

TEST(Tokenizer, IgnoredNullsAreGoneFromTheBlocksReadFromThenOn)
{
    Reader reader(std::string(10000, '\0') + "text" + std::string(3, '\0'));
    EXPECT_EQ(reader.parser.GetCurrentChar(), 0);
    EXPECT_TRUE(reader.parser.Fetch(1, false, false));
    reader.parser.IgnoreNulls(true);
    reader.parser.Fetch(4095, false, false);
    EXPECT_EQ(reader.parser.GetCurrentChar(), 't');
    EXPECT_EQ(reader.parser.GetCurrentStreamOffset(), 4096u);
    EXPECT_EQ(reader.parser.GetBlockEndOffset(), 10007u);
    EXPECT_FALSE(reader.parser.FetchTo('\0', true));
    EXPECT_EQ(reader.Keyword(), "text");
}

// Notes where it is sought to, and gives what it has in pieces.
class ScriptedBuffer : public Kiv::BinaryStreamBufWrapper
{
public:
    ScriptedBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer, unsigned int piece)
        : BinaryStreamBufWrapper(buffer), m_piece(piece)
    {
    }

    void PutBackText(const std::string& text) { PutBack(text.data(), static_cast<unsigned int>(text.size())); }

    std::vector<unsigned int> seeks;
    unsigned int readsLeft = 1000;
    bool claimsMore = false;
    bool isFixed = false;

protected:
    unsigned int vGet(void* dst, unsigned int n) override
    {
        if (readsLeft-- == 0)
            throw std::runtime_error("scripted");
        return BinaryStreamBufWrapper::vGet(dst, std::min(n, m_piece));
    }
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override
    {
        seeks.push_back(off);
        return isFixed && off != 0 ? vTellG() : BinaryStreamBufWrapper::vSeekG(off, origin, direction);
    }
    bool vEndOfFile() const override { return !claimsMore && BinaryStreamBufWrapper::vEndOfFile(); }

private:
    unsigned int m_piece;
};

TEST(Tokenizer, SeekGoesToTheBlockThatEndsAtOrHoldsTheOffset)
{
    const std::string text = Numbered(10000);
    MemoryBuffer memory(text.data(), 10000);
    ScriptedBuffer buffer(memory, 4096);
    BinaryStreamParser parser(buffer, true);
    const struct {
        unsigned int offset;
        std::vector<unsigned int> seeks;
        bool reached;
        unsigned int end;
    } rows[] = {
        {0, {0}, true, 0},
        {1, {0, 0}, true, 1},
        {4096, {0, 0}, true, 4096},
        {4097, {0, 4096}, true, 4097},
        {10000, {0, 8192}, true, 10000},
        {10001, {0, 8192}, false, 10000},
        {0xFFFFFFFF, {0, 10000}, false, 10000},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.offset);
        buffer.seeks.clear();
        EXPECT_EQ(parser.Seek(row.offset), row.reached);
        EXPECT_EQ(buffer.seeks, row.seeks);
        EXPECT_EQ(parser.GetCurrentStreamOffset(), row.end);
        EXPECT_EQ(static_cast<char>(parser.GetCurrentChar()), row.end < 10000 ? text[row.end] : 0);
    }
    buffer.isFixed = true;
    EXPECT_TRUE(parser.Seek(5000) && !parser.Seek(20000)) << "a stream that cannot be sought is read";
    EXPECT_EQ(parser.GetCurrentStreamOffset(), 10000u);
    memory.Clear();
    EXPECT_FALSE(parser.Seek(0));

    StaticMemoryBuffer whole(static_cast<const void*>(text.data()), 10000);
    ScriptedBuffer source(whole, 4096);
    const std::vector<KivFile::OLE::Piece> pieces{{0, 10000, 0}};
    KivFile::OLE::StreamView readOnly(source, pieces);
    EXPECT_TRUE(BinaryStreamParser(readOnly, true).Seek(9000));
    EXPECT_EQ(source.seeks, (std::vector<unsigned int>{0, 4096, 8192})) << "read from its beginning";
}

TEST(Tokenizer, ReadsWhatIsPutBackAndStopsAtAReadOfNothing)
{
    StaticMemoryBuffer memory(static_cast<const void*>("defgh"), 5);
    ScriptedBuffer buffer(memory, 2);
    buffer.claimsMore = true;
    buffer.PutBackText("lost");
    Kiv::BinaryStreamT<unsigned int> stream(buffer);
    BinaryStreamParser parser(stream, true);
    EXPECT_EQ(parser.GetCurrentChar(), 'd');
    parser.Fetch(2, false, false);
    EXPECT_EQ(parser.GetBlockEndOffset(), 2u);
    buffer.PutBackText("123");
    std::string out;
    EXPECT_FALSE(parser.FetchTo('!', out));
    EXPECT_EQ(out, "123fgh");
}

TEST(Tokenizer, GoesOnBehindAReadThatThrew)
{
    StaticMemoryBuffer memory(static_cast<const void*>("abcdef"), 6);
    ScriptedBuffer buffer(memory, 3);
    BinaryStreamParser parser(buffer, true);
    buffer.readsLeft = 1;
    EXPECT_THROW(parser.FetchTo("cdX", true), std::runtime_error);
    EXPECT_EQ(parser.GetCurrentStreamOffset(), 2u);
    buffer.readsLeft = 1000;
    std::string out;
    EXPECT_TRUE(parser.FetchTo('e', out));
    EXPECT_EQ(out, "cd");
    buffer.readsLeft = 0;
    buffer.claimsMore = true;
    EXPECT_THROW(parser.FetchTo('!', true), std::runtime_error);
    EXPECT_EQ(parser.GetKeywordLen(), 0u);
}

TEST(Tokenizer, AgreesWithThePlainModel)
{
    std::minstd_rand random(7);
    for (int run = 0; run < 300; ++run) {
        std::string program(1 + random() % 200, 0);
        for (char& byte : program)
            byte = static_cast<char>(random() >> 8);
        ASSERT_EQ(parser_test::RunProgram(program), "") << "run " << run;
    }
}

} // namespace
