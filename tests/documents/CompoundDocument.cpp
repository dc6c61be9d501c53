#include <gtest/gtest.h>

#include <KivFile/MemoryBuffer.h>
#include <KivFile/OLE/Storage.h>
#include <documents/DocumentBuilder.h>
#include <documents/Words.h>

using namespace KivFile;
using namespace KivFile::OLE;
using namespace KivTest;
using Kiv::Literals::operator""_w;

namespace
{

// A source that counts what is asked of it, and may come to end early.
struct CountingSource : Kiv::BinaryStreamBufWrapper {
    explicit CountingSource(Kiv::BinaryStreamBufT<unsigned int>& source) : BinaryStreamBufWrapper(source) {}

    unsigned int vGet(void* dst, unsigned int n) override
    {
        bytes += n;
        ++reads;
        return BinaryStreamBufWrapper::vGet(dst, std::min(n, end - std::min(end, TellG())));
    }

    std::uint64_t bytes = 0;
    std::uint64_t reads = 0;
    unsigned int end = 0xFFFFFFFF;
};

struct OpenDocument {
    explicit OpenDocument(std::string document) : bytes(std::move(document)) {}

    std::string Properties() const
    {
        PropertyStorage::AllMap all;
        storage.Properties(all);
        return Words(all);
    }

    std::string bytes;
    StaticMemoryBuffer memory = Over(bytes);
    CountingSource source{memory};
    Storage storage{"", source};
};

template <class NameOrId>
std::string Read(const Storage& storage, const NameOrId& stream)
{
    MemoryBuffer out;
    storage.ReadStream(stream, out);
    std::string content;
    out.Copy(content, out.Size());
    return content;
}

// The names of the streams in the document's root, or why it is refused.
std::string Listing(const std::string& bytes)
try {
    std::string names;
    const OpenDocument document(bytes);
    for (const Storage::Item& item : document.storage.Streams())
        names += Kiv::Utf8(item.name) + ' ';
    return names;
} catch (const NotAStorageOLEException&) {
    return "(not a storage)";
} catch (const CorruptedStorageOLEException&) {
    return "(corrupted)";
}

// Bytes that differ from sector to sector.
std::string Content(std::size_t size)
{
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        content[i] = static_cast<char>(i / 61 + i % 61);
    return content;
}

std::string Summary(const std::string& title)
{
    return PropertySet({{SUMMARY, Section({{2, Text(title)}})}});
}

constexpr char16_t SUMMARY_NAME[] = u"\5SummaryInformation";

} // namespace

TEST(CompoundDocument, StreamsOfAllSizesReadBackFromAllLayouts)
{
    const std::size_t sizes[] = {0, 1, 63, 64, 65, 512, 4095, 4096, 4097, 33000, 70000};
    const std::string title(7000, 't');
    for (const unsigned int layout : {9u, 10u, 12u, 109u, 110u, 112u}) {
        DocumentBuilder builder;
        builder.sectorShift = layout % 100;
        builder.isFragmented = layout > 100;
        for (char16_t name = u'a'; const std::size_t size : sizes)
            builder.AddStream(0, std::u16string(1, name++), Content(size));
        builder.AddStream(0, SUMMARY_NAME, Summary(title));
        const OpenDocument document(builder.Build());
        EXPECT_EQ(document.Properties(), "Title=" + title + '|') << layout;
        for (std::size_t i = 0; i < std::size(sizes); ++i) {
            const Storage::Item& item = document.storage.Streams().at(i);
            EXPECT_EQ(item.size, sizes[i]);
            EXPECT_EQ(Read(document.storage, item.id), Content(sizes[i])) << layout;
        }
    }
}

// More FAT sectors than the header lists: the rest is found through a chain of two DIFAT sectors.
TEST(CompoundDocument, LargeStreamIsReachedThroughTheDIFATChain)
{
    DocumentBuilder builder;
    const std::string content = Content((109 + 200) * 128 * 512);
    const std::uint32_t id = builder.AddStream(0, u"large", content);
    EXPECT_TRUE(Read(OpenDocument(builder.Build()).storage, id) == content);
}

