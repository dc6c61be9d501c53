// The grammar of a line.
#include <random>

#include <gtest/gtest.h>

#include <Kiv/Config.h>

#include "src/ConfigLine.h"

namespace KivFile
{

static std::ostream& operator<<(std::ostream& out, const ConfigLine& line)
{
    return out << "kind " << static_cast<int>(line.kind) << " of '" << Kiv::Utf8(line.text) << "': '"
               << Kiv::Utf8(line.name) << "', '" << Kiv::Utf8(line.value) << "'";
}

static bool operator==(const ConfigLine& a, const ConfigLine& b)
{
    return a.kind == b.kind && a.text == b.text && a.name == b.name && a.value == b.value;
}

} // namespace KivFile

namespace
{

using namespace Kiv::Literals;
using Kiv::WString;
using KivFile::ConfigLine;
using Kind = ConfigLine::Kind;

TEST(ConfigLine, IsReadByTheGrammar)
{
    struct Row {
        WString text;
        Kind kind;
        WString name;
        WString value;
    };
    const Row rows[] = {
        {u"[Main]"_w, Kind::Section, u"Main"_w, u""_w},
        {u" \t[ My Section ]\u3000 "_w, Kind::Section, u" My Section "_w, u""_w},
        {u"[a]b]"_w, Kind::Section, u"a]b"_w, u""_w},
        {u"[[]]]"_w, Kind::Section, u"[]]"_w, u""_w},
        {u"[ ]"_w, Kind::Section, u" "_w, u""_w},
        {u"[]"_w, Kind::Invalid, u""_w, u""_w},
        {u"[open"_w, Kind::Invalid, u""_w, u""_w},
        {u"[a] b"_w, Kind::Invalid, u""_w, u""_w},
        {u"[a] ; no comment"_w, Kind::Invalid, u""_w, u""_w},
        {u"x[a]"_w, Kind::Invalid, u""_w, u""_w},
        {u"Key = two  words "_w, Kind::Key, u"Key"_w, u"two  words"_w},
        {u"\u00A0K_1.x\u2003=\u1680v\u00A0w\u205F"_w, Kind::Key, u"K_1.x"_w, u"v\u00A0w"_w},
        {u"Key ="_w, Kind::Key, u"Key"_w, u""_w},
        {u"Key= \t\u202F"_w, Kind::Key, u"Key"_w, u""_w},
        {u"k===v="_w, Kind::Key, u"k"_w, u"==v="_w},
        {u"k=;no comment"_w, Kind::Key, u"k"_w, u";no comment"_w},
        {u"k=\v\f\u2028\u0085"_w, Kind::Key, u"k"_w, u"\v\f\u2028\u0085"_w},
        {u"k=[v]"_w, Kind::Key, u"k"_w, u"[v]"_w},
        {u"Key-Name = 1"_w, Kind::Invalid, u""_w, u""_w},
        {u"two words = 1"_w, Kind::Invalid, u""_w, u""_w},
        {u"\u00E4 = 1"_w, Kind::Invalid, u""_w, u""_w},
        {u"k\u200B= 1"_w, Kind::Invalid, u""_w, u""_w},
        {u"= 1"_w, Kind::Invalid, u""_w, u""_w},
        {u"key"_w, Kind::Invalid, u""_w, u""_w},
        {u"# text"_w, Kind::Invalid, u""_w, u""_w},
        {u"\v"_w, Kind::Invalid, u""_w, u""_w},
        {u"  ; text"_w, Kind::Comment, u""_w, u""_w},
        {u"\u2007;=[x]\u2028"_w, Kind::Comment, u""_w, u""_w},
        {u""_w, Kind::Comment, u""_w, u""_w},
        {u" \t\u3000"_w, Kind::Comment, u""_w, u""_w},
    };
    for (const Row& row : rows)
        EXPECT_EQ(KivFile::ReadConfigLine(row.text), (ConfigLine{row.kind, row.text, row.name, row.value}));
}

void ExpectSameEitherWay(const WString& text)
{
    if (KivFile::IsPlainConfigLine(text)) {
        ASSERT_EQ(KivFile::ReadPlainConfigLine(text), KivFile::MatchConfigLine(text));
    }
}

// All lines of up to five of the units that the grammar tells apart.
TEST(ConfigLine, ReadByHandIsWhatThePatternsSayOfEveryShortLine)
{
    const WString units = u"a_=[];- \t\u00A0"_w;
    for (std::size_t length = 0; length <= 5; ++length) {
        std::size_t count = 1;
        for (std::size_t i = 0; i < length; ++i)
            count *= units.size();
        for (std::size_t number = 0; number < count; ++number) {
            WString text;
            for (std::size_t i = 0, rest = number; i < length; ++i, rest /= units.size())
                text += units[rest % units.size()];
            ExpectSameEitherWay(text);
        }
    }
}

TEST(ConfigLine, ReadByHandIsWhatThePatternsSayOfGeneratedLines)
{
    std::mt19937 random(4);
    const auto below = [&](std::size_t n) { return random() % n; };
    const WString pieces[] = {u"key"_w, u"Z.9_"_w, u"="_w, u" "_w, u"\t"_w, u"["_w,
                              u"]"_w,   u";"_w,    u"/"_w, u"{"_w, u"@"_w,  u"\u0001"_w};
    for (int i = 0; i < 100'000; ++i) {
        WString text;
        for (std::size_t n = below(12); n > 0; --n)
            text += below(8) == 0 ? WString(1, static_cast<unsigned short>(below(0x80))) : pieces[below(12)];
        ExpectSameEitherWay(text);
    }
    ExpectSameEitherWay(u"k = "_w + WString(4092, u'x'));
}

// Linear time is seen here by the test coming to its end.
TEST(ConfigLine, OfMillionsOfUnitsIsReadOrFoundTooComplex)
{
    constexpr std::size_t LONG = 2'000'000;
    const auto repeat = [](const WString& piece) {
        WString text;
        while (text.size() < LONG)
            text += piece;
        return text;
    };
    struct Row {
        WString text;
        Kind kind;
    };
    const Row rows[] = {
        {u"k="_w + repeat(u"="_w), Kind::Key},
        {u"["_w + repeat(u"[["_w) + u"]"_w, Kind::Section},
        {u"["_w + repeat(u"[] "_w), Kind::Section},
        {u"["_w + repeat(u"] "_w) + u"x"_w, Kind::Invalid},
        {repeat(u"[["_w), Kind::Invalid},
        {repeat(u" "_w), Kind::Comment},
        {repeat(u"k"_w), Kind::Invalid},
        {repeat(u" "_w) + u"k = v"_w, Kind::Key},
        {u"k ="_w + repeat(u" "_w) + u"v"_w, Kind::Key},
        {u"k"_w + repeat(u" "_w), Kind::Invalid},
        {u";"_w + repeat(u"; "_w), Kind::Comment},
    };
    for (const Row& row : rows)
        EXPECT_EQ(static_cast<int>(KivFile::ReadConfigLine(row.text).kind), static_cast<int>(row.kind))
            << Kiv::Utf8(row.text.substr(0, 8));
    EXPECT_THROW((void)KivFile::ReadConfigLine(u"k = "_w + repeat(u"word "_w)), Kiv::Config::InvalidConfigException);
}

} // namespace
