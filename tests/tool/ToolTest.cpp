// The commands, called as the program calls them.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/Platform.h"
#include "tools/kivfile/Commands.h"
#include "tools/kivfile/EntryNames.h"
#include "tools/kivfile/InOrder.h"
#include "tools/kivfile/Text.h"

namespace
{

using namespace Kiv::Literals;
using Json = nlohmann::json;
namespace fs = std::filesystem;

const std::string SAMPLES = KIV_SAMPLES "/";

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

Outcome Call(const std::vector<std::string>& arguments, const std::string& input = "")
{
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int code = KivTool::Run(arguments, {in, out, err, false});
    return {code, out.str(), err.str()};
}

std::string Content(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

class Tool : public testing::Test
{
protected:
    Tool()
    {
        fs::remove_all(m_folder);
        fs::create_directories(m_folder);
    }
    ~Tool() override { fs::remove_all(m_folder); }

    std::string Write(const std::string& name, const std::string& content) const
    {
        std::ofstream(m_folder / name, std::ios::binary) << content;
        return (m_folder / name).string();
    }

    fs::path m_folder = fs::temp_directory_path() / ("kivfile-tool-" + std::to_string(KivSys::GetCurrentProcessId()));
};

TEST_F(Tool, WrongCallsExitWith2AndPrintNothingOnStandardOutput)
{
    const std::vector<std::vector<std::string>> calls = {
        {},
        {"bogus"},
        {"props"},
        {"props", "--jobs", "0", "x"},
        {"props", "--jobs", "many", "x"},
        {"props", "-", "-"},
        {"props", "-", "--files-from", "-"},
        {"ls"},
        {"cat", "x"},
        {"extract", "x"},
        {"ls", "--bogus", "x"},
    };
    for (const auto& call : calls) {
        const Outcome outcome = Call(call);
        EXPECT_EQ(outcome.code, 2) << testing::PrintToString(call);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("kivfile: ")) << outcome.err;
    }
}

TEST_F(Tool, HelpBeginsWithAnExample)
{
    for (const std::string command : {"props", "ls", "cat", "extract"}) {
        const Outcome outcome = Call({command, "--help"});
        EXPECT_EQ(outcome.code, 0);
        EXPECT_TRUE(outcome.out.starts_with("Example: kivfile " + command)) << outcome.out;
    }
}

TEST_F(Tool, OneBadFileNeverStopsTheRestAndEachGetsOneClearError)
{
    const std::string missing = (m_folder / "missing.doc").string();
    const std::vector<std::string> files = {
        Write("empty", ""),
        Write("garbage", std::string(4096, 'x')),
        SAMPLES + "latin.doc",
        missing,
        m_folder.string(),
        Write("damaged", std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(600, '\0')),
        SAMPLES + "cyrillic.xls"};
    std::vector<std::string> call = {"props", "--json"};
    call.insert(call.end(), files.begin(), files.end());
    const Outcome outcome = Call(call);

    EXPECT_EQ(outcome.code, 1);
    const std::vector<std::string> lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), files.size());
    const std::vector<std::string> classes = {
        "NotAStorageOLEException",   "NotAStorageOLEException",      "", "FileCannotOpenException",
        "FileAccessDeniedException", "CorruptedStorageOLEException", ""};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Json line = Json::parse(lines[i]);
        EXPECT_EQ(line["file"], files[i]);
        EXPECT_EQ(line.contains("error") ? line["error"]["class"] : "", classes[i]) << lines[i];
        EXPECT_EQ(line.contains("properties"), classes[i].empty());
    }
    EXPECT_EQ(Lines(outcome.err).size(), 5u) << outcome.err;
    EXPECT_NE(outcome.err.find("empty: not a compound document\n"), std::string::npos) << outcome.err;
}

