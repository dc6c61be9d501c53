// The path command.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"

namespace KivTool
{

struct PathOptions {
    std::vector<std::string> texts; // as PathT takes them: backslashes and slashes separate
    bool json = false;
};

// Prints what each text is as a path and what the file system says of it. A path that does not exist is an answer, too.
int PrintPaths(const PathOptions& options, const Console& console);

} // namespace KivTool
