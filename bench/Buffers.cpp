// Buffers against the standard library's: each pair does the same work in the same run.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include <KivFile/CFileBuffer.h>
#include <KivFile/DiskBuffer.h>
#include <KivFile/MemoryBuffer.h>

namespace
{

constexpr unsigned int MIB = 1024 * 1024;

// A name in the temporary directory, whose file is removed when the measurement ends.
class TemporaryFile
{
public:
    explicit TemporaryFile(const char* name) : m_path(std::filesystem::temp_directory_path() / name) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { std::filesystem::remove(m_path); }

    [[nodiscard]] std::string Name() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};

void Check(bool done)
{
    if (!done)
        throw std::runtime_error("a transfer came short");
}

void CountBytes(benchmark::State& state, std::uint64_t bytes)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

// ---- 64 MiB in memory, 16 bytes at a time -------------------------------------------------------------------

constexpr unsigned int MEMORY_TOTAL = 64 * MIB;
constexpr unsigned int MEMORY_RECORD = 16;

void MemoryWriteOurs(benchmark::State& state)
{
    const char record[MEMORY_RECORD] = "fifteen letters";
    for (auto _ : state) {
        KivFile::MemoryBuffer buffer;
        for (unsigned int i = 0; i < MEMORY_TOTAL; i += MEMORY_RECORD)
            Check(buffer.Put(record, MEMORY_RECORD) == MEMORY_RECORD);
    }
    CountBytes(state, MEMORY_TOTAL);
}

void MemoryWritePeer(benchmark::State& state)
{
    const char record[MEMORY_RECORD] = "fifteen letters";
    for (auto _ : state) {
        std::stringbuf buffer;
        for (unsigned int i = 0; i < MEMORY_TOTAL; i += MEMORY_RECORD)
            Check(buffer.sputn(record, MEMORY_RECORD) == MEMORY_RECORD);
    }
    CountBytes(state, MEMORY_TOTAL);
}

void MemoryReadOurs(benchmark::State& state)
{
    KivFile::MemoryBuffer buffer;
    buffer.SetFromBuffer(std::string(MEMORY_TOTAL, 'x').data(), MEMORY_TOTAL);
    char record[MEMORY_RECORD];
    for (auto _ : state) {
        buffer.SeekG(0);
        for (unsigned int i = 0; i < MEMORY_TOTAL; i += MEMORY_RECORD) {
            Check(buffer.Get(record, MEMORY_RECORD) == MEMORY_RECORD);
            benchmark::DoNotOptimize(record);
        }
    }
    CountBytes(state, MEMORY_TOTAL);
}

void MemoryReadPeer(benchmark::State& state)
{
    std::stringbuf buffer(std::string(MEMORY_TOTAL, 'x'));
    char record[MEMORY_RECORD];
    for (auto _ : state) {
        buffer.pubseekpos(0, std::ios_base::in);
        for (unsigned int i = 0; i < MEMORY_TOTAL; i += MEMORY_RECORD) {
            Check(buffer.sgetn(record, MEMORY_RECORD) == MEMORY_RECORD);
            benchmark::DoNotOptimize(record);
        }
    }
    CountBytes(state, MEMORY_TOTAL);
}

BENCHMARK(MemoryWriteOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(MemoryWritePeer)->Unit(benchmark::kMillisecond);
BENCHMARK(MemoryReadOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(MemoryReadPeer)->Unit(benchmark::kMillisecond);

// ---- 100 MB in a file, 10 bytes at a time through 4096 staged bytes -----------------------------------------

constexpr unsigned int FILE_TOTAL = 100'000'000;
constexpr unsigned int FILE_RECORD = 10;
constexpr unsigned int STAGING = 4096;

using File = KivFile::CFileT<unsigned int>;

void FileWriteOurs(benchmark::State& state)
{
    const TemporaryFile target("kiv-bench-write-ours");
    const char record[] = "nine char";
    for (auto _ : state) {
        File file(target.Name());
        file.Open(File::OpenMode::Truncate);
        KivFile::OCFileBufferT<unsigned int> buffer(&file, STAGING);
        for (unsigned int i = 0; i < FILE_TOTAL; i += FILE_RECORD)
            Check(buffer.Put(record, FILE_RECORD) == FILE_RECORD);
        // A seek writes out what is staged, like fclose; Flush would wait for the medium.
        buffer.SeekP(0);
    }
    CountBytes(state, FILE_TOTAL);
}

void FileWritePeer(benchmark::State& state)
{
    const TemporaryFile target("kiv-bench-write-peer");
    const char record[] = "nine char";
    char staging[STAGING];
    for (auto _ : state) {
        std::FILE* file = std::fopen(target.Name().c_str(), "wb");
        Check(file != nullptr && std::setvbuf(file, staging, _IOFBF, STAGING) == 0);
        for (unsigned int i = 0; i < FILE_TOTAL; i += FILE_RECORD)
            Check(std::fwrite(record, 1, FILE_RECORD, file) == FILE_RECORD);
        std::fclose(file);
    }
    CountBytes(state, FILE_TOTAL);
}

void MakeFile(const TemporaryFile& source)
{
    File file(source.Name());
    file.Open(File::OpenMode::Truncate);
    file.Write(std::string(FILE_TOTAL, 'x').data(), 1, FILE_TOTAL);
}

void FileReadOurs(benchmark::State& state)
{
    const TemporaryFile source("kiv-bench-read-ours");
    MakeFile(source);
    char record[FILE_RECORD];
    for (auto _ : state) {
        File file(source.Name());
        file.Open(File::OpenMode::Read);
        KivFile::ICFileBufferT<unsigned int> buffer(&file, STAGING);
        for (unsigned int i = 0; i < FILE_TOTAL; i += FILE_RECORD) {
            Check(buffer.Get(record, FILE_RECORD) == FILE_RECORD);
            benchmark::DoNotOptimize(record);
        }
    }
    CountBytes(state, FILE_TOTAL);
}

void FileReadPeer(benchmark::State& state)
{
    const TemporaryFile source("kiv-bench-read-peer");
    MakeFile(source);
    char record[FILE_RECORD];
    char staging[STAGING];
    for (auto _ : state) {
        std::FILE* file = std::fopen(source.Name().c_str(), "rb");
        Check(file != nullptr && std::setvbuf(file, staging, _IOFBF, STAGING) == 0);
        for (unsigned int i = 0; i < FILE_TOTAL; i += FILE_RECORD) {
            Check(std::fread(record, 1, FILE_RECORD, file) == FILE_RECORD);
            benchmark::DoNotOptimize(record);
        }
        std::fclose(file);
    }
    CountBytes(state, FILE_TOTAL);
}

BENCHMARK(FileWriteOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(FileWritePeer)->Unit(benchmark::kMillisecond);
BENCHMARK(FileReadOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(FileReadPeer)->Unit(benchmark::kMillisecond);

// ---- 1 GiB of scratch, written and then read in sequence, 4096 bytes at a time ------------------------------

constexpr unsigned int SCRATCH_TOTAL = 1024 * MIB;
constexpr unsigned int SCRATCH_RECORD = 4096;
constexpr unsigned int BLOCK_SIZE = 32768;
constexpr unsigned int CACHE_SIZE = 256 * 1024;

void ScratchOurs(benchmark::State& state)
{
    char record[SCRATCH_RECORD] = {};
    for (auto _ : state) {
        KivFile::DiskBuffer buffer("", BLOCK_SIZE, CACHE_SIZE);
        for (unsigned int i = 0; i < SCRATCH_TOTAL; i += SCRATCH_RECORD)
            Check(buffer.Put(record, SCRATCH_RECORD) == SCRATCH_RECORD);
        for (unsigned int i = 0; i < SCRATCH_TOTAL; i += SCRATCH_RECORD) {
            Check(buffer.Get(record, SCRATCH_RECORD) == SCRATCH_RECORD);
            benchmark::DoNotOptimize(record);
        }
    }
    CountBytes(state, 2 * std::uint64_t{SCRATCH_TOTAL});
}

void ScratchPeer(benchmark::State& state)
{
    char record[SCRATCH_RECORD] = {};
    for (auto _ : state) {
        std::FILE* file = std::tmpfile();
        Check(file != nullptr);
        for (unsigned int i = 0; i < SCRATCH_TOTAL; i += SCRATCH_RECORD)
            Check(std::fwrite(record, 1, SCRATCH_RECORD, file) == SCRATCH_RECORD);
        std::rewind(file);
        for (unsigned int i = 0; i < SCRATCH_TOTAL; i += SCRATCH_RECORD) {
            Check(std::fread(record, 1, SCRATCH_RECORD, file) == SCRATCH_RECORD);
            benchmark::DoNotOptimize(record);
        }
        std::fclose(file);
    }
    CountBytes(state, 2 * std::uint64_t{SCRATCH_TOTAL});
}

// The first gibibyte costs what the system takes to find the pages, so that only the median tells the two apart.
BENCHMARK(ScratchOurs)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(ScratchPeer)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly();

} // namespace
