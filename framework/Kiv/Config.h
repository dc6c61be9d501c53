// Settings: sections of named values, with defaults behind them.
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include <KivBase/Exception.h>
#include <KivBase/Export.h>
#include <KivBase/NoCase.h>
#include <KivBase/SmartPtr.h>
#include <KivBase/WString.h>

namespace Kiv
{

// A configuration in memory; a derived class binds one to a source. Names of sections and keys are compared and ordered
// without regard to letter case and keep the spelling they were first given.
//
// Besides the data it holds defaults, which answer for keys that the data lacks, and a stored copy: the data as last
// read from or written to the source. Copies are independent, on whatever threads they are used; one configuration is
// used by one thread at a time.
class KIV_EXPORT Config
{
public:
    // Root of what goes wrong with a configuration's source.
    class KIV_TYPE ConfigException : public ExceptionT<ConfigException, Exception>
    {
    public:
        using ExceptionT::ExceptionT;
    };

    // The source can be opened neither for reading nor, on a save, for writing.
    class KIV_TYPE CannotOpenSourceException : public ExceptionT<CannotOpenSourceException, ConfigException>
    {
    public:
        using ExceptionT::ExceptionT;
    };

    // The source holds what is no configuration.
    class KIV_TYPE InvalidConfigException : public ExceptionT<InvalidConfigException, ConfigException>
    {
    public:
        using ExceptionT::ExceptionT;
    };

    // A value of one or several lines, joined by line feeds. The flag is kept for the derived class.
    struct Entry {
        WString value;
        bool flag = false;

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    // The keys of a section. Copies share them until one of the copies is changed, which makes the stored copy of 2000
    // sections as cheap as their names. Copies may be used on different threads.
    class KIV_EXPORT Section
    {
    public:
        using Keys = std::map<WString, Entry, WNoCase>;

        // A move is a copy: a section always has keys.
        Section() = default;
        Section(const Section&) = default;
        Section& operator=(const Section&) = default;

        [[nodiscard]] Keys::const_iterator begin() const { return m_shared->keys.begin(); }
        [[nodiscard]] Keys::const_iterator end() const { return m_shared->keys.end(); }
        [[nodiscard]] Keys::const_iterator find(WStringView key) const { return m_shared->keys.find(key); }
        [[nodiscard]] std::size_t size() const { return m_shared->keys.size(); }
        [[nodiscard]] bool empty() const { return m_shared->keys.empty(); }

        // The keys, for this section alone to be changed. Valid until the section is copied or assigned to.
        [[nodiscard]] Keys& Edit();

        friend bool operator==(const Section& a, const Section& b)
        {
            return a.m_shared == b.m_shared || a.m_shared->keys == b.m_shared->keys;
        }

    private:
        struct Shared : RefCountedT<Shared> {
            Keys keys;
        };

        SmartPtr<Shared> m_shared = MakeShared<Shared>();
    };
    using Table = std::map<WString, Section, WNoCase>;

    Config();
    Config(const Config&);
    Config& operator=(const Config&);
    virtual ~Config();

    // The value of a key, else its default, else null. Valid until the configuration is next changed.
    [[nodiscard]] const WString* Get(WStringView section, WStringView key) const;

    // Gives a key a value; section and key are made where they are missing.
    void Set(const WString& section, WString key, WString value);

    // Removes a key, or a section with all its keys, from the data; defaults stay. Return whether it was there.
    bool Remove(WStringView section, WStringView key);
    bool RemoveSection(WStringView section);

    // The data and the stored copy, without defaults.
    [[nodiscard]] const Table& Data() const { return m_data; }
    [[nodiscard]] const Table& StoredData() const { return m_stored; }

    // Takes over the data of another configuration: its values win, what only this one holds stays.
    void Merge(const Config& other);

    // Writes the data to the source; the stored copy is then the data. A configuration without a source, as this class
    // makes it, only takes the stored copy.
    // fileName: another target, empty for the own one; noMerge: what only the target holds is not kept.
    virtual void Save(const std::string& fileName, bool noMerge);

protected:
    [[nodiscard]] Table& EditableData() { return m_data; }

    // Makes the stored copy equal to the data.
    void KeepAsStored();

    // Installs a copy of another configuration, its own defaults included, as the defaults.
    void LoadDefault(const Config& defaults);

    // Replaces defaultsOut by the defaults of a section; empty when it has none.
    void FindDefaults(WStringView section, Section& defaultsOut) const;

private:
    Table m_data;
    Table m_stored;
    Table m_defaults;
};

} // namespace Kiv
