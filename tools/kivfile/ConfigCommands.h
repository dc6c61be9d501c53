// The config commands.
#pragma once

#include <optional>
#include <string>

#include "Commands.h"

namespace KivTool
{

struct ConfigOptions {
    std::string file; // - is standard input, which is not edited
    std::optional<std::string> section;
    std::optional<std::string> key;
    std::string value;
    bool json = false;
    bool dryRun = false; // print what a change would do to the file
    bool quiet = false;
};

// Prints the value of a key; SomethingFailed when it is not there.
int GetSetting(const ConfigOptions& options, const Console& console);
// Prints all sections, or one of them.
int ListSettings(const ConfigOptions& options, const Console& console);
// Gives a key a value. What would not read back as it was given is refused.
int SetSetting(const ConfigOptions& options, const Console& console);
// Removes a key, or a section when there is no key; SomethingFailed when it is not there.
int UnsetSetting(const ConfigOptions& options, const Console& console);

} // namespace KivTool
