// The tokenizer against the C library's searches and the standard library's lines: each pair does the same work on the
// same memory in the same run.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include <KivFile/BinaryStreamParser.h>
#include <KivFile/StaticMemoryBuffer.h>

namespace
{

using KivFile::BinaryStreamParser;
using KivFile::StaticMemoryBuffer;

constexpr std::size_t MIB = 1024 * 1024;
constexpr std::size_t TOTAL = 1024 * MIB;

void Check(std::size_t found, std::size_t expected)
{
    if (found != expected)
        throw std::runtime_error("a delimiter was missed");
}

void CountBytes(benchmark::State& state, std::size_t bytes)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

// Text of small letters and blanks in which every period-th byte is taken, in turn, from the delimiters.
std::string Text(std::size_t size, std::size_t period, const std::string& delimiters)
{
    static constexpr char ALPHABET[] = "etaoinshrdlu cmf etaoinshrdlcmwypbgkvqjxz";
    std::minstd_rand random(1);
    std::string text(size, 0);
    for (std::size_t i = 0; i < size; ++i)
        text[i] = i < MIB ? ALPHABET[random() % (sizeof ALPHABET - 1)] : text[i - MIB];
    for (std::size_t i = period - 1, turn = 0; i < size; i += period)
        text[i] = delimiters[turn++ % delimiters.size()];
    return text;
}

// How many times step(parser) is true over a text.
template <class Step>
std::size_t Count(const std::string& text, bool caseSensitive, Step step)
{
    StaticMemoryBuffer buffer(static_cast<const void*>(text.data()), static_cast<unsigned int>(text.size()));
    BinaryStreamParser parser(buffer, caseSensitive);
    std::size_t count = 0;
    while (step(parser))
        ++count;
    return count;
}

// ---- A byte every 64 KiB of 1 GiB ---------------------------------------------------------------------------

constexpr std::size_t FAR_PERIOD = 64 * 1024;

const std::string& FarText()
{
    static const std::string text = Text(TOTAL, FAR_PERIOD, "\n");
    return text;
}

void FarByteOurs(benchmark::State& state)
{
    const std::string& text = FarText();
    for (auto _ : state) {
        Check(Count(text, true,
                    [](BinaryStreamParser& parser) {
                        return parser.FetchTo('\n', false) && parser.Fetch(1, false, false);
                    }),
              TOTAL / FAR_PERIOD);
    }
    CountBytes(state, TOTAL);
}

void FarBytePeer(benchmark::State& state)
{
    const std::string& text = FarText();
    const char* const end = text.data() + text.size();
    for (auto _ : state) {
        std::size_t count = 0;
        for (const char* at = text.data();
             (at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) != nullptr;
             ++at)
            ++count;
        Check(count, TOTAL / FAR_PERIOD);
    }
    CountBytes(state, TOTAL);
}

BENCHMARK(FarByteOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(FarBytePeer)->Unit(benchmark::kMillisecond);

// ---- Something every 40 bytes -------------------------------------------------------------------------------

constexpr std::size_t PERIOD = 40;
// Small enough for the caches, so that the searches are measured and not the memory.
constexpr std::size_t TOKENS_TOTAL = MIB / PERIOD * PERIOD;

// Lines over the whole of 1 GiB. The peer's stream holds its copy of them before the clock starts, and its string has
// room for a line, as ours has.
constexpr std::size_t LINES_TOTAL = TOTAL / PERIOD * PERIOD;

const std::string& Lines()
{
    static const std::string text = Text(LINES_TOTAL, PERIOD, "\n");
    return text;
}

void LinesOurs(benchmark::State& state)
{
    const std::string& text = Lines();
    for (auto _ : state) {
        std::size_t bytes = 0;
        Check(Count(text, true,
                    [&](BinaryStreamParser& parser) {
                        if (!parser.FetchTo('\n', true))
                            return false;
                        bytes += parser.GetKeywordLen();
                        return parser.Fetch(1, false, false);
                    }),
              LINES_TOTAL / PERIOD);
        benchmark::DoNotOptimize(bytes);
    }
    CountBytes(state, LINES_TOTAL);
}

void LinesPeer(benchmark::State& state)
{
    std::istringstream stream(Lines());
    std::string line;
    for (auto _ : state) {
        stream.clear();
        stream.seekg(0);
        std::size_t bytes = 0;
        std::size_t count = 0;
        for (; std::getline(stream, line); ++count)
            bytes += line.size();
        Check(count, LINES_TOTAL / PERIOD);
        benchmark::DoNotOptimize(bytes);
    }
    CountBytes(state, LINES_TOTAL);
}

BENCHMARK(LinesOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(LinesPeer)->Unit(benchmark::kMillisecond);

const std::string DELIMITERS = ",;:|<>\t\n";

void UntilSetOurs(benchmark::State& state)
{
    const std::string text = Text(TOKENS_TOTAL, PERIOD, DELIMITERS);
    for (auto _ : state) {
        Check(Count(text, true,
                    [](BinaryStreamParser& parser) {
                        return parser.FetchUntil(DELIMITERS, false) && parser.Fetch(1, false, false);
                    }),
              TOKENS_TOTAL / PERIOD);
    }
    CountBytes(state, TOKENS_TOTAL);
}

void UntilSetPeer(benchmark::State& state)
{
    const std::string text = Text(TOKENS_TOTAL, PERIOD, DELIMITERS);
    for (auto _ : state) {
        std::size_t count = 0;
        for (const char* at = text.c_str(); *(at += std::strcspn(at, DELIMITERS.c_str())) != 0; ++at)
            ++count;
        Check(count, TOKENS_TOTAL / PERIOD);
    }
    CountBytes(state, TOKENS_TOTAL);
}

BENCHMARK(UntilSetOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(UntilSetPeer)->Unit(benchmark::kMillisecond);

// The blank is one of the text's bytes, and of the set, where it and the umlauts stand for what names allow.
const std::string NAME_BYTES =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 \xE4\xF6\xFC\xC4\xD6\xDC\xDF";

void WhileSetOurs(benchmark::State& state)
{
    const std::string text = Text(TOKENS_TOTAL, PERIOD, DELIMITERS);
    for (auto _ : state) {
        Check(Count(text, true,
                    [](BinaryStreamParser& parser) {
                        return parser.FetchUntilNot(NAME_BYTES, false) && parser.Fetch(1, false, false);
                    }),
              TOKENS_TOTAL / PERIOD);
    }
    CountBytes(state, TOKENS_TOTAL);
}

void WhileSetPeer(benchmark::State& state)
{
    const std::string text = Text(TOKENS_TOTAL, PERIOD, DELIMITERS);
    for (auto _ : state) {
        std::size_t count = 0;
        for (const char* at = text.c_str(); *(at += std::strspn(at, NAME_BYTES.c_str())) != 0; ++at)
            ++count;
        Check(count, TOKENS_TOTAL / PERIOD);
    }
    CountBytes(state, TOKENS_TOTAL);
}

BENCHMARK(WhileSetOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(WhileSetPeer)->Unit(benchmark::kMillisecond);

// ---- A pattern of eight bytes every 64 KiB ------------------------------------------------------------------

const std::string PATTERN = "boundary";

std::string PatternText(std::size_t size)
{
    std::string text = Text(size, FAR_PERIOD, "-");
    for (std::size_t at = FAR_PERIOD - 1; at < size; at += FAR_PERIOD)
        text.replace(at + 1 - PATTERN.size(), PATTERN.size(), PATTERN);
    return text;
}

constexpr std::size_t PATTERNS_TOTAL = 256 * MIB;

template <bool CASE_SENSITIVE>
void PatternOurs(benchmark::State& state)
{
    const std::string text = PatternText(PATTERNS_TOTAL);
    for (auto _ : state) {
        Check(
            Count(text, CASE_SENSITIVE, [](BinaryStreamParser& parser) { return parser.FetchBeyond(PATTERN, false); }),
            PATTERNS_TOTAL / FAR_PERIOD);
    }
    CountBytes(state, PATTERNS_TOTAL);
}

#ifdef __GLIBC__
void PatternPeer(benchmark::State& state)
{
    const std::string text = PatternText(PATTERNS_TOTAL);
    const char* const end = text.data() + text.size();
    for (auto _ : state) {
        std::size_t count = 0;
        const void* found;
        for (const char* at = text.data();
             (found = memmem(at, static_cast<std::size_t>(end - at), PATTERN.data(), PATTERN.size())) != nullptr;
             ++count)
            at = static_cast<const char*>(found) + PATTERN.size();
        Check(count, PATTERNS_TOTAL / FAR_PERIOD);
    }
    CountBytes(state, PATTERNS_TOTAL);
}

void PatternAnyCasePeer(benchmark::State& state)
{
    const std::string text = PatternText(PATTERNS_TOTAL);
    for (auto _ : state) {
        std::size_t count = 0;
        for (const char* at = text.c_str(); (at = strcasestr(at, PATTERN.c_str())) != nullptr; at += PATTERN.size())
            ++count;
        Check(count, PATTERNS_TOTAL / FAR_PERIOD);
    }
    CountBytes(state, PATTERNS_TOTAL);
}

BENCHMARK(PatternPeer)->Unit(benchmark::kMillisecond);
BENCHMARK(PatternAnyCasePeer)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(PatternOurs<true>)->Unit(benchmark::kMillisecond);
BENCHMARK(PatternOurs<false>)->Unit(benchmark::kMillisecond);

} // namespace
