#include <KivFile/CFile.h>

#include "TemporaryDirectory.h"

namespace
{

using File = KivFile::CFileT<unsigned int>;
using Buffer = Kiv::BinaryStreamBufT<unsigned int>;
using Mode = File::OpenMode;

class FileTest : public testing::Test
{
protected:
    TemporaryDirectory m_directory;
};

template <class Exception>
std::string FailureOfOpen(const std::string& path, Mode mode)
{
    return FailureOf<Exception>([&] { File(path).Open(mode); });
}

TEST_F(FileTest, FailedOpenThrowsTheClassOfItsCause)
{
    const std::string reading = "An error occurred while opening the read-only";
    const std::string writing = "An error occurred while opening the write-only";
    const std::string path = m_directory.Make("x");
    {
        File holder(path);
        holder.Open(Mode::ReadWrite);
        EXPECT_EQ(FailureOfOpen<KivFile::SharingViolationException>(path, Mode::Read), reading);
        EXPECT_EQ(FailureOfOpen<KivFile::SharingViolationException>(path, Mode::Truncate), writing);
    }
    EXPECT_EQ(m_directory.Content(), "x") << "whoever is refused must not truncate";
    EXPECT_EQ(File(path).Open(Mode::Truncate), 0u);
    EXPECT_EQ(FailureOfOpen<KivFile::FileCannotOpenException>(m_directory.File("none"), Mode::Read), reading);
    EXPECT_EQ(FailureOfOpen<KivFile::FileAccessDeniedException>(m_directory.Path(), Mode::ReadWrite), writing);
}

TEST_F(FileTest, OpenClosesTheOldHandleFirstAndKeepsItForAnUnknownMode)
{
    File file(m_directory.Make("12345"));
    EXPECT_EQ(file.Open(Mode::ReadWrite), 5u);
    EXPECT_EQ(file.Open(Mode::Read), 5u);
    EXPECT_THROW(file.Write("x", 1, 1), KivFile::WriteErrorException);
    file.Flush();
    file.Seek(3);
    EXPECT_EQ(file.Open(static_cast<Mode>(7)), 5u);
    EXPECT_EQ(file.Tell(), 0u);

    File reader(m_directory.File(), File::Sequential);
    char bytes[9];
    EXPECT_EQ(reader.Open(Mode::Read) + reader.Read(bytes, 1, 9, false), 10u);
    reader.Seek(2);
    EXPECT_THROW(reader.Read(bytes, 2, 2, true), KivFile::FileException);
    reader.Close();
    EXPECT_THROW(reader.Open(static_cast<Mode>(7)), KivFile::FileCannotOpenException);
}

TEST_F(FileTest, SeekChecksItsRangeBeforeTheSystemDoes)
{
    File file(m_directory.Make("12345"));
    file.Open(Mode::Read);
    file.Seek(3);
    EXPECT_THROW(file.Seek(0, File::FromBegin, Buffer::Backward), KivFile::SeekOutOfRangeException);
    EXPECT_THROW(file.Seek(4, File::FromCurrent, Buffer::Backward), KivFile::SeekOutOfRangeException);
    EXPECT_THROW(file.Seek(6, File::FromEnd, Buffer::Backward), KivFile::SeekOutOfRangeException);
    EXPECT_THROW(file.Seek(0xFFFFFFFF, File::FromEnd), KivFile::SeekOutOfRangeException);
    EXPECT_EQ(file.Tell(), 3u);
    EXPECT_EQ(file.Seek(2, File::FromCurrent, Buffer::Backward), 1u);
    EXPECT_EQ(file.Seek(5, File::FromEnd, Buffer::Backward), 0u);
    EXPECT_EQ(file.Seek(7, File::FromCurrent), 7u);
    EXPECT_EQ(file.Size(), 7u);
}

TEST_F(FileTest, PositionsBeyond32BitsAreFailures)
{
    File file(m_directory.File(), File::Normal, true, true);
    file.Open(Mode::Truncate);
    file.Seek(2);
    EXPECT_THROW(file.Seek(0xFFFFFFFF, File::FromCurrent, Buffer::Forward), KivFile::FileException);
    EXPECT_EQ(file.Tell() * 10 + file.Size(), 12u);
    file.Seek(0xFFFFFFFE);
    EXPECT_EQ(file.Write("x", 1, 1), 1u);
    EXPECT_THROW(file.Write("x", 1, 1), KivFile::WriteErrorException);
    EXPECT_THROW(file.Write("x", 0x10000, 0x10000), KivFile::WriteErrorException);
}

TEST_F(FileTest, LengthFollowsResizeAndExtend)
{
    File file(m_directory.Make("12345"), File::Normal, false);
    const auto length = [this] { return std::filesystem::file_size(m_directory.File()); };
    file.Open(Mode::ReadWrite);
    file.Resize(3, false);
    file.Seek(1);
    file.Extend(4);
    EXPECT_EQ(file.Tell() + file.Size(), 14u);
    EXPECT_THROW(file.Extend(0xFFFFFFFF), KivFile::SeekOutOfRangeException);

    // A seek behind the end raises the object's idea of the size; only force makes the file agree.
    file.Seek(9);
    file.Resize(9, false);
    EXPECT_EQ(length(), 7u);
    file.Resize(9, true);
    EXPECT_EQ(length(), 9u);
    file.Close();
    char byte;
    EXPECT_THROW(file.Read(&byte, 1, 1, false), KivFile::FileException);
    EXPECT_THROW(file.Resize(1, false), KivFile::FileException);
    file.Delete();
    EXPECT_EQ(m_directory.EntryName(), "");
    EXPECT_NO_THROW(file.Delete());
}

} // namespace
