// The space command.
#include <limits>

#include "Tool.h"
#include "tools/kivfile/Failure.h"
#include "tools/kivfile/SpaceCommand.h"

namespace
{

class SpaceTool : public Tool
{
};

// Why a text is no need; empty when it is one.
std::string Refusal(const std::string& text)
{
    try {
        (void)KivTool::ParseNeed(text);
    } catch (const KivTool::ToolError& error) {
        return error.message;
    }
    return "";
}

TEST(Needs, AreADirectoryAndANumberOfBytes)
{
    const struct {
        std::string text;
        std::string name;
        std::uint64_t required;
    } rows[] = {
        {"a=0", "a", 0},
        {"a=007", "a", 7},
        {"a=1k", "a", 1024},
        {"a=2m", "a", std::uint64_t{2} << 20},
        {"a=2G", "a", std::uint64_t{2} << 30},
        {"a b/=1t", "a b/", std::uint64_t{1} << 40},
        {"a=5=6=7", "a=5=6", 7},
        {"a=18446744073709551615", "a", std::numeric_limits<std::uint64_t>::max()},
        {"a=16777215T", "a", std::uint64_t{16777215} << 40},
    };
    for (const auto& row : rows) {
        const KivTool::Need need = KivTool::ParseNeed(row.text);
        EXPECT_EQ(need.name, row.name);
        EXPECT_EQ(need.required, row.required) << row.text;
    }
    for (const char* text : {"", "a", "=5", "a=", "a=K", "a=-1", "a=+1", "a=1.5G", "a=1 ", "a= 1", "a=1KB", "a=0x10",
                             "a=5=", "a=18446744073709551616P"})
        EXPECT_TRUE(Refusal(text).starts_with("not of the form")) << text;
    for (const char* text :
         {"a=18446744073709551616", "a=18446744073709551616T", "a=16777216T", "a=18014398509481984k"})
        EXPECT_TRUE(Refusal(text).starts_with("too large")) << text;
}

TEST_F(SpaceTool, EachDirectoryIsMeasuredAgainstItsNeed)
{
    const std::string here = User(".");
    const std::string file = Write("file", "no directory");
    const Outcome outcome =
        Call({"space", "--json", here + "=0", here + "=18446744073709551615", file + "=1K", "\x1B[2J=1"});
    EXPECT_EQ(outcome.code, 1);
    std::vector<Json> objects;
    for (const std::string& line : Lines(outcome.out))
        objects.push_back(Json::parse(line));
    ASSERT_EQ(objects.size(), 4u);
    EXPECT_EQ(objects[0]["directory"], here);
    EXPECT_GT(objects[0]["available"], 0);
    EXPECT_EQ(objects[0]["short"], false);
    EXPECT_EQ(objects[1]["required"], std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(objects[1]["short"], true);
    EXPECT_EQ(objects[2]["error"]["message"], "no such directory");
    EXPECT_EQ(objects[3]["directory"], "\x1B[2J");
    EXPECT_EQ(outcome.err, "kivfile: " + file + ": no such directory\nkivfile: \\x1B[2J: no such directory\n");
    EXPECT_EQ(Call({"space", "--quiet", User("none") + "=0"}).err, "");
}

TEST_F(SpaceTool, TextMarksWhatIsShort)
{
    fs::create_directory(User("a=b"));
    const Outcome well = Call({"space", User("a=b") + "=1K"});
    EXPECT_EQ(well.code, 0) << well.err;
    EXPECT_TRUE(well.out.starts_with("ok    ")) << well.out;
    EXPECT_TRUE(well.out.ends_with("            1024  " + User("a=b") + "\n")) << well.out;
    const Outcome tooMuch = Call({"space", User(".") + "=16777215T"});
    EXPECT_EQ(tooMuch.code, 1);
    EXPECT_TRUE(tooMuch.out.starts_with("short ")) << tooMuch.out;
}

// The reports are a second apart; the third one meets a closed pipe.
TEST_F(SpaceTool, AWatchReportsEveryDirectoryInEveryCycleUntilNobodyListens)
{
    const Outcome outcome = Call({"space", "--watch", "1", "--json", User("none") + "=1", ".=0"}, "",
                                 Reports([](int report) { return report < 3; }));
    EXPECT_EQ(outcome.code, 1);
    const std::vector<std::string> lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), 6u) << outcome.out;
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(Json::parse(lines[i])["directory"], i % 2 == 0 ? User("none") : ".");
}

} // namespace
