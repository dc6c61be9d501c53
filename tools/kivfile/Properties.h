// The props command.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"

namespace KivTool
{

struct PropertiesOptions {
    bool json = false;
    bool quiet = false;
    unsigned int jobs = 1;
    std::string filesFrom; // a file with a name on each line, or "-"; empty when there is none
    std::vector<std::string> files;
};

// Prints every property of each document, in the order of the files whatever the number of jobs.
int PrintProperties(const PropertiesOptions& options, const Console& console);

} // namespace KivTool
