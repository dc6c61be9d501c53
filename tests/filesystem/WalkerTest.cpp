// Walks through directory trees.
#include <functional>
#include <stdexcept>

#include <KivFile/DirectoryWalker.h>

#include "FileSystem.h"

namespace
{

using KivFile::DirectoryWalker;
using Path = KivFile::PathT<char>;
using Names = std::vector<std::string>;

// Keeps the names of the files and answers as it is told.
class Recorder : public DirectoryWalker::Handler
{
public:
    using Answer = std::function<bool(const Path&)>;
    explicit Recorder(Answer answer = [](const Path&) { return true; }) : m_answer(std::move(answer)) {}

    bool HandleFile(const Path& file) override
    {
        names.push_back(file.FileName());
        return m_answer(file);
    }

    Names names;

private:
    Answer m_answer;
};

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

    Names Walk(const std::string& filter, bool recursive, const std::string& resumeAfter = "")
    {
        m_recorder->names.clear();
        m_walker = std::make_unique<DirectoryWalker>();
        m_walker->AddHandler(m_recorder);
        m_walker->Walk(At("t"), filter, recursive, resumeAfter);
        return m_recorder->names;
    }

    // A walk with a handler for each answer.
    Names WalkWith(const std::vector<Recorder::Answer>& answers)
    {
        DirectoryWalker walker;
        const auto first = Kiv::MakeShared<Recorder>(answers.front());
        walker.AddHandler(first);
        for (std::size_t i = 1; i < answers.size(); ++i)
            walker.AddHandler(Kiv::MakeShared<Recorder>(answers[i]));
        walker.Walk(At("t"), "*.*", true, "");
        return first->names;
    }

    const Kiv::SmartPtr<Recorder> m_recorder = Kiv::MakeShared<Recorder>();
    std::unique_ptr<DirectoryWalker> m_walker;
};

TEST_F(Walker, FilesComeBeforeSubDirectoriesAndEachOfThoseWithAllBelowIt)
{
    const Names names = Walk(DirectoryWalker::DEFAULT_PATH_FILTER, true);
    ASSERT_EQ(names.size(), 5u);
    const auto place = [&](const std::string& name) {
        return std::find(names.begin(), names.end(), name) - names.begin();
    };
    EXPECT_LT(std::max(place("1.txt"), place("2.doc")), 2);
    EXPECT_EQ(place("4.txt"), place("3.txt") + 1);
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
    const Names all = Walk("*.*", true);
    const std::string sub[] = {"t\\", "t\\sub\\", "t\\sub\\deep\\", "t\\twig.txt\\"};
    for (std::size_t i = 0; i < all.size(); ++i) {
        const auto directory =
            std::find_if(std::begin(sub), std::end(sub), [&](const std::string& s) { return At(s + all[i]).Exists(); });
        std::string resume = Kiv::ToUpper(m_folder / ".\\t\\..\\" + *directory + all[i]);
        EXPECT_EQ(Walk("*.*", true, resume), Names(all.begin() + static_cast<std::ptrdiff_t>(i), all.end())) << resume;
    }
    EXPECT_EQ(Walk("*.*", true, m_folder / "t\\none"), Names{});
}

TEST_F(Walker, TheLastHandlersAnswerDecides)
{
    const auto yes = [](const Path&) { return true; };
    const auto no = [](const Path&) { return false; };
    EXPECT_EQ(WalkWith({no, yes}).size(), 5u);
    EXPECT_EQ(WalkWith({yes, no}).size(), 1u);
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
    walker.Stop();
    EXPECT_TRUE(walker.HasBeenStopped());
    walker.Walk(At("t"), "*.*", true, "");
    EXPECT_EQ(recorder->names.size(), 6u);
}

TEST_F(Walker, SubDirectoriesThatAHandlerRemovesArePassedOver)
{
    const auto replaceSub = [&](const Path& file) {
        if (file.FileName() == "2.doc") {
            At("t\\sub").RecursiveDelete(false);
            Directory("t\\made");
            File("t\\made\\6.doc");
        }
        if (file.FileName() == "5.txt") {
            Directory("t\\twig.txt\\late");
            File("t\\twig.txt\\late\\7.txt");
        }
        return true;
    };
    const Names names = WalkWith({replaceSub});
    EXPECT_EQ(std::count(names.begin(), names.end(), "3.txt"), 0);
    EXPECT_EQ(std::count(names.begin(), names.end(), "5.txt"), 1);
    EXPECT_EQ(std::count(names.begin(), names.end(), "7.txt"), 1);
    At("t\\made").RecursiveDelete(false);

    DirectoryWalker walker;
    const auto recorder = Kiv::MakeShared<Recorder>(replaceSub);
    walker.AddHandler(recorder);
    walker.Walk(At("t"), "*.doc", true, "");
    EXPECT_EQ(recorder->names, (Names{"2.doc", "6.doc"})) << "a filter's sub-directories are listed afterwards";
}

TEST_F(Walker, AFileThatIsHandledTellsItsAttributes)
{
    File("t\\1.txt").SetAttribute(Path::ATTRIBUTE_HIDDEN, true);
    File("t\\2.doc", "7 bytes").SetAttribute(Path::ATTRIBUTE_READ_ONLY, true);
    const bool stored = At("t\\1.txt").IsHidden();
    WalkWith({[&](const Path& file) {
        EXPECT_EQ(file.IsHidden(), stored && file.FileName() == "1.txt") << *file;
        EXPECT_EQ(file.IsReadOnly(), file.FileName() == "2.doc") << *file;
        EXPECT_EQ(file.Size(), 7u);
        return true;
    }});
    At("t\\2.doc").SetAttribute(Path::ATTRIBUTE_READ_ONLY, false);
}

TEST_F(Walker, WhatAHandlerThrowsLeavesTheWalk)
{
    EXPECT_THROW(WalkWith({[](const Path&) -> bool { throw std::runtime_error("enough"); }}), std::runtime_error);
    Walk("*.*", true);
    m_walker->Walk(At("missing"), "*.*", true, "");
    m_walker->Walk(At("t\\1.txt"), "*.*", true, "");
    EXPECT_EQ(m_recorder->names.size(), 5u);
}

} // namespace
