// The walk, rm and path commands.
#include "Tool.h"

namespace
{

using Path = KivFile::PathT<char>;

class WalkTool : public Tool
{
protected:
    WalkTool()
    {
        fs::create_directory(User("sub"));
        for (const char* name : {"1.txt", "sub\\2.txt", "sub\\3.doc"})
            Write(name, "four");
    }

    // The lines that a walk with these options prints.
    Arguments Walk(const Arguments& options) const
    {
        Arguments call = {"walk", User(".")};
        call.insert(call.end(), options.begin(), options.end());
        return Lines(Call(call).out);
    }
};

TEST_F(WalkTool, WalkPrintsFilesInOrderAndGoesOnWhereItIsTold)
{
    const Arguments all = Walk({"--recursive"});
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0], User("1.txt"));
    EXPECT_EQ(Walk({}), Arguments{User("1.txt")});
    EXPECT_EQ(Walk({"--recursive", "--filter", "*.doc"}), Arguments{User("sub\\3.doc")});
    EXPECT_EQ(Walk({"--recursive", "--resume-after", all[1]}), Arguments(all.begin() + 1, all.end()));
    const Json object = Json::parse(Walk({"--json"}).at(0));
    EXPECT_EQ(object["file"], User("1.txt"));
    EXPECT_EQ(object["size"], 4);
    EXPECT_GT(object["date"], "2020");
}

TEST_F(WalkTool, RmDeletesTreesAndSaysWhatStays)
{
    Path(m_folder / "1.txt").SetAttribute(Path::ATTRIBUTE_READ_ONLY, true);
    const Outcome outcome = Call({"rm", User("1.txt"), User("sub")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("1.txt: is read-only"), std::string::npos) << outcome.err;
    EXPECT_EQ(Walk({"--recursive"}), Arguments{User("1.txt")});
    EXPECT_EQ(Call({"rm", "--force", User("1.txt")}).code, 0);
    EXPECT_EQ(Entries(), 0);
}

TEST_F(WalkTool, PathShowsWhatATextIs)
{
    const Outcome outcome = Call({"path", "--json", "Q:/a/./b//c.tar.gz", "//srv/sh/x", User("1.txt")});
    const std::vector<std::string> lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), 3u) << outcome.err;
    EXPECT_EQ(Json::parse(lines[0]),
              Json::parse(R"({"text":"Q:/a/./b//c.tar.gz","path":"Q:\\a\\b\\c.tar.gz","drive":"Q:","root":"Q:\\",
                              "directory":"Q:\\a\\b\\","name":"c.tar.gz","extension":"gz","uri":"file://Q:/a/b/c.tar.gz",
                              "server":null,"unc":null,"exists":false})"));
    EXPECT_EQ(Json::parse(lines[1])["server"], "srv");
    const Json file = Json::parse(lines[2]);
    EXPECT_EQ(file["exists"], true);
    EXPECT_EQ(file["size"], 4);
    EXPECT_EQ(file["attributes"], Json::array());
    const std::vector<std::string> text = Lines(Call({"path", m_folder / "sub"}).out);
    EXPECT_EQ(text.at(1), "path        " + Path(m_folder / "sub").FullPath());
    EXPECT_EQ(text.at(11), "attributes  directory");
}

} // namespace
