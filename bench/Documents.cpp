// Compound documents against libgsf: properties of small documents, and one large stream.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include <gsf/gsf-doc-meta-data.h>
#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-msole-utils.h>
#include <gsf/gsf-utils.h>

#include <KivFile/OLE/Storage.h>
#include <KivFile/StaticMemoryBuffer.h>

#include <tests/documents/DocumentBuilder.h>

using namespace KivFile;

namespace
{

constexpr std::size_t LARGE = 64u << 20;
constexpr std::size_t PIECE = 32768;

const std::vector<std::string>& Samples()
{
    static const std::vector<std::string> samples = [] {
        std::vector<std::string> documents;
        for (const auto& entry : std::filesystem::directory_iterator(KIV_SAMPLES)) {
            std::ifstream file(entry.path(), std::ios::binary);
            documents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
        return documents;
    }();
    return samples;
}

StaticMemoryBuffer Over(const std::string& bytes)
{
    return {static_cast<const void*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
using Input = std::unique_ptr<GsfInput, Unref>;
using Infile = std::unique_ptr<GsfInfile, Unref>;

Infile OpenWithGsf(const std::string& bytes)
{
    const Input input(gsf_input_memory_new(reinterpret_cast<const guint8*>(bytes.data()),
                                           static_cast<gsf_off_t>(bytes.size()), FALSE));
    return Infile(gsf_infile_msole_new(input.get(), nullptr));
}

// The number of properties, so that neither side can leave out the work.
std::size_t ReadProperties(const std::string& document)
{
    StaticMemoryBuffer buffer = Over(document);
    OLE::PropertyStorage::EnumMap byEnum;
    OLE::PropertyStorage::NameMap byName;
    OLE::Storage("", buffer).Properties(byEnum, byName);
    return byEnum.size() + byName.size();
}

std::size_t ReadPropertiesWithGsf(const std::string& document)
{
    const Infile infile = OpenWithGsf(document);
    const std::unique_ptr<GsfDocMetaData, Unref> properties(gsf_doc_meta_data_new());
    for (const char* name : {"\05SummaryInformation", "\05DocumentSummaryInformation"}) {
        const Input stream(gsf_infile_child_by_name(infile.get(), name));
        if (stream) {
            if (GError* error = gsf_doc_meta_data_read_from_msole(properties.get(), stream.get()))
                g_error_free(error);
        }
    }
    return gsf_doc_meta_data_size(properties.get());
}

template <std::size_t (*Read)(const std::string&)>
void PropertiesOfSamples(benchmark::State& state)
{
    for (auto _ : state) {
        for (const std::string& document : Samples())
            benchmark::DoNotOptimize(Read(document));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Samples().size()));
}
BENCHMARK(PropertiesOfSamples<ReadProperties>)->Name("Properties/ours");
BENCHMARK(PropertiesOfSamples<ReadPropertiesWithGsf>)->Name("Properties/libgsf");

// A document with one stream of 64 MiB, whose sectors lie in order or with each two neighbours swapped.
const std::string& LargeDocument(bool isFragmented)
{
    static std::string documents[2];
    std::string& document = documents[isFragmented];
    if (document.empty()) {
        KivTest::DocumentBuilder builder;
        builder.isFragmented = isFragmented;
        builder.AddStream(0, u"large", std::string(LARGE, 'x'));
        document = builder.Build();
    }
    return document;
}

std::string& Destination()
{
    static std::string destination(LARGE, '\0');
    return destination;
}

void CopyStream(benchmark::State& state, bool isFragmented)
{
    StaticMemoryBuffer source = Over(LargeDocument(isFragmented));
    const OLE::Storage storage("", source);
    for (auto _ : state) {
        StaticMemoryBuffer out(Destination().data(), LARGE);
        storage.ReadStream(storage.Streams().front().id, out);
        if (out.TellP() != LARGE)
            state.SkipWithError("short");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(LARGE));
}
BENCHMARK_CAPTURE(CopyStream, contiguous, false)->Name("Contiguous/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CopyStream, fragmented, true)->Name("Fragmented/ours")->Unit(benchmark::kMillisecond);

void CopyMemory(benchmark::State& state)
{
    const std::string& source = LargeDocument(false);
    for (auto _ : state) {
        for (std::size_t at = 0; at < LARGE; at += PIECE)
            std::memcpy(Destination().data() + at, source.data() + at + 512, PIECE);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(LARGE));
}
BENCHMARK(CopyMemory)->Name("Contiguous/memcpy")->Unit(benchmark::kMillisecond);

void CopyStreamWithGsf(benchmark::State& state, bool isFragmented)
{
    const Infile infile = OpenWithGsf(LargeDocument(isFragmented));
    const Input stream(gsf_infile_child_by_name(infile.get(), "large"));
    for (auto _ : state) {
        gsf_input_seek(stream.get(), 0, G_SEEK_SET);
        for (std::size_t at = 0; at < LARGE; at += PIECE) {
            if (!gsf_input_read(stream.get(), PIECE, reinterpret_cast<guint8*>(Destination().data()) + at))
                state.SkipWithError("short");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(LARGE));
}
BENCHMARK_CAPTURE(CopyStreamWithGsf, contiguous, false)->Name("Contiguous/libgsf")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CopyStreamWithGsf, fragmented, true)->Name("Fragmented/libgsf")->Unit(benchmark::kMillisecond);

} // namespace
