// Text files that the user named: their bytes, and the byte-order mark that may stand in front of the text.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace KivTool
{

// The mark of UTF-8. It is no text.
constexpr std::string_view MARK = "\xEF\xBB\xBF";

[[nodiscard]] inline bool HasMark(std::string_view bytes)
{
    return bytes.starts_with(MARK);
}

// What stands behind the mark.
[[nodiscard]] inline std::string_view TextOf(std::string_view bytes)
{
    return bytes.substr(HasMark(bytes) ? MARK.size() : 0);
}

// The bytes of a file by the name that the user gave it; "-" is standard input. It is opened and read once, as a pipe
// can be. Throws what the file handle and the stream throw.
[[nodiscard]] std::string ReadInput(const std::string& name, std::istream& standardInput);

} // namespace KivTool
