#include <gtest/gtest.h>

#include <KivFile/MemoryBuffer.h>
#include <KivFile/OLE/Storage.h>
#include <KivFile/StaticMemoryBuffer.h>

#include <documents/DocumentBuilder.h>

using namespace KivFile;
using namespace KivFile::OLE;
using namespace KivTest;
using Kiv::Literals::operator""_w;

namespace
{

// A source that counts what is asked of it.
class CountingSource : public Kiv::BinaryStreamBufWrapper
{
public:
    explicit CountingSource(Kiv::BinaryStreamBufT<unsigned int>& source) : BinaryStreamBufWrapper(source) {}

    unsigned int seeks = 0;
    std::uint64_t bytes = 0;

protected:
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override
    {
        ++seeks;
        return BinaryStreamBufWrapper::vSeekG(off, origin, direction);
    }
    unsigned int vGet(void* dst, unsigned int n) override
    {
        bytes += n;
        return BinaryStreamBufWrapper::vGet(dst, n);
    }
    unsigned int vCopy(Kiv::BaseBinaryStreamBuf& dst, unsigned int n) override
    {
        bytes += n;
        return BinaryStreamBufWrapper::vCopy(dst, n);
    }
};

struct OpenDocument {
    explicit OpenDocument(std::string document) : bytes(std::move(document)) {}

    template <class NameOrId>
    std::string Read(const NameOrId& stream) const
    {
        MemoryBuffer out;
        storage.ReadStream(stream, out);
        std::string content;
        out.Copy(content, out.Size());
        return content;
    }
    std::string Names() const
    {
        std::string names;
        for (const auto* list : {&storage.Storages(), &storage.Streams()}) {
            for (const Storage::Item& item : *list)
                names += Kiv::Utf8(item.name) + ' ';
        }
        return names;
    }
    std::string Title() const
    {
        PropertyStorage::AllMap all;
        storage.Properties(all);
        const auto found = all.find("Title");
        return found == all.end() ? "" : Kiv::Utf8(found->second.AsWString());
    }

    std::string bytes;
    StaticMemoryBuffer memory{static_cast<const void*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
    CountingSource source{memory};
    Storage storage{"", source};
};

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
    const std::size_t sizes[] = {0, 1, 63, 64, 65, 512, 4095, 4096, 4097, 70000};
    for (const unsigned int shift : {9u, 10u, 12u}) {
        for (const bool isFragmented : {false, true}) {
            SCOPED_TRACE(testing::Message() << "shift " << shift << ", fragmented " << isFragmented);
            DocumentBuilder builder;
            builder.sectorShift = shift;
            builder.isFragmented = isFragmented;
            for (char16_t name = u'a'; const std::size_t size : sizes)
                builder.AddStream(0, std::u16string(1, name++), Content(size));
            const OpenDocument document(builder.Build());
            ASSERT_EQ(document.storage.Streams().size(), std::size(sizes));
            for (std::size_t i = 0; i < std::size(sizes); ++i) {
                const Storage::Item& item = document.storage.Streams()[i];
                EXPECT_EQ(item.size, sizes[i]);
                EXPECT_EQ(document.Read(item.id), Content(sizes[i]));
                EXPECT_EQ(document.Read(item.name), Content(sizes[i]));
            }
        }
    }
}

// More FAT sectors than the header lists: the rest is found through a chain of two DIFAT sectors.
TEST(CompoundDocument, LargeStreamIsReachedThroughTheDIFATChainWithOneSeek)
{
    DocumentBuilder builder;
    const std::string content = Content((109 + 200) * 128 * 512);
    const std::uint32_t id = builder.AddStream(0, u"large", content);
    OpenDocument document(builder.Build());
    document.source.seeks = 0;
    EXPECT_TRUE(document.Read(id) == content);
    EXPECT_EQ(document.source.seeks, 1u);
}

TEST(CompoundDocument, HeaderDecides)
{
    enum Outcome { Opens, NotAStorage, Corrupted };
    struct Row {
        const char* what;
        std::size_t offset;
        std::string bytes;
        Outcome outcome;
    };
    const Row rows[] = {
        {"as built", 0, "\xD0", Opens},
        {"beta signature", 0, "\x0E\x11\xFC\x0D\xD0\xCF\x11\xE0", Opens},
        {"no signature", 7, "\xE0", NotAStorage},
        {"big-endian", 28, "\xFF\xFE", Corrupted},
        {"sectors of 256", 30, std::string("\x08\0", 2), Corrupted},
        {"sectors of 8192", 30, std::string("\x0D\0", 2), Corrupted},
        {"shifts count modulo 32", 30, std::string("\x29\0\x26\0", 4), Opens},
        {"mini sectors of 32", 32, std::string("\x05\0", 2), Corrupted},
        {"mini sectors of 1024", 32, std::string("\x0A\0", 2), Corrupted},
        {"versions do not matter", 24, "\xFF\xFF\xFF\xFF", Opens},
    };
    DocumentBuilder builder;
    builder.AddStream(0, u"mini", Content(100));
    const std::string valid = builder.Build();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::string bytes = valid;
        bytes.replace(row.offset, row.bytes.size(), row.bytes);
        if (row.outcome == NotAStorage)
            EXPECT_THROW(OpenDocument{bytes}, NotAStorageOLEException);
        else if (row.outcome == Corrupted)
            EXPECT_THROW(OpenDocument{bytes}, CorruptedStorageOLEException);
        else
            EXPECT_EQ(OpenDocument(bytes).Read(u"mini"_w), Content(100));
    }
    EXPECT_THROW(OpenDocument{valid.substr(0, 511)}, NotAStorageOLEException);
    EXPECT_EQ(OpenDocument(valid.substr(0, 512)).Names(), "");
}

