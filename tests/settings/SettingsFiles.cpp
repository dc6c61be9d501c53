// Settings files, read and edited in place.
#include <functional>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include <KivFile/CFile.h>
#include <KivFile/ConfigFile.h>
#include <KivFile/MemoryBuffer.h>
#include <platform/Platform.h>

#include "buffers/TemporaryDirectory.h"
#include "platform/Folder.h"

namespace
{

using namespace Kiv::Literals;
using Kiv::Config;
using Kiv::WString;
using KivFile::ConfigFile;

// Text with the line ends that the platform's files have.
std::string Native(const std::string& text)
{
    std::string result;
    for (const char c : text)
        result += c == '\n' ? KivSys::TextLineEnd() : std::string(1, c);
    return result;
}

std::string ValueOf(const Config& config, const WString& section, const WString& key)
{
    const WString* value = config.Get(section, key);
    return value ? Kiv::Utf8(*value) : "(none)";
}

// Expects an exception of exactly this class whose text begins like this.
template <class Exception>
void ExpectFailure(const std::function<void()>& action, const std::string& text)
{
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        EXPECT_TRUE(Kiv::Utf8(exception.What()).starts_with(text)) << Kiv::Utf8(exception.What());
    }
}

void ExpectInvalid(const std::function<void()>& action)
{
    ExpectFailure<Config::InvalidConfigException>(action, "The configuration source is invalid.");
}

constexpr const char* NO_NAME = "\"\"";

void ExpectCannotOpen(const std::string& fileName, const std::function<void()>& action)
{
    ExpectFailure<Config::CannotOpenSourceException>(action, "It is impossible to open the configuration source " +
                                                                 fileName + ".");
}

TEST(SettingsFile, AMissingOneIsCreatedAndAnyLineEndAndRepeatedKeysAreRead)
{
    const TemporaryDirectory directory;
    EXPECT_TRUE(ConfigFile(directory.File(), nullptr).Data().empty());
    EXPECT_EQ(directory.EntryName() + directory.Content(), "file");
    const std::string brackets = std::string(1000, '[') + std::string(1000, ']');
    const ConfigFile config(directory.Make("; first\r\n\r[S]\rpath = a\n\n\nother=1\r\nPATH = b\n Path =\n[ s ]\n[" +
                                           brackets + "]\nk = " + std::string("\0v", 2)),
                            nullptr);
    EXPECT_EQ(config.Data().size(), 3u);
    EXPECT_EQ(ValueOf(config, Kiv::Wide(brackets), u"k"_w), std::string("\0v", 2));
    EXPECT_EQ(ValueOf(config, u"s"_w, u"path"_w), "a\nb\n");
    EXPECT_EQ(ValueOf(config, u"S"_w, u"OTHER"_w), "1");
    EXPECT_EQ(config.StoredData(), config.Data());
    EXPECT_TRUE(config.Data().contains(u" s "_w));
    EXPECT_FALSE(config.Data().at(u"S"_w).begin()->second.flag);
}

TEST(SettingsFile, WhatIsNoConfigurationIsRefused)
{
    const std::string contents[] = {
        "[Main]\n[MAIN]\n",
        Kiv::NarrowFromWide(u"[\u00C4]\n[\u00E4]\n"_w),
        "key = before any section\n",
        "[S]\nKey-Name = 1\n",
        "[S\nk = 1\n",
        "[S]\nk\n",
        "\xEF\xBB\xBF[S]\n",
        std::string("[\0S\0]\0\n\0", 8),
        std::string("[S]\n\0k = 1\n", 11),
        std::string(1000, '[') + "x" + std::string(999, ']') + "x\n",
    };
    for (const std::string& content : contents) {
        const TemporaryDirectory directory;
        const std::string file = directory.Make(content);
        ExpectInvalid([&] { const ConfigFile config(file, nullptr); });
        ConfigFile other;
        other.Set(u"S"_w, u"k"_w, u"v"_w);
        ExpectInvalid([&] { other.Save(file, false); });
        EXPECT_EQ(directory.Content(), content);
    }
}

