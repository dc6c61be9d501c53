// The config and strings commands.
#include <KivBase/WString.h>

#include "Tool.h"

namespace
{

// Every edit leaves the files "file" and "other" and no work file beside them.
class SettingsTool : public Tool
{
protected:
    ~SettingsTool() override
    {
        EXPECT_EQ(Entries(), (fs::exists(m_file) ? 1 : 0) + (fs::exists(User("other")) ? 1 : 0));
    }

    void Make(const std::string& content) const { Write("file", content); }
    std::string Content() const { return Tool::Content("file"); }

    const std::string m_file = User("file");
};

TEST_F(SettingsTool, GetPrintsEveryLineOfAValue)
{
    Make("[S]\npath = a\tb\npath = \x1B[2J\n");
    EXPECT_EQ(Call({"config", "get", m_file, "s", "PATH"}).out, "a\tb\n\\x1B[2J\n");
    const Outcome outcome = Call({"config", "get", "-", "S", "k"}, "[S]\nk=v\n");
    EXPECT_EQ(outcome.out, "v\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST_F(SettingsTool, ListPrintsTextOrJson)
{
    Make("[b]\nz = 1\nz = 2\na =\n[A]\n");
    EXPECT_EQ(Call({"config", "list", m_file}).out, "[A]\n[b]\na = \nz = 1\nz = 2\n");
    EXPECT_EQ(Call({"config", "list", m_file, "a"}).out, "[A]\n");
    const Json json = Json::parse(Call({"config", "list", "--json", m_file}).out);
    EXPECT_EQ(json["file"], m_file);
    EXPECT_EQ(json["sections"].dump(), R"([{"keys":[],"name":"A"},)"
                                       R"({"keys":[{"name":"a","value":""},{"name":"z","value":"1\n2"}],"name":"b"}])");
}

TEST_F(SettingsTool, AChangeKeepsMarkAndLineEnds)
{
    const std::string native = KivSys::TextLineEnd();
    const struct {
        std::string before;
        std::string after;
    } rows[] = {
        {"\n[S]\n;c\nk=1\n\n[T]\nx = 1\n", "\n[S]\n;c\nk= new\n\n[T]\nx = 1\n"},
        {"\r\n[S]\r\nk = 1\r\n", "\r\n[S]\r\nk = new\r\n"},
        {"\r[S]\rk = 1\r", "\r[S]\rk = new\r"},
        {"\n[S]\r\nk = 1\n", native + "[S]" + native + "k = new" + native},
        {"\xEF\xBB\xBF[S]\r\nk = 1\r\n", "\xEF\xBB\xBF\r\n[S]\r\nk = new\r\n"},
        {"", native + "[S]" + native + "k = new" + native},
        {"[S]\n\n k=new\n", "[S]\n\n k=new\n"}, // nothing to do
    };
    for (const auto& row : rows) {
        Make(row.before);
        EXPECT_EQ(Call({"config", "set", "--dry-run", m_file, "S", "k", "new"}).code, 0);
        EXPECT_EQ(Content(), row.before);
        EXPECT_EQ(Call({"config", "set", m_file, "S", "k", "new"}).code, 0);
        EXPECT_EQ(Content(), row.after);
        EXPECT_EQ(Call({"config", "get", m_file, "S", "k"}).out, "new\n");
    }
}

// Under a mark the text is UTF-8 whatever the system's code page.
TEST_F(SettingsTool, TextUnderAMarkIsUtf8)
{
    Make("\xEF\xBB\xBF\n[S]\nk = \xC3\xA4\n");
    EXPECT_EQ(Call({"config", "get", m_file, "S", "k"}).out, "\xC3\xA4\n");
    const std::string narrow = Kiv::NarrowFromWide(Kiv::Wide("\xC3\xBC"));
    EXPECT_EQ(Call({"config", "set", m_file, "S", "k2", narrow}).code, 0);
    EXPECT_EQ(Content(), "\xEF\xBB\xBF\n[S]\nk = \xC3\xA4\nk2 = \xC3\xBC\n");
}

TEST_F(SettingsTool, UnsetRemovesAKeyOrASectionAndShowsWhereBeforehand)
{
    Make("\n[S]\n;c\nk = 1\nk = 2\nx = 1\n\n[T]\ny = 1\n");
    EXPECT_EQ(Call({"config", "unset", m_file, "s", "K"}).code, 0);
    EXPECT_EQ(Content(), "\n[S]\n;c\nx = 1\n\n[T]\ny = 1\n");
    EXPECT_EQ(Call({"config", "unset", "--dry-run", m_file, "T"}).out, "@@ -5,3 +4,0 @@\n-\n-[T]\n-y = 1\n");
    EXPECT_EQ(Call({"config", "unset", m_file, "T"}).code, 0);
    EXPECT_EQ(Content(), "\n[S]\n;c\nx = 1\n");
    Make("[S]\n\na = 1\nb = 1\nc = 1\n");
    EXPECT_EQ(Call({"config", "set", "--dry-run", m_file, "S", "b", "2"}).out,
              "@@ -1,1 +0,0 @@\n-[S]\n@@ -2,0 +2,1 @@\n+[S]\n@@ -4,1 +4,1 @@\n-b = 1\n+b = 2\n");
}

TEST_F(SettingsTool, WhatWouldNotReadBackIsRefused)
{
    const struct {
        std::string section, key, value;
    } rows[] = {
        {"S", "bad-key", "v"},  {"S", "", "v"}, {"S", "k = 1\nx", "v"}, {"S", "new", " v"},   {"S", "new", "v\t"},
        {"S", "k", "a\rx = b"}, {"", "k", "v"}, {"a]\n[S", "k", "v"},   {"S", "k", "a\n\nb"}, {"S", ";k", "v"},
    };
    Make("[S]\nk = 1\n");
    for (const auto& row : rows) {
        const Outcome outcome = Call({"config", "set", m_file, row.section, row.key, row.value});
        EXPECT_EQ(outcome.code, 1) << testing::PrintToString(row.key + "=" + row.value);
        EXPECT_EQ(outcome.err, "kivfile: " + m_file + ": this setting cannot be written so that it reads back\n");
        EXPECT_EQ(Content(), "[S]\nk = 1\n");
    }
    EXPECT_EQ(Call({"config", "set", m_file, "S", "k", "a\n[x]"}).code, 0);
    EXPECT_EQ(Call({"config", "get", m_file, "S", "k"}).out, "a\n[x]\n");
}

TEST_F(SettingsTool, AFileThatIsInvalidOrReadOnlyStaysAsItIs)
{
    Make("no settings\n");
    for (const std::string key : {"k", "bad-key"}) {
        const Outcome outcome = Call({"config", "set", m_file, "S", key, "v"});
        EXPECT_NE(outcome.err.find("source is invalid"), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(Content(), "no settings\n");
    Make("[S]\n");
    fs::permissions(m_file, fs::perms::owner_read);
    EXPECT_EQ(Call({"config", "set", m_file, "S", "k", "v"}).code, 1);
    EXPECT_EQ(Call({"strings", "add", m_file, "s"}).code, 1);
    EXPECT_EQ(Content(), "[S]\n");
    fs::permissions(m_file, fs::perms::owner_all);
}

TEST_F(SettingsTool, StringsAreASetInAFile)
{
    const std::string other = Write("other", "c\nb");
    const struct {
        Arguments change;
        int code;
        std::string content;
    } rows[] = {
        {{"add", m_file, "b", "a", "b", "\x1B"}, 0, "\x1B\r\na\r\nb\r\n"},
        {{"remove", m_file, "\x1B", "none", "b"}, 1, "a\r\n"},
        {{"union", m_file, other, other}, 0, "a\r\nb\r\nc\r\n"},
        {{"minus", m_file, other}, 0, "a\r\n"},
        {{"add", m_file, "\x1B"}, 0, "\x1B\r\na\r\n"},
        {{"add", m_file, ""}, 1, "\x1B\r\na\r\n"},
        {{"add", m_file, "a\rb"}, 1, "\x1B\r\na\r\n"},
    };
    for (const auto& row : rows) {
        Arguments call = row.change;
        call.insert(call.begin(), "strings");
        EXPECT_EQ(Call(call).code, row.code) << testing::PrintToString(call);
        EXPECT_EQ(Content(), row.content);
    }
    EXPECT_EQ(Call({"strings", "list", m_file}).out, "\\x1B\na\n");
    EXPECT_EQ(Call({"strings", "minus", m_file, m_file}).code, 0);
    EXPECT_EQ(Content(), "");
    EXPECT_EQ(Tool::Content("other"), "c\nb");
}

// The mark belongs to the file, not to its first string.
TEST_F(SettingsTool, StringsAreReadBehindAMarkAndFromStandardInput)
{
    const std::string mark = "\xEF\xBB\xBF";
    Make(mark + "b\r\n");
    EXPECT_EQ(Call({"strings", "union", m_file, "-"}, mark + "a\n\nc").err, "");
    EXPECT_EQ(Content(), mark + "a\r\nb\r\nc\r\n");
    EXPECT_EQ(Call({"strings", "list", "-"}, Content()).out, "a\nb\nc\n");
    EXPECT_EQ(Call({"strings", "minus", m_file, m_file}).err, "");
    EXPECT_EQ(Content(), mark);
}

TEST_F(SettingsTool, StringsWithAZeroByteAreNoText)
{
    const std::string content("a\0b\n", 4);
    Make(content);
    const Arguments calls[] = {{"list", m_file}, {"add", m_file, "c"}, {"union", User("other"), m_file}};
    Write("other", "x\n");
    for (Arguments call : calls) {
        call.insert(call.begin(), "strings");
        const Outcome outcome = Call(call);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_NE(outcome.err.find("zero byte"), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(Content() + Tool::Content("other"), content + "x\n");
}

} // namespace
