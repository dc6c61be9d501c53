// Compound documents: every operation of every storage on any bytes.
#include <cstddef>
#include <cstdint>
#include <set>

#include <KivFile/MemoryBuffer.h>
#include <KivFile/OLE/Storage.h>
#include <KivFile/StaticMemoryBuffer.h>

using namespace KivFile;
using OLE::Storage;

namespace
{

// Reading streams that share their sectors takes the product of their number and size, which is the caller's to bound.
constexpr std::size_t MOST_STREAMS = 200;

void ReadStreams(const Storage& storage, std::size_t& streamsRead)
{
    for (const Storage::Item& item : storage.Streams()) {
        if (++streamsRead > MOST_STREAMS)
            return;
        MemoryBuffer byId;
        storage.ReadStream(item.id, byId);
        MemoryBuffer byName;
        storage.ReadStream(item.name, byName);
        if (byId.Size() > item.size)
            __builtin_trap();
    }
}

void Visit(const Storage& storage, std::set<std::uint32_t>& visited, std::size_t& streamsRead)
{
    ReadStreams(storage, streamsRead);
    for (const Storage::Item& item : storage.Storages()) {
        if (!visited.insert(item.id).second || visited.size() > MOST_STREAMS)
            continue;
        (void)storage.OpenStorage(item.name);
        Visit(*storage.OpenStorage(item.id), visited, streamsRead);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    StaticMemoryBuffer buffer(static_cast<const void*>(data), static_cast<unsigned int>(size));
    try {
        const Storage root("", buffer);
        std::set<std::uint32_t> visited;
        std::size_t streamsRead = 0;
        Visit(root, visited, streamsRead);
        OLE::PropertyStorage::AllMap all;
        root.Properties(all);
        OLE::PropertyStorage::EnumMap byEnum;
        OLE::PropertyStorage::NameMap byName;
        root.Properties(byEnum, byName);
        if (all.size() != byEnum.size() + byName.size())
            __builtin_trap();
    } catch (const OLE::OLEException&) {
    }
    return 0;
}
