// Comparison without regard to letter case.
#pragma once

#include <string>
#include <string_view>

#include <KivBase/Export.h>
#include <KivBase/WString.h>

namespace Kiv
{

// Letter case of one code unit. Narrow: the ASCII letters only. Wide: the simple Unicode mappings of the basic plane;
// a unit without one, surrogates among them, is returned as it is.
[[nodiscard]] KIV_EXPORT char ToLower(char unit) noexcept;
[[nodiscard]] KIV_EXPORT char ToUpper(char unit) noexcept;
[[nodiscard]] KIV_EXPORT unsigned short ToLower(unsigned short unit) noexcept;
[[nodiscard]] KIV_EXPORT unsigned short ToUpper(unsigned short unit) noexcept;

// Letter case of whole strings, unit by unit.
[[nodiscard]] KIV_EXPORT std::string ToLower(std::string_view text);
[[nodiscard]] KIV_EXPORT std::string ToUpper(std::string_view text);
[[nodiscard]] KIV_EXPORT WString ToLower(WStringView text);
[[nodiscard]] KIV_EXPORT WString ToUpper(WStringView text);

// Ordering and equality of narrow strings that ignore ASCII letter case; other bytes are compared as unsigned values.
struct KIV_EXPORT NoCase {
    using is_transparent = void;
    [[nodiscard]] bool operator()(std::string_view a, std::string_view b) const noexcept;
    [[nodiscard]] static bool IsEqual(std::string_view a, std::string_view b) noexcept;
};

// The same for wide strings, by the simple Unicode case folding of each unit: mostly its lower-case form (both
// small sigmas are the same).
struct KIV_EXPORT WNoCase {
    using is_transparent = void;
    [[nodiscard]] bool operator()(WStringView a, WStringView b) const noexcept;
    [[nodiscard]] static bool IsEqual(WStringView a, WStringView b) noexcept;
};

} // namespace Kiv
