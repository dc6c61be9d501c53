// Conversion between character sets.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <KivBase/Export.h>
#include <KivBase/WString.h>
#include <KivCharset/Charset.h>

namespace KivCharset
{

// Conversions between a character set and the wide form. UTF-8 keeps broken text (see Kiv::Wide); in any other set,
// what has no counterpart becomes U+FFFD or '?'. Safe to use from any thread.
class KIV_EXPORT Conv
{
public:
    // One conversion, bound to its character sets. An empty one converts nothing.
    class KIV_EXPORT ConversionClass
    {
    public:
        ConversionClass() = default;
        ConversionClass(Kiv::CHARSET from, Kiv::CHARSET to) : m_from(from), m_to(to) {}

        // Converts from source to destination; lengths and counts are bytes, also on a wide side.
        // consumed and produced tell how far it came: as far as the destination holds, and, unless isLast, without a
        // character that the source cuts in two. Returns true when nothing had to be replaced and the whole source was
        // consumed (less such a character). With stopAtBroken it stops in front of what cannot be converted.
        // A set with shift states (ISO-2022, UTF-7) is converted in one piece, with isLast, or not at all.
        bool operator()(const void* source, std::size_t sourceLength, std::size_t& consumed, void* destination,
                        std::size_t capacity, std::size_t& produced, bool isLast, bool stopAtBroken) const;

    private:
        Kiv::CHARSET m_from{};
        Kiv::CHARSET m_to{};
    };

    // Whether text can be converted from and to the character set.
    [[nodiscard]] static bool IsImplemented(Kiv::CHARSET charset);
    // Whether the character set consists of 16-bit units (1200 and 1201).
    [[nodiscard]] static bool IsWCCS(Kiv::CHARSET charset);

    // The conversion from the wide form, to the wide form, and between any two sets.
    [[nodiscard]] static ConversionClass WcToMbConversionFunction(Kiv::CHARSET to);
    [[nodiscard]] static ConversionClass MbToWcConversionFunction(Kiv::CHARSET from);
    [[nodiscard]] static ConversionClass FastConversionFunction(Kiv::CHARSET from, Kiv::CHARSET to);

    // Whole texts at once. An unimplemented character set gives an empty text.
    [[nodiscard]] static Kiv::WString ToWide(Kiv::CHARSET from, std::string_view bytes);
    [[nodiscard]] static std::string FromWide(Kiv::CHARSET to, Kiv::WStringView text);
};

} // namespace KivCharset
