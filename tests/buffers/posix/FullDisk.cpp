// Failures in the middle of the work, which only this system lets a test bring about.
#include <unistd.h>

#include <KivFile/CFileBuffer.h>
#include <KivFile/DiskBuffer.h>

#include "../TemporaryDirectory.h"
#include "tests/FileSizeLimit.h"

namespace
{

using File = KivFile::CFileT<unsigned int>;

TEST(FullDisk, AWriteThrowsAndStagedBytesStay)
{
    File file("/dev/full");
    file.Open(File::OpenMode::ReadWrite);
    KivFile::OCFileBufferT<unsigned int> out(&file, 16);
    out.Write("staged", 6);
    EXPECT_THROW(out.Flush(), KivFile::WriteErrorException);
    EXPECT_EQ(out.TellP(), 6u);
}

TEST(FullDisk, AFailedWriteOutIsResumedWhereItStopped)
{
    const TemporaryDirectory directory;
    File file(directory.File());
    file.Open(File::OpenMode::Truncate);
    KivFile::OCFileBufferT<unsigned int> out(&file, 16);
    out.Write("0123456789abcdef", 15);
    {
        const FileSizeLimit limit(6);
        EXPECT_THROW(out.Flush(), KivFile::WriteErrorException);
        EXPECT_EQ(out.TellP(), 15u);
        EXPECT_EQ(out.Size(), 15u);
        EXPECT_THROW(out.Write("XYZ", 3), KivFile::WriteErrorException);
    }
    out.Write("!", 1);
    out.Flush();
    EXPECT_EQ(directory.Content(), "0123456789abcdeX!");

    const FileSizeLimit limit(20);
    EXPECT_THROW(file.Resize(21, false), KivFile::FileException);
    EXPECT_EQ(file.Size(), 17u);
}

TEST(FullDisk, DiskBufferCountsWhatAFailedPutStored)
{
    for (const unsigned int cacheSize : {0u, 16u}) {
        const TemporaryDirectory directory;
        KivFile::DiskBuffer buffer(directory.Path(), 16, cacheSize);
        {
            const FileSizeLimit limit(40);
            EXPECT_THROW(buffer.Write(std::string(100, 'c').data(), 100), KivFile::WriteErrorException);
        }
        EXPECT_EQ(buffer.Size(), 40u);
        EXPECT_EQ(buffer.TellP(), 40u);
        buffer.Write("d", 1);
        EXPECT_EQ(ContentOf(buffer), std::string(40, 'c') + 'd');
    }
}

TEST(FullDisk, AReadThatCannotMoveTheWindowPassesOverNothing)
{
    const TemporaryDirectory directory;
    KivFile::DiskBuffer buffer(directory.Path(), 16, 16);
    buffer.Write("0123456789abcdef0123456789ABCDEF", 32);
    buffer.Write("dirty...", 8);
    std::string text;
    {
        const FileSizeLimit limit(34);
        EXPECT_THROW(buffer.Copy(text, 8), KivFile::WriteErrorException);
        EXPECT_EQ(buffer.TellG(), 0u);
    }
    text.clear();
    EXPECT_EQ(buffer.Copy(text, 40), 40u);
    EXPECT_EQ(text, "0123456789abcdef0123456789ABCDEFdirty...");
}

TEST(Pipe, KeepsWhatIsStagedWhenASeekFails)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "abcdefghij", 10), 10);
    ::close(ends[1]);
    File file("/dev/fd/" + std::to_string(ends[0]));
    file.Open(File::OpenMode::Read);
    KivFile::ICFileBufferT<unsigned int> in(&file, 8);
    std::string text;
    in.Copy(text, 4);
    EXPECT_THROW(in.SeekG(1000), KivFile::FileException);
    in.Copy(text, 6);
    EXPECT_EQ(text, "abcdefghij");
    ::close(ends[0]);
}

TEST(FullDisk, AFailedReadLeavesNoOldBytesInTheWindow)
{
    const TemporaryDirectory directory;
    KivFile::DiskBuffer buffer(directory.Path(), 16, 16);
    buffer.Write("0123456789abcdef0123456789ABCDEF", 32);
    char bytes[16];
    buffer.Read(bytes, 1); // the window begins at 1
    std::filesystem::resize_file(directory.File(directory.EntryName()), 20);
    EXPECT_THROW(buffer.Read(bytes, 16), KivFile::FileException);
    buffer.SeekG(1);
    buffer.Read(bytes, 3);
    EXPECT_EQ(std::string(bytes, 3), "123");
}

} // namespace
