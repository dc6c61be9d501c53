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

std::vector<fs::path> InstalledSettingsFiles()
{
    constexpr const char* EXTENSIONS[] = {".desktop", ".service", ".timer", ".socket", ".conf", ".ini", ".cnf", ".cfg"};
    constexpr std::size_t ENOUGH = 1000; // of each folder
    std::vector<fs::path> files;
    for (const char* folder : {"/etc", "/usr/share", "/usr/lib/systemd", "/usr/lib/php"}) {
        const std::size_t last = files.size() + ENOUGH;
        std::error_code error;
        const auto options = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator entry(folder, options, error), end; entry != end && files.size() < last;
             entry.increment(error)) {
            // The php package adds the use of a file to its name.
            const std::string extension = entry->path().extension().string();
            const std::string kind = extension.substr(0, extension.find('-'));
            if (entry->is_regular_file(error) && entry->file_size(error) < 1'000'000 &&
                std::ranges::find(EXTENSIONS, kind) != std::end(EXTENSIONS))
                files.push_back(entry->path());
        }
    }
    return files;
}

// The headers and the lines that begin with a semicolon, as they are and in order.
std::string OutlineOf(const std::string& content)
{
    std::string outline;
    for (std::size_t first = 0; first < content.size();) {
        const std::size_t last = std::min(content.find_first_of("\r\n", first), content.size());
        const std::string line = content.substr(first, last - first);
        const std::size_t text = line.find_first_not_of(" \t");
        if (text != std::string::npos && (line[text] == ';' || line[text] == '['))
            outline += line + '\n';
        first = last + 1;
    }
    return outline;
}

TEST(InstalledSettings, LoadOrAreRefusedAndKeepTheirHeadersAndComments)
{
    const std::vector<fs::path> files = InstalledSettingsFiles();
    if (files.empty())
        GTEST_SKIP() << "no settings files are installed here";
    std::size_t loaded = 0;
    std::size_t kept = 0;
    for (const fs::path& file : files) {
        const TemporaryDirectory directory;
        fs::copy_file(file, directory.File());
        fs::permissions(directory.File(), fs::perms::owner_all);
        const std::string before = directory.Content();
        try {
            ConfigFile config(directory.File(), nullptr);
            config.Save("", false);
            EXPECT_EQ(ConfigFile(directory.File(), nullptr).Data(), config.Data()) << file;
            EXPECT_EQ(OutlineOf(directory.Content()), OutlineOf(before)) << file;
            ++loaded;
            kept += static_cast<std::size_t>(std::ranges::count(OutlineOf(before), '\n'));
        } catch (const Kiv::Config::InvalidConfigException&) {
            EXPECT_EQ(directory.Content(), before) << file;
        }
    }
    std::cout << files.size() << " settings files, " << loaded << " loaded, with " << kept << " headers and comments\n";
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
