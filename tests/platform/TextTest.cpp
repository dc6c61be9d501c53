#include "Folder.h"

namespace
{

using KivSys::WCHAR;
using Units = std::vector<WCHAR>;

Units ToWide(unsigned int codePage, const std::string& bytes)
{
    const int count = static_cast<int>(bytes.size());
    Units units(static_cast<std::size_t>(KivSys::MultiByteToWideChar(codePage, bytes.data(), count, nullptr, 0)));
    const int capacity = static_cast<int>(units.size());
    EXPECT_EQ(KivSys::MultiByteToWideChar(codePage, bytes.data(), count, units.data(), capacity), capacity);
    return units;
}

std::string FromWide(unsigned int codePage, const Units& units)
{
    const int count = static_cast<int>(units.size());
    const int capacity = KivSys::WideCharToMultiByte(codePage, units.data(), count, nullptr, 0);
    std::string bytes(static_cast<std::size_t>(capacity), '\0');
    EXPECT_EQ(KivSys::WideCharToMultiByte(codePage, units.data(), count, bytes.data(), capacity), capacity);
    return bytes;
}

TEST(CodePages, CharactersConvertBothWays)
{
    const struct {
        unsigned int codePage;
        std::string bytes;
        Units units;
    } rows[] = {
        {437, "\x81\xE1", {0xFC, 0xDF}},
        {866, "\x80\xEF", {0x410, 0x44F}},
        {874, "\x80\xA1\xFB", {0x20AC, 0xE01, 0xE5B}},
        {936, "\xBA\xBA\xD7\xD6", {0x6C49, 0x5B57}},
        {949, "\xC7\xD1\x81\x41", {0xD55C, 0xAC02}},
        {1250, "\x8A\xB9", {0x160, 0x105}},
        {1251, "\xCF\xF0\xA8", {0x41F, 0x440, 0x401}},
        {1252, "\x80\x81\x9F\xE4", {0x20AC, 0x81, 0x178, 0xE4}}, // an undefined byte is that control character
        {1255, "\xE0\x80", {0x5D0, 0x20AC}},
        {10000, "\x80\xDB", {0xC4, 0x20AC}},
        {10007, "\x80\xDF", {0x410, 0x44F}},
        {20866, "\xC1\xD1", {0x430, 0x44F}},
        {28605, "\xA4\xBD", {0x20AC, 0x153}},
        {65001, "\xE2\x82\xAC\xFF", {0x20AC, 0xDCFF}},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(KivSys::IsValidCodePage(row.codePage)) << row.codePage;
        EXPECT_EQ(ToWide(row.codePage, row.bytes), row.units) << row.codePage;
        EXPECT_EQ(FromWide(row.codePage, row.units), row.bytes) << row.codePage;
    }
}

TEST(CodePages, WhatHasNoCounterpartIsReplacedUnitByUnit)
{
    EXPECT_EQ(FromWide(1252, {'a', 0x3042, 'b', 0xD83D, 0xDE00, 'c', 0xD800}), "a?b??c?");
    EXPECT_EQ(FromWide(1252, {0x80}), "?") << "its place is the euro's";
    EXPECT_EQ(FromWide(932, {0x3042, 0xE01}), "\x82\xA0?");
}

TEST(CodePages, FailuresStoreNothingAndSayWhy)
{
    WCHAR units[4] = {1, 2, 3, 4};
    const auto codeOf = [&](unsigned int codePage, const char* bytes, int count) {
        return CodeOf(KivSys::MultiByteToWideChar(codePage, bytes, count, units, 3) != 0);
    };
    for (const unsigned int codePage : {1252u, 65001u}) {
        EXPECT_EQ(codeOf(codePage, "abcd", 4), KivSys::ErrorInsufficientBuffer);
        EXPECT_EQ(codeOf(codePage, "", 0), KivSys::ErrorInvalidParameter);
    }
    EXPECT_EQ(units[3], 4);
    EXPECT_FALSE(KivSys::IsValidCodePage(12345));
    EXPECT_EQ(codeOf(12345, "a", 1), KivSys::ErrorInvalidParameter);
}

} // namespace
