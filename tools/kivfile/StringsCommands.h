// The strings commands.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"

namespace KivTool
{

enum class StringsEdit {
    Add,    // operands are strings; the file need not exist
    Remove, // strings; SomethingFailed when one of them was not there
    Union,  // files; "-" is standard input
    Minus,  // files, as for a union
};

struct StringsOptions {
    std::string file; // "-" is standard input, which is not edited
    std::vector<std::string> operands;
    bool quiet = false;
};

// Prints the strings of a set, one a line.
int ListStrings(const StringsOptions& options, const Console& console);

// Changes a set in its file.
int EditStrings(StringsEdit edit, const StringsOptions& options, const Console& console);

} // namespace KivTool
