#include <cstring>
#include <limits>

#include <KivFile/CFile.h>
#include <KivFile/MemoryMapFile.h>

#include "buffers/TemporaryDirectory.h"
#include "platform/Platform.h"

namespace
{

using KivFile::MemoryMapFile;
using Mode = MemoryMapFile::OpenMode;
using OpenFailure = KivFile::FileCannotOpenException;

constexpr std::uint64_t UNIT = 65536;
constexpr std::uint64_t GIB4 = std::uint64_t{1} << 32;

const std::string READING = "An error occurred while opening the read-only";
const std::string WRITING = "An error occurred while opening the write-only";
const std::string GETTING_VIEW = "An error occurred while getting a view of the";

class MapFileTest : public testing::Test
{
protected:
    std::uint64_t Length() const { return std::filesystem::file_size(m_directory.File()); }
    std::string FailureOfOpen(Mode mode) const
    {
        return FailureOf<OpenFailure>([&] { MemoryMapFile(m_directory.File()).Open(mode); });
    }
    std::string FailureOfView(std::uint64_t offset, std::size_t size)
    {
        return FailureOf<KivFile::FileException>([&] { (void)m_file.GetView(offset, size); });
    }
    char* View(std::uint64_t offset, std::size_t size = 0) { return static_cast<char*>(m_file.GetView(offset, size)); }