// A key is given a value or removed; without a key, the section is.
struct Edit {
    WString section, key;
    std::optional<WString> value = {};

    void ApplyTo(Config& config) const
    {
        if (value)
            config.Set(section, key, *value);
        else
            EXPECT_TRUE(key.empty() ? config.RemoveSection(section) : config.Remove(section, key));
    }
};

constexpr bool MERGE = false;
constexpr bool NO_MERGE = true;

// Saves what was loaded and edited, into what the file holds by then when it was changed meanwhile.
void ExpectEdited(const char* what, const std::string& before, const std::vector<Edit>& edits, bool noMerge,
                  const std::string& after, const std::string& changed = "")
{
    const auto defaults = Kiv::MakeShared<Config>();
    defaults->Set(u"S"_w, u"Default"_w, u"d"_w);
    const TemporaryDirectory directory;
    ConfigFile config(directory.Make(before), defaults);
    for (const Edit& edit : edits)
        edit.ApplyTo(config);
    if (!changed.empty())
        directory.Make(changed);
    const Config::Table edited = config.Data();
    config.Save("", noMerge);
    EXPECT_EQ(directory.Content(), Native(after)) << what;
    EXPECT_EQ(config.Data(), edited) << what;
    EXPECT_EQ(config.StoredData(), edited) << what;
}

TEST(SettingsFile, AnEditKeepsTheRestOfTheText)
{
    ExpectEdited("comments and order stay, blank lines are set anew", ";1\r\n\r\n \t\n[S]\n;2\nz = 1 \n a=2\n[R]\n;3",
                 {}, MERGE, ";1\n \t\n\n[S]\n;2\nz = 1\n a= 2\n\n[R]\n;3\n");
    ExpectEdited("a changed value keeps the line's beginning", "[S]\n\tKey\t=old\n", {{u"s"_w, u"KEY"_w, u"new"_w}},
                 NO_MERGE, "\n[S]\n\tKey\t= new\n");
    ExpectEdited("all lines of a value go where its first one was", "[S]\npath = a\n;c\nPath = b\nx=1\n", {}, MERGE,
                 "\n[S]\npath = a\npath = b\n;c\nx= 1\n");
    ExpectEdited("an old line is given no empty piece", "[S]\nk = 1\n", {{u"S"_w, u"k"_w, u"\na\n\nb\n"_w}}, NO_MERGE,
                 "\n[S]\nk = a\nk = b\n");
    ExpectEdited("a new key keeps its empty pieces but the last", "[S]\n;end\n", {{u"S"_w, u"k"_w, u"\na\r\rb\n"_w}},
                 NO_MERGE, "\n[S]\n;end\nk = \nk = a\nk = \nk = b\n");
    ExpectEdited("an empty value is written under the stored name", "[S]\n  Key=\n", {{u"S"_w, u"new"_w, u""_w}},
                 NO_MERGE, "\n[S]\nKey = \nnew = \n");
    ExpectEdited("new keys are in order at the end of their section", "[S]\nm = 1\n[T]\n",
                 {{u"S"_w, u"b"_w, u"3"_w}, {u"S"_w, u"A"_w, u"2"_w}}, MERGE, "\n[S]\nm = 1\nA = 2\nb = 3\n\n[T]\n");
    ExpectEdited("new sections are in order at the end", "[m]\n", {{u"b"_w, u"k"_w, u"2"_w}, {u"A"_w, u"k"_w, u"1"_w}},
                 MERGE, "\n[m]\n\n[A]\nk = 1\n\n[b]\nk = 2\n");
    ExpectEdited("a merging save brings a removed key back", "[S]\nk = 1\n[T]\n", {{u"S"_w, u"k"_w}, {u"T"_w, u""_w}},
                 MERGE, "\n[S]\nk = 1\n\n[T]\n");
    ExpectEdited("without merging it is gone, and the comments stay", "[S]\nk = 1\n;1\nK = 2\n[T]\n;2\nx = 1\n",
                 {{u"S"_w, u"k"_w}, {u"T"_w, u""_w}}, NO_MERGE, "\n[S]\n;1\n;2\n");
    ExpectEdited("a value equal to its default is not written", "[s]\ndefault = d\n[T]\ndefault = d\n", {}, MERGE,
                 "\n[s]\n\n[T]\ndefault = d\n");
    ExpectEdited("a value that differs from its default in letter case is", "[S]\nk=1\n",
                 {{u"S"_w, u"DEFAULT"_w, u"D"_w}}, NO_MERGE, "\n[S]\nk= 1\nDEFAULT = D\n");
    ExpectEdited("what the grammar cannot hold is written as it is", "[S]\nk = 1\n",
                 {{u"S"_w, u"k"_w, u"a\rb"_w}, {u"S"_w, u"bad-key"_w, u" x "_w}}, NO_MERGE,
                 "\n[S]\nk = a\rb\nbad-key =  x \n");
    ExpectEdited("the object wins, and what only the file holds stays", "[S]\nboth = 1\n", {{u"S"_w, u"new"_w, u"1"_w}},
                 MERGE, "\n[s]\nmine = 2\nmine = 3\nBOTH = 1\nnew = 1\n\n[Theirs]\nx = 1\n",
                 "[s]\nmine = 2\nBOTH = 2\nmine = 3\n[Theirs]\nx = 1\n");
    ExpectEdited("without merging what is invalid is dropped", "[S]\nk = 1\n", {}, NO_MERGE,
                 ";1\n\n[S]\n;2\nk = 1\n;3\n", "k = 0\n;1\n[S]\nnonsense\n;2\nk = 0\n[T]\n;3\nx = 1\n[s]\nk = 0\n");
    // UTF-8 keeps broken text, every other code page of Windows has a character for each of these bytes.
    ExpectEdited("bytes that are no text stay", "[\xE9t\xE9]\n;\xFF\xC3\nk = \xE2\x82\n", {{u"new"_w, u"k"_w, u"1"_w}},
                 MERGE, "\n[\xE9t\xE9]\n;\xFF\xC3\nk = \xE2\x82\n\n[new]\nk = 1\n");
}