TEST(CompoundDocument, StoragesAreFoundByIdAndExactName)
{
    DocumentBuilder builder;
    const std::uint32_t outer = builder.AddStorage(0, u"Outer");
    const std::uint32_t inner = builder.AddStorage(outer, u"Inner");
    builder.AddStream(inner, u"leaf", "leaf content");
    builder.AddStream(0, u"leaf", "root content");
    const OpenDocument document(builder.Build());
    EXPECT_EQ(Kiv::Utf8(document.storage.Name()), "Root Entry");
    const Kiv::SmartPtr<Storage> found = document.storage.OpenStorage(u"Outer"_w)->OpenStorage(inner);
    EXPECT_EQ(Kiv::Utf8(found->Name()), "Inner");
    MemoryBuffer out;
    found->ReadStream(u"leaf"_w, out);
    EXPECT_EQ(out.Size(), std::string("leaf content").size());
    EXPECT_THROW((void)document.storage.OpenStorage(u"outer"_w), StorageNotFoundOLEException);
    EXPECT_THROW((void)document.storage.OpenStorage(inner), StorageNotFoundOLEException);
    EXPECT_THROW(document.Read(u"Leaf"_w), StreamNotFoundOLEException);
    EXPECT_THROW(document.storage.OpenStorage(outer)->ReadStream(u"leaf"_w, out), StreamNotFoundOLEException);
    EXPECT_EQ(document.Read(4711u), "");
}

TEST(CompoundDocument, OnlyNamedStoragesAndStreamsAreListed)
{
    struct Row {
        const char* what;
        std::size_t offset;
        std::string bytes;
        std::string listed;
    };
    const std::string full = Utf16(std::u16string(32, u'x'));
    const Row rows[] = {
        {"a name that fills its field", 0, full + "\x40", std::string(32, 'x') + " "},
        {"a longer one is cut", 0, full + std::string("\xFF\xFF", 2), std::string(32, 'x') + " "},
        {"zeros at the end are no part of it", 64, "\x28", "name "},
        {"a name of length 0", 64, std::string("\0\0", 2), ""},
        {"type 0", 66, std::string("\0", 1), ""},
        {"type 3", 66, "\3", ""},
        {"a second root", 66, "\5", ""},
        {"type 6", 66, "\6", ""},
    };
    DocumentBuilder builder;
    const std::uint32_t id = builder.AddStream(0, u"name", "x");
    const std::string valid = builder.Build();
    for (const Row& row : rows) {
        std::string bytes = valid;
        bytes.replace(builder.EntryOffset(id) + row.offset, row.bytes.size(), row.bytes);
        EXPECT_EQ(OpenDocument(bytes).Names(), row.listed) << row.what;
    }
}

