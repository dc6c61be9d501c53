// The cat and extract commands.
#pragma once

#include <string>

#include "Commands.h"

namespace KivTool
{

// Writes the bytes of the stream at path ("A/B/name", as ls prints it) to standard output.
int PrintStream(const std::string& file, const std::string& path, bool quiet, const Console& console);

struct ExtractOptions {
    std::string file;
    std::string directory; // created when missing
    bool force = false;    // replace files that exist
    bool quiet = false;
};

// Writes every stream below the directory: storages become folders, and each name is made a safe single component
// first. A stream that cannot be written does not stop the rest.
int Extract(const ExtractOptions& options, const Console& console);

} // namespace KivTool
