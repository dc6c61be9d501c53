// Edits through links, with mode and owner kept.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tools/kivfile/Commands.h"

namespace
{

namespace fs = std::filesystem;

TEST(EditedFile, LinksModeAndOwnerStay)
{
    const fs::path folder = fs::temp_directory_path() / ("kivfile-links-" + std::to_string(::getpid()));
    fs::create_directories(folder / "deep");
    std::ofstream(folder / "deep" / "tar\\get") << "[S]\n";
    ASSERT_EQ(::chmod((folder / "deep" / "tar\\get").c_str(), 0640), 0);
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(::chown((folder / "deep" / "tar\\get").c_str(), 12, 34), 0);
    }
    fs::create_symlink("deep/tar\\get", folder / "middle");
    fs::create_symlink(folder / "middle", folder / "link");
    fs::create_symlink("deep/new", folder / "dangling");

    std::istringstream in;
    std::ostringstream out;
    const auto set = [&](const fs::path& file) {
        return KivTool::Run({"config", "set", file.string(), "S", "k", "v"}, {in, out, out, false});
    };
    EXPECT_EQ(set(folder / "link"), 0) << out.str();
    EXPECT_EQ(set(folder / "dangling"), 0) << out.str();
    EXPECT_TRUE(fs::is_symlink(folder / "link") && fs::is_symlink(folder / "middle"));
    EXPECT_TRUE(fs::is_symlink(folder / "dangling") && fs::is_regular_file(folder / "deep" / "new"));
    struct stat status;
    ASSERT_EQ(::stat((folder / "link").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(status.st_size, 11);
    if (isRoot) {
        EXPECT_EQ(status.st_uid, 12u);
        EXPECT_EQ(status.st_gid, 34u);
    }
    fs::remove_all(folder);
}

TEST(Extraction, DoesNotFollowLinksInItsFolder)
{
    const fs::path folder = fs::temp_directory_path() / ("kivfile-extract-" + std::to_string(::getpid()));
    fs::create_directories(folder / "parts");
    std::ofstream(folder / "outside") << "mine";
    fs::create_symlink("../outside", folder / "parts" / "Workbook");
    std::istringstream in;
    std::ostringstream out;
    const std::string sample = KIV_SAMPLES "/many.xls";
    EXPECT_EQ(KivTool::Run({"extract", "--force", sample, (folder / "parts").string()}, {in, out, out, false}), 1);
    EXPECT_NE(out.str().find("Workbook: is a link"), std::string::npos) << out.str();
    EXPECT_EQ(fs::file_size(folder / "outside"), 4u);
    fs::remove_all(folder);
}

} // namespace
