// Settings files and string sets against their peers: each pair does the same work in the same run.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>

#define SI_NO_CONVERSION // narrow text stays as it is; the package lacks the conversion that the header would include
#include <SimpleIni.h>
#include <benchmark/benchmark.h>

#include <KivFile/ConfigFile.h>
#include <KivFile/PersistentStringSet.h>

namespace
{

using namespace Kiv::Literals;

// A file in the temporary directory that is removed when the measurement ends.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& content) { std::ofstream(m_path, std::ios::binary) << content; }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { std::filesystem::remove(m_path); }

    [[nodiscard]] std::string Name() const { return m_path.string(); }

private:
    std::filesystem::path m_path = std::filesystem::temp_directory_path() / "kiv-bench-settings";
};

void Check(bool done)
{
    if (!done)
        throw std::runtime_error("a file was not read or written");
}

// ---- A settings file of 5 MB --------------------------------------------------------------------------------

constexpr int SECTIONS = 2000;
constexpr int KEYS = 50;

std::string Settings()
{
    std::string text = "; 2000 sections of 50 keys\n";
    char line[80];
    for (int section = 0; section < SECTIONS; ++section) {
        std::snprintf(line, sizeof line, "\n[Section %04d]\n", (section * 7919) % SECTIONS);
        text += line;
        for (int key = 0; key < KEYS; ++key) {
            std::snprintf(line, sizeof line, "KeyNumber%02d = the value of key %02d in section %04d\n",
                          (key * 37) % KEYS, key, section);
            text += line;
        }
    }
    return text;
}

void SettingsLoadOurs(benchmark::State& state)
{
    const TemporaryFile file(Settings());
    for (auto _ : state) {
        const KivFile::ConfigFile config(file.Name(), nullptr);
        Check(config.Data().size() == SECTIONS);
    }
}

void SettingsLoadPeer(benchmark::State& state)
{
    const TemporaryFile file(Settings());
    for (auto _ : state) {
        CSimpleIniA config(true, true);
        Check(config.LoadFile(file.Name().c_str()) == SI_OK && config.GetSectionSize("Section 0007") == KEYS);
    }
}

void SettingsChangeOneKeyOurs(benchmark::State& state)
{
    const TemporaryFile file(Settings());
    KivFile::ConfigFile config(file.Name(), nullptr);
    unsigned short unit = 0;
    for (auto _ : state) {
        config.Set(u"Section 1000"_w, u"KeyNumber25"_w,
                   Kiv::WString(1, static_cast<unsigned short>('a' + ++unit % 26)));
        config.Save("", false);
    }
}

void SettingsChangeOneKeyPeer(benchmark::State& state)
{
    const TemporaryFile file(Settings());
    CSimpleIniA config(true, true);
    Check(config.LoadFile(file.Name().c_str()) == SI_OK);
    char value[] = "a";
    for (auto _ : state) {
        value[0] = static_cast<char>('a' + (value[0] - 'a' + 1) % 26);
        Check(config.SetValue("Section 1000", "KeyNumber25", value, nullptr, true) >= 0);
        Check(config.SaveFile(file.Name().c_str(), false) == SI_OK);
    }
}

BENCHMARK(SettingsLoadOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(SettingsLoadPeer)->Unit(benchmark::kMillisecond);
BENCHMARK(SettingsChangeOneKeyOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(SettingsChangeOneKeyPeer)->Unit(benchmark::kMillisecond);

// ---- A million strings of 20 bytes --------------------------------------------------------------------------

constexpr std::size_t STRINGS = 1'000'000;

// In the order in which a set is saved.
std::string Strings()
{
    std::string text;
    char line[32];
    for (std::size_t i = 0; i < STRINGS; ++i) {
        std::snprintf(line, sizeof line, "string %013zu\r\n", i * 9'999'991);
        text += line;
    }
    return text;
}

void StringSetLoadAndSaveOurs(benchmark::State& state)
{
    const TemporaryFile file(Strings());
    for (auto _ : state) {
        const KivFile::PersistentStringSet set(file.Name());
        Check(set.Set().size() == STRINGS);
        set.Save("");
    }
}

void StringSetLoadAndSavePeer(benchmark::State& state)
{
    const TemporaryFile file(Strings());
    for (auto _ : state) {
        std::set<std::string> set;
        std::ifstream in(file.Name(), std::ios::binary);
        for (std::string line; std::getline(in, line);) {
            line.pop_back();
            set.insert(line);
        }
        Check(set.size() == STRINGS);
        std::ofstream out(file.Name(), std::ios::binary);
        for (const std::string& string : set)
            out << string << "\r\n";
    }
}

BENCHMARK(StringSetLoadAndSaveOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(StringSetLoadAndSavePeer)->Unit(benchmark::kMillisecond);

} // namespace
