// The space command.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Commands.h"

namespace KivTool
{

// A directory, and the bytes that it shall have room for.
struct Need {
    std::string name;      // as the user wrote it
    std::string directory; // the house path
    std::uint64_t required;
};

// Reads DIR=BYTES, where the last = divides: digits, and perhaps K, M, G or T for a power of 1024. Throws a ToolError
// for any other text, and for more than 64 bits hold.
[[nodiscard]] Need ParseNeed(const std::string& text);

struct SpaceOptions {
    std::vector<Need> needs;
    unsigned int watchSeconds = 0; // from one report to the next; 0 for a single one
    bool json = false;
    bool quiet = false;
};

// Prints how much room each directory has and needs; it is a failure when one has less or is none. With watchSeconds
// the report comes again and again, each at once, until the user interrupts it or nobody takes the output any more, and
// the exit code is that of the last one.
int PrintSpace(const SpaceOptions& options, const Console& console);

} // namespace KivTool
