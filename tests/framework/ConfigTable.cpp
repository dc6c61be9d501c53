// Settings in memory.
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
    const Kiv::SmartPtr<SourceConfig> writer = Kiv::MakeShared<SourceConfig>();
    const Kiv::SmartPtrToConst<Config> reader = writer;
    writer->Set(u"s"_w, u"k"_w, u"1"_w);
    writer->Save("", false);
    EXPECT_EQ(reader->StoredData(), reader->Data());
    writer->Set(u"s"_w, u"k"_w, u"2"_w);
    EXPECT_NE(reader->StoredData(), reader->Data());
}
