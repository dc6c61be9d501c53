// The house's paths as the system's own. No other file of this side looks inside a path.
#pragma once

#include <optional>
#include <string>

#include <platform/Platform.h>

namespace KivSys
{

// The system's path for one of the house. Nothing, with the last error set, for a path that cannot exist here: an empty
// one, one with a drive letter, one on a server.
std::optional<std::string> NativePath(const char* path);

// Narrow text of wide text.
std::string NarrowPath(const WCHAR* path);

// Sets the last error from errno for a failed call on a native path, and tells a missing file from a missing directory
// as Windows does. Returns false.
bool FailOnPath(const std::string& native);

} // namespace KivSys