TEST_F(Tool, JsonListsWellKnownPropertiesFirstWithTheirTypes)
{
    const Outcome outcome = Call({"props", "--json", SAMPLES + "latin.doc"});
    const Json properties = Json::parse(outcome.out)["properties"];
    const auto find = [&](const std::string& name) {
        for (const Json& property : properties) {
            if (property["name"] == name)
                return property;
        }
        return Json();
    };
    EXPECT_EQ(properties[0],
              Json::parse(R"({"name":"Title","type":"wstring","value":"Quarterly résumé – naïve façade"})"));
    EXPECT_EQ(find("Done"), Json::parse(R"({"name":"Done","type":"bool","value":true})"));
    EXPECT_EQ(find("Ratio"), Json::parse(R"({"name":"Ratio","type":"double","value":0.125})"));
    EXPECT_EQ(find("CreationDate"),
              Json::parse(R"({"name":"CreationDate","type":"datetime","value":"2019-03-14T15:09:26Z"})"));
}

TEST_F(Tool, JobsAndListsKeepInputOrder)
{
    std::string list;
    std::vector<std::string> call = {"props", "--json"};
    for (int i = 0; i < 40; ++i) {
        const std::string file = i % 5 == 0 ? Write("bad" + std::to_string(i), "bad") : SAMPLES + "many.xls";
        list += file + (i % 2 == 0 ? "\r\n" : "\n\n");
        call.push_back(file);
    }
    const Outcome oneByOne = Call(call);
    const Outcome fromList = Call({"props", "--json", "--jobs", "7", "--files-from", "-"}, list);
    EXPECT_EQ(Lines(oneByOne.out).size(), 40u);
    EXPECT_EQ(fromList.out, oneByOne.out);
    EXPECT_EQ(fromList.err, oneByOne.err);
    EXPECT_EQ(Call({"props", "--files-from", (m_folder / "none").string()}).code, 1);
}

TEST_F(Tool, StandardInputIsADocumentLikeAnyOther)
{
    const std::string sample = SAMPLES + "emoji.ppt";
    const Outcome fromInput = Call({"ls", "-"}, Content(sample));
    EXPECT_EQ(fromInput.code, 0);
    EXPECT_EQ(fromInput.out, Call({"ls", sample}).out);
    EXPECT_EQ(Call({"props", "-"}, "").code, 1);
}

TEST_F(Tool, EveryStreamThatLsPrintsCanBeGivenBackToCatAndIsWhatExtractWrites)
{
    for (const std::string sample : {"latin.doc", "installer.msi", "emoji.ppt"}) {
        const fs::path folder = m_folder / sample;
        const std::string file = SAMPLES + sample;
        ASSERT_EQ(Call({"extract", file, folder.string()}).code, 0);
        std::size_t extracted = 0;
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            extracted += entry.is_regular_file() ? 1 : 0;

        const Json listing = Json::parse(Call({"ls", "--json", file}).out);
        EXPECT_EQ(listing["streams"].size(), extracted);
        for (const Json& stream : listing["streams"])
            EXPECT_EQ(Call({"cat", file, stream["path"]}).out.size(), stream["size"].get<std::size_t>()) << stream;
        for (const std::string& line : Lines(Call({"ls", file}).out)) {
            const std::string path = line.substr(19);
            EXPECT_EQ(Call({"cat", file, path}).code, path.ends_with('/') ? 1 : 0) << line;
        }
    }
    EXPECT_EQ(Content(m_folder / "latin.doc" / "WordDocument"),
              Call({"cat", SAMPLES + "latin.doc", "WordDocument"}).out);
}

TEST_F(Tool, CatOfWhatIsNotThereExitsWith1)
{
    for (const std::string path : {"Nothing", "ObjectPool", "a/b", "", "worddocument"}) {
        const Outcome outcome = Call({"cat", SAMPLES + "latin.doc", path});
        EXPECT_EQ(outcome.code, 1) << path;
        EXPECT_EQ(outcome.out, "");
    }
}

TEST_F(Tool, ExtractOverwritesNothingWithoutForce)
{
    const std::string sample = SAMPLES + "many.xls";
    const std::string kept = Write("Workbook", "mine");
    const Outcome refused = Call({"extract", sample, m_folder.string()});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(Content(kept), "mine");
    EXPECT_EQ(Lines(refused.err).size(), 1u) << refused.err;

    EXPECT_EQ(Call({"extract", "--force", sample, m_folder.string()}).code, 0);
    EXPECT_EQ(Content(kept), Call({"cat", sample, "Workbook"}).out);
}

