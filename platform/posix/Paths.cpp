#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>
#include <sys/stat.h>

#include <platform/Utf8.h>
#include <platform/posix/Errors.h>
#include <platform/posix/Mounts.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

// A character that Windows cannot hold in a name is shown as U+F000 + code, three bytes: EF 80 80 + code, and from 0x40
// on EF 81 40 + code.
constexpr char MAPPED_LEAD = '\xEF';
constexpr std::size_t MAPPED_LENGTH = 3;

// What a byte is to the form of a name.
enum Kind : unsigned char { Plain = 0, Unholdable = 1, MayBeMapped = 2 };

constexpr auto KINDS = [] {
    std::array<unsigned char, 256> kinds{};
    std::fill(kinds.begin() + 1, kinds.begin() + 32, Unholdable);
    for (const char c : std::string_view("\\:*?\"<>|"))
        kinds[static_cast<unsigned char>(c)] = Unholdable;
    kinds[static_cast<unsigned char>(MAPPED_LEAD)] = MayBeMapped;
    return kinds;
}();

bool IsUnholdable(char c)
{
    return KINDS[static_cast<unsigned char>(c)] == Unholdable;
}

// Dots and blanks are unholdable at the end of a name only.
bool IsDotOrBlank(char c)
{
    return c == '.' || c == ' ';
}

// A name that holds such a character by itself is shown with this one, U+F07F, in front of it, and of this one, too: so
// no two names are shown alike.
constexpr std::string_view ESCAPE = "\xEF\x81\xBF";

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

