#include <KivBase/NoCase.h>

#include <map>

#include <gtest/gtest.h>

using namespace Kiv;

TEST(LetterCase, FollowsTheSimpleUnicodeMappings)
{
    const struct {
        char16_t unit, lower, upper;
    } rows[] = {
        {u'A', u'a', u'A'},       {u'z', u'z', u'Z'},       {u'[', u'[', u'['},       {u'Ä', u'ä', u'Ä'},
        {u'÷', u'÷', u'÷'},       {u'ß', u'ß', u'ß'},       {u'ÿ', u'ÿ', u'Ÿ'},       {u'ς', u'ς', u'Σ'},
        {u'Ж', u'ж', u'Ж'},       {0x10D0, 0x10D0, 0x1C90}, {0x13A0, 0xAB70, 0x13A0}, {0xFF21, 0xFF41, 0xFF21},
        {0x0130, u'i', 0x0130},   // capital I with dot
        {0x0131, 0x0131, u'I'},   // small dotless i
        {0x01C5, 0x01C6, 0x01C4}, // title-case letter
        {0x1FB3, 0x1FB3, 0x1FBC}, // its full upper case is two letters
        {0x212A, u'k', 0x212A},   // Kelvin sign
        {0xFFFF, 0xFFFF, 0xFFFF},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ToLower(static_cast<unsigned short>(row.unit)), row.lower) << std::hex << +row.unit;
        EXPECT_EQ(ToUpper(static_cast<unsigned short>(row.unit)), row.upper) << std::hex << +row.unit;
    }
}

TEST(LetterCase, SettlesAfterOneStepAndLeavesSurrogatesAlone)
{
    for (unsigned code = 0; code < 0x10000; ++code) {
        const auto unit = static_cast<unsigned short>(code);
        ASSERT_EQ(ToLower(ToLower(unit)), ToLower(unit)) << code;
        ASSERT_EQ(ToUpper(ToUpper(unit)), ToUpper(unit)) << code;
        const bool isSurrogate = code >= 0xD800 && code < 0xE000;
        ASSERT_TRUE(!isSurrogate || (ToLower(unit) == unit && ToUpper(unit) == unit)) << code;
    }
}

TEST(LetterCase, OfNarrowTextIsAsciiOnly)
{
    EXPECT_EQ(ToLower("aZ[\xC4"), "az[\xC4");
    EXPECT_EQ(ToUpper("aZ{\xE4"), "AZ{\xE4");
    EXPECT_TRUE(NoCase::IsEqual("Key", "kEY"));
    EXPECT_FALSE(NoCase::IsEqual("\xC4", "\xE4") || NoCase::IsEqual("Key", "Keys"));
}

TEST(CaseInsensitiveOrder, IsThatOfTheLowerCaseFormAndFindsViewsInMaps)
{
    const NoCase isLess;
    EXPECT_TRUE(isLess("_", "A"));    // between the cases in ASCII
    EXPECT_TRUE(isLess("z", "\xC4")); // bytes are unsigned
    EXPECT_TRUE(isLess("ab", "ABC"));
    EXPECT_FALSE(isLess("ABC", "abc"));
    EXPECT_TRUE(WNoCase()(u"Ä"_w, u"ö"_w) && WNoCase()(u"ä"_w, u"Ö"_w));
    EXPECT_TRUE(WNoCase::IsEqual(u"ΟΔΟΣ"_w, u"οδος"_w) && !WNoCase()(u"ΟΔΟΣ"_w, u"οδος"_w)) << "two small sigmas";
    EXPECT_FALSE(WNoCase::IsEqual(u"I"_w, u"ı"_w));
    const std::map<WString, int, WNoCase> map{{u"Größe"_w, 1}, {u"Ελλάσ"_w, 2}};
    const WString key = u"GRÖßE and more"_w;
    EXPECT_EQ(map.find(WStringView(key).substr(0, 5))->second, 1);
    EXPECT_EQ(map.find(u"ΕΛΛΆΣ"_w)->second, 2);
    EXPECT_EQ(map.count(WStringView(key)), 0u);
}
