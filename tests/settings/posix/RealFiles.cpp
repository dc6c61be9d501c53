// Settings files of programs that are installed here, and a disk that is full.
#include <algorithm>
#include <iostream>
#include <vector>

#include <gtest/gtest.h>

#include <KivFile/ConfigFile.h>

#include "buffers/TemporaryDirectory.h"
#include "tests/FileSizeLimit.h"

namespace
{

namespace fs = std::filesystem;
using KivFile::ConfigFile;
using namespace Kiv::Literals;

constexpr const char* FOLDERS[] = {"/etc", "/usr/share", "/lib/systemd", "/usr/lib/systemd"};
constexpr const char* EXTENSIONS[] = {".desktop", ".service", ".timer", ".socket", ".conf", ".ini", ".cnf", ".cfg"};
constexpr std::size_t ENOUGH = 2000;

bool IsSettingsFile(const fs::directory_entry& entry)
{
    std::error_code error;
    return entry.is_regular_file(error) && entry.file_size(error) < 1'000'000 &&
           std::ranges::find(EXTENSIONS, entry.path().extension()) != std::end(EXTENSIONS);
}

std::vector<fs::path> InstalledSettingsFiles()
{
    std::vector<fs::path> files;
    for (const char* folder : FOLDERS) {
        std::error_code error;
        const auto options = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator entry(folder, options, error), end; entry != end && files.size() < ENOUGH;
             entry.increment(error)) {
            if (IsSettingsFile(*entry))
                files.push_back(entry->path());
        }
    }
    return files;
}

std::string ContentOf(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The lines that begin with a semicolon, as they are and in order.
std::string CommentsOf(const std::string& content)
{
    std::string comments;
    for (std::size_t first = 0; first < content.size();) {
        const std::size_t last = std::min(content.find_first_of("\r\n", first), content.size());
        const std::string line = content.substr(first, last - first);
        const std::size_t text = line.find_first_not_of(" \t");
        if (text != std::string::npos && line[text] == ';')
            comments += line + '\n';
        first = last + 1;
    }
    return comments;
}

TEST(InstalledSettings, LoadOrAreRefusedAndKeepTheirComments)
{
    const std::vector<fs::path> files = InstalledSettingsFiles();
    if (files.empty())
        GTEST_SKIP() << "no settings files are installed here";
    std::size_t loaded = 0;
    std::size_t comments = 0;
    for (const fs::path& file : files) {
        const TemporaryDirectory directory;
        const std::string before = ContentOf(file);
        try {
            ConfigFile config(directory.Make(before), nullptr);
            config.Save("", false);
            EXPECT_EQ(ConfigFile(directory.File(), nullptr).Data(), config.Data()) << file;
            ++loaded;
        } catch (const Kiv::Config::InvalidConfigException&) {
            EXPECT_EQ(directory.Content(), before) << file;
        }
        EXPECT_EQ(CommentsOf(directory.Content()), CommentsOf(before)) << file;
        comments += CommentsOf(before).empty() ? 0 : 1;
    }
    std::cout << files.size() << " settings files, " << loaded << " loaded, " << comments << " with comments\n";
}

TEST(FullDisk, ASaveThrowsAndTheConfigurationCanBeSavedElsewhere)
{
    const TemporaryDirectory directory;
    ConfigFile config(directory.Make("[S]\nk = " + std::string(10'000, 'x') + "\n"), nullptr);
    config.Set(u"S"_w, u"new"_w, u"1"_w);
    {
        const FileSizeLimit limit(4096);
        EXPECT_THROW(config.Save("", false), Kiv::Config::ConfigException);
    }
    EXPECT_EQ(directory.Content(), "\n[S]\nk = " + std::string(4096 - 9, 'x'));
    EXPECT_NE(config.StoredData(), config.Data());
    config.Save(directory.File("elsewhere"), true);
    EXPECT_EQ(ConfigFile(directory.File("elsewhere"), nullptr).Data(), config.Data());
}

} // namespace