// A copy of the value for each repetition would take gigabytes.
TEST(SettingsFile, AMergingSaveJoinsAKeyThatIsRepeatedManyTimes)
{
    const TemporaryDirectory directory;
    std::string text = "[S]\n";
    for (int i = 0; i < 50'000; ++i)
        text += "k=a\n";
    const std::string file = directory.Make(Native(text));
    Config other;
    other.Set(u"S"_w, u"x"_w, u"y"_w);
    ConfigFile(other).Save(file, false);
    EXPECT_EQ(ValueOf(ConfigFile(file, nullptr), u"S"_w, u"k"_w).size(), 2u * 50'000 - 1);
}

TEST(SettingsFile, ALineThatCouldNotBeReadAgainIsNotWritten)
{
    const TemporaryDirectory directory;
    std::string words;
    for (int i = 0; i < 57398; ++i)
        words += "w ";
    const std::string text = Native("[S]\n k =" + words + "w\n");
    ConfigFile config(directory.Make(text), nullptr);
    ExpectInvalid([&] { config.Save("", false); });
    config.Set(u"S"_w, u"k"_w, Kiv::Wide(words + words));
    ExpectInvalid([&] { config.Save("", true); });
    EXPECT_EQ(directory.Content(), text);
    config.Set(u"S"_w, u"k"_w, WString(100'000, u'w'));
    config.Save("", true);
    EXPECT_EQ(ConfigFile(directory.File(), nullptr).Get(u"S"_w, u"k"_w)->size(), 100'000u);
}

TEST(SettingsFile, OnlyASaveToTheOwnFileChangesTheStoredCopy)
{
    const TemporaryDirectory directory;
    ConfigFile config(directory.Make("[S]\nk = 1\n"), nullptr);
    config.Set(u"S"_w, u"k"_w, u"2"_w);
    config.Save(directory.File("other"), false);
    EXPECT_NE(config.StoredData(), config.Data());
    EXPECT_EQ(directory.Content(), "[S]\nk = 1\n");
    EXPECT_EQ(ValueOf(ConfigFile(directory.File("other"), nullptr), u"S"_w, u"k"_w), "2");
    config.Save(directory.Path() + "/./file", true);
    EXPECT_EQ(config.StoredData(), config.Data());

    ConfigFile copy(static_cast<const Config&>(config));
    ExpectCannotOpen(NO_NAME, [&] { copy.Save("", true); });
    copy = config;
    copy.Set(u"S"_w, u"k"_w, u"3"_w);
    copy.Save("", true);
    EXPECT_EQ(directory.Content(), Native("\n[S]\nk = 3\n"));
    EXPECT_EQ(ValueOf(config, u"S"_w, u"k"_w), "2");
}

TEST(SettingsFile, WhatCannotBeOpenedIsNamedAndStaysAsItIs)
{
    const TemporaryDirectory directory;
    ConfigFile config;
    config.Set(u"S"_w, u"k"_w, u"1"_w);
    for (const std::string& name : {directory.Path(), directory.File("no/such")}) {
        ExpectCannotOpen(name, [&] { const ConfigFile c(name, nullptr); });
        ExpectCannotOpen(name, [&] { config.Save(name, false); });
    }

    const std::string file = directory.Make("[S]\nk = old\n");
    {
        KivFile::CFileT<unsigned int> owner(file);
        owner.Open(KivFile::CFileT<unsigned int>::OpenMode::ReadWrite);
        ExpectCannotOpen(file, [&] { const ConfigFile c(file, nullptr); });
        ExpectCannotOpen(file, [&] { config.Save(file, true); });
    }
    if (!IsWine()) { // which lets root write read-only files
        std::filesystem::permissions(file, std::filesystem::perms::owner_read);
        ExpectCannotOpen(file, [&] { config.Save(file, true); });
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    }
    EXPECT_EQ(directory.Content(), "[S]\nk = old\n");
}

TEST(SettingsFile, TextThatCannotBeEncodedLeavesTheFileAsItIs)
{
    if (KivSys::NarrowCodePage() == KivSys::CodePageUtf8)
        GTEST_SKIP() << "UTF-8 encodes everything";
    const TemporaryDirectory directory;
    ConfigFile config(directory.Make("[S]\nk = old\n"), nullptr);
    config.Set(u"S"_w, u"k"_w, u"\u0100\u3042\U0001F680"_w);
    ExpectInvalid([&] { config.Save("", false); });
    EXPECT_EQ(directory.Content(), "[S]\nk = old\n");
    ExpectInvalid([&] { config.Save(directory.File("new"), false); });
    EXPECT_FALSE(std::filesystem::exists(directory.File("new")));
}

TEST(SettingsBuffer, IsReadFromItsBeginningInItsCharacterSet)
{
    const std::pair<std::string, Kiv::CHARSET> rows[] = {
        {"[S]\r\nk = \xC3\xA4\n", Kiv::CHARSET::UTF8},
        {"[S]\r\nk = \xE4\n", Kiv::CHARSET::WINDOWS_1252},
        {std::string("[\0S\0]\0\n\0k\0=\0\xE4\0?", 15), Kiv::CHARSET::WIDE},
        {std::string("[\0S\0]\0\r\0k\0=\0\xE4\0", 14), Kiv::CHARSET::UTF16},
    };
    for (const auto& [bytes, charset] : rows) {
        KivFile::MemoryBuffer buffer(bytes.data(), static_cast<unsigned int>(bytes.size()));
        buffer.SeekG(4);
        ConfigFile config(buffer, charset);
        EXPECT_EQ(ValueOf(config, u"S"_w, u"k"_w), "\xC3\xA4") << static_cast<unsigned>(charset);
        EXPECT_TRUE(config.StoredData().empty());
        ExpectCannotOpen(NO_NAME, [&] { config.Save("", false); });
    }
    KivFile::MemoryBuffer buffer("[S]", 3);
    ExpectInvalid([&] { const ConfigFile config(buffer, static_cast<Kiv::CHARSET>(12)); });
}

} // namespace
