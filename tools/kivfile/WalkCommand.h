// The walk command.
#pragma once

#include <string>

#include "Commands.h"

namespace KivTool
{

struct WalkOptions {
    std::string directory;
    std::string filter = "*.*"; // holds no separator
    std::string resumeAfter;    // empty to begin with the first file
    bool recursive = false;
    bool json = false;
    bool quiet = false;
};

// Whether a filter holds what separates names on this system.
[[nodiscard]] bool HoldsSeparator(const std::string& filter);

// Prints the files below a directory, each as soon as it is found.
int PrintWalk(const WalkOptions& options, const Console& console);

} // namespace KivTool
