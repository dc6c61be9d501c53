// The rm command.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"

namespace KivTool
{

struct RemoveOptions {
    std::vector<std::string> paths;
    bool force = false; // read-only and hidden files too
    bool quiet = false;
};

// Deletes each path with all that is below it, without asking, and says what could not be deleted.
int Remove(const RemoveOptions& options, const Console& console);

} // namespace KivTool
