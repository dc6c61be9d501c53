// What all commands have in common, and those for documents.
#include <chrono>
#include <thread>
#include <utility>

#include "Tool.h"
#include "tools/kivfile/EntryNames.h"
#include "tools/kivfile/Text.h"

namespace
{

using namespace Kiv::Literals;

// Expects of each command with each of its arguments that it ends with the code, and a message and nothing else.
void ExpectFailures(int code, const std::vector<std::pair<std::string, Arguments>>& calls)
{
    for (const auto& [command, argumentLists] : calls) {
        for (const std::string& arguments : argumentLists) {
            const Outcome outcome = Call(Typed(command + ' ' + arguments));
            EXPECT_EQ(outcome.code, code) << command << ' ' << arguments;
            EXPECT_EQ(outcome.out, "");
            EXPECT_TRUE(outcome.err.starts_with("kivfile: ")) << command << ' ' << arguments << outcome.err;
        }
    }
}

TEST_F(Tool, WrongCallsExitWith2AndPrintNothingOnStandardOutput)
{
    ExpectFailures(2, {
                          {"", {"", "bogus", "cat x", "ls --bogus x", "walk", "rm", "path", "extract x \"\""}},
                          {"props", {"", "--jobs 0 x", "- -", "- --files-from -"}},
                          {"config", {"get f s", "set f s k", "list f s k", "set - s k v", "unset - s"}},
                          {"strings", {"add f", "add - x", "union f - -"}},
                          {"walk", {"--filter a/b .", "--filter /* ."}},
                          {"space", {"", ".=0 a=1P", "--watch 0 .=0", "--watch 1.5 .=0", "--watch 4294967296 .=0"}},
                      });
}

TEST_F(Tool, TheArgumentThatIsWrongIsNamed)
{
    const std::pair<std::string, std::string> rows[] = {
        {"prop x", "unknown command: prop"},
        {"config bogus", "unknown command: bogus"},
        {"--bogus", "unknown option: --bogus"},
        {"config get --bogus", "unknown option: --bogus"},
        {"cat a b -- -\x1B", "unexpected argument: -\\x1B"},
        {"space .=16777216T", ".=16777216T: too large: 18446744073709551615 bytes are the most"},
    };
    for (const auto& [call, message] : rows)
        EXPECT_EQ(Lines(Call(Typed(call)).err).at(0), "kivfile: " + message);
}

// Also what looks like an option, a list or the end of a command.
TEST_F(Tool, OperandsAreTakenAsTheyAre)
{
    Arguments texts;
    for (const std::string& line : Lines(Call(Typed("--quiet path --json [a,b] ++ path -- -c --json -- []")).out))
        texts.push_back(Json::parse(line)["text"]);
    EXPECT_EQ(texts, Typed("[a,b] ++ path -c --json -- []"));
}

TEST_F(Tool, HelpBeginsWithAnExample)
{
    for (const std::string command : {"props", "ls", "cat", "extract", "config set", "strings add"}) {
        const Outcome outcome = Call(Typed(command + " --help"));
        EXPECT_EQ(outcome.code, 0);
        EXPECT_TRUE(outcome.out.starts_with("Example: kivfile " + command)) << outcome.out;
    }
}

TEST_F(Tool, WhatIsNotThereExitsWith1AndNothingChanges)
{
    fs::copy(SAMPLES + "latin.doc", User("doc"));
    Write("file", "[S]\nk = v\n");
    fs::create_directory(User("sub"));
    Write("sub\\file", "");
    const fs::path before = fs::current_path();
    fs::current_path(User("sub")); // all that can be lost
    ExpectFailures(1, {
                          {"cat ../doc", {"Nothing", "ObjectPool", "\"\"", "worddocument"}},
                          {"props", {"--files-from none"}},
                          {"config", {"get ../file S x", "list ../file x", "unset ../file S x"}},
                          {"config", {"get none S k", "unset none S"}},
                          {"strings", {"list none", "union ../file none", "minus none ../file", "remove ../file x"}},
                          {"walk", {"none", "file", "\"\"", "--resume-after none .."}},
                          {"rm", {"none", "--force none", "\"\"", "./", ".."}},
                      });
    fs::current_path(before);
    EXPECT_EQ(Content("file"), "[S]\nk = v\n");
    EXPECT_TRUE(fs::exists(User("sub\\file")) && Entries() == 3);
}

// Of latin.doc the directory comes last.
TEST_F(Tool, ADocumentThatWasCutShortShowsWhatIsThereAndFails)
{
    fs::copy(SAMPLES + "latin.doc", User("whole"));
    const std::string whole = Content("whole");
    const std::string none = Write("none", whole.substr(0, 34000));
    const std::string part = Write("part", whole.substr(0, 35000));
    const auto fails = [](const Outcome& outcome) {
        return outcome.code == 1 && outcome.err.find("part of the directory is missing") != outcome.err.npos;
    };
    for (const char* command : {"ls", "props"}) {
        EXPECT_TRUE(fails(Call({command, none}))) << command;
        EXPECT_TRUE(fails(Call({command, part}))) << command;
    }
    EXPECT_TRUE(fails(Call({"extract", part, User("out")})));
    EXPECT_EQ(Call({"ls", none}).out, "");
    EXPECT_EQ(Lines(Call({"ls", part}).out).size(), 4u);
    EXPECT_TRUE(Json::parse(Call({"props", "--json", none}).out).contains("error"));
}

TEST_F(Tool, OneBadFileNeverStopsTheRestAndEachGetsOneClearError)
{
    const std::string signature("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    const struct {
        std::string file;
        std::string error;
    } rows[] = {
        {Write("empty", ""), "NotAStorageOLEException"},
        {Write("garbage", std::string(4096, 'x')), "NotAStorageOLEException"},
        {SAMPLES + "latin.doc", ""},
        {User("missing.doc"), "FileCannotOpenException"},
        {User("."), "FileAccessDeniedException"},
        {Write("damaged", signature + std::string(600, '\0')), "CorruptedStorageOLEException"},
        {SAMPLES + "cyrillic.xls", ""},
    };
    Arguments call = {"props", "--json"};
    for (const auto& row : rows)
        call.push_back(row.file);
    const Outcome outcome = Call(call);

    EXPECT_EQ(outcome.code, 1);
    const std::vector<std::string> lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), std::size(rows));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Json line = Json::parse(lines[i]);
        EXPECT_EQ(line["file"], rows[i].file);
        EXPECT_EQ(line.contains("error") ? line["error"]["class"] : "", rows[i].error) << lines[i];
        EXPECT_EQ(line.contains("properties"), rows[i].error.empty());
    }
    EXPECT_EQ(Lines(outcome.err).size(), 5u) << outcome.err;
    EXPECT_NE(outcome.err.find("empty: not a compound document\n"), std::string::npos) << outcome.err;
}

