// Normalised paths from text, against std::filesystem on the same texts.
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include <KivFile/Path.h>

namespace
{

// The separator is the slash, which both sides take for one.
const std::string PATHS[] = {
    "/usr/share/doc/libstdc++6/changelog.Debian.gz",
    "/home/anna/projects/kiv/src/OLE/PropertyStorage.cpp",
    "/home/anna/projects/kiv/build/linux-release/../../src/OLE/Storage.cpp",
    "/var/lib/dpkg/info/../status",
    "/opt/kiv/./share/./locale/de/LC_MESSAGES/kivfile.mo",
    "/srv//mail/anna//cur/1700000000.M1P2.host,S=4096:2,S",
    "/tmp/",
    "//server/share/reports/2024/quarter-3/figures.xls",
    "src/OLE/Storage.cpp",
    "../include/KivFile/OLE/Storage.h",
    "./configure",
    "a/../../b",
    "notes.txt",
    "/data/archive/2024/09/30/very-long-directory-name-that-somebody-once-liked/and-another-one-below-it/"
    "with-a-third-level/and-then/some-more/levels/until/the/path/is/quite/long/report-of-the-thirtieth.pdf",
};

void CountPaths(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(std::size(PATHS)));
}

void KivPath(benchmark::State& state)
{
    for (auto _ : state)
        for (const std::string& text : PATHS)
            benchmark::DoNotOptimize(KivFile::PathT<char>(text));
    CountPaths(state);
}
BENCHMARK(KivPath);

void StdLexicallyNormal(benchmark::State& state)
{
    for (auto _ : state)
        for (const std::string& text : PATHS)
            benchmark::DoNotOptimize(std::filesystem::path(text).lexically_normal());
    CountPaths(state);
}
BENCHMARK(StdLexicallyNormal);

} // namespace