// Sectors 0 to 7 hold the stream, 8 the mini stream, 12 is cut and leads back to 3. Each row breaks one chain.
TEST(DamagedDocument, ChainsEndWhereTheyBreak)
{
    constexpr std::uint32_t CUT_SECTOR = 12;
    struct Row {
        const char* what;
        std::uint32_t sector;
        std::uint32_t next;
        std::size_t streamBytes;
        std::size_t miniBytes;
    };
    const Row rows[] = {
        {"a sector that follows itself", 0, 0, 512, 100},
        {"a way back", 5, 2, 6 * 512, 100},
        {"an early end", 2, DocumentBuilder::END, 3 * 512, 100},
        {"a sector behind the FAT", 2, 0x00FFFFFF, 3 * 512, 100},
        {"a sector behind the document", 2, 127, 3 * 512, 100},
        {"a sector that the document's end cuts", 2, CUT_SECTOR, 3 * 512 + 100, 100},
        {"a mini stream that follows itself", 8, 8, 4096, 100},
        {"a mini stream that leads into the stream", 8, 0, 4096, 100},
    };
    DocumentBuilder builder;
    const std::uint32_t stream = builder.AddStream(0, u"stream", Content(4096));
    const std::uint32_t mini = builder.AddStream(0, u"mini", Content(100));
    const std::string valid = builder.Build();
    ASSERT_EQ(valid.size(), builder.Offset(CUT_SECTOR));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::string bytes = valid + Content(4096).substr(3 * 512, 100);
        Poke(bytes, builder.FATOffset(CUT_SECTOR), 3u);
        Poke(bytes, builder.FATOffset(row.sector), row.next);
        Poke(bytes, builder.EntryOffset(0) + 120, 0x7FFFFFFFu);
        const OpenDocument document(bytes);
        EXPECT_EQ(document.Read(stream), Content(4096).substr(0, row.streamBytes));
        EXPECT_EQ(document.Read(mini), Content(100).substr(0, row.miniBytes));
    }
}

