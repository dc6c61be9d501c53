#include <KivFile/DiskBuffer.h>
#include <platform/Platform.h>

#include "TemporaryDirectory.h"

namespace
{

using KivFile::DiskBuffer;

class SpillFileTest : public testing::Test
{
protected:
    // The number in the spill file's name; 0 when there is none of the name that it must have.
    int Number() const
    {
        const std::string name = m_directory.EntryName();
        const std::string start = "KivDiskBuffer-" + std::to_string(KivSys::GetCurrentProcessId()) + "-";
        return name.starts_with(start) && name.ends_with(".tmp") ? std::stoi(name.substr(start.size())) : 0;
    }

    std::uintmax_t Length() const { return std::filesystem::file_size(m_directory.File(m_directory.EntryName())); }

    TemporaryDirectory m_directory;
};

TEST_F(SpillFileTest, IsMadeWhenAPositionLeavesTheWindowAndNumberedAnew)
{
    DiskBuffer buffer(m_directory.Path(), 16, 16);
    buffer.Write("fifteen letters", 15);
    EXPECT_EQ(m_directory.EntryName(), "");
    buffer.Write("x", 1);
    EXPECT_EQ(ContentOf(buffer), "fifteen lettersx");
    EXPECT_EQ(m_directory.EntryName(), "") << "the content just fills the window";
    buffer.Write("y", 1);
    const int number = Number();
    EXPECT_GT(number, 0);
    buffer.Clear();
    buffer.Write("fifteen letters", 15);
    EXPECT_EQ(m_directory.EntryName(), "");
    DiskBuffer("", 16, 0).Write("another buffer's", 1);
    buffer.Write("more than sixteen letters", 25);
    EXPECT_EQ(Number(), number + 2);
    buffer.ClearMemory();
    EXPECT_EQ(m_directory.EntryName(), "");
}

TEST_F(SpillFileTest, FlushLeavesADirtyWindowInMemory)
{
    DiskBuffer buffer(m_directory.Path(), 16, 16);
    buffer.Write("0123456789abcdefgh", 18);
    buffer.Write("ijk", 3);
    buffer.Flush();
    EXPECT_EQ(Length(), 18u);
    EXPECT_EQ(ContentOf(buffer), "0123456789abcdefghijk");
}

TEST_F(SpillFileTest, ClearEndForgetsAWindowThatLiesBehindTheNewSize)
{
    DiskBuffer buffer(m_directory.Path(), 16, 16);
    buffer.Write(std::string(100, 'a').data(), 100);
    buffer.Write("dirty", 5); // the window begins at 100
    buffer.SeekG(50);
    buffer.SeekP(10);
    buffer.ClearEnd();
    EXPECT_EQ(buffer.TellG(), 10u);
    // Were the window still dirty, moving it would write behind the end.
    buffer.SeekP(0);
    buffer.Write("b", 1);
    EXPECT_EQ(Length(), 10u);
    EXPECT_EQ(ContentOf(buffer), "baaaaaaaaa");
}

TEST_F(SpillFileTest, ContentOutlivesAFileThatCannotBeMade)
{
    DiskBuffer buffer(m_directory.File("missing"), 16, 4);
    buffer.Write("abcd", 4);
    EXPECT_THROW(buffer.Write("e", 1), KivFile::FileCannotOpenException);
    EXPECT_EQ(buffer.Size(), 4u);
    std::filesystem::create_directory(m_directory.File("missing"));
    buffer.Write("e", 1);
    EXPECT_EQ(ContentOf(buffer), "abcde");
}

} // namespace
