#include <algorithm>
#include <cerrno>
#include <string_view>
#include <sys/stat.h>

#include <platform/Utf8.h>
#include <platform/posix/Errors.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

// A character that Windows cannot hold in a name is shown as U+F000 + code, three bytes: EF 80 80 + code, and from 0x40
// on EF 81 40 + code.
constexpr char MAPPED_LEAD = '\xEF';
constexpr std::size_t MAPPED_LENGTH = 3;

bool IsUnholdable(char c)
{
    return (c >= 1 && c <= 31) || (c != 0 && std::string_view("\\:*?\"<>|").find(c) != std::string_view::npos);
}

// Dots and blanks are unholdable at the end of a name only.
bool IsDotOrBlank(char c)
{
    return c == '.' || c == ' ';
}

void AppendMapped(std::string& to, char c)
{
    to += MAPPED_LEAD;
    to += c < 0x40 ? '\x80' : '\x81';
    to += static_cast<char>(0x80 | (c & 0x3F));
}

// The character that was mapped to the text's beginning, 0 when none was.
char MappedCharacter(std::string_view text)
{
    if (text.size() < MAPPED_LENGTH || text[0] != MAPPED_LEAD || (text[1] != '\x80' && text[1] != '\x81'))
        return 0;
    const char c = static_cast<char>((text[2] & 0x3F) | (text[1] == '\x81' ? 0x40 : 0));
    return (text[2] & 0xC0) == 0x80 && (IsUnholdable(c) || IsDotOrBlank(c)) ? c : char{0};
}

bool IsSeparator(char c)
{
    return c == '\\' || c == '/';
}

// Calls append(to, component) for each component and puts '/' between them.
template <class Append>
std::string TranslateComponents(std::string_view path, bool (*isSeparator)(char), Append append)
{
    std::string result;
    for (std::size_t begin = 0; begin <= path.size();) {
        std::size_t end = begin;
        while (end < path.size() && !isSeparator(path[end]))
            ++end;
        append(result, path.substr(begin, end - begin));
        if (end < path.size())
            result += '/';
        begin = end + 1;
    }
    return result;
}

void AppendNative(std::string& to, std::string_view component)
{
    std::string name;
    for (std::size_t i = 0; i < component.size();) {
        const char mapped = MappedCharacter(component.substr(i));
        name += mapped != 0 ? mapped : component[i];
        i += mapped != 0 ? MAPPED_LENGTH : 1;
    }
    // No listed entry bears these names, so mapped dots never stand for a way out of a directory.
    const bool leadsOut = name == "." || name == "..";
    to += leadsOut ? component : std::string_view(name);
}

void AppendHouse(std::string& to, std::string_view component)
{
    std::size_t holdable = component.size();
    while (holdable > 0 && IsDotOrBlank(component[holdable - 1]))
        --holdable;
    if (component == "." || component == "..")
        holdable = component.size();
    for (std::size_t i = 0; i < component.size(); ++i) {
        if (i >= holdable || IsUnholdable(component[i]))
            AppendMapped(to, component[i]);
        else
            to += component[i];
    }
}

bool IsMissing(const std::string& directory)
{
    struct stat status;
    return ::stat(directory.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// The directory that holds the path's last component.
std::string ParentOf(const std::string& native)
{
    const std::size_t last = native.find_last_not_of('/');
    const std::size_t separator = native.find_last_of('/', last);
    if (last == std::string::npos || separator == std::string::npos)
        return last == std::string::npos ? "/" : ".";
    return native.substr(0, separator + 1);
}

} // namespace

std::optional<std::string> NativePath(const char* path)
{
    const std::string_view text = path;
    const bool hasDrive = text.size() > 1 && text[1] == ':';
    const bool isOnServer = text.size() > 1 && IsSeparator(text[0]) && IsSeparator(text[1]);
    if (text.empty() || hasDrive || isOnServer) {
        SetLastError(isOnServer ? ErrorBadNetPath : ErrorPathNotFound);
        return std::nullopt;
    }
    return TranslateComponents(text, IsSeparator, AppendNative);
}

std::string NarrowPath(const WCHAR* path)
{
    std::size_t length = 0;
    while (path[length] != 0)
        ++length;
    std::string narrow;
    AppendUtf8(narrow, path, length);
    return narrow;
}

bool FailOnPath(const std::string& native)
{
    const int error = errno;
    return Fail(error == ENOENT && IsMissing(ParentOf(native)) ? DWORD{ErrorPathNotFound} : CodeOfErrno(error));
}

std::string PathFromUser(const std::string& path)
{
    // Two separators in front would name a server.
    const std::size_t leading = std::min(path.find_first_not_of('/'), path.size());
    const std::string_view text = std::string_view(path).substr(leading > 1 ? leading - 1 : 0);
    return TranslateComponents(
        text, [](char c) { return c == '/'; }, AppendHouse);
}

std::string PathForUser(const std::string& path)
{
    return TranslateComponents(path, IsSeparator, AppendNative);
}

} // namespace KivSys