// (sector + 1) << 9 would be the right offset again if it were cut to 32 bits.
TEST(DamagedDocument, SectorsBehind4GiBAreNotThere)
{
    constexpr std::uint32_t ONCE_AROUND = 1u << (32 - 9);
    DocumentBuilder builder;
    const std::uint32_t id = builder.AddStream(0, u"stream", Content(4096));
    const std::uint32_t mini = builder.AddStream(0, u"mini", Content(100));
    const std::string valid = builder.Build();
    struct Row {
        const char* what;
        std::size_t offset;
        std::uint32_t sector;
        std::string listed;
        std::size_t streamBytes;
        std::size_t miniBytes;
    };
    const Row rows[] = {
        {"directory", 48, builder.DirectorySector(), "", 0, 0},
        {"mini FAT", 60, builder.MiniFATSector(), "stream mini ", 4096, 0},
        {"FAT", 76, builder.FATSector(), "stream mini ", 0, 0},
        {"stream", builder.EntryOffset(id) + 116, builder.FirstSector(id), "stream mini ", 0, 100},
        {"mini stream", builder.EntryOffset(0) + 116, builder.FirstSector(0), "stream mini ", 4096, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::string bytes = valid;
        Poke(bytes, row.offset, row.sector + ONCE_AROUND);
        const OpenDocument document(bytes);
        EXPECT_EQ(document.Names(), row.listed);
        EXPECT_EQ(document.Read(id).size(), row.streamBytes);
        EXPECT_EQ(document.Read(mini).size(), row.miniBytes);
    }
}

TEST(DamagedDocument, CutDocumentYieldsBeginningsOfItsStreams)
{
    DocumentBuilder builder;
    builder.isFragmented = true;
    const std::uint32_t ids[] = {builder.AddStream(0, u"mini", Content(1000)),
                                 builder.AddStream(0, u"s", Content(5000))};
    builder.AddStream(0, SUMMARY_NAME, Summary("title"));
    const std::string valid = builder.Build();
    for (std::size_t size = 512; size < valid.size(); size += 37) {
        const OpenDocument document(valid.substr(0, size));
        EXPECT_EQ(document.Read(ids[0]), Content(1000).substr(0, document.Read(ids[0]).size())) << size;
        const std::string read = document.Read(ids[1]);
        EXPECT_EQ(read, Content(5000).substr(0, read.size())) << size;
        (void)document.Title();
    }
}

TEST(HostileDocument, ClaimedTablesAreNotReservedAndListsOfOneSectorEnd)
{
    std::string claims(512, '\0');
    claims.replace(0, 512, DocumentBuilder().Build(), 0, 512);
    Poke(claims, 44, 0x20000u);
    Poke(claims, 60, 0u);
    Poke(claims, 64, 0xFFFFFFFFu);
    EXPECT_EQ(OpenDocument(claims).Names(), "");

    DocumentBuilder builder;
    builder.sectorShift = 12;
    const std::uint32_t id = builder.AddStream(0, u"stream", Content(300000));
    std::string bytes = builder.Build();
    // A hundred DIFAT sectors, each of which lists the one FAT sector 1023 times.
    const auto difatSector = static_cast<std::uint32_t>(bytes.size() / 4096 - 1);
    for (std::uint32_t i = 0; i < 100; ++i) {
        for (int entry = 0; entry < 1023; ++entry)
            bytes += Bytes(builder.FATSector());
        bytes += Bytes(difatSector + i + 1);
    }
    for (std::size_t i = 0; i < 109; ++i)
        Poke(bytes, 76 + i * 4, builder.FATSector());
    Poke(bytes, 44, 0x10000u);
    Poke(bytes, 68, difatSector);
    OpenDocument document(bytes);
    EXPECT_EQ(document.Read(id), Content(300000));
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
        Poke(bytes, builder.EntryOffset(loop) + 68, inner);  // and a way back among the siblings
        EXPECT_EQ(OpenDocument(bytes).Title(), "inner title");
    }
    EXPECT_EQ(OpenDocument(bytes).storage.OpenStorage(outer)->OpenStorage(inner)->Storages().size(), 2u);
}

// Every storage has the same long list of children, every stream the same sectors.
TEST(HostileDocument, SharedChildrenAndSectorsAreNotReadOverAndOver)
{
    DocumentBuilder builder;
    std::vector<std::uint32_t> storages;
    std::vector<std::uint32_t> streams{builder.AddStream(0, SUMMARY_NAME, Content(200000))};
    for (int i = 0; i < 300; ++i) {
        storages.push_back(builder.AddStorage(0, u"d"));
        streams.push_back(builder.AddStream(0, u"\5x", "x"));
    }
    std::string bytes = builder.Build();
    for (const std::uint32_t id : storages)
        Poke(bytes, builder.EntryOffset(id) + 76, streams.front());
    for (const std::uint32_t id : streams) {
        Poke(bytes, builder.EntryOffset(id) + 116, builder.FirstSector(streams.front()));
        Poke(bytes, builder.EntryOffset(id) + 120, 200000u);
    }
    OpenDocument document(bytes);
    EXPECT_EQ(document.Title(), "");
    EXPECT_LT(document.source.bytes, 4 * bytes.size());
}

TEST(DocumentProperties, AreFoundInAllStoragesTheOuterFirst)
{
    DocumentBuilder builder;
    const std::uint32_t first = builder.AddStorage(0, u"first");
    const std::uint32_t deep = builder.AddStorage(first, u"deep");
    builder.AddStream(deep, SUMMARY_NAME, Summary("deep"));
    const std::uint32_t second = builder.AddStorage(0, u"second");
    builder.AddStream(second, u"Contents", Summary("second"));
    builder.AddStream(0, u"\5broken", "no property set at all");
    builder.AddStream(0, u"SummaryInformation", Summary("not by this name"));
    EXPECT_EQ(OpenDocument(builder.Build()).Title(), "second");
    EXPECT_EQ(Kiv::Utf8(OpenDocument(builder.Build()).storage.OpenStorage(first)->Name()), "first");
    builder.AddStream(0, SUMMARY_NAME, Summary("own"));
    EXPECT_EQ(OpenDocument(builder.Build()).Title(), "own");
}
