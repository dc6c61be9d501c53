#include <KivBase/Messages.h>

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

std::atomic<int> KivMessagesInit::ms_Cnt{0};

namespace
{

struct Record {
    std::string module;
    std::uint32_t id;
    Kiv::WString text;
};

// Reads a catalog block from its beginning to its end; throws std::out_of_range when it ends too early.
class BlockReader
{
public:
    explicit BlockReader(std::string_view block) : m_rest(block) {}

    std::vector<Record> Records()
    {
        std::vector<Record> records;
        for (std::uint32_t left = Number<4>(); left != 0; --left)
            records.push_back(NextRecord());
        if (!m_rest.empty())
            throw std::out_of_range("bytes behind the last record");
        return records;
    }

private:
    std::string_view Bytes(std::size_t count)
    {
        if (count > m_rest.size())
            throw std::out_of_range("the block ends inside a record");
        const std::string_view bytes = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return bytes;
    }

    template <unsigned Size>
    std::uint32_t Number()
    {
        std::uint32_t value = 0;
        unsigned shift = 0;
        for (const char byte : Bytes(Size)) {
            value |= std::uint32_t{static_cast<unsigned char>(byte)} << shift;
            shift += 8;
        }
        return value;
    }

    Record NextRecord()
    {
        Record record;
        record.module = Bytes(Number<4>());
        record.id = Number<4>();
        Number<4>(); // constants of the message compiler, which nothing here depends on
        Number<1>();
        record.text = Text(Number<4>());
        Number<4>();
        return record;
    }

    Kiv::WString Text(std::uint32_t length)
    {
        if (length % 2 != 0)
            throw std::out_of_range("half a code unit at the end of a text");
        Kiv::WString text;
        for (std::uint32_t unit = 0; unit < length / 2; ++unit)
            text.push_back(static_cast<unsigned short>(Number<2>()));
        if (Number<2>() != 0)
            throw std::out_of_range("a text without its terminator");
        return text;
    }

    std::string_view m_rest;
};

// Module tag, then message id.
using Texts = std::map<std::string, std::map<std::uint32_t, Kiv::WString>, std::less<>>;

struct Catalog {
    std::mutex lock;
    std::optional<Texts> texts;
};

// Never destroyed: exceptions ask for their texts until the process ends, whatever the order of the modules' ends.
Catalog& TheCatalog()
{
    static Catalog& catalog = *new Catalog;
    return catalog;
}

} // namespace

void KivMessages::Init()
{
    Catalog& catalog = TheCatalog();
    const std::lock_guard guard(catalog.lock);
    catalog.texts.emplace();
}

void KivMessages::Load(const unsigned char* data, unsigned int size, const char* name)
{
    std::vector<Record> records;
    try {
        records = BlockReader({reinterpret_cast<const char*>(data), size}).Records();
    } catch (const std::out_of_range& fault) {
        throw std::runtime_error("message catalog " + std::string(name) + ": " + fault.what());
    }

    Catalog& catalog = TheCatalog();
    const std::lock_guard guard(catalog.lock);
    if (!catalog.texts)
        throw std::logic_error("message catalog " + std::string(name) + " loaded before the first Init");
    for (Record& record : records)
        (*catalog.texts)[record.module][record.id] = std::move(record.text);
}

void KivMessages::Free()
{
    Catalog& catalog = TheCatalog();
    const std::lock_guard guard(catalog.lock);
    catalog.texts.reset();
}

Kiv::WString KivMessages::Text(std::string_view module, std::uint32_t id)
{
    Catalog& catalog = TheCatalog();
    const std::lock_guard guard(catalog.lock);
    if (!catalog.texts)
        return {};
    const auto texts = catalog.texts->find(module);
    if (texts == catalog.texts->end())
        return {};
    const auto text = texts->second.find(id);
    return text == texts->second.end() ? Kiv::WString() : text->second;
}
