// Compound documents: a small file system of storages and streams inside one file, as office documents use it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <KivBase/BinaryStreamBuf.h>
#include <KivBase/FastVector.h>
#include <KivBase/SmartPtr.h>
#include <KivBase/WString.h>
#include <KivFile/DiskBuffer.h>
#include <KivFile/Export.h>
#include <KivFile/OLE/OLEException.h>
#include <KivFile/OLE/PropertyStorage.h>

namespace KivFile::OLE
{

// A storage of a compound document, read-only. The first one is opened over a buffer that holds the document; those
// inside it are reached with OpenStorage.
//
// Only a damaged header is an exception. What is damaged or missing behind it is passed over: lists and streams hold
// what can be read. All storages of a document share its tables, which live until the last of them goes; the source
// buffer is not owned and must outlive them all. One thread at a time for all storages of a document. Memory stays
// below a small multiple of the document's size, and no walk takes a sector or a directory entry twice.
class KIVFILE_EXPORT Storage : public Kiv::RefCountedT<Storage>
{
public:
    // A child of a storage. The id is that of its directory entry; size is the bytes of a stream, 0 for a storage.
    struct Item {
        std::uint32_t id;
        Kiv::WString name;
        std::uint32_t size;
    };

    // What the storages of one document share: its header, allocation tables, directory and mini stream.
    //
    // Sector s lies at (s + 1) * sector size of the document, mini sector m at m * mini sector size of the mini stream.
    class KIVFILE_EXPORT RootStorage : public Kiv::RefCountedT<RootStorage>
    {
    public:
        // The two signatures a document may begin with, OLE_SIG_SIZE bytes each.
        static const unsigned char* const OLE_SIG;
        static const unsigned char* const OLE_SIG_BETA_2;
        static constexpr unsigned int OLE_SIG_SIZE = 8;

        static constexpr std::uint32_t END_OF_CHAIN = 0xFFFFFFFE;
        static constexpr std::uint32_t FREE_SECT = 0xFFFFFFFF;

        // Directory id and name of the outermost storage.
        static constexpr std::uint32_t ROOT_STORAGE_ID = 0;
        static const Kiv::WString ROOT_STORAGE_NAME;

        // Reads header, tables and directory. The buffer's get position must be 0, where the document begins. Throws
        // NotAStorageOLEException when it is no compound document, CorruptedStorageOLEException when its header
        // cannot be right.
        RootStorage(const std::string& tempPath, Kiv::BinaryStreamBufT<unsigned int>& buffer);
        RootStorage(const RootStorage&) = delete;
        RootStorage& operator=(const RootStorage&) = delete;
        ~RootStorage();

        // Where a mini stream that outgrows the memory has its spill file.
        [[nodiscard]] const std::string& TempPath() const { return m_tempPath; }

        // As Storage::ReadStream by id.
        void ReadStream(std::uint32_t id, Kiv::BinaryStreamBufT<unsigned int>& out) const;

        // Appends the children of the storage with the given directory id, in ascending order of their ids.
        void GetChild(std::uint32_t id, std::vector<Item>& storages, std::vector<Item>& streams) const;

    private:
        friend class Storage;

        class DirectoryEntry;
        // Sectors and where they lie: the document's or the mini stream's.
        struct SectorSpace;
        // Where a stream's bytes lie.
        struct Extents;

        static constexpr std::size_t HEADER_SIZE = 512;
        static constexpr std::size_t DIRECTORY_ENTRY_SIZE = 128;
        using EntryBytes = std::array<unsigned char, DIRECTORY_ENTRY_SIZE>;
        // A sector of the directory, and its place in the directory's chain.
        struct DirectorySector {
            std::uint32_t index;
            std::uint32_t sector;
        };

        void ReadHeader();
        [[nodiscard]] bool IsStructuredStorage() const;
        template <class Field>
        [[nodiscard]] Field HeaderField(std::size_t offset) const;

        [[nodiscard]] std::uint32_t TableSectors(std::size_t offset) const;
        void ReserveTable(Kiv::FastVector<std::uint32_t>& table, std::uint32_t sectors) const;
        void ReadFAT();
        void FollowDIFATChain(std::uint32_t left);
        [[nodiscard]] bool ReadFATSectors(const std::uint32_t* sectors, std::size_t n, std::uint32_t& left);
        void ReadMiniFAT();
        void ReadMiniStream() const;
        void ReadDirectoryChain();
        template <class Use>
        bool FollowChain(std::uint32_t sector, Use use) const;

        [[nodiscard]] std::size_t EntriesPerSector() const { return std::size_t{1} << m_sectorShift >> 2; }
        [[nodiscard]] std::uint64_t SectorOffset(std::uint32_t sector) const
        {
            return (std::uint64_t{sector} + 1) << m_sectorShift;
        }
        [[nodiscard]] bool ReadAt(std::uint64_t offset, void* dst, std::size_t n) const;
        [[nodiscard]] bool ReadSector(std::uint32_t sector, void* dst) const;
        [[nodiscard]] bool AppendSector(std::uint32_t sector, Kiv::FastVector<std::uint32_t>& table) const;