TEST(CompoundDocument, FieldsDecideWhatIsOpenedAndListed)
{
    DocumentBuilder builder;
    builder.AddStream(0, std::u16string(32, u'x'), "x"); // with its terminator, longer than the field
    builder.AddStream(0, u"name", "x");
    const std::string valid = builder.Build();
    const std::size_t length = builder.EntryOffset(2) + 64, type = length + 2;
    const std::string other = std::string(32, 'x') + ' ', both = other + "name ";
    const std::string corrupted = "(corrupted)", none = "(not a storage)";
    // Without a FAT the first sector of the directory can still be read.
    constexpr std::size_t SIGNATURE = 6, VERSION = 24, BYTE_ORDER_MARK = 28, SHIFT = 30, MINI_SHIFT = 32, FAT = 44;
    const struct {
        std::size_t field;
        std::vector<std::uint16_t> values;
        std::string listing;
    } rows[] = {
        {SIGNATURE, {0xE0A1}, none},   {VERSION, {0xFFFF}, both}, {BYTE_ORDER_MARK, {0xFEFF}, corrupted},
        {SHIFT, {8, 13}, corrupted},   {SHIFT, {32 + 9}, both},   {MINI_SHIFT, {5, 10}, corrupted},
        {MINI_SHIFT, {32 + 6}, both},  {FAT, {0}, both},          {length, {0xFFFF, 40}, both},
        {length, {7}, other + "nam "}, {length, {0}, other},      {type, {0, 3, 5, 6}, other}, // 5 is a second root
    };
    for (const auto& [field, values, listing] : rows) {
        for (const std::uint16_t value : values) {
            std::string bytes = valid;
            Poke(bytes, field, value);
            EXPECT_EQ(Listing(bytes), listing) << field << ": " << value;
        }
    }
    for (const unsigned char invalid : {'\0', '\6'}) {
        std::string bytes = valid;
        Poke(bytes, type, invalid);
        EXPECT_EQ(Read(OpenDocument(bytes).storage, 2u), "") << int{invalid};
    }
    std::string swapped = valid;
    Poke(swapped, builder.EntryOffset(0) + 76, 2u);
    Poke(swapped, builder.EntryOffset(2) + 68, 1u);
    EXPECT_EQ(Listing(swapped), both) << "in the order of ids";
    std::string beta = valid;
    EXPECT_EQ(Listing(beta.replace(0, 8, "\x0E\x11\xFC\x0D\xD0\xCF\x11\xE0")), both);
    EXPECT_EQ(Listing(valid.substr(0, 511)), none);
    EXPECT_EQ(Listing(valid.substr(0, 512)), "");
}

TEST(CompoundDocument, StoragesAreFoundByIdAndExactName)
{
    DocumentBuilder builder;
    const std::uint32_t outer = builder.AddStorage(0, u"Outer");
    const std::uint32_t inner = builder.AddStorage(outer, u"Inner");
    builder.AddStream(inner, u"leaf", "leaf content");
    builder.AddStream(0, u"leaf", "root content");
    const OpenDocument document(builder.Build());
    const Storage& root = document.storage;
    EXPECT_EQ(Read(root, u"leaf"_w), "root content");
    const Kiv::SmartPtr<Storage> found = root.OpenStorage(u"Outer"_w)->OpenStorage(inner);
    EXPECT_EQ(Kiv::Utf8(root.Name() + found->Name()), "Root EntryInner");
    EXPECT_EQ(Read(*found, u"leaf"_w), "leaf content");
    EXPECT_THROW((void)root.OpenStorage(u"outer"_w), StorageNotFoundOLEException);
    EXPECT_THROW((void)root.OpenStorage(inner), StorageNotFoundOLEException);
    EXPECT_THROW(Read(root, u"Leaf"_w), StreamNotFoundOLEException);
    EXPECT_THROW(Read(*root.OpenStorage(outer), u"leaf"_w), StreamNotFoundOLEException);
    EXPECT_EQ(Read(root, 4711u), "");
}

