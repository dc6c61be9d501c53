// Walks through directory trees.
#include <algorithm>
#include <stdexcept>

#include "FileSystem.h"

namespace
{

using KivFile::DirectoryWalker;
using Path = KivFile::PathT<char>;
using Names = std::vector<std::string>;

class Walker : public FileSystem<char>
{
protected:
    Walker()
    {
        Directory("t\\sub\\deep");
        Directory("t\\twig.txt");
        for (const char* name : {"t\\1.txt", "t\\2.doc", "t\\sub\\3.txt", "t\\sub\\deep\\4.txt", "t\\twig.txt\\5.txt"})
            File(name);
    }

    // The names that a walk of the tree hands to the first of several handlers, one for each answer.
    Names Walk(const std::string& filter, bool recursive, const std::string& resumeAfter = "",
               const std::vector<Recorder::Answer>& answers = {Recorder::Yes}) const
    {
        DirectoryWalker walker;
        std::vector<Kiv::SmartPtr<Recorder>> recorders;
        for (const Recorder::Answer& answer : answers) {
            recorders.push_back(Kiv::MakeShared<Recorder>(answer));
            walker.AddHandler(recorders.back());
        }
        walker.Walk(At("t"), filter, recursive, resumeAfter);
        return recorders.front()->names;
    }

    Names WalkWith(const std::vector<Recorder::Answer>& answers) const { return Walk("*.*", true, "", answers); }
};

TEST_F(Walker, FilesComeBeforeSubDirectoriesAndEachOfThoseWithAllBelowIt)
{
    const Names names = Walk(DirectoryWalker::DEFAULT_PATH_FILTER, true);
    ASSERT_EQ(names.size(), 5u);
    EXPECT_EQ(std::set(names.begin(), names.begin() + 2), (std::set<std::string>{"1.txt", "2.doc"}));
    EXPECT_EQ(std::find(names.begin(), names.end() - 1, "3.txt")[1], "4.txt");
}

TEST_F(Walker, TheFilterIsForFilesAndNotForDirectories)
{
    EXPECT_EQ(Walk("*.doc", true), (Names{"2.doc"}));
    EXPECT_EQ(Walk("*.txt", false), (Names{"1.txt"}));
    EXPECT_EQ(Walk("4*", true), (Names{"4.txt"}));
    EXPECT_EQ(Walk("*", false).size(), 2u);
}

TEST_F(Walker, ResumesAtTheFileNamedWhateverItsLetterCaseAndForm)
{
    std::vector<std::string> paths;
    const Names all = WalkWith({[&](const Path& file) { return paths.push_back(file.FullPath()), true; }});
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::string below = paths[i].substr(In("t").size());
        EXPECT_EQ(Walk("*.*", true, Kiv::ToUpper(m_folder / ".\\t\\..\\t" + below)),
                  Names(all.begin() + static_cast<std::ptrdiff_t>(i), all.end()));
    }
    EXPECT_EQ(Walk("*.*", true, m_folder / "t\\none"), Names{});
}

TEST_F(Walker, TheLastHandlersAnswerDecidesAndWhatOneThrowsLeavesTheWalk)
{
    const auto no = [](const Path&) { return false; };
    EXPECT_EQ(WalkWith({no, Recorder::Yes}).size(), 5u);
    EXPECT_EQ(WalkWith({Recorder::Yes, no}).size(), 1u);
    EXPECT_THROW(WalkWith({[](const Path&) -> bool { throw std::runtime_error("enough"); }}), std::runtime_error);
}

TEST_F(Walker, OnceStoppedItHandlesNothing)
{
    DirectoryWalker walker;
    const auto recorder = Kiv::MakeShared<Recorder>();
    walker.AddHandler(recorder);
    walker.AddHandler(recorder);
    walker.Walk(At("t"), "1.txt", false, "");
    EXPECT_EQ(recorder->names, (Names{"1.txt", "1.txt"}));
    walker.Walk(At("t"), "*.*", false, At("t\\nowhere").FullPath());
    EXPECT_EQ(recorder->names.size(), 6u) << "started once, it does not wait again";
    walker.Walk(At("missing"), "*.*", true, "");
    walker.Walk(At("t\\1.txt"), "*.*", true, "");
    walker.Stop();
    EXPECT_TRUE(walker.HasBeenStopped());
    walker.Walk(At("t"), "*.*", true, "");
    EXPECT_EQ(recorder->names.size(), 6u);
}

TEST_F(Walker, SubDirectoriesAreListedAfterTheFilesHaveBeenHandled)
{
    const auto replaceSub = [&](const Path& file) {
        if (file.FileName() == "2.doc") {
            At("t\\sub").RecursiveDelete(false);
            Directory("t\\twig.txt\\late");
            File("t\\twig.txt\\late\\7.doc");
        }
        return true;
    };
    const Names names = WalkWith({replaceSub});
    EXPECT_EQ(std::count(names.begin(), names.end(), "3.txt"), 0);
    EXPECT_EQ(std::count(names.begin(), names.end(), "7.doc"), 1);
    EXPECT_EQ(Walk("*.doc", true, "", {replaceSub}), (Names{"2.doc", "7.doc"}));
}

} // namespace