TEST_F(Tool, JsonListsWellKnownPropertiesFirstWithTheirTypes)
{
    const Json properties = Json::parse(Call({"props", "--json", SAMPLES + "latin.doc"}).out)["properties"];
    EXPECT_EQ(properties[0]["name"], "Title");
    for (const char* row :
         {R"({"name":"Title","type":"wstring","value":"Quarterly résumé – naïve façade"})",
          R"({"name":"Done","type":"bool","value":true})", R"({"name":"Ratio","type":"double","value":0.125})",
          R"({"name":"CreationDate","type":"datetime","value":"2019-03-14T15:09:26Z"})"})
        EXPECT_EQ(std::count(properties.begin(), properties.end(), Json::parse(row)), 1) << row;
}

TEST_F(Tool, JobsAndListsKeepInputOrder)
{
    std::string list;
    Arguments call = {"props", "--json"};
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
}

// Cut at the zero byte, the name would be that of another file.
TEST_F(Tool, AListMayHaveAMarkAndTakesNoNameWithAZeroByte)
{
    const std::string file = SAMPLES + "many.xls";
    const std::string cut = file + std::string("\0x", 2);
    const Outcome outcome =
        Call({"props", "--json", "--files-from", "-"}, "\xEF\xBB\xBF" + file + "\n" + cut + "\n" + file);
    EXPECT_EQ(outcome.code, 1);
    const std::vector<std::string> lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), 3u) << outcome.out;
    EXPECT_EQ(lines[0], lines[2]);
    EXPECT_EQ(Json::parse(lines[0])["file"], file);
    EXPECT_EQ(Json::parse(lines[1])["file"], cut);
    EXPECT_EQ(Json::parse(lines[1])["error"]["class"], "Error");
}

