// Search patterns by the rules that Windows kept from DOS, on names as they are shown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <platform/Platform.h>

namespace KivSys
{

// "*" stands for any text and "?" for any character. Beyond that: "*.*" is every name; a "?" also stands for nothing
// before a dot and at the end; "*" before a dot ends at the name's last dot; a dot before a wildcard, and one at the
// end, also match where a name has no dot. Letter case is ignored. The work is the product of both lengths at most.
class Wildcards
{
public:
    explicit Wildcards(std::string_view pattern);

    // Whether the pattern has no wildcards and so means one name.
    [[nodiscard]] bool IsName() const { return m_isName; }
    // Keeps buffers between the calls.
    [[nodiscard]] bool Match(std::string_view name);

private:
    // Goes on from each place of the pattern that the name has reached, with the name's next unit or its end.
    void Advance(WCHAR unit, bool isLastDot);

    bool m_isName;
    bool m_isEverything;
    std::vector<WCHAR> m_pattern;
    std::vector<WCHAR> m_name;
    std::vector<char> m_places;
    std::vector<char> m_nextPlaces;
};

} // namespace KivSys
