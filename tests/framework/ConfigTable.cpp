// Settings in memory.
#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include <Kiv/Config.h>

using Kiv::Config;
using Kiv::WString;
using namespace Kiv::Literals;

namespace
{

class SourceConfig : public Config
{
public:
    using Config::FindDefaults;
    using Config::LoadDefault;
};

WString ValueOf(const Config& config, const WString& section, const WString& key)
{
    const WString* value = config.Get(section, key);
    return value ? *value : u"(none)"_w;
}

} // namespace

TEST(Config, MergeLetsTheOtherWinWhateverTheLetterCase)
{
    Config config, other;
    config.Set(u"\u00C4"_w, u"Key"_w, u"old"_w);
    config.Set(u"\u00C4"_w, u"only here"_w, u"kept"_w);
    other.Set(u"\u00E4"_w, u"KEY"_w, u"new"_w);
    other.Set(u"only there"_w, u"key"_w, u"new"_w);
    config.Merge(other);
    config.Merge(config);
    EXPECT_EQ(config.Data().size(), 2u);
    EXPECT_EQ(config.Data().at(u"\u00E4"_w).begin()->first, u"Key"_w);
    EXPECT_EQ(ValueOf(config, u"\u00E4"_w, u"KEY"_w), u"new"_w);
    EXPECT_EQ(ValueOf(config, u"\u00E4"_w, u"Only Here"_w), u"kept"_w);
    EXPECT_EQ(ValueOf(config, u"only there"_w, u"key"_w), u"new"_w);
}

TEST(Config, DefaultsAnswerForWhatTheDataLacks)
{
    SourceConfig first, second, config;
    first.Set(u"s"_w, u"deep"_w, u"1"_w);
    first.Set(u"s"_w, u"both"_w, u"1"_w);
    second.LoadDefault(first);
    second.Set(u"S"_w, u"both"_w, u"2"_w);
    config.LoadDefault(second);
    second.Set(u"s"_w, u"deep"_w, u"changed later"_w);
    config.Set(u"s"_w, u"both"_w, u"own"_w);
    const SourceConfig copy(config);

    EXPECT_TRUE(config.Remove(u"s"_w, u"BOTH"_w));
    EXPECT_FALSE(config.Remove(u"s"_w, u"both"_w));
    EXPECT_EQ(ValueOf(config, u"s"_w, u"both"_w), u"2"_w);
    EXPECT_EQ(ValueOf(config, u"s"_w, u"deep"_w), u"1"_w);
    EXPECT_TRUE(config.RemoveSection(u"S"_w));
    EXPECT_FALSE(config.RemoveSection(u"s"_w));
    EXPECT_EQ(ValueOf(copy, u"s"_w, u"both"_w), u"own"_w);

    Config::Section defaults;
    copy.FindDefaults(u"S"_w, defaults);
    EXPECT_EQ(defaults.size(), 2u);
    copy.FindDefaults(u"none"_w, defaults);
    EXPECT_TRUE(defaults.empty());
}

TEST(Config, TheStoredCopyIsTheDataAsLastSaved)
{
    SourceConfig config;
    config.Set(u"s"_w, u"k"_w, u"1"_w);
    config.Save("", false);
    EXPECT_EQ(config.StoredData(), config.Data());
    config.Set(u"s"_w, u"k"_w, u"2"_w);
    EXPECT_NE(config.StoredData(), config.Data());
}

// The flag orders nothing, so that the thread sanitizer sees whether the shared keys do by themselves.
TEST(Config, CopiesOnTwoThreadsAreReadDroppedAndChanged)
{
    auto first = std::make_unique<Config>();
    first->Set(u"s"_w, u"k"_w, u"1"_w);
    Config second(*first);
    std::atomic<bool> isDropped = false;
    std::thread reader([&] {
        EXPECT_EQ(ValueOf(*first, u"s"_w, u"k"_w), u"1"_w);
        first.reset();
        isDropped.store(true, std::memory_order_relaxed);
    });
    while (!isDropped.load(std::memory_order_relaxed))
        std::this_thread::yield();
    second.Set(u"s"_w, u"k"_w, u"2"_w);
    reader.join();
    EXPECT_EQ(ValueOf(second, u"s"_w, u"k"_w), u"2"_w);
}

TEST(ConfigSection, ThatWasMovedFromStillHasKeys)
{
    Config::Section from;
    from.Edit()[u"k"_w].value = u"v"_w;
    Config::Section to(std::move(from));
    to.Edit().clear();
    EXPECT_EQ(from.size(), 1u);
    EXPECT_TRUE(to.empty());
}
