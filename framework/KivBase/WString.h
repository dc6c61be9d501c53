// Wide text of the family: UTF-16 on every platform.
#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <ios>
#include <string>
#include <string_view>

#include <KivBase/Export.h>

namespace Kiv
{

// Character traits of UTF-16 code units held in unsigned short, for which the standard library owes none.
struct WideTraits {
    using char_type = unsigned short;
    using int_type = unsigned int;
    using off_type = std::streamoff;
    using pos_type = std::streampos;
    using state_type = std::mbstate_t;
    using comparison_category = std::strong_ordering;

    static constexpr void assign(char_type& to, const char_type& from) noexcept { to = from; }
    static constexpr bool eq(char_type a, char_type b) noexcept { return a == b; }
    static constexpr bool lt(char_type a, char_type b) noexcept { return a < b; }

    static constexpr int compare(const char_type* a, const char_type* b, std::size_t n) noexcept
    {
        for (std::size_t i = 0; i < n; ++i) {
            if (a[i] != b[i])
                return a[i] < b[i] ? -1 : 1;
        }
        return 0;
    }

    static constexpr std::size_t length(const char_type* text) noexcept
    {
        std::size_t n = 0;
        while (text[n] != 0)
            ++n;
        return n;
    }

    static constexpr const char_type* find(const char_type* text, std::size_t n, const char_type& unit) noexcept
    {
        for (std::size_t i = 0; i < n; ++i) {
            if (text[i] == unit)
                return text + i;
        }
        return nullptr;
    }

    static char_type* move(char_type* to, const char_type* from, std::size_t n) noexcept
    {
        if (n != 0)
            std::memmove(to, from, n * sizeof(char_type));
        return to;
    }

    static char_type* copy(char_type* to, const char_type* from, std::size_t n) noexcept
    {
        if (n != 0)
            std::memcpy(to, from, n * sizeof(char_type));
        return to;
    }

    static constexpr char_type* assign(char_type* to, std::size_t n, char_type unit) noexcept
    {
        for (std::size_t i = 0; i < n; ++i)
            to[i] = unit;
        return to;
    }

    static constexpr int_type to_int_type(char_type unit) noexcept { return unit; }
    static constexpr char_type to_char_type(int_type value) noexcept { return static_cast<char_type>(value); }
    static constexpr bool eq_int_type(int_type a, int_type b) noexcept { return a == b; }
    static constexpr int_type eof() noexcept { return 0xFFFFFFFFu; }
    static constexpr int_type not_eof(int_type value) noexcept { return value == eof() ? 0 : value; }
};

using WString = std::basic_string<unsigned short, WideTraits>;
using WStringView = std::basic_string_view<unsigned short, WideTraits>;

// Wide text from UTF-8 and back. Broken text is kept, so that text which is read and written back is the same bytes
// (and the same units): a byte that is no part of valid UTF-8 becomes the lone surrogate U+DC00 + byte, any other
// lone surrogate takes three bytes.
[[nodiscard]] KIV_EXPORT WString Wide(std::string_view utf8);
[[nodiscard]] KIV_EXPORT std::string Utf8(WStringView wide);

// Wide text from char16_t text, and from wchar_t text where that is UTF-16.
[[nodiscard]] inline WString Wide(std::u16string_view text)
{
    return WString(text.begin(), text.end());
}

template <std::same_as<wchar_t> Unit>
    requires(sizeof(Unit) == sizeof(char16_t))
[[nodiscard]] WString Wide(const Unit* text)
{
    return WString(text, text + std::char_traits<Unit>::length(text));
}

// Wide text from narrow text (UTF-8 on Linux, the system code page on Windows) and back.
[[nodiscard]] KIV_EXPORT WString WideFromNarrow(std::string_view narrow);
[[nodiscard]] KIV_EXPORT std::string NarrowFromWide(WStringView wide);

inline namespace Literals
{

// u"text"_w
[[nodiscard]] inline WString operator""_w(const char16_t* text, std::size_t length)
{
    return WString(text, text + length);
}

} // namespace Literals

} // namespace Kiv
