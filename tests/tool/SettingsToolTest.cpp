// The config and strings commands, called as the program calls them.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/Platform.h"
#include <KivBase/WString.h>

#include "tools/kivfile/Commands.h"

namespace
{

namespace fs = std::filesystem;

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

class SettingsTool : public testing::Test
{
protected:
    SettingsTool()
    {
        fs::remove_all(m_folder);
        fs::create_directories(m_folder);
    }
    ~SettingsTool() override
    {
        EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), {}), m_files) << "a work file was left behind";
        fs::remove_all(m_folder);
    }

    std::string File(const std::string& name = "file") const { return (m_folder / name).string(); }

    std::string Make(const std::string& content, const std::string& name = "file")
    {
        m_files += fs::exists(m_folder / name) ? 0 : 1;
        std::ofstream(m_folder / name, std::ios::binary) << content;
        return File(name);
    }

    std::string Content(const std::string& name = "file") const
    {
        std::ifstream in(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    static Outcome Call(const std::vector<std::string>& arguments, const std::string& input = "")
    {
        std::istringstream in(input);
        std::ostringstream out;
        std::ostringstream err;
        const int code = KivTool::Run(arguments, {in, out, err, false});
        return {code, out.str(), err.str()};
    }

    fs::path m_folder =
        fs::temp_directory_path() / ("kivfile-settings-" + std::to_string(KivSys::GetCurrentProcessId()));
    std::ptrdiff_t m_files = 0;
};

TEST_F(SettingsTool, GetPrintsEveryLineOfAValue)
{
    const std::string file = Make("[S]\npath = a\tb\npath = \x1B[2J\n");
    const Outcome outcome = Call({"config", "get", file, "s", "PATH"});
    EXPECT_EQ(outcome.out, "a\tb\n\\x1B[2J\n");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(Call({"config", "get", "-", "S", "k"}, "[S]\nk=v\n").out, "v\n");
}

TEST_F(SettingsTool, WhatIsNotThereExitsWith1AndReadingCreatesNothing)
{
    const std::string file = Make("[S]\nk = v\n");
    const std::vector<std::vector<std::string>> calls = {
        {"config", "get", file, "S", "x"},
        {"config", "get", file, "x", "k"},
        {"config", "list", file, "x"},
        {"config", "unset", file, "S", "x"},
        {"config", "unset", file, "x"},
        {"config", "get", File("none"), "S", "k"},
        {"config", "list", File("none")},
        {"config", "unset", File("none"), "S"},
        {"strings", "list", File("none")},
        {"strings", "remove", file, "x"},
        {"strings", "union", file, File("none")},
        {"strings", "minus", File("none"), file},
        {"strings", "remove", File("none"), "x"},
    };
    for (const auto& call : calls)
        EXPECT_EQ(Call(call).code, 1) << testing::PrintToString(call);
}

TEST_F(SettingsTool, WrongCallsExitWith2AndHelpBeginsWithAnExample)
{
    const std::vector<std::vector<std::string>> calls = {
        {"config"},
        {"config", "get", "f"},
        {"config", "get", "f", "s"},
        {"config", "set", "f", "s", "k"},
        {"config", "copy"},
        {"config", "list", "f", "s", "k"},
        {"strings"},
        {"strings", "add", "f"},
    };
    for (const auto& call : calls)
        EXPECT_EQ(Call(call).code, 2) << testing::PrintToString(call);
    for (const std::string command : {"get", "set", "unset", "list"})
        EXPECT_TRUE(Call({"config", command, "--help"}).out.starts_with("Example: kivfile config " + command));
    for (const std::string command : {"list", "add", "remove", "union", "minus"})
        EXPECT_TRUE(Call({"strings", command, "--help"}).out.starts_with("Example: kivfile strings " + command));
}

TEST_F(SettingsTool, ListPrintsTextOrJson)
{
    const std::string file = Make("[b]\nz = 1\nz = 2\na =\n[A]\n");
    EXPECT_EQ(Call({"config", "list", file}).out, "[A]\n[b]\na = \nz = 1\nz = 2\n");
    EXPECT_EQ(Call({"config", "list", file, "a"}).out, "[A]\n");
    const Outcome outcome = Call({"config", "list", "--json", file});
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(json["file"], file);
    EXPECT_EQ(json["sections"].dump(), R"([{"keys":[],"name":"A"},)"
                                       R"({"keys":[{"name":"a","value":""},{"name":"z","value":"1\n2"}],"name":"b"}])");
}

TEST_F(SettingsTool, AChangeKeepsMarkAndLineEnds)
{
    struct Row {
        std::string before;
        std::string after;
    };
    const std::string native = KivSys::TextLineEnd();
    const Row rows[] = {
        {"\n[S]\n;c\nk=1\n\n[T]\nx = 1\n", "\n[S]\n;c\nk= new\n\n[T]\nx = 1\n"},
        {"\r\n[S]\r\nk = 1\r\n", "\r\n[S]\r\nk = new\r\n"},
        {"\r[S]\rk = 1\r", "\r[S]\rk = new\r"},
        {"\n[S]\r\nk = 1\n", native + "[S]" + native + "k = new" + native},
        {"\xEF\xBB\xBF[S]\r\nk = 1\r\n", "\xEF\xBB\xBF\r\n[S]\r\nk = new\r\n"},
        {"", native + "[S]" + native + "k = new" + native},
    };
    for (const Row& row : rows) {
        const std::string file = Make(row.before);
        const Outcome dry = Call({"config", "set", "--dry-run", file, "S", "k", "new"});
        EXPECT_EQ(dry.code, 0) << dry.err;
        EXPECT_NE(dry.out.find("new\n"), std::string::npos) << dry.out;
        EXPECT_EQ(Content(), row.before);
        EXPECT_EQ(Call({"config", "set", file, "S", "k", "new"}).code, 0);
        EXPECT_EQ(Content(), row.after);
        EXPECT_EQ(Call({"config", "get", file, "S", "k"}).out, "new\n");
    }
}

// Under a mark the text is UTF-8 whatever the system's code page.
TEST_F(SettingsTool, TextUnderAMarkIsUtf8)
{
    const std::string file = Make("\xEF\xBB\xBF\n[S]\nk = \xC3\xA4\n");
    EXPECT_EQ(Call({"config", "get", file, "S", "k"}).out, "\xC3\xA4\n");
    const std::string narrow = Kiv::NarrowFromWide(Kiv::Wide("\xC3\xBC"));
    EXPECT_EQ(Call({"config", "set", file, "S", "k2", narrow}).code, 0);
    EXPECT_EQ(Content(), "\xEF\xBB\xBF\n[S]\nk = \xC3\xA4\nk2 = \xC3\xBC\n");
}

TEST_F(SettingsTool, UnsetRemovesAKeyOrASection)
{
    const std::string file = Make("\n[S]\n;c\nk = 1\nk = 2\nx = 1\n\n[T]\ny = 1\n");
    EXPECT_EQ(Call({"config", "unset", file, "s", "K"}).code, 0);
    EXPECT_EQ(Content(), "\n[S]\n;c\nx = 1\n\n[T]\ny = 1\n");
    EXPECT_EQ(Call({"config", "unset", "--dry-run", file, "T"}).out, "@@ -5,3 +4,0 @@\n-\n-[T]\n-y = 1\n");
    EXPECT_EQ(Call({"config", "unset", file, "T"}).code, 0);
    EXPECT_EQ(Content(), "\n[S]\n;c\nx = 1\n");
}

TEST_F(SettingsTool, WhatWouldNotReadBackIsRefused)
{
    struct Row {
        std::string section, key, value;
    };
    const Row rows[] = {
        {"S", "bad-key", "v"},  {"S", "", "v"}, {"S", "k = 1\nx", "v"}, {"S", "new", " v"},   {"S", "new", "v\t"},
        {"S", "k", "a\rx = b"}, {"", "k", "v"}, {"a]\n[S", "k", "v"},   {"S", "k", "a\n\nb"}, {"S", ";k", "v"},
    };
    const std::string before = "[S]\nk = 1\n";
    const std::string file = Make(before);
    for (const Row& row : rows) {
        const Outcome outcome = Call({"config", "set", file, row.section, row.key, row.value});
        EXPECT_EQ(outcome.code, 1) << testing::PrintToString(row.key + "=" + row.value);
        EXPECT_NE(outcome.err, "");
        EXPECT_EQ(Content(), before);
    }
    EXPECT_EQ(Call({"config", "set", file, "S", "k", "a\n[x]"}).code, 0);
    EXPECT_EQ(Call({"config", "get", file, "S", "k"}).out, "a\n[x]\n");
}

TEST_F(SettingsTool, AFileThatIsInvalidOrReadOnlyStaysAsItIs)
{
    const std::string file = Make("no settings\n");
    EXPECT_EQ(Call({"config", "set", file, "S", "k", "v"}).code, 1);
    EXPECT_EQ(Content(), "no settings\n");
    Make("[S]\n");
    fs::permissions(file, fs::perms::owner_read);
    EXPECT_EQ(Call({"config", "set", file, "S", "k", "v"}).code, 1);
    EXPECT_EQ(Call({"strings", "add", file, "s"}).code, 1);
    EXPECT_EQ(Content(), "[S]\n");
    fs::permissions(file, fs::perms::owner_all);
}

TEST_F(SettingsTool, DifferencesAreShownByPlaces)
{
    std::string before;
    std::string after = "\n[S]\n";
    for (int i = 0; i < 300; ++i) {
        const std::string key = "k" + std::to_string(i) + " = ";
        before += (i == 0 ? "[S]\n\n" : "") + key + "1\n";
        after += key + (i == 200 ? "2\n" : "1\n");
    }
    const std::string file = Make(before);
    EXPECT_EQ(Call({"config", "set", "--dry-run", file, "S", "k200", "2"}).out,
              "@@ -1,1 +0,0 @@\n-[S]\n@@ -2,0 +2,1 @@\n+[S]\n@@ -203,1 +203,1 @@\n-k200 = 1\n+k200 = 2\n");
    EXPECT_EQ(Call({"config", "set", file, "S", "k200", "2"}).code, 0);
    EXPECT_EQ(Content(), after);
}

TEST_F(SettingsTool, StringsAreASetInAFile)
{
    const std::string file = File();
    m_files = 1;
    EXPECT_EQ(Call({"strings", "add", file, "b", "a", "b", "\x1B"}).code, 0);
    EXPECT_EQ(Content(), "\x1B\r\na\r\nb\r\n");
    EXPECT_EQ(Call({"strings", "list", file}).out, "\\x1B\na\nb\n");
    EXPECT_EQ(Call({"strings", "remove", file, "\x1B", "none", "b"}).code, 1);
    EXPECT_EQ(Content(), "a\r\n");
    const std::string other = Make("c\nb", "other");
    EXPECT_EQ(Call({"strings", "union", file, other, other}).code, 0);
    EXPECT_EQ(Content(), "a\r\nb\r\nc\r\n");
    EXPECT_EQ(Call({"strings", "minus", file, other}).code, 0);
    EXPECT_EQ(Content(), "a\r\n");
    EXPECT_EQ(Call({"strings", "minus", file, file}).code, 0);
    EXPECT_EQ(Content(), "");
    EXPECT_EQ(Content("other"), "c\nb");
    for (const std::string bad : {"", "a\rb", "a\n"})
        EXPECT_EQ(Call({"strings", "add", file, bad}).code, 1);
    EXPECT_EQ(Content(), "");
}

} // namespace
