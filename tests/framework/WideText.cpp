#include <KivBase/WString.h>

#include <gtest/gtest.h>
#include <platform/Platform.h>

using namespace Kiv;

TEST(WideText, IsUtf16AndKeepsBrokenUtf8)
{
    const std::string bytes = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\x80";
    const WString units = u"aé€\xD83D\xDE00\xDC80"_w;
    EXPECT_EQ(Wide(bytes), units);
    EXPECT_EQ(Utf8(units), bytes);
    EXPECT_EQ(u"a\0b"_w.size(), 3u);
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
