#include <KivBase/NoCase.h>

#include <map>

#include <gtest/gtest.h>

using namespace Kiv;

TEST(LetterCase, FollowsTheSimpleUnicodeMappings)
{
    const struct {
        char16_t unit, lower, upper;
    } rows[] = {
        {u'Z', u'z', u'Z'},       {u'÷', u'÷', u'÷'},       {u'ß', u'ß', u'ß'},
        {u'ÿ', u'ÿ', u'Ÿ'},       {u'ς', u'ς', u'Σ'},       {0x10D0, 0x10D0, 0x1C90},
        {0x13A0, 0xAB70, 0x13A0}, {0xFF21, 0xFF41, 0xFF21}, {0xD801, 0xD801, 0xD801}, // a surrogate
        {0x0130, u'i', 0x0130},                                                       // capital I with dot
        {0x0131, 0x0131, u'I'},                                                       // small dotless i
        {0x01C5, 0x01C6, 0x01C4},                                                     // title-case letter
        {0x1FB3, 0x1FB3, 0x1FBC}, // its full upper case is two letters
        {0x212A, u'k', 0x212A},   // Kelvin sign
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ToLower(static_cast<unsigned short>(row.unit)), row.lower) << std::hex << +row.unit;
        EXPECT_EQ(ToUpper(static_cast<unsigned short>(row.unit)), row.upper) << std::hex << +row.unit;
    }
}

TEST(CaseInsensitiveOrder, IsThatOfTheLowerCaseFormAndFindsViewsInMaps)
{
    const NoCase isLess;
    EXPECT_TRUE(isLess("_", "A"));    // between the cases in ASCII
    EXPECT_TRUE(isLess("z", "\xC4")); // bytes are unsigned
    EXPECT_TRUE(isLess("ab", "ABC"));
    EXPECT_FALSE(isLess("ABC", "abc"));
    EXPECT_FALSE(NoCase::IsEqual("\xC4", "\xE4") || NoCase::IsEqual("Key", "Keys"));
    EXPECT_TRUE(WNoCase()(u"Ä"_w, u"ö"_w) && WNoCase()(u"ä"_w, u"Ö"_w));
    EXPECT_TRUE(WNoCase::IsEqual(u"ΟΔΟΣ"_w, u"οδος"_w) && !WNoCase()(u"ΟΔΟΣ"_w, u"οδος"_w)) << "two small sigmas";
    EXPECT_FALSE(WNoCase::IsEqual(u"I"_w, u"ı"_w));
    const std::map<WString, int, WNoCase> map{{u"Größe"_w, 1}};
    const WString key = u"GRÖßE and more"_w;
    EXPECT_TRUE(map.contains(WStringView(key).substr(0, 5)) && !map.contains(WStringView(key)));
}
