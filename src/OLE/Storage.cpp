#include <KivFile/OLE/Storage.h>

#include <algorithm>
#include <utility>

namespace KivFile::OLE
{

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

template <class NotFound>
const Storage::Item& FindByName(const std::vector<Storage::Item>& items, const Kiv::WString& name)
{
    const auto found = std::ranges::find(items, name, &Storage::Item::name);
    if (found == items.end())
        throw NotFound();
    return *found;
}

// Some writers keep a property set in a stream of this name.
bool MayHoldProperties(const Kiv::WString& streamName)
{
    static const Kiv::WString CONTENTS = Kiv::Wide(u"CONTENTS");
    return streamName.front() == PropertyStorage::W_NAME_PREFIX || Kiv::WNoCase::IsEqual(streamName, CONTENTS);
}

} // namespace

Storage::Storage(const std::string& tempPath, Buffer& buffer)
    : Storage(Kiv::MakeShared<RootStorage>(tempPath, buffer), RootStorage::ROOT_STORAGE_ID,
              RootStorage::ROOT_STORAGE_NAME)
{
}

Storage::Storage(const Kiv::SmartPtr<RootStorage>& root, std::uint32_t id, const Kiv::WString& name)
    : m_root(root), m_id(id), m_name(name)
{
    m_root->GetChild(m_id, m_storages, m_streams);
}

Kiv::SmartPtr<Storage> Storage::OpenStorage(std::uint32_t id) const
{
    const auto found = std::ranges::lower_bound(m_storages, id, {}, &Item::id);
    if (found == m_storages.end() || found->id != id)
        throw StorageNotFoundOLEException();
    return Kiv::SmartPtr<Storage>(new Storage(m_root, id, found->name));
}

Kiv::SmartPtr<Storage> Storage::OpenStorage(const Kiv::WString& name) const
{
    return OpenStorage(FindByName<StorageNotFoundOLEException>(m_storages, name).id);
}

void Storage::ReadStream(std::uint32_t id, Buffer& out) const
{
    m_root->ReadStream(id, out);
}

void Storage::ReadStream(const Kiv::WString& name, Buffer& out) const
{
    m_root->ReadStream(FindByName<StreamNotFoundOLEException>(m_streams, name).id, out);
}

// One set of visited ids serves the whole tree: where storages share children, a second visit could add nothing, and
// the work stays that of one visit. For the same reason it ends when twice as many bytes have been read as the document
// has, which only streams that overlap can do.
void Storage::Properties(PropertyStorage::EnumMap& byEnum, PropertyStorage::NameMap& byName) const
{
    std::uint64_t bytesRead = 0;
    std::vector<bool> visited(m_root->DirectoryIds());
    std::vector<Item> storages{{m_id, m_name, 0}};
    for (std::size_t i = 0; i < storages.size(); ++i) {
        std::vector<Item> streams;
        m_root->AppendItems(m_root->GetStorageEntries(storages[i].id, visited), storages, streams);
        for (const Item& stream : streams) {
            if (bytesRead / 2 > m_root->m_sourceSize)
                return;
            if (MayHoldProperties(stream.name))
                bytesRead += m_root->ReadProperties(stream.id, byEnum, byName);
        }
    }
}

void Storage::Properties(PropertyStorage::AllMap& all) const
{
    PropertyStorage::EnumMap byEnum;
    PropertyStorage::NameMap byName;
    Properties(byEnum, byName);
    PropertyStorage::MergePropertyMap(std::move(byEnum), std::move(byName), all);
}

} // namespace KivFile::OLE
