#include "Difference.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "Text.h"

namespace KivTool
{
namespace
{

using Lines = std::span<const std::string_view>;

std::vector<std::string_view> LinesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1);
        lines.push_back(text.substr(0, end + 1));
        text.remove_prefix(end + 1);
    }
    return lines;
}

// The lengths of the longest common subsequences of all pairs of tails.
class CommonTails
{
public:
    CommonTails(Lines before, Lines after) : m_width(after.size() + 1), m_lengths((before.size() + 1) * m_width)
    {
        for (std::size_t i = before.size(); i-- > 0;) {
            for (std::size_t j = after.size(); j-- > 0;)
                m_lengths[i * m_width + j] =
                    before[i] == after[j] ? At(i + 1, j + 1) + 1 : std::max(At(i + 1, j), At(i, j + 1));
        }
    }

    std::uint32_t At(std::size_t i, std::size_t j) const { return m_lengths[i * m_width + j]; }

private:
    std::size_t m_width;
    std::vector<std::uint32_t> m_lengths;
};

// Where the lines that both texts have stand in them.
struct Pair {
    std::size_t before;
    std::size_t after;
};

std::vector<Pair> CommonLines(Lines before, Lines after)
{
    constexpr std::size_t MOST_PAIRS = 16'000'000;
    std::vector<Pair> common;
    const auto [x, y] = std::ranges::mismatch(before, after);
    const auto head = static_cast<std::size_t>(x - before.begin());
    for (std::size_t i = 0; i < head; ++i)
        common.push_back({i, i});
    std::size_t tail = 0;
    while (tail < std::min(before.size(), after.size()) - head &&
           before.rbegin()[static_cast<std::ptrdiff_t>(tail)] == after.rbegin()[static_cast<std::ptrdiff_t>(tail)])
        ++tail;

    const Lines middle = before.subspan(head, before.size() - head - tail);
    const Lines newMiddle = after.subspan(head, after.size() - head - tail);
    // A larger middle is shown as replaced altogether.
    if (middle.size() * newMiddle.size() <= MOST_PAIRS) {
        const CommonTails tails(middle, newMiddle);
        for (std::size_t i = 0, j = 0; i < middle.size() && j < newMiddle.size();) {
            if (middle[i] == newMiddle[j])
                common.push_back({head + i++, head + j++});
            else if (tails.At(i + 1, j) >= tails.At(i, j + 1))
                ++i;
            else
                ++j;
        }
    }
    for (std::size_t i = tail; i > 0; --i)
        common.push_back({before.size() - i, after.size() - i});
    return common;
}

void AppendLines(std::string& result, char sign, Lines lines)
{
    for (std::string_view line : lines) {
        if (line.ends_with('\n'))
            line.remove_suffix(1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        result += sign + PrintableFileName(std::string(line)) + '\n';
    }
}

// As the format has it, the place of no lines is the line in front of them.
std::string Place(std::size_t first, std::size_t count)
{
    return std::to_string(count == 0 ? first : first + 1) + ',' + std::to_string(count);
}

} // namespace

std::string DifferenceOf(const std::string& before, const std::string& after)
{
    const std::vector<std::string_view> old = LinesOf(before);
    const std::vector<std::string_view> now = LinesOf(after);
    std::vector<Pair> common = CommonLines(old, now);
    common.push_back({old.size(), now.size()});
    std::string result;
    Pair at{0, 0};
    for (const Pair& next : common) {
        const std::size_t gone = next.before - at.before;
        const std::size_t come = next.after - at.after;
        if (gone + come != 0) {
            result += "@@ -" + Place(at.before, gone) + " +" + Place(at.after, come) + " @@\n";
            AppendLines(result, '-', Lines(old).subspan(at.before, gone));
            AppendLines(result, '+', Lines(now).subspan(at.after, come));
        }
        at = {next.before + 1, next.after + 1};
    }
    return result;
}

} // namespace KivTool
