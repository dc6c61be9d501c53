// What the file system's records say, as paths remember it.
#pragma once

#include <Kiv/DateTime.h>
#include <platform/Platform.h>

namespace KivFile
{

// The zero date stands for one that a date cannot hold. A time that is not known is the commonest of these.
inline Kiv::DateTime DateOf(const KivSys::FileTime& time)
{
    if (time.low == 0 && time.high == 0)
        return Kiv::DateTime();
    std::int64_t seconds = 0;
    try {
        Kiv::FileTimeToUnixTime({time.low, time.high}, &seconds);
    } catch (const Kiv::DateTimeInvalidException&) {
    }
    return Kiv::DateTime(seconds);
}

} // namespace KivFile
