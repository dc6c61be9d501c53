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

struct SourceConfig : Config {
    using Config::FindDefaults;
    using Config::LoadDefault;
};

WString ValueOf(const Config& config, const WString& section, const WString& key)
{
    const WString* value = config.Get(section, key);
    return value ? *value : u"(none)"_w;
}

} // namespace

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
    EXPECT_EQ(ValueOf(copy, u"s"_w, u"both"_w), u"own"_w);
    Config::Section defaults = config.Data().at(u"s"_w);
    copy.FindDefaults(u"none"_w, defaults);
    EXPECT_TRUE(defaults.empty());
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
