// Conversions between character sets, whole and in pieces.
#include <algorithm>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include <KivCharset/Conv.h>

using Kiv::CHARSET;
using Kiv::WString;
using KivCharset::Conv;
using namespace Kiv::Literals;

namespace
{

constexpr CHARSET CodePage(std::uint32_t number)
{
    return static_cast<CHARSET>(number);
}

std::string BytesOf(const WString& units)
{
    return Conv::FromWide(CHARSET::WIDE, units);
}

struct Sample {
    CHARSET charset;
    std::string bytes;
    WString units;
};

const Sample SAMPLES[] = {
    {CodePage(932), "A\x82\xA0\x8A\xBF\x83\\\xB1\xE0\x9Fz", u"A\u3042\u6F22\u30BD\uFF71\u71F9z"_w},
    {CodePage(950), "a\xA4@\xA4\xFEz", u"a\u4E00\u4E19z"_w},
    {CodePage(54936), "a\x81\x30\x81\x30\xC4\xE3\x90\x30\x81\x30z", u"a\u0080\u4F60\U00010000z"_w},
    {CodePage(1252), "a\x80\xE9\x81\xFF", u"a\u20AC\u00E9\u0081\u00FF"_w},
    {CHARSET::UTF8, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z", u"a\u00E9\u20AC\U0001F600z"_w},
    {CHARSET::UTF8, "\xE2\x82\x62\xFF\xF0\x9F\x98", u"\xDCE2\xDC82\x62\xDCFF\xDCF0\xDC9F\xDC98"_w},
    {CHARSET::UTF16, BytesOf(u"a\U0001F600z"_w), u"a\U0001F600z"_w},
};

// Converts the text up to the cut as one that goes on, the rest as one that ends, each through a destination of the
// capacity given for as long as that gets on.
std::string InPieces(const Conv::ConversionClass& conversion, const std::string& text, std::size_t cut,
                     std::size_t capacity)
{
    std::string result;
    std::string destination(capacity, '\0');
    std::size_t begin = 0;
    for (const std::size_t end : {std::min(cut, text.size()), text.size()}) {
        std::size_t consumed = 1;
        for (std::size_t produced = 0; consumed != 0; begin += consumed) {
            conversion(text.data() + begin, end - begin, consumed, destination.data(), capacity, produced,
                       end == text.size(), false);
            EXPECT_LE(produced, capacity);
            result.append(destination, 0, produced);
        }
    }
    return result;
}

// Converts as one piece, and says how far it came.
struct Conversion {
    Conversion(const Conv::ConversionClass& conversion, const std::string& source, bool isEnd, bool stopAtFault)
        : isClean(conversion(source.data(), source.size(), consumed, result.data(), result.size(), produced, isEnd,
                             stopAtFault))
    {
        result.resize(produced);
    }

    std::string result = std::string(20000, '\0');
    std::size_t consumed, produced;
    bool isClean;
};

} // namespace

TEST(Charset, SamplesConvertThereAndBackWholeAndInPieces)
{
    for (auto [charset, bytes, units] : SAMPLES) {
        // A system may lack a character set.
        if (!Conv::IsImplemented(charset))
            continue;
        SCOPED_TRACE(testing::Message() << static_cast<std::uint32_t>(charset) << ' ' << bytes);
        const auto toWide = Conv::MbToWcConversionFunction(charset);
        const auto fromWide = Conv::WcToMbConversionFunction(charset);
        const std::string wide = BytesOf(units);
        for (const std::size_t capacity : {8u, 9u, 13u, 100u}) {
            for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
                EXPECT_EQ(InPieces(toWide, bytes, cut, capacity), wide) << cut;
            for (std::size_t cut = 0; cut <= wide.size(); ++cut)
                EXPECT_EQ(InPieces(fromWide, wide, cut, capacity), bytes) << cut;
        }
        bytes += Conv::FromWide(charset, u"|"_w);
        units += u"|"_w;
        for (int i = 0; i < 10; ++i) {
            bytes += bytes;
            units += units;
        }
        EXPECT_TRUE(Conv::ToWide(charset, bytes) == units);
        EXPECT_TRUE(Conv::FromWide(charset, units) == bytes);
        EXPECT_TRUE(InPieces(toWide, bytes, 5000, 8192) == BytesOf(units));
    }
}

TEST(Charset, WhatCannotBeConvertedIsReplacedOrStoppedAt)
{
    const std::string before(5001, 'x');
    const struct {
        Conv::ConversionClass conversion;
        std::string source, replaced;
        std::size_t broken;
    } rows[] = {
        {Conv::WcToMbConversionFunction(CodePage(1252)), BytesOf(u"ab\u4E00g"_w), "ab?g", 4},
        {Conv::FastConversionFunction(CodePage(932), CHARSET::UTF8), "\x82\xA0\x82", "\xE3\x81\x82\xEF\xBF\xBD", 2},
        {Conv::FastConversionFunction(CHARSET::UTF8, CodePage(1252)), before + "\xE3\x81\x82" + before,
         before + "?" + before, 5001},
    };
    for (const auto& row : rows) {
        const Conversion replacing(row.conversion, row.source, true, false);
        const Conversion stopping(row.conversion, row.source, true, true);
        EXPECT_FALSE(replacing.isClean || stopping.isClean);
        EXPECT_EQ(replacing.consumed, row.source.size());
        EXPECT_EQ(replacing.result, row.replaced);
        EXPECT_EQ(stopping.consumed, row.broken);
    }
    const Conversion cut(Conv::MbToWcConversionFunction(CodePage(932)), "A\x82", false, true);
    EXPECT_TRUE(cut.isClean && cut.consumed == 1) << "a character cut by the piece is left, and no fault";
}

TEST(Charset, ASetWithShiftStatesIsConvertedInOnePiece)
{
    const WString units(3000, 0x3042);
    const std::string bytes = Conv::FromWide(CodePage(65000), units);
    const auto conversion = Conv::MbToWcConversionFunction(CodePage(65000));
    EXPECT_EQ(Conversion(conversion, bytes, false, false).consumed, 0u);
    EXPECT_TRUE(Conversion(conversion, bytes, true, false).result == BytesOf(units));
}

TEST(Charset, UnimplementedSetsAreKnownAndConvertNothing)
{
    EXPECT_EQ(Conv::ToWide(CHARSET::WIDE, std::string_view("a\0b", 3)), u"a"_w) << "implemented, and cut";
    for (const std::uint32_t number : {0u, 65535u, 65536u + 1252}) {
        EXPECT_FALSE(Conv::IsImplemented(CodePage(number))) << number;
        EXPECT_EQ(Conv::ToWide(CodePage(number), "abc"), WString()) << number;
    }
}
