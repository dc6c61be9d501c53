// The difference between two texts.
#pragma once

#include <string>

namespace KivTool
{

// The lines that go, with a minus in front, and those that come, with a plus, by places: "@@ -FIRST,COUNT +FIRST,COUNT
// @@". Lines are printable.
std::string DifferenceOf(const std::string& before, const std::string& after);

} // namespace KivTool
