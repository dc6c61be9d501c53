#include <algorithm>
#include <clocale>
#include <cwctype>

#include <platform/Utf8.h>
#include <platform/posix/Wildcards.h>

namespace KivSys
{

namespace
{

constexpr WCHAR ANY_TEXT = '*';
constexpr WCHAR ANY_CHARACTER = '?';
constexpr WCHAR DOT = '.';
// What the wildcards become beside a dot. A name cannot hold these characters.
constexpr WCHAR TEXT_BEFORE_LAST_DOT = '<';
constexpr WCHAR CHARACTER_OR_DOT = '>';
constexpr WCHAR DOT_OR_END = '"';

WCHAR Fold(WCHAR unit)
{
    static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (unit < 0x80 || locale == nullptr)
        return unit >= 'A' && unit <= 'Z' ? static_cast<WCHAR>(unit + ('a' - 'A')) : unit;
    return static_cast<WCHAR>(::towlower_l(unit, locale));
}

void AssignFolded(std::vector<WCHAR>& to, std::string_view text)
{
    to.clear();
    AppendUtf16(to, text.data(), text.size());
    std::transform(to.begin(), to.end(), to.begin(), Fold);
}

bool IsWildcard(WCHAR unit)
{
    return unit == ANY_TEXT || unit == ANY_CHARACTER;
}

constexpr WCHAR NAME_END = 0;

bool IsText(WCHAR expected)
{
    return expected == ANY_TEXT || expected == TEXT_BEFORE_LAST_DOT;
}

// Whether a place of the pattern may stand for nothing before the unit.
bool MayBeNothing(WCHAR expected, WCHAR unit)
{
    return IsText(expected) || (expected == CHARACTER_OR_DOT && (unit == DOT || unit == NAME_END)) ||
           (expected == DOT_OR_END && unit == NAME_END);
}

bool Takes(WCHAR expected, WCHAR unit, bool isLastDot)
{
    switch (expected) {
    case ANY_TEXT:
        return true;
    case TEXT_BEFORE_LAST_DOT:
        return !isLastDot;
    case CHARACTER_OR_DOT:
        return unit != DOT;
    case DOT_OR_END:
        return unit == DOT;
    default:
        return unit == expected;
    }
}

// Gives the wildcards their meaning beside dots.
void Compile(std::vector<WCHAR>& pattern)
{
    const std::vector<WCHAR> source = pattern;
    for (std::size_t i = 0; i < source.size(); ++i) {
        const WCHAR next = i + 1 < source.size() ? source[i + 1] : WCHAR{0};
        if (source[i] == ANY_CHARACTER)
            pattern[i] = CHARACTER_OR_DOT;
        else if (source[i] == ANY_TEXT && next == DOT)
            pattern[i] = TEXT_BEFORE_LAST_DOT;
        else if (source[i] == DOT && (next == 0 || IsWildcard(next)))
            pattern[i] = DOT_OR_END;
    }
}

} // namespace

Wildcards::Wildcards(std::string_view pattern)
    : m_isName(pattern.find_first_of("*?") == std::string_view::npos),
      m_isEverything(pattern == "*" || pattern == "*.*")
{
    if (m_isEverything)
        return;
    AssignFolded(m_pattern, pattern);
    Compile(m_pattern);
}

bool Wildcards::Match(std::string_view name)
{
    if (m_isEverything)
        return true;
    AssignFolded(m_name, name);
    m_places.assign(m_pattern.size() + 1, 0);
    m_places[0] = 1;
    const auto behindLastDot = std::find(m_name.rbegin(), m_name.rend(), DOT).base();
    for (auto unit = m_name.begin(); unit != m_name.end(); ++unit) {
        m_nextPlaces.assign(m_places.size(), 0);
        Advance(*unit, unit + 1 == behindLastDot);
        m_places.swap(m_nextPlaces);
    }
    Advance(NAME_END, false);
    return m_places.back() != 0;
}

void Wildcards::Advance(WCHAR unit, bool isLastDot)
{
    for (std::size_t place = 0; place < m_pattern.size(); ++place) {
        const WCHAR expected = m_pattern[place];
        if (m_places[place] == 0)
            continue;
        if (MayBeNothing(expected, unit))
            m_places[place + 1] = 1;
        if (unit != NAME_END && Takes(expected, unit, isLastDot))
            m_nextPlaces[IsText(expected) ? place : place + 1] = 1;
    }
}

} // namespace KivSys
