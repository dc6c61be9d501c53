#include <algorithm>
#include <utility>

#include <AllTexts.h>
#include <paths/Widths.h>

namespace
{

constexpr std::size_t NONE = std::string::npos;

// The rules one after the other, with erasures: slow, and so plain that it can be checked by reading.
class PlainNormaliser
{
public:
    static std::string Of(std::string text)
    {
        std::replace(text.begin(), text.end(), '/', '\\');
        DropWhatStandsBefore(text);
        PlainNormaliser(text).Run();
        return text.empty() ? "." : text;
    }

    static std::size_t RootLength(const std::string& text)
    {
        if (text.size() >= 2 && text[1] == ':')
            return text.size() > 2 && text[2] == '\\' ? 3 : 2;
        if (text.starts_with("\\\\"))
            return text.find('\\', 2) == NONE ? text.size() : text.find('\\', 2) + 1;
        return text.starts_with('\\') ? 1 : 0;
    }

    static bool IsAbsolute(const std::string& text)
    {
        return text.size() > 2 && text[1] == ':' ? text[2] == '\\' : text.starts_with('\\');
    }

private:
    explicit PlainNormaliser(std::string& text) : m_text(text), m_root(RootLength(text)), m_absolute(IsAbsolute(text))
    {
    }

    static void DropWhatStandsBefore(std::string& text)
    {
        const std::size_t blanks = text.find_first_not_of(' ');
        if (blanks == NONE)
            return;
        const std::string path = text.substr(blanks);
        std::string scheme = path.substr(0, 7);
        std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
        if (path.starts_with("\\\\") || (path.size() >= 2 && path[1] == ':'))
            text = path;
        else if (scheme == "file:\\\\")
            text = path.substr(path.size() > 7 && path[7] == '\\' ? 8 : 5);
    }

    void Run()
    {
        for (std::size_t pair; (pair = m_text.find("\\\\", m_root)) != NONE;)
            m_text.erase(pair, 1);
        for (m_start = m_root; m_start < m_text.size();) {
            const std::size_t end = std::min(m_text.find('\\', m_start), m_text.size());
            const std::string component = m_text.substr(m_start, end - m_start);
            if (component == "..")
                Parent(end);
            else if (component == ".")
                m_text.erase(m_start, 2);
            else
                Name(end);
        }
        if (m_text.size() > std::min<std::size_t>(m_root, 3) && m_text.ends_with('\\'))
            m_text.pop_back();
    }

    void Parent(std::size_t end)
    {
        if (!m_absolute && m_depth == 0) {
            m_start = end + 1;
            return;
        }
        if (m_start >= 2)
            m_start = std::max(m_text.rfind('\\', m_start - 2) + 1, m_root);
        m_text.erase(m_start, end + 1 - m_start);
        --m_depth;
    }

    void Name(std::size_t end)
    {
        ++m_depth;
        const std::size_t last = end != 0 && end < m_text.size() ? m_text.find_last_not_of('.', end - 1) : NONE;
        if (last != NONE && last + 1 < end) {
            const bool onlyDots = m_text[last] == '\\';
            const std::size_t from = onlyDots ? last : last + 1;
            m_text.erase(from, end - from);
            m_depth -= onlyDots ? 1 : 0;
            end = from;
        }
        m_start = end + 1;
    }

    std::string& m_text;
    std::size_t m_root;
    bool m_absolute;
    std::size_t m_start = 0;
    int m_depth = 0;
};

// Whether a ".." stands where there is something for it to take back.
bool HoldsResolvableParent(const std::string& path)
{
    bool mayClimb = !PlainNormaliser::IsAbsolute(path);
    for (std::size_t start = PlainNormaliser::RootLength(path); start < path.size();) {
        const std::size_t end = std::min(path.find('\\', start), path.size());
        const bool isParent = path.compare(start, end - start, "..") == 0;
        if (isParent && !mayClimb)
            return true;
        mayClimb = mayClimb && isParent;
        start = end + 1;
    }
    return false;
}

template <class T>
using Normalisation = Widths<T>;
TYPED_TEST_SUITE(Normalisation, BothWidths);

TYPED_TEST(Normalisation, FollowsTheRulesForAllShortTexts)
{
    const std::pair<const char*, std::size_t> rows[] = {{"", 8},      {"  ", 5},     {" C:", 5},   {"C:\\", 5},
                                                        {"\\\\a", 6}, {"a\\b\\", 5}, {"FILE:", 6}, {" fIle://", 5}};
    for (const auto& [prefix, length] : rows) {
        const auto check = [](const std::string& given) {
            const std::string path = TestFixture::Ascii(TestFixture::Of(given).FullPath());
            ASSERT_EQ(path, PlainNormaliser::Of(given)) << given;
            ASSERT_FALSE(HoldsResolvableParent(path)) << given << " gives " << path;
        };
        ForAllTexts(std::string("a.\\:/"), length, check, std::string(prefix));
    }
}

// What the texts above cannot hold, and one of each kind that they do: the plain rules might be wrong, too.
TYPED_TEST(Normalisation, GivesTheCanonicalText)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", "."},
        {"   ", "   "},
        {"  x", "  x"},
        {"  C:\\x", "C:\\x"},
        {"FILE:///d:/t.txt", "d:\\t.txt"},
        {" file://srv/sh", "\\\\srv\\sh"},
        {"file:/x", "file:\\x"},
        {"//srv/sh/", "\\\\srv\\sh"},
        {"\\\\srv\\", "\\\\srv"},
        {"\\\\srv\\\\sh\\..\\..\\x", "\\\\srv\\x"},
        {"c:/a/./b//c/", "c:\\a\\b\\c"},
        {"C:\\\\x\\\\\\y", "C:\\\\x\\y"},
        {"C:\\..\\..", "C:\\"},
        {"\\..\\x", "\\x"},
        {"a\\b\\..\\..\\..\\c", "..\\c"},
        {"a.\\b.\\c", "a\\b\\c"},
        {"a\\...\\b", "a\\b"},
        {"...\\b", "...\\b"},
        {"y\\x.", "y\\x."},
    };
    for (const auto& [text, path] : rows)
        EXPECT_EQ(this->Ascii(this->Of(text).FullPath()), path) << text;
    EXPECT_EQ(this->Ascii(*typename TestFixture::Path()), ".");
}

} // namespace
