#include "ConfigLine.h"

#include <algorithm>
#include <string>

#include <boost/regex.hpp>

#include <Kiv/Config.h>

#include "MessageRecord.h"

namespace KivFile
{

namespace
{

using Kiv::WString;
using Kiv::WStringView;
using Kind = ConfigLine::Kind;
using Unit = unsigned short;

constexpr bool IsPlainBlank(Unit unit)
{
    return unit == ' ' || unit == '\t';
}

// The space, the tab and the other space separators of Unicode.
constexpr bool IsBlank(Unit unit)
{
    return IsPlainBlank(unit) || unit == 0xA0 || unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200A) ||
           unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

// What the pattern engine has to know of wide text. Blanks are the only class of characters that it knows, and no
// locale has a say.
struct PatternTraits {
    using char_type = Unit;
    using size_type = std::size_t;
    using string_type = WString;
    using locale_type = int;
    using char_class_type = unsigned int;

    static constexpr char_class_type BLANK = 1;
    static constexpr char_class_type OTHER = 2; // the engine wants to be told of more classes than the patterns name

    static size_type length(const Unit* text) { return Kiv::WideTraits::length(text); }
    static Unit translate(Unit unit) { return unit; }
    static Unit translate_nocase(Unit unit) { return unit; }
    static string_type transform(const Unit* first, const Unit* last) { return string_type(first, last); }
    static string_type transform_primary(const Unit* first, const Unit* last) { return string_type(first, last); }
    static string_type lookup_collatename(const Unit* first, const Unit* last) { return string_type(first, last); }
    static char_class_type lookup_classname(const Unit* first, const Unit* last)
    {
        constexpr std::string_view blank = "blank";
        return std::equal(first, last, blank.begin(), blank.end()) ? BLANK : OTHER;
    }
    static bool isctype(Unit unit, char_class_type type) { return (type & BLANK) != 0 && IsBlank(unit); }
    static int value(Unit unit, int radix)
    {
        const int digit = unit - '0';
        return digit >= 0 && digit < std::min(radix, 10) ? digit : -1;
    }
    static locale_type imbue(locale_type locale) { return locale; }
    static locale_type getloc() { return 0; }
};

class Pattern
{
public:
    using Match = boost::match_results<const Unit*>;

    explicit Pattern(std::string_view pattern) : m_pattern(WString(pattern.begin(), pattern.end())) {}

    bool MatchesWhole(WStringView text, Match& match) const
    {
        return boost::regex_match(text.data(), text.data() + text.size(), match, m_pattern);
    }

private:
    const boost::basic_regex<Unit, PatternTraits> m_pattern;
};

// The grammar.
const Pattern SECTION(R"([[:blank:]]*\[(.+)\][[:blank:]]*$)");
const Pattern KEY(R"([[:blank:]]*([A-Za-z0-9_.]+)[[:blank:]]*=[[:blank:]]*)"
                  R"(([^[:blank:]]+(?:[[:blank:]]+[^[:blank:]]+)*|$)[[:blank:]]*$)");
const Pattern COMMENT(R"([[:blank:]]*$|[[:blank:]]*;.*$)");

WStringView Group(const Pattern::Match& match, int group)
{
    const auto& part = match[group];
    return WStringView(part.first, static_cast<std::size_t>(part.second - part.first));
}

constexpr bool IsKeyUnit(Unit unit)
{
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || (unit >= '0' && unit <= '9') ||
           unit == '_' || unit == '.';
}

constexpr bool IsPlainUnit(Unit unit)
{
    return IsPlainBlank(unit) || (unit > ' ' && unit < 0x7F);
}

// The first unit for which is(unit) does not hold.
template <class Is>
const Unit* Skip(const Unit* first, const Unit* last, Is is)
{
    while (first != last && is(*first))
        ++first;
    return first;
}

WStringView View(const Unit* first, const Unit* last)
{
    return WStringView(first, static_cast<std::size_t>(last - first));
}

// A section's header, when there is one; the views begin and end with something else than a blank.
ConfigLine ReadHeader(WStringView text, WStringView trimmed)
{
    if (trimmed.size() < 3 || trimmed.back() != ']')
        return {Kind::Invalid, text, {}, {}};
    return {Kind::Section, text, trimmed.substr(1, trimmed.size() - 2), {}};
}

ConfigLine ReadKey(WStringView text, const Unit* first, const Unit* last)
{
    const Unit* const keyEnd = Skip(first, last, IsKeyUnit);
    const Unit* const sign = Skip(keyEnd, last, IsPlainBlank);
    if (keyEnd == first || sign == last || *sign != '=')
        return {Kind::Invalid, text, {}, {}};
    return {Kind::Key, text, View(first, keyEnd), View(Skip(sign + 1, last, IsPlainBlank), last)};
}

} // namespace

bool IsPlainConfigLine(WStringView text)
{
    return text.size() <= LONGEST_PLAIN_LINE && std::ranges::all_of(text, IsPlainUnit);
}

ConfigLine ReadPlainConfigLine(WStringView text)
{
    const Unit* last = text.data() + text.size();
    const Unit* const first = Skip(text.data(), last, IsPlainBlank);
    while (last != first && IsPlainBlank(last[-1]))
        --last;
    if (first == last || *first == ';')
        return {Kind::Comment, text, {}, {}};
    return *first == '[' ? ReadHeader(text, View(first, last)) : ReadKey(text, first, last);
}

ConfigLine MatchConfigLine(WStringView text)
{
    try {
        Pattern::Match match;
        if (SECTION.MatchesWhole(text, match))
            return {Kind::Section, text, Group(match, 1), {}};
        if (KEY.MatchesWhole(text, match))
            return {Kind::Key, text, Group(match, 1), Group(match, 2)};
        return {COMMENT.MatchesWhole(text, match) ? Kind::Comment : Kind::Invalid, text, {}, {}};
    } catch (const boost::regex_error&) {
        ThrowInvalidConfig();
    }
}

ConfigLine ReadConfigLine(WStringView text)
{
    return IsPlainConfigLine(text) ? ReadPlainConfigLine(text) : MatchConfigLine(text);
}

void ThrowInvalidConfig()
{
    throw Kiv::Config::InvalidConfigException(MessageRecord(MessageId::InvalidConfigSource, "src/KivConfigFile"));
}

} // namespace KivFile
