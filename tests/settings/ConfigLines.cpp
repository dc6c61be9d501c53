// The grammar of a line.
#include <random>

#include <gtest/gtest.h>

#include <Kiv/Config.h>

#include "src/ConfigLine.h"

namespace
{

using namespace Kiv::Literals;
using Kiv::WString;
using KivFile::ConfigLine;

// What a line is: "[name]", "key=value", ";" for a comment or a blank line, "?" for what is invalid.
std::string Told(const ConfigLine& line)
{
    const std::string name = Kiv::Utf8(line.name);
    switch (line.kind) {
    case ConfigLine::Kind::Section:
        return "[" + name + "]";
    case ConfigLine::Kind::Key:
        return name + "=" + Kiv::Utf8(line.value);
    default:
        return line.kind == ConfigLine::Kind::Comment ? ";" : "?";
    }
}

void ExpectSameEitherWay(const WString& text)
{
    if (KivFile::IsPlainConfigLine(text)) {
        ASSERT_EQ(Told(KivFile::ReadPlainConfigLine(text)), Told(KivFile::MatchConfigLine(text))) << Kiv::Utf8(text);
    }
}

TEST(ConfigLine, IsReadByTheGrammar)
{
    const std::pair<WString, std::string> rows[] = {
        {u"[Main]"_w, "[Main]"},
        {u" \t[ My Section ]\u3000 "_w, "[ My Section ]"},
        {u"[a]b]"_w, "[a]b]"},
        {u"[[]]]"_w, "[[]]]"},
        {u"[ ]"_w, "[ ]"},
        {u"[]"_w, "?"},
        {u"[open"_w, "?"},
        {u"[a] b"_w, "?"},
        {u"[a] ; no comment"_w, "?"},
        {u"x[a]"_w, "?"},
        {u"Key = two  words "_w, "Key=two  words"},
        {u"\u00A0K_1.x\u2003=\u1680v\u00A0w\u205F"_w, "K_1.x=v\xC2\xA0w"},
        {u"Key ="_w, "Key="},
        {u"Key= \t\u202F"_w, "Key="},
        {u"k===v="_w, "k===v="},
        {u"k=;no comment"_w, "k=;no comment"},
        {u"k=\v\f\u2028\u0085"_w, "k=\v\f\xE2\x80\xA8\xC2\x85"},
        {u"k=[v]"_w, "k=[v]"},
        {u"Key-Name = 1"_w, "?"},
        {u"two words = 1"_w, "?"},
        {u"\u00E4 = 1"_w, "?"},
        {u"k\u200B= 1"_w, "?"},
        {u"= 1"_w, "?"},
        {u"key"_w, "?"},
        {u"# text"_w, "?"},
        {u"\v"_w, "?"},
        {u"  ; text"_w, ";"},
        {u"\u2007;=[x]\u2028"_w, ";"},
        {u""_w, ";"},
        {u" \t\u3000"_w, ";"},
    };
    for (const auto& [text, told] : rows) {
        const ConfigLine line = KivFile::ReadConfigLine(text);
        EXPECT_EQ(Told(line), told) << Kiv::Utf8(text);
        EXPECT_EQ(line.text, text);
        ExpectSameEitherWay(text);
    }
}

// Short lines of the units that the grammar tells apart, and others.
TEST(ConfigLine, ReadByHandIsWhatThePatternsSayOfGeneratedLines)
{
    std::mt19937 random(4);
    const auto below = [&](std::size_t n) { return random() % n; };
    const WString units = u"a_=[]; \tZ.9-/@\u0001\u00A0"_w;
    for (int i = 0; i < 200'000; ++i) {
        WString text;
        for (std::size_t n = below(10); n > 0; --n)
            text += below(16) == 0 ? static_cast<unsigned short>(below(0x80)) : units[below(units.size())];
        ExpectSameEitherWay(text);
    }
    ExpectSameEitherWay(u"k = "_w + WString(4092, u'x'));
}

// Linear time is seen here by the test coming to its end.
TEST(ConfigLine, OfMillionsOfUnitsIsReadOrFoundTooComplex)
{
    const auto repeat = [](const WString& piece) {
        WString text;
        while (text.size() < 2'000'000)
            text += piece;
        return text;
    };
    const struct {
        WString text;
        char first; // of what it is told to be
    } rows[] = {
        {u"k="_w + repeat(u"="_w), 'k'},
        {u"["_w + repeat(u"[["_w) + u"]"_w, '['},
        {u"["_w + repeat(u"[] "_w), '['},
        {u"["_w + repeat(u"] "_w) + u"x"_w, '?'},
        {repeat(u"[["_w), '?'},
        {repeat(u" "_w), ';'},
        {repeat(u"k"_w), '?'},
        {repeat(u" "_w) + u"k = v"_w, 'k'},
        {u"k ="_w + repeat(u" "_w) + u"v"_w, 'k'},
        {u"k"_w + repeat(u" "_w), '?'},
        {u";"_w + repeat(u"; "_w), ';'},
    };
    for (const auto& [text, first] : rows)
        EXPECT_EQ(Told(KivFile::ReadConfigLine(text)).front(), first) << Kiv::Utf8(text.substr(0, 8));
    EXPECT_THROW((void)KivFile::ReadConfigLine(u"k = "_w + repeat(u"word "_w)), Kiv::Config::InvalidConfigException);
}

} // namespace
