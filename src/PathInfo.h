// What the file system's records say, as paths remember it.
#pragma once

#include <Kiv/DateTime.h>
#include <platform/Platform.h>

namespace KivFile
{

// The zero date stands for one that a date cannot hold.
inline Kiv::DateTime DateOf(const KivSys::FileTime& time)
{
    std::int64_t seconds = 0;
    try {
        Kiv::FileTimeToUnixTime({time.low, time.high}, &seconds);
    } catch (const Kiv::DateTimeInvalidException&) {
    }
    return Kiv::DateTime(seconds);
}

} // namespace KivFile
