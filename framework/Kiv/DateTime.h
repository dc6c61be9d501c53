// Points in time.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

#include <KivBase/Exception.h>
#include <KivBase/Export.h>

namespace Kiv
{

class KIV_TYPE DateTimeException : public ExceptionT<DateTimeException, Exception>
{
public:
    using ExceptionT::ExceptionT;
};

// A date that the family cannot hold: before 1970.
class KIV_TYPE DateTimeInvalidException : public ExceptionT<DateTimeInvalidException, DateTimeException>
{
public:
    using ExceptionT::ExceptionT;
};

// 100-nanosecond steps since 1 January 1601, UTC, as files and documents record them.
struct FileTime {
    std::uint32_t low;
    std::uint32_t high;
};

// A point in time, in whole seconds since 1 January 1970, UTC; 0 is the zero date.
class KIV_EXPORT DateTime
{
public:
    DateTime() = default;
    explicit DateTime(std::int64_t seconds) : m_seconds(seconds) {}

    [[nodiscard]] std::int64_t Seconds() const { return m_seconds; }

    // UTC calendar time as YYYY-MM-DDTHH:MM:SSZ.
    [[nodiscard]] std::string ToString() const;

    friend auto operator<=>(const DateTime&, const DateTime&) = default;

private:
    std::int64_t m_seconds = 0;
};

// Seconds since 1970 of a file time, fractions dropped. Throws DateTimeInvalidException for a time before 1970;
// *seconds is then unchanged.
KIV_EXPORT void FileTimeToUnixTime(const FileTime& time, std::int64_t* seconds);

} // namespace Kiv
