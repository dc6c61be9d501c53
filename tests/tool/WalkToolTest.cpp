// The walk, rm and path commands, called as the program calls them.
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <KivFile/Path.h>
#include <platform/Folder.h>

#include "tools/kivfile/Commands.h"

namespace
{

using Json = nlohmann::json;
using Path = KivFile::PathT<char>;
using Lines = std::vector<std::string>;

struct Outcome {
    int code;
    Lines out;
    std::string err;
};

Outcome Call(const std::vector<std::string>& arguments)
{
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int code = KivTool::Run(arguments, {in, out, err, false});
    Outcome outcome{code, {}, err.str()};
    std::istringstream lines(out.str());
    for (std::string line; std::getline(lines, line);)
        outcome.out.push_back(line);
    return outcome;
}

class WalkTool : public testing::Test
{
protected:
    WalkTool()
    {
        Path(m_folder / "sub").CreateDir();
        for (const char* name : {"1.txt", "sub\\2.txt", "sub\\3.doc"})
            WriteText(m_folder / name, "four");
    }

    // The name as a user writes it.
    std::string User(const std::string& name) const { return KivSys::PathForUser(Path(m_folder / name).FullPath()); }

    Folder m_folder;
};

TEST_F(WalkTool, WalkPrintsFilesInOrderAndGoesOnWhereItIsTold)
{
    const Outcome all = Call({"walk", "--recursive", User(".")});
    EXPECT_EQ(all.code, 0) << all.err;
    ASSERT_EQ(all.out.size(), 3u);
    EXPECT_EQ(all.out[0], User("1.txt"));
    EXPECT_EQ(Call({"walk", User(".")}).out, Lines{User("1.txt")});
    EXPECT_EQ(Call({"walk", "--recursive", "--filter", "*.doc", User(".")}).out, Lines{User("sub\\3.doc")});
    for (std::size_t i = 0; i < all.out.size(); ++i)
        EXPECT_EQ(Call({"walk", "--recursive", "--resume-after", all.out[i], User(".")}).out,
                  Lines(all.out.begin() + static_cast<std::ptrdiff_t>(i), all.out.end()));
    const Json object = Json::parse(Call({"walk", "--json", User(".")}).out.at(0));
    EXPECT_EQ(object["file"], User("1.txt"));
    EXPECT_EQ(object["size"], 4);
    EXPECT_GT(object["date"], "2020");
}

TEST_F(WalkTool, WhatIsNotThereIsAFailure)
{
    const std::vector<std::vector<std::string>> calls = {
        {"walk", User("missing")},
        {"walk", User("1.txt")},
        {"walk", ""},
        {"walk", "--resume-after", User("none"), User(".")},
        {"rm", User("missing")},
        {"rm", "--force", User("missing")},
        {"rm", ""},
        {"rm", "."},
        {"rm", "./"},
        {"rm", ".."},
    };
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(User("sub")); // all that can be lost
    for (const auto& call : calls) {
        const Outcome outcome = Call(call);
        EXPECT_EQ(outcome.code, 1) << testing::PrintToString(call);
        EXPECT_TRUE(outcome.out.empty());
        EXPECT_TRUE(outcome.err.starts_with("kivfile: ")) << outcome.err;
    }
    std::filesystem::current_path(before);
    EXPECT_TRUE(Path(m_folder / "sub\\3.doc").Exists());
    for (const char* command : {"walk", "rm", "path"})
        EXPECT_EQ(Call({command}).code, 2) << command;
}

TEST_F(WalkTool, RmDeletesTreesAndSaysWhatStays)
{
    Path kept(m_folder / "1.txt");
    kept.SetAttribute(Path::ATTRIBUTE_READ_ONLY, true);
    const Outcome outcome = Call({"rm", User("1.txt"), User("sub")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("1.txt: is read-only"), std::string::npos) << outcome.err;
    EXPECT_FALSE(Path(m_folder / "sub").Exists());
    EXPECT_EQ(Call({"rm", "--force", User("1.txt")}).code, 0);
    EXPECT_FALSE(Path(m_folder / "1.txt").Exists());
}

TEST_F(WalkTool, PathShowsWhatATextIs)
{
    const Outcome outcome = Call({"path", "--json", "Q:/a/./b//c.tar.gz", "//srv/sh/x", m_folder / "1.txt"});
    ASSERT_EQ(outcome.out.size(), 3u) << outcome.err;
    EXPECT_EQ(Json::parse(outcome.out[0]),
              Json::parse(R"({"text":"Q:/a/./b//c.tar.gz","path":"Q:\\a\\b\\c.tar.gz","drive":"Q:","root":"Q:\\",
                              "directory":"Q:\\a\\b\\","name":"c.tar.gz","extension":"gz","uri":"file://Q:/a/b/c.tar.gz",
                              "server":null,"unc":null,"exists":false})"));
    EXPECT_EQ(Json::parse(outcome.out[1])["server"], "srv");
    const Json file = Json::parse(outcome.out[2]);
    EXPECT_EQ(file["exists"], true);
    EXPECT_EQ(file["size"], 4);
    EXPECT_EQ(file["attributes"], Json::array());
    const Outcome text = Call({"path", m_folder / "sub"});
    EXPECT_EQ(text.out.at(1), "path        " + Path(m_folder / "sub").FullPath());
    EXPECT_EQ(text.out.at(11), "attributes  directory");
}

} // namespace
