#include <KivBase/WString.h>

#include <gtest/gtest.h>
#include <platform/Platform.h>

using namespace Kiv;

TEST(WideText, IsUtf16AndKeepsBrokenUtf8)
{
    const struct {
        const char* bytes;
        std::u16string_view units;
    } rows[] = {
        {"", u""},
        {"a\xC3\xA9\xE2\x82\xAC", u"aé€"},
        {"\xF0\x9F\x98\x80!", u"\xD83D\xDE00!"},
        {"\x80", u"\xDC80"},
        {"\xC0\xAF", u"\xDCC0\xDCAF"},
        {"\xE2\x82", u"\xDCE2\xDC82"},
        {"\xF5\x80\x80\x80", u"\xDCF5\xDC80\xDC80\xDC80"},
        {"\xED\xA0\x80x", u"\xD800x"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Wide(std::string_view(row.bytes)), Wide(row.units)) << row.bytes;
        EXPECT_EQ(Utf8(Wide(row.units)), row.bytes);
    }
}

TEST(WideText, LiteralsKeepZeros)
{
    EXPECT_EQ((u"a\0b"_w).size(), 3u);
    EXPECT_EQ((u"a\0b"_w)[2], u'b');
}

TEST(NarrowText, FollowsTheSystemsCodePage)
{
    EXPECT_EQ(WideFromNarrow(""), WString());
    EXPECT_EQ(NarrowFromWide({}), "");
    const bool isUtf8 = KivSys::NarrowCodePage() == KivSys::CodePageUtf8;
    if (!isUtf8 && KivSys::NarrowCodePage() != 1252)
        GTEST_SKIP() << "the letter is not known to be in this code page";
    const char* letter = isUtf8 ? "caf\xC3\xA9" : "caf\xE9";
    EXPECT_EQ(WideFromNarrow(letter), u"café"_w);
    EXPECT_EQ(NarrowFromWide(u"café"_w), letter);
}
