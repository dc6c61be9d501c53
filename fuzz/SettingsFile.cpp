// Any bytes as a settings file: what loads is saved and loads again as the same configuration.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include <unistd.h>

#include <KivFile/ConfigFile.h>
#include <KivFile/StaticMemoryBuffer.h>

namespace
{

using Kiv::Config;
using KivFile::ConfigFile;

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

// A file of this process alone.
std::string FileName()
{
    return (std::filesystem::temp_directory_path() / ("kiv-fuzz-settings-" + std::to_string(::getpid()))).string();
}

void Write(const std::string& name, const std::uint8_t* data, std::size_t size)
{
    std::FILE* file = std::fopen(name.c_str(), "wb");
    Require(file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
}

// A line of a value that is empty is not written again beside others.
Kiv::WString WithoutEmptyLines(const Kiv::WString& value)
{
    Kiv::WString result;
    for (const unsigned short unit : value) {
        if (unit != '\n' || (!result.empty() && result.back() != '\n'))
            result += unit;
    }
    if (!result.empty() && result.back() == '\n')
        result.pop_back();
    return result;
}

Config::Table Normalised(const Config::Table& table)
{
    Config::Table result = table;
    for (auto& [name, section] : result) {
        for (auto& [key, entry] : section.Edit())
            entry.value = WithoutEmptyLines(entry.value);
    }
    return result;
}

// Nothing where the file is invalid.
std::optional<ConfigFile> Load(const std::string& name)
{
    try {
        return ConfigFile(name, nullptr);
    } catch (const Config::InvalidConfigException&) {
        return std::nullopt;
    }
}

// False where a line would become too complex to be read again.
bool Save(ConfigFile& config, bool noMerge)
{
    try {
        config.Save("", noMerge);
        return true;
    } catch (const Config::InvalidConfigException&) {
        return false;
    }
}

void ReadInEveryForm(const std::uint8_t* data, std::size_t size)
{
    for (const Kiv::CHARSET charset : {Kiv::CHARSET::UTF8, Kiv::CHARSET::WIDE, Kiv::CHARSET::WINDOWS_1252}) {
        KivFile::StaticMemoryBuffer buffer(data, static_cast<unsigned int>(size));
        try {
            const ConfigFile config(buffer, charset);
        } catch (const Config::ConfigException&) {
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string name = FileName();
    ReadInEveryForm(data, size);
    Write(name, data, size);
    if (std::optional<ConfigFile> first = Load(name)) {
        for (const bool noMerge : {false, true}) {
            if (!Save(*first, noMerge))
                break;
            const std::optional<ConfigFile> second = Load(name);
            Require(second && Normalised(second->Data()) == Normalised(first->Data()));
        }
    }
    std::filesystem::remove(name);
    return 0;
}
