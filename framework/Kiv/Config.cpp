#include <Kiv/Config.h>

#include <utility>

namespace Kiv
{

namespace
{

void Overlay(Config::Table& table, const Config::Table& winner)
{
    for (const auto& [name, keys] : winner) {
        Config::Section::Keys& section = table[name].Edit();
        for (const auto& [key, entry] : keys)
            section[key] = entry;
    }
}

const WString* Find(const Config::Table& table, WStringView section, WStringView key)
{
    const auto keys = table.find(section);
    if (keys == table.end())
        return nullptr;
    const auto entry = keys->second.find(key);
    return entry == keys->second.end() ? nullptr : &entry->second.value;
}

template <class Map>
bool Erase(Map& map, WStringView name)
{
    const auto found = map.find(name);
    if (found == map.end())
        return false;
    map.erase(found);
    return true;
}

} // namespace

// A section that finds itself the only owner has seen all that the others did before they let go, since the count is
// read in the order in which it is changed; and it stays the only one, for there is no other section to copy.
Config::Section::Keys& Config::Section::Edit()
{
    if (m_shared->NbRef() > 1)
        m_shared = MakeShared<Shared>(*m_shared);
    return m_shared->keys;
}

Config::Config() = default;
Config::Config(const Config&) = default;
Config& Config::operator=(const Config&) = default;
Config::~Config() = default;

const WString* Config::Get(WStringView section, WStringView key) const
{
    const WString* value = Find(m_data, section, key);
    return value ? value : Find(m_defaults, section, key);
}

// Key and value are copies, because those given may lie in keys that only other configurations hold from here on.
void Config::Set(const WString& section, WString key, WString value)
{
    m_data[section].Edit()[std::move(key)].value = std::move(value);
}

bool Config::Remove(WStringView section, WStringView key)
{
    const WString name(key); // a copy for the same reason
    const auto keys = m_data.find(section);
    return keys != m_data.end() && Erase(keys->second.Edit(), name);
}

bool Config::RemoveSection(WStringView section)
{
    return Erase(m_data, section);
}

void Config::Merge(const Config& other)
{
    Overlay(m_data, other.m_data);
}

void Config::Save(const std::string&, bool)
{
    KeepAsStored();
}

void Config::KeepAsStored()
{
    Table copy = m_data;
    m_stored.swap(copy);
}

void Config::LoadDefault(const Config& defaults)
{
    Table table = defaults.m_defaults;
    Overlay(table, defaults.m_data);
    m_defaults = std::move(table);
}

void Config::FindDefaults(WStringView section, Section& defaultsOut) const
{
    const auto found = m_defaults.find(section);
    defaultsOut = found == m_defaults.end() ? Section() : found->second;
}

} // namespace Kiv