TEST_F(Tool, ACutStreamIsPrintedAsFarAsItGoesAndReported)
{
    std::string document = Content(SAMPLES + "latin.doc");
    const std::size_t entry = document.find(std::string("W\0o\0r\0d\0D\0", 10));
    ASSERT_NE(entry, std::string::npos);
    document[entry + 122] = 1; // the declared size grows by 64 KiB, which no sector holds
    const std::string file = Write("cut.doc", document);
    const Outcome outcome = Call({"cat", file, "WordDocument"});
    EXPECT_TRUE(outcome.out.starts_with(Call({"cat", SAMPLES + "latin.doc", "WordDocument"}).out));
    EXPECT_EQ(Call({"extract", file, (m_folder / "parts").string()}).err.find("cut short") != std::string::npos, true);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("cut short"), std::string::npos) << outcome.err;
}

TEST(EntryNames, BecomeOneSafeComponentThatStaysDifferentFromAllOthers)
{
    struct Row {
        Kiv::WString name;
        std::string file;
    };
    const std::vector<Row> rows = {
        {u"plain"_w, "plain"},
        {u"PLAIN"_w, "PLAIN~2"},
        {u"plain~2"_w, "plain~2~2"},
        {u"\u0005SummaryInformation"_w, "%05SummaryInformation"},
        {u"../../etc/passwd"_w, "..%2F..%2Fetc%2Fpasswd"},
        {u"..\\x"_w, "..%5Cx"},
        {u"."_w, "%2E"},
        {u".."_w, "%2E%2E"},
        {u"C:x"_w, "C%3Ax"},
        {u"end. ."_w, "end%2E%20%2E"},
        {u"50%"_w, "50%25"},
        {u"nul"_w, "%6Eul"},
        {u"Com1.txt"_w, "%43om1.txt"},
        {u"LPT\u00B9"_w, "%4CPT\u00B9"},
        {u"con .x"_w, "%63on .x"},
        {u"console"_w, "console"},
        {u"a\u007Fb"_w, "a%7Fb"},
        {Kiv::WString{u'a', 0xD800}, "a%ED%A0%80"},
        {Kiv::WString{u'a', 0xF05C}, "a%EF%81%9C"},
    };
    KivTool::SafeNames names;
    for (const Row& row : rows) {
        const std::string file = Kiv::Utf8(Kiv::WideFromNarrow(names.Add(row.name)));
        EXPECT_EQ(file, row.file) << Kiv::Utf8(row.name);
    }
}

TEST(EntryNames, ComeBackFromAPathAsTheyWere)
{
    const std::vector<Kiv::WString> names = {
        u"a/b"_w, u"50%2F"_w, u"\u0001x"_w, Kiv::WString{u'x', 0xD801, u'y'}, Kiv::WString{0xDC05}, u"\U0001F680"_w};
    std::string path;
    for (const Kiv::WString& name : names)
        path += "/" + KivTool::EncodePrintableName(name);
    EXPECT_EQ(KivTool::DecodePath(path), names);
    EXPECT_EQ(KivTool::DecodePath("//%zz%4//"), std::vector<Kiv::WString>{u"%zz%4"_w});
}

TEST(PrintableText, LetsNothingDriveATerminal)
{
    EXPECT_EQ(KivTool::Printable(u"a\u001B[2J\u009B\n\u007F\u2028"_w), "a\\x1B[2J\\x9B\\x0A\\x7F\\u2028");
    EXPECT_EQ(KivTool::Printable(Kiv::WString{0xD83D, 0xDE80, 0xD83D, u'x'}), "\U0001F680\\uD83Dx");
    EXPECT_EQ(KivTool::PrintableLines(u"a\r\nb\rc\n"_w, "  "), "a\n  b\\x0Dc\n  ");
}

TEST(InOrder, ResultsComeInOrderWhateverTheirDuration)
{
    std::vector<std::size_t> order;
    KivTool::ForEachInOrder<std::size_t>(
        200, 8,
        [](std::size_t i) {
            if (i % 7 == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            return i;
        },
        [&](std::size_t i) { order.push_back(i); });
    ASSERT_EQ(order.size(), 200u);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

} // namespace