    TemporaryDirectory m_directory;
    MemoryMapFile m_file{m_directory.File()};
};

TEST_F(MapFileTest, WritableOpensLengthenToOneUnitAndKeepOrDiscardTheContent)
{
    for (const Mode mode : {Mode::ReadWrite, Mode::Truncate}) {
        m_directory.Make("old");
        m_file.Open(mode);
        EXPECT_EQ(m_file.Size(), UNIT);
        EXPECT_EQ(Length(), UNIT);
        EXPECT_EQ(std::string(View(0), 3), mode == Mode::ReadWrite ? "old" : std::string(3, '\0'));
        View(0)[UNIT - 1] = 'e';
        m_file.Close();
        EXPECT_EQ(m_directory.Content().back(), 'e');
    }
    m_file.Delete();
    EXPECT_EQ(m_directory.EntryName(), "");
    EXPECT_NO_THROW(m_file.Delete());
    EXPECT_EQ(FailureOfOpen(Mode::ReadWrite), "") << "the file is made";
}

TEST_F(MapFileTest, AFileShorterThanOneUnitCannotBeOpenedForReading)
{
    EXPECT_EQ(FailureOfOpen(Mode::Read), READING) << "missing";
    for (const std::uint64_t length : {std::uint64_t{0}, UNIT - 1}) {
        m_directory.Make(std::string(length, 'x'));
        EXPECT_THROW(m_file.Open(Mode::Read), OpenFailure) << length;
        EXPECT_EQ(Length(), length);
        EXPECT_FALSE(m_file.IsOpen());
    }
    EXPECT_EQ(FailureOf<OpenFailure>([&] { m_file.Open(static_cast<Mode>(7)); }), WRITING);
}

TEST_F(MapFileTest, SharingFollowsTheModeAndReopeningStartsAnew)
{
    m_directory.Make(std::string(UNIT, 'x'));
    m_file.Open(Mode::Read);
    EXPECT_EQ(FailureOfOpen(Mode::Read), "");
    EXPECT_EQ(FailureOfOpen(Mode::Truncate), WRITING);
    m_file.Open(Mode::ReadWrite);
    EXPECT_EQ(FailureOfOpen(Mode::Read), READING);
    View(0)[0] = 'a';
    m_file.Open(static_cast<Mode>(7));
    EXPECT_EQ(m_file.NbrView(), 1u) << "an unknown mode keeps what is open";
    m_file.Open(Mode::Read);
    EXPECT_EQ(View(0)[0], 'a');
    m_file.Close();
    KivFile::CFileT<unsigned int> other(m_directory.File());
    EXPECT_EQ(other.Open(KivFile::CFileT<unsigned int>::OpenMode::ReadWrite), UNIT);
    EXPECT_EQ(FailureOfOpen(Mode::ReadWrite), WRITING);
}

TEST_F(MapFileTest, ViewsAreKeptByTheirExactOffset)
{
    m_directory.Make(std::string(3 * UNIT, 'x'));
    m_file.Open(Mode::ReadWrite);
    char* const view = View(UNIT, 10);
    EXPECT_EQ(View(UNIT, 2 * UNIT), view) << "the size is not compared";
    EXPECT_EQ(m_file.NbrView(), 1u);
    view[0] = 'y';
    EXPECT_EQ(View(0, 3 * UNIT)[UNIT], 'y') << "two views of the same bytes";

    m_file.FlushView(0, UNIT + 1);
    m_file.FlushView(UNIT + 1, 10);
    m_file.ReleaseView(UNIT + 1, true);
    EXPECT_TRUE(m_file.IsViewExist(UNIT));
    EXPECT_FALSE(m_file.IsViewExist(UNIT + 1));
    m_file.ReleaseView(UNIT, true);
    m_file.ReleaseView(UNIT, false);
    EXPECT_EQ(m_file.NbrView(), 1u);
    m_file.Close();
    EXPECT_EQ(m_file.NbrView(), 0u);
    EXPECT_EQ(m_directory.Content().find('y'), UNIT);
}

TEST_F(MapFileTest, ViewsOutsideTheMappingOrBetweenTwoUnitsAreRefused)
{
    m_directory.Make(std::string(2 * UNIT + 100, 'x'));
    m_file.Open(Mode::Read);
    constexpr auto LAST = std::numeric_limits<std::uint64_t>::max();
    const std::pair<std::uint64_t, std::size_t> refused[] = {
        {0, 2 * UNIT + 101},     {2 * UNIT, 101}, {2 * UNIT, 0}, {3 * UNIT, 0},           {4096, 1}, {1, 0}, {LAST, 1},
        {LAST - UNIT + 1, UNIT}, {GIB4, 0},       {GIB4, 100},   {UNIT, std::size_t(-1)},
    };
    for (const auto& [offset, size] : refused)
        EXPECT_EQ(FailureOfView(offset, size), GETTING_VIEW) << offset << ' ' << size;
    EXPECT_EQ(m_file.NbrView(), 0u);
    EXPECT_EQ(View(0, 2 * UNIT + 100)[UNIT], View(2 * UNIT, 100)[99]);
    m_file.Close();
    EXPECT_EQ(FailureOfView(0, 1), GETTING_VIEW);
}

TEST_F(MapFileTest, FlushAndResizeDropTheViews)
{
    m_file.Open(Mode::Truncate);
    std::memset(View(0), 'a', UNIT);
    m_file.Flush();
    EXPECT_EQ(m_file.NbrView(), 0u);
    EXPECT_EQ(View(0)[UNIT - 1], 'a');

    m_file.Resize(3 * UNIT + 5);
    EXPECT_EQ(m_file.NbrView(), 0u);
    EXPECT_EQ(Length(), 3 * UNIT + 5);
    View(2 * UNIT, UNIT + 5)[0] = 'c';
    m_file.Resize(2 * UNIT + 1);
    EXPECT_EQ(Length(), 2 * UNIT + 1);
    EXPECT_EQ(View(2 * UNIT, 1)[0], 'c');
    m_file.Resize(0);
    EXPECT_EQ(Length(), 0u);
    EXPECT_EQ(FailureOfView(0, 0), GETTING_VIEW);
    m_file.Resize(10);
    EXPECT_EQ(View(0, 10)[9], '\0');
}

TEST_F(MapFileTest, AFileForReadingIsNeitherCutNorLengthened)
{
    m_directory.Make(std::string(2 * UNIT, 'x'));
    m_file.Open(Mode::Read);
    m_file.Resize(10);
    EXPECT_EQ(View(0, 10)[9], 'x');
    EXPECT_EQ(FailureOf<OpenFailure>([&] { m_file.Resize(2 * UNIT + 1); }), READING);
    EXPECT_EQ(Length(), 2 * UNIT);
    EXPECT_EQ(FailureOfView(0, 1), GETTING_VIEW);

    MemoryMapFile missing(m_directory.File("none"));
    EXPECT_THROW(missing.Open(Mode::Read), OpenFailure);
    EXPECT_THROW(missing.Resize(UNIT), OpenFailure) << "there is no memory without a file";
}

TEST_F(MapFileTest, OffsetsBeyond4GiB)
{
    m_directory.Make("begin");
    std::filesystem::resize_file(m_directory.File(), GIB4 + UNIT + 10);
    m_file.Open(Mode::ReadWrite);
    EXPECT_EQ(m_file.Size(), GIB4 + UNIT + 10);
    EXPECT_EQ(FailureOfView(GIB4 + UNIT, 11), GETTING_VIEW);
    std::memcpy(View(GIB4 + UNIT, 10), "0123456789", 10);
    EXPECT_EQ(View(0)[0], 'b');
    EXPECT_EQ(View(GIB4)[0], '\0');
    m_file.Resize(GIB4 + UNIT + 4);
    EXPECT_EQ(Length(), GIB4 + UNIT + 4);
    EXPECT_EQ(std::string(View(GIB4 + UNIT, 4), 4), "0123");
}

TEST_F(MapFileTest, AViewOutlivesTheHandlesOfItsMappingAndFile)
{
    m_directory.Make(std::string(UNIT, 'v'));
    void* const file = KivSys::CreateFileA(m_directory.File().c_str(), KivSys::GenericRead, KivSys::ShareRead,
                                           KivSys::OpenExisting, KivSys::AttributeNormal);
    void* const mapping = KivSys::CreateFileMappingW(file, KivSys::PageReadOnly, 0, UNIT);
    const auto codeOf = [](const void* result) { return result == nullptr ? KivSys::GetLastError() : 0; };
    EXPECT_EQ(codeOf(KivSys::CreateFileMappingW(file, KivSys::PageReadWrite, 0, UNIT)), KivSys::ErrorAccessDenied);
    EXPECT_EQ(codeOf(KivSys::CreateFileMappingW(file, KivSys::PageReadOnly, 1, 0)), KivSys::ErrorNotEnoughMemory);
    EXPECT_EQ(codeOf(KivSys::MapViewOfFile(mapping, KivSys::FileMapWrite, 0, 0, UNIT)), KivSys::ErrorAccessDenied);
    EXPECT_EQ(codeOf(KivSys::MapViewOfFile(mapping, KivSys::FileMapRead, 0, 4096, 1)), KivSys::ErrorMappedAlignment);
    EXPECT_EQ(codeOf(KivSys::MapViewOfFile(file, KivSys::FileMapRead, 0, 0, 1)), KivSys::ErrorInvalidHandle);

    const void* const view = KivSys::MapViewOfFile(mapping, KivSys::FileMapRead, 0, 0, UNIT);
    KivSys::CloseHandle(mapping);
    KivSys::CloseHandle(file);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(static_cast<const char*>(view)[UNIT - 1], 'v');
    EXPECT_TRUE(KivSys::UnmapViewOfFile(view));
}

} // namespace
