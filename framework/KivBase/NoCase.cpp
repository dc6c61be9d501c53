#include <KivBase/NoCase.h>

#include <algorithm>
#include <span>

#include <KivBase/CaseTable.h>

namespace Kiv
{

namespace
{

// The mapping of a unit behind the ASCII range.
unsigned short Mapped(std::span<const CaseRow> table, unsigned short unit)
{
    const auto row = std::ranges::lower_bound(table, unit, {}, &CaseRow::last);
    if (row == table.end() || unit < row->first || (unit - row->first) % row->stride != 0)
        return unit;
    return static_cast<unsigned short>(unit + row->delta);
}

template <class Result, class View>
Result Converted(View text, auto convert)
{
    Result result(text);
    std::ranges::transform(result, result.begin(), convert);
    return result;
}

// Comparisons ask this of each unit that differs, and a call of an exported function is not inlined.
template <class Unit>
constexpr Unit AsciiLower(Unit unit)
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

template <class Unit>
constexpr Unit AsciiUpper(Unit unit)
{
    return unit >= 'a' && unit <= 'z' ? static_cast<Unit>(unit - ('a' - 'A')) : unit;
}

// What all letter-case forms of a unit have in common. Mostly it is the lower-case form; not for letters with several
// of them, such as the two small sigmas, nor for Cherokee.
char Folded(char unit)
{
    return AsciiLower(unit);
}

unsigned short Folded(unsigned short unit)
{
    return unit < 0x80 ? AsciiLower(unit) : Mapped(CASE_FOLDED, unit);
}

// Whether two units differ in letter case only. Most units that are compared are the same.
constexpr auto IsSameUnit = [](auto x, auto y) { return x == y || Folded(x) == Folded(y); };

// By the folded form of each unit, as unsigned values.
template <class View>
bool IsLess(View a, View b)
{
    using Unsigned = std::make_unsigned_t<typename View::value_type>;
    const auto [x, y] = std::ranges::mismatch(a, b, IsSameUnit);
    if (x == a.end() || y == b.end())
        return y != b.end();
    return static_cast<Unsigned>(Folded(*x)) < static_cast<Unsigned>(Folded(*y));
}

template <class View>
bool IsSame(View a, View b)
{
    return std::ranges::equal(a, b, IsSameUnit);
}

} // namespace

char ToLower(char unit) noexcept
{
    return AsciiLower(unit);
}

char ToUpper(char unit) noexcept
{
    return AsciiUpper(unit);
}

unsigned short ToLower(unsigned short unit) noexcept
{
    return unit < 0x80 ? AsciiLower(unit) : Mapped(LOWER_CASE, unit);
}

unsigned short ToUpper(unsigned short unit) noexcept
{
    return unit < 0x80 ? AsciiUpper(unit) : Mapped(UPPER_CASE, unit);
}

std::string ToLower(std::string_view text)
{
    return Converted<std::string>(text, [](char unit) { return ToLower(unit); });
}

std::string ToUpper(std::string_view text)
{
    return Converted<std::string>(text, [](char unit) { return ToUpper(unit); });
}

WString ToLower(WStringView text)
{
    return Converted<WString>(text, [](unsigned short unit) { return ToLower(unit); });
}

WString ToUpper(WStringView text)
{
    return Converted<WString>(text, [](unsigned short unit) { return ToUpper(unit); });
}

bool NoCase::operator()(std::string_view a, std::string_view b) const noexcept
{
    return IsLess(a, b);
}

bool NoCase::IsEqual(std::string_view a, std::string_view b) noexcept
{
    return IsSame(a, b);
}

bool WNoCase::operator()(WStringView a, WStringView b) const noexcept
{
    return IsLess(a, b);
}

bool WNoCase::IsEqual(WStringView a, WStringView b) noexcept
{
    return IsSame(a, b);
}

} // namespace Kiv
