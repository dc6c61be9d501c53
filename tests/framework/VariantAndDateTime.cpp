// Typed values and dates in words.
#include <cstdint>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include <Kiv/Variant.h>

using Kiv::DateTime;
using Kiv::Variant;
using namespace Kiv::Literals;

TEST(Variant, SaysItsTypeAndItsValueInWords)
{
    const struct {
        Variant value;
        std::string_view type;
        std::string words;
    } rows[] = {
        {Variant(0.1f), "float", "0.1"},
        {Variant(0.1 + 0.2), "double", "0.30000000000000004"},
        {Variant(-std::numeric_limits<double>::max()), "double", "-1.7976931348623157e+308"},
        {Variant(DateTime()), "datetime", "1970-01-01T00:00:00Z"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.value.TypeName(), row.type);
        EXPECT_EQ(Kiv::Utf8(row.value.AsWString()), row.words);
    }
    EXPECT_THROW((void)Variant().AsWString(), Variant::VariantException);
    EXPECT_THROW((void)Variant(1).As<unsigned int>(), Variant::VariantException);
    EXPECT_NE(Variant(1), Variant(1u));
}

TEST(DateTime, IsWrittenAsUtcCalendarTime)
{
    constexpr std::pair<std::int64_t, const char*> ROWS[] = {
        {-1, "1969-12-31T23:59:59Z"},
        {951868799, "2000-02-29T23:59:59Z"},
        {4107542400, "2100-03-01T00:00:00Z"},
        {253402300800, "10000-01-01T00:00:00Z"},
        {1833029933770, "60056-05-28T05:36:10Z"},
        {-62167219201, "-0001-12-31T23:59:59Z"},
    };
    for (const auto& [seconds, text] : ROWS)
        EXPECT_EQ(DateTime(seconds).ToString(), text);
    for (const auto limit : {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()})
        EXPECT_FALSE(DateTime(limit).ToString().empty());
}

TEST(DateTime, FileTimesBefore1970AreRefused)
{
    const auto seconds = [](std::uint64_t steps) {
        std::int64_t result;
        Kiv::FileTimeToUnixTime({static_cast<std::uint32_t>(steps), static_cast<std::uint32_t>(steps >> 32)}, &result);
        return result;
    };
    EXPECT_THROW(seconds(116'444'735'999'999'999), Kiv::DateTimeInvalidException);
    EXPECT_EQ(seconds(116'444'736'000'000'000), 0);
    EXPECT_EQ(seconds(116'444'736'019'999'999), 1);
    EXPECT_EQ(seconds(0xFFFFFFFFFFFFFFFF), 1833029933770);
}
