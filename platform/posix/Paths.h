// The house's paths as the system's own. No other file of this side looks inside a path.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <platform/Platform.h>

namespace KivSys
{

// The system's path for one of the house, without separators at its end. Dots and blanks at the end of a component do
// not count, as on Windows: that keeps a path the same when the house drops them. Nothing, with the last error set, for
// a path that cannot exist here: an empty one, one with a drive letter, one on a share that is not mounted, one with a
// component of dots and blanks only that is neither "." nor "..".
std::optional<std::string> NativePath(std::string_view path);

// A search pattern: the system's path of its directory, and the house's text behind the last separator.
struct NativePattern {
    std::string directory;
    std::string_view name;
};
std::optional<NativePattern> SplitPattern(std::string_view pattern);

// The house's form of one of the system's paths, and of the name of an entry.
std::string HousePath(const std::string& native);
void AssignShownName(std::string& to, std::string_view name);

// The path of the directory that holds the last component.
std::string ParentOf(const std::string& native);

// The absolute path without links and "..", or the path itself where it does not exist.
std::string RealPath(const std::string& native);

// Narrow text of wide text, and back.
std::string NarrowPath(const WCHAR* path);
void AssignWide(WideText& to, const std::string& narrow);

// Sets the last error from errno for a failed call on a native path, and tells a missing file from a missing directory
// as Windows does. Returns false.
bool FailOnPath(const std::string& native);

} // namespace KivSys
