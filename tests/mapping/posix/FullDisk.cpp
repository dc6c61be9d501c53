// A disk without room is an exception when the file is lengthened, and never a signal when a view is written.
#include <sys/mman.h>
#include <sys/stat.h>

#include <KivFile/MemoryMapFile.h>

#include "buffers/TemporaryDirectory.h"
#include "tests/FileSizeLimit.h"

namespace
{

using Mode = KivFile::MemoryMapFile::OpenMode;

TEST(MapFileOnAFullDisk, LengtheningFailsAndLeavesTheFileAsItWas)
{
    const TemporaryDirectory directory;
    KivFile::MemoryMapFile file(directory.Make("old"));
    {
        const FileSizeLimit limit(40000);
        EXPECT_THROW(file.Open(Mode::ReadWrite), KivFile::FileCannotOpenException);
        EXPECT_EQ(directory.Content(), "old");
    }
    file.Open(Mode::ReadWrite);
    const FileSizeLimit limit(100000);
    for (const unsigned int size : {200000, 150000})
        EXPECT_THROW(file.Resize(size), KivFile::FileCannotOpenException) << "less than what was refused is still more";
    EXPECT_EQ(std::filesystem::file_size(directory.File()), 65536u);
    file.Resize(65536);
    EXPECT_EQ(static_cast<char*>(file.GetView(0, 3))[2], 'd');
}

TEST(MapFileOnAFullDisk, TheSpaceOfALengthenedFileIsReserved)
{
    const TemporaryDirectory directory;
    KivFile::MemoryMapFile file(directory.File());
    file.Open(Mode::Truncate);
    file.Resize(1 << 20);
    struct stat status;
    ASSERT_EQ(::stat(directory.File().c_str(), &status), 0);
    EXPECT_GE(status.st_blocks * 512, 1 << 20);
}

TEST(MapFileOnAFullDisk, AReleaseThatCannotStoreThrowsAndReleases)
{
    const TemporaryDirectory directory;
    KivFile::MemoryMapFile file(directory.File());
    file.Open(Mode::ReadWrite);
    ASSERT_EQ(::munmap(file.GetView(0, 0), 4096), 0); // now the system refuses to write it back
    EXPECT_EQ(FailureOf<KivFile::FileException>([&] { file.ReleaseView(0, true); }),
              "An error occurred while releasing a view of the");
    EXPECT_EQ(file.NbrView(), 0u);
}

} // namespace