TEST_F(Tool, EveryStreamThatLsPrintsCanBeGivenBackToCatAndIsWhatExtractWrites)
{
    for (const std::string sample : {"latin.doc", "installer.msi", "emoji.ppt"}) {
        const std::string file = SAMPLES + sample;
        ASSERT_EQ(Call({"extract", file, User(sample)}).code, 0);
        std::size_t extracted = 0;
        for (const auto& entry : fs::recursive_directory_iterator(User(sample)))
            extracted += entry.is_regular_file() ? 1 : 0;

        const Json listing = Json::parse(Call({"ls", "--json", file}).out);
        EXPECT_EQ(listing["streams"].size(), extracted);
        for (const Json& stream : listing["streams"])
            EXPECT_EQ(Call({"cat", file, stream["path"]}).out.size(), stream["size"].get<std::size_t>()) << stream;
        const std::string text = Call({"ls", file}).out;
        for (const std::string& line : Lines(text)) {
            const std::string path = line.substr(19);
            EXPECT_EQ(Call({"cat", file, path}).code, path.ends_with('/') ? 1 : 0) << line;
        }
        std::ifstream in(file, std::ios::binary);
        EXPECT_EQ(Call({"ls", "-"}, std::string(std::istreambuf_iterator<char>(in), {})).out, text);
    }
    EXPECT_EQ(Content("latin.doc\\WordDocument"), Call({"cat", SAMPLES + "latin.doc", "WordDocument"}).out);
}

TEST_F(Tool, ExtractOverwritesNothingWithoutForce)
{
    const std::string sample = SAMPLES + "many.xls";
    Write("Workbook", "mine");
    const Outcome refused = Call({"extract", sample, User(".")});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(Content("Workbook"), "mine");
    EXPECT_EQ(Lines(refused.err).size(), 1u) << refused.err;

    EXPECT_EQ(Call({"extract", "--force", sample, User(".")}).code, 0);
    EXPECT_EQ(Content("Workbook"), Call({"cat", sample, "Workbook"}).out);
}

TEST_F(Tool, ACutStreamIsPrintedAsFarAsItGoesAndReported)
{
    fs::copy(SAMPLES + "latin.doc", User("cut.doc"));
    std::string document = Content("cut.doc");
    const std::size_t entry = document.find(std::string("W\0o\0r\0d\0D\0", 10));
    ASSERT_NE(entry, std::string::npos);
    document[entry + 122] = 1; // the declared size grows by 64 KiB, which no sector holds
    const std::string file = Write("cut.doc", document);
    const Outcome printed = Call({"cat", file, "WordDocument"});
    EXPECT_TRUE(printed.out.starts_with(Call({"cat", SAMPLES + "latin.doc", "WordDocument"}).out));
    for (const Outcome& outcome : {printed, Call({"extract", file, User("parts")})}) {
        EXPECT_EQ(outcome.code, 1);
        EXPECT_NE(outcome.err.find("cut short"), std::string::npos) << outcome.err;
    }
}

// Takes longer than a second for what it is given first.
class SlowOutput : public std::stringbuf
{
    std::streamsize xsputn(const char* bytes, std::streamsize n) override
    {
        if (!std::exchange(m_hasBegun, true))
            std::this_thread::sleep_for(std::chrono::milliseconds(1050));
        return std::stringbuf::xsputn(bytes, n);
    }

    bool m_hasBegun = false;
};

TEST_F(Tool, LongWorkShowsABarOnATerminalAndTakesItAwayUnlessItIsQuiet)
{
    for (const std::string option : {"--", "--quiet"}) {
        const Outcome outcome = Call({"cat", option, SAMPLES + "latin.doc", "WordDocument"}, "", SlowOutput(), true);
        const std::string end = "/" + std::to_string(outcome.out.size()) + "\r\x1B[K";
        EXPECT_EQ(outcome.err.starts_with("\r[#"), option == "--") << outcome.err;
        EXPECT_EQ(outcome.err.ends_with(end), option == "--") << outcome.err;
    }
}

TEST(EntryNames, BecomeOneSafeComponentThatStaysDifferentFromAllOthers)
{
    const struct {
        Kiv::WString name;
        std::string file;
    } rows[] = {
        {u"plain"_w, "plain"},
        {u"PLAIN"_w, "PLAIN~2"},
        {u"plain~2"_w, "plain~2~2"},
        {u"\u0005SummaryInformation"_w, "%05SummaryInformation"},
        {u"../../etc/passwd"_w, "..%2F..%2Fetc%2Fpasswd"},
        {u"..\\x"_w, "..%5Cx"},
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
    for (const auto& row : rows)
        EXPECT_EQ(Kiv::Utf8(Kiv::WideFromNarrow(names.Add(row.name))), row.file);
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

} // namespace
