// A mapped file against one plain mapping of the whole: the sum of the same 1 GiB in the same run.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include <KivFile/MemoryMapFile.h>

namespace
{

constexpr std::size_t MIB = 1024 * 1024;
constexpr std::size_t TOTAL = 1024 * MIB;

// A file of TOTAL bytes, for the whole run.
class TemporaryFile
{
public:
    TemporaryFile() : m_path(std::filesystem::temp_directory_path() / "kiv-bench-mapping")
    {
        std::vector<char> piece(MIB);
        std::iota(piece.begin(), piece.end(), '\0');
        std::ofstream file(m_path, std::ios::binary);
        for (std::size_t done = 0; done < TOTAL; done += MIB)
            file.write(piece.data(), static_cast<std::streamsize>(MIB));
        if (!file.flush())
            throw std::runtime_error("no room for the file");
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { std::filesystem::remove(m_path); }

    [[nodiscard]] std::string Name() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};

const TemporaryFile& SharedFile()
{
    static const TemporaryFile file;
    return file;
}

// All work on the memory itself is this, for both.
std::uint64_t Sum(const void* bytes, std::size_t size)
{
    const auto* const words = static_cast<const std::uint64_t*>(bytes);
    return std::accumulate(words, words + size / sizeof *words, std::uint64_t{0});
}

void CountBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * TOTAL));
}

void SumOurs(benchmark::State& state)
{
    const std::string name = SharedFile().Name();
    for (auto _ : state) {
        KivFile::MemoryMapFile file(name);
        file.Open(KivFile::MemoryMapFile::OpenMode::Read);
        std::uint64_t sum = 0;
        for (std::uint64_t offset = 0; offset < file.Size(); offset += MIB) {
            sum += Sum(file.GetView(offset, MIB), MIB);
            file.ReleaseView(offset, false);
        }
        benchmark::DoNotOptimize(sum);
    }
    CountBytes(state);
}
BENCHMARK(SumOurs)->Unit(benchmark::kMillisecond)->UseRealTime();

void SumPlainMapping(benchmark::State& state)
{
    const std::string name = SharedFile().Name();
    for (auto _ : state) {
        const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
        void* const bytes = ::mmap(nullptr, TOTAL, PROT_READ, MAP_SHARED, descriptor, 0);
        if (bytes == MAP_FAILED)
            throw std::runtime_error("no mapping");
        std::uint64_t sum = Sum(bytes, TOTAL);
        benchmark::DoNotOptimize(sum);
        ::munmap(bytes, TOTAL);
        ::close(descriptor);
    }
    CountBytes(state);
}
BENCHMARK(SumPlainMapping)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