// Whether the text begins with a character that a name cannot hold without the escape in front.
bool IsToBeEscaped(std::string_view text)
{
    return text.starts_with(ESCAPE) || MappedCharacter(text) != 0;
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

std::size_t LengthWithoutDotsAndBlanks(std::string_view component)
{
    std::size_t length = component.size();
    while (length > 0 && IsDotOrBlank(component[length - 1]))
        --length;
    return length;
}

bool IsDots(std::string_view component)
{
    return component == "." || component == "..";
}

// A component that has no entry: Windows takes its dots and blanks away and is left with nothing.
bool NamesNothing(std::string_view component)
{
    return !component.empty() && !IsDots(component) && LengthWithoutDotsAndBlanks(component) == 0;
}

// Takes one character of a house's name, or a byte of it, off the text's beginning.
void TakeNative(std::string& to, std::string_view& text)
{
    if (text.front() == MAPPED_LEAD) {
        const std::string_view behind = text.starts_with(ESCAPE) ? text.substr(ESCAPE.size()) : std::string_view();
        if (IsToBeEscaped(behind)) {
            to += behind.substr(0, MAPPED_LENGTH);
            text = behind.substr(MAPPED_LENGTH);
            return;
        }
        if (const char mapped = MappedCharacter(text); mapped != 0) {
            to += mapped;
            text.remove_prefix(MAPPED_LENGTH);
            return;
        }
    }
    to += text.front();
    text.remove_prefix(1);
}

void AppendNative(std::string& to, std::string_view component)
{
    if (IsDots(component) || NamesNothing(component)) {
        to += component;
        return;
    }
    const std::size_t begin = to.size();
    component = component.substr(0, LengthWithoutDotsAndBlanks(component));
    for (std::string_view rest = component; !rest.empty();)
        TakeNative(to, rest);
    // No listed entry bears these names, so mapped dots never stand for a way out of a directory.
    if (IsDots(std::string_view(to).substr(begin)))
        to.replace(begin, to.size(), component);
}

// Most names are.
bool IsShownAsItIs(std::string_view component)
{
    const auto isPlain = [](char c) { return KINDS[static_cast<unsigned char>(c)] == Plain; };
    const bool isCut = !component.empty() && IsDotOrBlank(component.back()) && !IsDots(component);
    return !isCut && std::all_of(component.begin(), component.end(), isPlain);
}

void AppendHouse(std::string& to, std::string_view component)
{
    if (IsShownAsItIs(component)) {
        to += component;
        return;
    }
    const std::size_t holdable = LengthWithoutDotsAndBlanks(component);
    for (std::size_t i = 0; i < component.size(); ++i) {
        if (i >= holdable || IsUnholdable(component[i])) {
            AppendMapped(to, component[i]);
            continue;
        }
        if (IsToBeEscaped(component.substr(i)))
            to += ESCAPE;
        to += component[i];
    }
}

std::optional<std::string> FailPath(DWORD code)
{
    SetLastError(code);
    return std::nullopt;
}

// Whether only the separators of a path must change: it holds nothing mapped, and no dot or blank ends a component.
// Most are so, and the loop runs to the end so that it is done many characters at once.
bool IsAlmostNative(std::string_view text)
{
    bool isOther = text.front() == MAPPED_LEAD || IsDotOrBlank(text.back());
    for (std::size_t i = 1; i < text.size(); ++i)
        isOther |= text[i] == MAPPED_LEAD || (IsSeparator(text[i]) && IsDotOrBlank(text[i - 1]));
    return !isOther;
}

std::string WithNativeSeparators(std::string_view text)
{
    std::string native(text);
    std::transform(native.begin(), native.end(), native.begin(), [](char c) { return c == '\\' ? '/' : c; });
    return native;
}

// The path with native names and separators; nothing, with the last error set, when a component has no entry.
std::optional<std::string> Translate(std::string_view text)
{
    if (IsAlmostNative(text))
        return WithNativeSeparators(text);
    bool isName = true;
    std::string native = TranslateComponents(text, IsSeparator, [&isName](std::string& to, std::string_view component) {
        isName = isName && !NamesNothing(component);
        AppendNative(to, component);
    });
    return isName ? std::optional(std::move(native)) : FailPath(ErrorInvalidName);
}

bool IsMissing(const std::string& directory)
{
    struct stat status;
    return ::stat(directory.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool HasDrive(std::string_view text)
{
    return text.size() > 1 && text[1] == ':';
}

bool IsOnServer(std::string_view text)
{
    return text.size() > 1 && IsSeparator(text[0]) && IsSeparator(text[1]);
}

// Where the last ".." of a system's path ends, 0 when it has none.
std::size_t EndOfLastParent(std::string_view path)
{
    std::size_t end = path.size();
    while (end != 0) {
        const std::size_t begin = path.find_last_of('/', end - 1) + 1;
        if (path.substr(begin, end - begin) == "..")
            return end;
        end = begin == 0 ? 0 : begin - 1;
    }
    return 0;
}

// The house resolves ".." by the text, the system behind links by where they lead. Where that differs, the beginning of
// a path is replaced by what it is without links.
std::string WithoutParentsOfLinks(const std::string& path)
{
    const std::size_t end = EndOfLastParent(path);
    if (end == 0)
        return path;
    const std::filesystem::path beginning = path.substr(0, end);
    std::error_code error;
    const bool isSame = std::filesystem::equivalent(beginning, beginning.lexically_normal(), error);
    return isSame ? path : RealPath(beginning.string()) + path.substr(end);
}

void RemoveSeparatorsAtEnd(std::string& native)
{
    native.resize(std::max<std::size_t>(native.find_last_not_of('/') + 1, 1));
}

} // namespace

std::optional<std::string> NativePath(std::string_view path)
{
    if (path.empty() || HasDrive(path))
        return FailPath(ErrorPathNotFound);
    std::optional<std::string> native = Translate(path);
    if (!native)
        return native;
    RemoveSeparatorsAtEnd(*native);
    return IsOnServer(path) ? PathBelowMount(*native) : std::move(native);
}

std::optional<NativePattern> SplitPattern(std::string_view pattern)
{
    const std::size_t begin = pattern.find_last_of("\\/") + 1;
    const bool isBare = begin == 0 && !HasDrive(pattern);
    std::optional<std::string> native =
        HasDrive(pattern) ? FailPath(ErrorPathNotFound) : NativePath(isBare ? "." : pattern.substr(0, begin));
    return native ? std::optional(NativePattern{*std::move(native), pattern.substr(begin)}) : std::nullopt;
}

std::string HousePath(const std::string& native)
{
    std::string house = PathFromUser(native);
    std::replace(house.begin(), house.end(), '/', '\\');
    return house;
}

void AssignShownName(std::string& to, std::string_view name)
{
    to.clear();
    AppendHouse(to, name);
}

std::string ParentOf(const std::string& native)
{
    const std::size_t last = native.find_last_not_of('/');
    const std::size_t separator = native.find_last_of('/', last);
    if (last == std::string::npos || separator == std::string::npos)
        return last == std::string::npos ? "/" : ".";
    return native.substr(0, separator + 1);
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

void AssignWide(WideText& to, const std::string& narrow)
{
    to.clear();
    AppendUtf16(to, narrow.data(), narrow.size());
}

bool FailOnPath(const std::string& native)
{
    const int error = errno;
    return Fail(error == ENOENT && IsMissing(ParentOf(native)) ? DWORD{ErrorPathNotFound} : CodeOfErrno(error));
}

std::string RealPath(const std::string& native)
{
    const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(native.c_str(), nullptr), std::free);
    return resolved ? resolved.get() : native;
}

std::string PathFromUser(const std::string& path)
{
    const std::string native = WithoutParentsOfLinks(path);
    // Two separators in front would name a server.
    const std::size_t leading = std::min(native.find_first_not_of('/'), native.size());
    const std::string_view text = std::string_view(native).substr(leading > 1 ? leading - 1 : 0);
    return TranslateComponents(
        text, [](char c) { return c == '/'; }, AppendHouse);
}

std::string PathForUser(const std::string& path)
{
    return TranslateComponents(path, IsSeparator, AppendNative);
}

} // namespace KivSys
