#include <string>
#include <vector>

#include <AllTexts.h>
#include <platform/Utf8.h>

namespace
{

using Units = std::vector<unsigned short>;

Units Decoded(const std::string& bytes)
{
    Units units;
    KivSys::AppendUtf16(units, bytes.data(), bytes.size());
    return units;
}

std::string Encoded(const Units& units)
{
    std::string bytes;
    KivSys::AppendUtf8(bytes, units.data(), units.size());
    return bytes;
}

TEST(Utf8, ConvertsBothWays)
{
    const struct {
        std::string bytes;
        Units units;
    } rows[] = {
        {std::string(1, '\0'), {0}},
        {"\xC2\x80", {0x80}},
        {"\xE0\xA0\x80", {0x800}},
        {"\xED\x9F\xBF\xEE\x80\x80", {0xD7FF, 0xE000}},
        {"\xF0\x90\x80\x80", {0xD800, 0xDC00}},
        {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
        // What is no UTF-8, each byte by itself.
        {"\x80", {0xDC80}},
        {"\xC0\x80", {0xDCC0, 0xDC80}},
        {"\xE0\x9F\xBF", {0xDCE0, 0xDC9F, 0xDCBF}},
        {"\xF0\x8F\xBF\xBF", {0xDCF0, 0xDC8F, 0xDCBF, 0xDCBF}},
        {"\xF4\x90\x80\x80", {0xDCF4, 0xDC90, 0xDC80, 0xDC80}},
        {"\xE2\x82z", {0xDCE2, 0xDC82, 'z'}},
        {"\xE2\xC3\xA4", {0xDCE2, 0xE4}},
        // Surrogates that were encoded one by one.
        {"\xED\xB2\x80", {0xDCED, 0xDCB2, 0xDC80}},
        {"\xED\xA0\x80\xED\xAF\xBFz", {0xD800, 0xDBFF, 'z'}},
        {"\xED\xA0\x80\xF0\x90\x80\x80", {0xD800, 0xD800, 0xDC00}},
        {"\xED\xA0\x80\xED\xB0\x80", {0xDCED, 0xDCA0, 0xDC80, 0xDC00}},
        {"\xED\xA0\x80\xED\xA0", {0xDCED, 0xDCA0, 0xDC80, 0xDCED, 0xDCA0}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Decoded(row.bytes), row.units) << testing::PrintToString(row.bytes);
        EXPECT_EQ(Encoded(row.units), row.bytes) << testing::PrintToString(row.bytes);
    }
}

TEST(Utf8, EveryTextOfBytesComesBack)
{
    const std::string bytes = "z\x80\xB0\xBF\xC3\xE2\xED\xA0\xB2\xF0\x90\xF4";
    ForAllTexts(bytes, 5, [](const std::string& text) { ASSERT_EQ(Encoded(Decoded(text)), text); });
    const std::string surrogates = "\xED\xA0\xB0\xB2\x80";
    ForAllTexts(surrogates, 8, [](const std::string& text) { ASSERT_EQ(Encoded(Decoded(text)), text); });
}

TEST(Utf8, EveryTextOfUnitsThatEscapesNothingComesBack)
{
    const Units units = {'z', 0xE4, 0x20AC, 0xD800, 0xDBFF, 0xDC00, 0xDC7F, 0xDD00, 0xDFFF};
    ForAllTexts(units, 5, [](const Units& text) { ASSERT_EQ(Decoded(Encoded(text)), text); });
}

TEST(Utf8, AsciiWordsEndWhereverSomethingElseBegins)
{
    for (std::size_t length = 0; length < 20; ++length) {
        const std::string text = std::string(length, 'x') + "\xC3\xA4" + std::string(19 - length, 'y') + "\xFF";
        EXPECT_EQ(Decoded(text).size(), 21u);
        EXPECT_EQ(Decoded(text)[length], 0xE4);
        EXPECT_EQ(Encoded(Decoded(text)), text);
    }
}

} // namespace
