// Listing, walking, deleting and copying, against std::filesystem, nftw and cp on the same files.
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ftw.h>
#include <string>
#include <vector>

#include <unistd.h>

#include <benchmark/benchmark.h>

#include <KivFile/DirectoryWalker.h>

namespace
{

namespace fs = std::filesystem;
using Path = KivFile::PathT<char>;

constexpr int LISTED_FILES = 100'000;
constexpr int TREE_FOLDERS = 20'000;
constexpr int TREE_FILES_OF_A_FOLDER = 10;
constexpr std::uint64_t COPIED_BYTES = std::uint64_t{1} << 30;

// One folder for all that the benchmarks make, removed in the end.
const fs::path& Folder()
{
    static const struct Temporary {
        Temporary() { fs::create_directories(path); }
        ~Temporary() { fs::remove_all(path); }
        fs::path path = fs::temp_directory_path() / ("kiv-bench-" + std::to_string(::getpid()));
    } folder;
    return folder.path;
}

void MakeFiles(const fs::path& folder, int count)
{
    fs::create_directories(folder);
    for (int i = 0; i < count; ++i)
        std::ofstream(folder / ("document-" + std::to_string(i) + ".txt")) << "a line of text\n";
}

// A hundred folders with two hundred folders each.
void MakeTree(const fs::path& root)
{
    for (int i = 0; i < TREE_FOLDERS; ++i)
        MakeFiles(root / ("area-" + std::to_string(i / 200)) / ("folder-" + std::to_string(i)), TREE_FILES_OF_A_FOLDER);
}

const std::string& ListedFolder()
{
    static const std::string folder = [] {
        MakeFiles(Folder() / "list", LISTED_FILES);
        return (Folder() / "list").string();
    }();
    return folder;
}

const std::string& WalkedTree()
{
    static const std::string tree = [] {
        MakeTree(Folder() / "tree");
        return (Folder() / "tree").string();
    }();
    return tree;
}

const std::string& CopiedFile()
{
    static const std::string file = [] {
        const std::string name = (Folder() / "gigabyte").string();
        std::vector<char> piece(1 << 20, 'k');
        std::ofstream out(name, std::ios::binary);
        for (std::uint64_t written = 0; written < COPIED_BYTES; written += piece.size())
            out.write(piece.data(), static_cast<std::streamsize>(piece.size()));
        return name;
    }();
    return file;
}

// ---- List ---------------------------------------------------------------------------------------------------

void KivList(benchmark::State& state)
{
    const Path folder(ListedFolder());
    for (auto _ : state) {
        std::vector<Kiv::SmartPtr<Path>> entries;
        folder.GetFileListSP(entries, Path::PATH_DEFAULT_FILTER);
        std::int64_t sum = 0;
        for (const auto& entry : entries)
            sum += static_cast<std::int64_t>(entry->Size()) + entry->GetLastModificationDate().Seconds() +
                   entry->IsDirectory() + entry->IsReadOnly();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * LISTED_FILES);
}
BENCHMARK(KivList)->Unit(benchmark::kMillisecond)->UseRealTime();

void StdDirectoryIterator(benchmark::State& state)
{
    const fs::path folder = ListedFolder();
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            sum += static_cast<std::int64_t>(fs::file_size(entry.path())) +
                   fs::last_write_time(entry.path()).time_since_epoch().count() +
                   fs::is_directory(fs::status(entry.path()));
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * LISTED_FILES);
}
BENCHMARK(StdDirectoryIterator)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same through the members of the entries.
void StdDirectoryEntry(benchmark::State& state)
{
    const fs::path folder = ListedFolder();
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            sum += static_cast<std::int64_t>(entry.file_size()) + entry.last_write_time().time_since_epoch().count() +
                   fs::is_directory(entry.status());
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * LISTED_FILES);
}
BENCHMARK(StdDirectoryEntry)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- Walk ---------------------------------------------------------------------------------------------------

class Counter : public KivFile::DirectoryWalker::Handler
{
public:
    bool HandleFile(const Path& file) override
    {
        bytes += file.Size();
        return true;
    }

    std::uint64_t bytes = 0;
};

void KivWalk(benchmark::State& state)
{
    const Path tree(WalkedTree());
    for (auto _ : state) {
        const auto counter = Kiv::MakeShared<Counter>();
        KivFile::DirectoryWalker walker;
        walker.AddHandler(counter);
        walker.Walk(tree, Path::PATH_DEFAULT_FILTER, true, "");
        benchmark::DoNotOptimize(counter->bytes);
    }
}
BENCHMARK(KivWalk)->Unit(benchmark::kMillisecond)->UseRealTime();

void StdRecursiveDirectoryIterator(benchmark::State& state)
{
    const fs::path tree = WalkedTree();
    for (auto _ : state) {
        std::uint64_t bytes = 0;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(tree)) {
            if (entry.is_regular_file())
                bytes += entry.file_size();
        }
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(StdRecursiveDirectoryIterator)->Unit(benchmark::kMillisecond)->UseRealTime();

std::uint64_t g_bytes = 0;

int CountFile(const char*, const struct stat* status, int type, FTW*)
{
    if (type == FTW_F)
        g_bytes += static_cast<std::uint64_t>(status->st_size);
    return 0;
}

void Nftw(benchmark::State& state)
{
    const std::string tree = WalkedTree();
    for (auto _ : state)
        ::nftw(tree.c_str(), CountFile, 64, FTW_PHYS);
    benchmark::DoNotOptimize(g_bytes);
}
BENCHMARK(Nftw)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- Delete -------------------------------------------------------------------------------------------------

// Each turn deletes a fresh tree, and the disk is at rest when it begins.
template <class Delete>
void DeleteTrees(benchmark::State& state, Delete deleteTree)
{
    const fs::path tree = Folder() / "doomed";
    for (auto _ : state) {
        MakeTree(tree);
        ::sync();
        const auto start = std::chrono::steady_clock::now();
        deleteTree(tree);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (fs::exists(tree))
            state.SkipWithError("the tree is still there");
    }
}

void KivRecursiveDelete(benchmark::State& state)
{
    DeleteTrees(state, [](const fs::path& tree) { Path(tree.string()).RecursiveDelete(false); });
}
BENCHMARK(KivRecursiveDelete)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2);

void StdRemoveAll(benchmark::State& state)
{
    DeleteTrees(state, [](const fs::path& tree) { fs::remove_all(tree); });
}
BENCHMARK(StdRemoveAll)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2);

// ---- Copy ---------------------------------------------------------------------------------------------------

template <class Copy>
void CopyFiles(benchmark::State& state, Copy copy)
{
    const std::string from = CopiedFile();
    const std::string to = from + "-copy";
    for (auto _ : state) {
        fs::remove(to);
        ::sync();
        const auto start = std::chrono::steady_clock::now();
        copy(from, to);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (fs::file_size(to) != COPIED_BYTES)
            state.SkipWithError("the copy is not complete");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(COPIED_BYTES));
}

void KivCopy(benchmark::State& state)
{
    CopyFiles(state, [](const std::string& from, const std::string& to) { Path::Copy(from, to, true); });
}
BENCHMARK(KivCopy)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

void Cp(benchmark::State& state)
{
    CopyFiles(state, [&state](const std::string& from, const std::string& to) {
        if (std::system(("cp -- '" + from + "' '" + to + "'").c_str()) != 0)
            state.SkipWithError("cp failed");
    });
}
BENCHMARK(Cp)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

} // namespace