        [[nodiscard]] SectorSpace Sectors() const;
        [[nodiscard]] SectorSpace MiniSectors() const;
        [[nodiscard]] Extents Find(const SectorSpace& space, std::uint32_t sector, std::uint32_t size) const;
        [[nodiscard]] Extents FindStream(std::uint32_t id) const;
        static void Copy(const Extents& stream, Kiv::BinaryStreamBufT<unsigned int>& out);
        std::uint64_t ReadProperties(std::uint32_t id, PropertyStorage::EnumMap& byEnum,
                                     PropertyStorage::NameMap& byName) const;

        [[nodiscard]] std::size_t EntriesPerDirectorySector() const;
        [[nodiscard]] std::size_t DirectoryIds() const;
        [[nodiscard]] DirectoryEntry GetDirEntry(std::uint32_t id) const;
        [[nodiscard]] std::vector<std::uint32_t> GetStorageEntries(std::uint32_t id, std::vector<bool>& visited) const;
        void AppendItems(const std::vector<std::uint32_t>& ids, std::vector<Item>& storages,
                         std::vector<Item>& streams) const;

        const std::string m_tempPath;
        Kiv::BinaryStreamBufT<unsigned int>& m_source;
        const unsigned int m_sourceSize;
        std::array<unsigned char, HEADER_SIZE> m_header;
        unsigned int m_sectorShift = 0;
        unsigned int m_miniSectorShift = 0;
        Kiv::FastVector<std::uint32_t> m_FAT;
        Kiv::FastVector<std::uint32_t> m_miniFAT;
        std::vector<DirectorySector> m_directoryChain;
        bool m_isDirectoryWhole = false;
        // The entries read so far, as far as they are valid.
        mutable std::map<std::uint32_t, EntryBytes> m_directory;
        // Read with the first stream that lies in it.
        mutable Kiv::SmartPtr<DiskBuffer> m_miniStream;
        // The sectors or entries that the walk under way has seen. Each walk takes its marks off again, so that a
        // short walk costs no more in a large document.
        mutable std::vector<bool> m_marks;
    };

    // Opens a document that begins at position 0 of buffer, where its get position must be. tempPath is the directory
    // for the spill file of a large mini stream; empty stands for the system's. Throws NotAStorageOLEException and
    // CorruptedStorageOLEException as RootStorage does.
    Storage(const std::string& tempPath, Kiv::BinaryStreamBufT<unsigned int>& buffer);

    [[nodiscard]] const Kiv::WString& Name() const { return m_name; }

    // Whether the document's directory was found to its end. Of a document that was cut short it mostly is not, and
    // then the lists of all its storages may lack entries.
    [[nodiscard]] bool IsDirectoryWhole() const { return m_root->m_isDirectoryWhole; }

    // The children, in ascending order of their ids. A damaged document may list a storage inside itself.
    [[nodiscard]] const std::vector<Item>& Storages() const { return m_storages; }
    [[nodiscard]] const std::vector<Item>& Streams() const { return m_streams; }

    // Opens the child storage of that id, or the first one of exactly that name. Throws StorageNotFoundOLEException
    // when Storages() does not list it.
    [[nodiscard]] Kiv::SmartPtr<Storage> OpenStorage(std::uint32_t id) const;
    [[nodiscard]] Kiv::SmartPtr<Storage> OpenStorage(const Kiv::WString& name) const;

    // Appends the bytes of a stream to out, as many as can be read of those its directory entry declares; none for
    // a directory entry that is not there. Any id of the document will do. Throws what out throws, and what DiskBuffer
    // throws for the spill file of a large mini stream.
    void ReadStream(std::uint32_t id, Kiv::BinaryStreamBufT<unsigned int>& out) const;
    // The same for the first child stream of exactly that name. Throws StreamNotFoundOLEException when Streams() lists
    // none.
    void ReadStream(const Kiv::WString& name, Kiv::BinaryStreamBufT<unsigned int>& out) const;

    // Adds the properties of all property sets in this storage and those below it, breadth first: the document's own
    // come before those of the objects in it, and the first value of a key wins. Streams that are no property set are
    // passed over. Throws what DiskBuffer throws for the mini stream's spill file, as ReadStream does.
    void Properties(PropertyStorage::EnumMap& byEnum, PropertyStorage::NameMap& byName) const;
    // The same in one map, as PropertyStorage::MergePropertyMap merges them.
    void Properties(PropertyStorage::AllMap& all) const;

private:
    Storage(const Kiv::SmartPtr<RootStorage>& root, std::uint32_t id, const Kiv::WString& name);

    Kiv::SmartPtr<RootStorage> m_root;
    std::uint32_t m_id;
    Kiv::WString m_name;
    std::vector<Item> m_storages;
    std::vector<Item> m_streams;
};

} // namespace KivFile::OLE