// Sectors 0 to 7 hold the stream, 8 the mini stream, 12 is cut and leads back to 3. Each row breaks one link.
TEST(DamagedDocument, ChainsEndWhereTheyBreak)
{
    constexpr std::uint32_t CUT_SECTOR = 12;
    DocumentBuilder builder;
    builder.AddStream(0, u"stream", Content(4096));
    builder.AddStream(0, u"mini", Content(100));
    const std::string valid = builder.Build();
    ASSERT_EQ(valid.size(), builder.Offset(CUT_SECTOR));
    // (sector + 1) << 9 would be the right offset again if it were cut to 32 bits.
    const auto onceAround = [&](std::size_t offset) { return Peek(valid, offset) + (1u << (32 - 9)); };
    const std::size_t rootStart = builder.EntryOffset(0) + 116;
    const std::size_t streamStart = builder.EntryOffset(1) + 116;
    const struct {
        const char* what;
        std::size_t offset;
        std::uint32_t sector;
        std::size_t streamBytes, miniBytes;
    } rows[] = {
        {"a sector that follows itself", builder.FATOffset(0), 0, 512, 100},
        {"a way back", builder.FATOffset(5), 2, 6 * 512, 100},
        {"an early end", builder.FATOffset(2), DocumentBuilder::END, 3 * 512, 100},
        {"a sector behind the FAT", builder.FATOffset(2), 0x00FFFFFF, 3 * 512, 100},
        {"a sector behind the document", builder.FATOffset(2), 127, 3 * 512, 100},
        {"a sector that the document's end cuts", builder.FATOffset(2), CUT_SECTOR, 3 * 512 + 100, 100},
        {"a mini stream that follows itself", builder.FATOffset(8), 8, 4096, 100},
        {"a mini stream that leads into the stream", builder.FATOffset(8), 0, 4096, 100},
        {"a mini stream that ends before its streams", rootStart + 4, 64, 4096, 64},
        {"a directory behind 4 GiB", 48, onceAround(48), 0, 0},
        {"a mini FAT behind 4 GiB", 60, onceAround(60), 4096, 0},
        {"a FAT behind 4 GiB", 76, onceAround(76), 0, 0},
        {"a stream behind 4 GiB", streamStart, onceAround(streamStart), 0, 100},
        {"a mini stream behind 4 GiB", rootStart, onceAround(rootStart), 4096, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::string bytes = valid + Content(4096).substr(3 * 512, 100);
        Poke(bytes, builder.FATOffset(CUT_SECTOR), 3u);
        Poke(bytes, rootStart + 4, 0x7FFFFFFFu);
        Poke(bytes, row.offset, row.sector);
        const OpenDocument document(bytes);
        EXPECT_EQ(Read(document.storage, 1u), Content(row.streamBytes));
        EXPECT_EQ(Read(document.storage, 2u), Content(row.miniBytes));
    }
}

// A chain through a sector that is not there goes on behind it, and the entries keep their ids.
TEST(DamagedDocument, AMissingDirectorySectorCostsItsEntriesOnly)
{
    DocumentBuilder builder;
    for (char16_t name = u'a'; name < u'l'; ++name)
        builder.AddStream(0, std::u16string(1, name), Content(name));
    std::string bytes = builder.Build();
    EXPECT_TRUE(OpenDocument(bytes).storage.IsDirectoryWhole());
    const std::uint32_t second = Peek(bytes, 48) + 1;
    Poke(bytes, builder.FATOffset(second - 1), 127u);
    Poke(bytes, builder.FATOffset(127), second + 1);
    const OpenDocument document(bytes);
    EXPECT_FALSE(document.storage.IsDirectoryWhole());
    for (std::uint32_t id = 1; id < 12; ++id)
        EXPECT_EQ(Read(document.storage, id), id < 4 || id > 7 ? Content(u'a' + id - 1) : "") << id;
    Poke(bytes, builder.FATOffset(second - 1), second - 1);
    EXPECT_FALSE(OpenDocument(bytes).storage.IsDirectoryWhole()) << "it leads into itself";
}

TEST(DamagedDocument, ASourceThatBecameShorterYieldsWhatIsLeft)
{
    DocumentBuilder builder;
    builder.AddStream(0, u"stream", Content(20000));
    OpenDocument document(builder.Build());
    document.source.end = 512 + 18000;
    EXPECT_EQ(Read(document.storage, 1u), Content(20000).substr(0, 18000));
}

TEST(DamagedDocument, CutDocumentYieldsBeginningsOfItsStreams)
{
    DocumentBuilder builder;
    builder.isFragmented = true;
    builder.AddStream(0, u"mini", Content(1000));
    builder.AddStream(0, u"stream", Content(5000));
    builder.AddStream(0, SUMMARY_NAME, Summary("title"));
    const std::string valid = builder.Build();
    for (std::size_t size = 512; size < valid.size(); size += 37) {
        const OpenDocument document(valid.substr(0, size));
        for (const std::uint32_t id : {1u, 2u})
            EXPECT_TRUE(Content(5000).starts_with(Read(document.storage, id))) << size;
        EXPECT_TRUE(document.storage.Streams().size() == 3 || !document.storage.IsDirectoryWhole()) << size;
        (void)document.Properties();
    }
}

// A list of properties without values that lie at the two ends of the set in turn.
TEST(HostileDocument, PropertiesFarFromEachOtherAreNotReadOneByOne)
{
    constexpr std::uint32_t COUNT = 50000, SIZE = 1'000'000;
    std::string section = Bytes(SIZE, COUNT);
    for (std::uint32_t i = 0; i < COUNT; ++i)
        section += Bytes(2u, i % 2 == 0 ? SIZE - 4 : SIZE / 2);
    section.resize(SIZE);
    DocumentBuilder builder;
    builder.AddStream(0, SUMMARY_NAME, PropertySet({{SUMMARY, section}}));
    const OpenDocument document(builder.Build());
    EXPECT_EQ(document.Properties(), "");
    EXPECT_LT(document.source.reads, COUNT / 5);
}

// A hundred DIFAT sectors, each of which lists the one FAT sector 1023 times.
TEST(HostileDocument, ListsOfOneSectorEnd)
{
    DocumentBuilder builder;
    builder.sectorShift = 12;
    const std::uint32_t id = builder.AddStream(0, u"stream", Content(300000));
    std::string bytes = builder.Build();
    const std::vector<std::uint32_t> repeated(1023, Peek(bytes, 76));
    const std::uint32_t difatSector = Count(bytes.size() / 4096 - 1);
    for (std::uint32_t i = 1; i <= 100; ++i)
        bytes += BytesOf(repeated) + Bytes(difatSector + i);
    bytes.replace(76, 109 * 4, BytesOf(repeated), 0, 109 * 4);
    Poke(bytes, 44, 0x10000u);
    Poke(bytes, 68, difatSector);
    OpenDocument document(bytes);
    EXPECT_EQ(Read(document.storage, id), Content(300000));
    EXPECT_LT(document.source.bytes, 3 * bytes.size());
}

TEST(HostileDocument, StoragesInsideThemselvesAreVisitedOnce)
{
    DocumentBuilder builder;
    const std::uint32_t outer = builder.AddStorage(0, u"outer");
    const std::uint32_t inner = builder.AddStorage(outer, u"inner");
    const std::uint32_t loop = builder.AddStorage(inner, u"loop");
    builder.AddStream(inner, SUMMARY_NAME, Summary("inner title"));
    std::string bytes = builder.Build();
    for (const std::uint32_t target : {outer, inner, loop, 0u}) {
        Poke(bytes, builder.EntryOffset(loop) + 76, target); // the child of the innermost
        Poke(bytes, builder.EntryOffset(loop) + 68, inner);  // and ways back among the siblings
        Poke(bytes, builder.EntryOffset(inner) + 72, loop);
        EXPECT_EQ(OpenDocument(bytes).Properties(), "Title=inner title|");
    }
    EXPECT_EQ(OpenDocument(bytes).storage.OpenStorage(outer)->OpenStorage(inner)->Storages().size(), 2u);
}

// Every storage has the same long list of children, every stream the same sectors.
TEST(HostileDocument, SharedChildrenAndSectorsAreNotReadOverAndOver)
{
    DocumentBuilder builder;
    const std::uint32_t first =
        builder.AddStream(0, SUMMARY_NAME, PropertySet({{SUMMARY, Bytes(0u, 25000u) + std::string(200000, 'x')}}));
    for (int i = 0; i < 300; ++i) {
        builder.AddStorage(0, u"d");
        builder.AddStream(0, u"\5x", "x");
    }
    std::string bytes = builder.Build();
    const std::string startAndSize = bytes.substr(builder.EntryOffset(first) + 116, 8);
    for (std::uint32_t storage = first + 1; storage < first + 600; storage += 2) {
        Poke(bytes, builder.EntryOffset(storage) + 76, first);
        bytes.replace(builder.EntryOffset(storage + 1) + 116, 8, startAndSize);
    }
    OpenDocument document(bytes);
    EXPECT_EQ(document.Properties(), "");
    EXPECT_LT(document.source.bytes, 4 * bytes.size());
}

TEST(DocumentProperties, AreFoundInAllStoragesTheOuterFirst)
{
    DocumentBuilder builder;
    const std::uint32_t deep = builder.AddStorage(builder.AddStorage(0, u"first"), u"deep");
    builder.AddStream(deep, SUMMARY_NAME, Summary("deep"));
    builder.AddStream(builder.AddStorage(0, u"second"), u"Contents", Summary("second"));
    builder.AddStream(0, u"\5broken", "no property set at all");
    builder.AddStream(0, u"SummaryInformation", Summary("not by this name"));
    EXPECT_EQ(OpenDocument(builder.Build()).Properties(), "Title=second|");
    builder.AddStream(0, SUMMARY_NAME, Summary("own"));
    EXPECT_EQ(OpenDocument(builder.Build()).Properties(), "Title=own|");
}
