// Shares of servers that are mounted here, both ways. Paths are the system's.
#pragma once

#include <optional>
#include <string>

#include <platform/Platform.h>

namespace KivSys
{

// Makes another file the mount table of the process; null brings back the system's own. The text is not copied.
void SetMountTable(const char* path);

// The path below the mount point of the share that a path "//server/share/rest" names; nothing, with ErrorBadNetPath as
// the last error, when it is not mounted.
std::optional<std::string> PathBelowMount(const std::string& path);

// The path "//server/share/rest" of a path that need not exist; nothing when it lies on no share.
std::optional<std::string> PathOnServer(const std::string& path);

} // namespace KivSys
