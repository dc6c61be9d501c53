#include <Kiv/DateTime.h>

#include <chrono>

namespace Kiv
{

namespace
{

std::string Digits(std::int64_t value, std::size_t width)
{
    if (value < 0)
        return '-' + Digits(-value, width);
    std::string digits = std::to_string(value);
    if (digits.size() < width)
        digits.insert(0, width - digits.size(), '0');
    return digits;
}

struct Division {
    std::int64_t quotient;
    std::int64_t remainder; // never negative
};

Division FloorDivide(std::int64_t value, std::int64_t divisor)
{
    const std::int64_t remainder = value % divisor;
    return remainder < 0 ? Division{value / divisor - 1, remainder + divisor} : Division{value / divisor, remainder};
}

// The calendar repeats after 400 years, which keeps any year within the range of std::chrono::year.
constexpr std::int64_t YEARS_OF_CYCLE = 400;
constexpr std::int64_t DAYS_OF_CYCLE = 146097;

} // namespace

std::string DateTime::ToString() const
{
    const auto [day, second] = FloorDivide(m_seconds, 86400);
    const auto [cycle, dayOfCycle] = FloorDivide(day, DAYS_OF_CYCLE);
    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(static_cast<int>(dayOfCycle)))};
    const std::chrono::hh_mm_ss time{std::chrono::seconds(second)};

    return Digits(static_cast<int>(date.year()) + cycle * YEARS_OF_CYCLE, 4) + '-' +
           Digits(static_cast<unsigned int>(date.month()), 2) + '-' + Digits(static_cast<unsigned int>(date.day()), 2) +
           'T' + Digits(time.hours().count(), 2) + ':' + Digits(time.minutes().count(), 2) + ':' +
           Digits(time.seconds().count(), 2) + 'Z';
}

void FileTimeToUnixTime(const FileTime& time, std::int64_t* seconds)
{
    constexpr std::uint64_t STEPS_PER_SECOND = 10'000'000;
    constexpr std::uint64_t STEPS_TO_1970 = 11'644'473'600 * STEPS_PER_SECOND;

    const std::uint64_t steps = (std::uint64_t{time.high} << 32) | time.low;
    if (steps < STEPS_TO_1970)
        throw DateTimeInvalidException();
    *seconds = static_cast<std::int64_t>((steps - STEPS_TO_1970) / STEPS_PER_SECOND);
}

} // namespace Kiv
