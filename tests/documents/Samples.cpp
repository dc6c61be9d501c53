#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <vector>

#include <KivFile/OLE/Storage.h>
#include <KivFile/StaticMemoryBuffer.h>

using namespace KivFile;

namespace
{

using Properties = std::map<std::string, std::string>;

Properties ReadSample(const std::string& name)
{
    std::ifstream file(KIV_SAMPLES "/" + name, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    StaticMemoryBuffer buffer(static_cast<const void*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
    OLE::PropertyStorage::AllMap all;
    OLE::Storage("", buffer).Properties(all);
    Properties properties;
    for (const auto& [key, value] : all)
        properties[key] = std::string(value.TypeName()) + ' ' + Kiv::Utf8(value.AsWString());
    properties.erase("ModificationDate");
    return properties;
}

std::string Keywords()
{
    std::string keywords = "k0";
    for (int i = 1; i < 200; ++i)
        keywords += ", k" + std::to_string(i);
    return keywords;
}

struct Sample {
    const char* file;
    std::vector<std::string> texts;
    Properties others;

    // The writer of most samples gave all of them the same two others.
    Properties All() const
    {
        Properties all = others;
        all.insert({{"CreationDate", "datetime 2019-03-14T15:09:26Z"}, {"RevisionNumber", "wstring 1"}});
        for (std::size_t i = 0; const char* key : {"Title", "Subject", "Author", "Keywords", "Comments"})
            all[key] = "wstring " + texts[i++];
        return all;
    }
};

// What the writers were given; the two exceptions say why.
const Sample SAMPLES[] = {
    {"latin.doc",
     {"Quarterly résumé – naïve façade", "Ünïcödé “quotes”", "José Ångström", "alpha, béta, γάμμα",
      "Line one\nLine two — dash"},
     {{"Client", "wstring Société Générale"},
      {"Count", "double 42"},
      {"Ratio", "double 0.125"},
      {"Done", "bool true"},
      {"Not done", "bool false"},
      {"When", "datetime 2024-02-29T12:00:00Z"}}},
    {"cyrillic.xls",
     {"Отчёт о продажах", "Тема документа", "Иван Петров", "отчёт, продажи", "Комментарий: «ёлки»"},
     {{"Клиент", "wstring ООО «Ромашка»"}, {"Версия", "double 3"}}},
    {"japanese.doc",
     {"売上報告書 第1四半期", "件名テスト", "山田 太郎", "報告, 売上", "これはコメントです。"},
     {{"顧客", "wstring 株式会社テスト"}, {"確認済み", "bool true"}}},
    {"arabic_hebrew.xls",
     {"تقرير المبيعات", "נושא המסמך", "محمد علي", "تقرير, דוח", "تعليق עם טקסט"},
     {{"عميل", "wstring شركة"}, {"לקוח", "wstring חברה"}}},
    // Its summary holds a preview of 400 KB, more than the scratch buffer keeps in memory.
    {"emoji.ppt",
     {"Rocket 🚀 and 𝒳 math", "👩‍👩‍👧 family", "𠮷野家 🍚", "🚀, x", "tail 🏁"},
     {{"emoji 🎉 key", "wstring 🎉🎊"}, {"plain", "wstring v"}}},
    // Written without a code page: its UTF-8 text counts as Windows text.
    {"installer.msi",
     {"Installation Database", "Description Ã©", "SociÃ©tÃ© Exemple", "Installer,Sample", "A comment"},
     {{"TemplateDocument", "wstring Intel;1033"},
      {"RevisionNumber", "wstring {DE1F6F9D-6ED9-4ED4-AA8F-86B91DDC67E1}"},
      {"NumberOfPages", "int 200"},
      {"NumberOfWords", "int 2"},
      {"Application", "wstring msitools 0.101"},
      {"DocumentSecurity", "int 2"},
      {"CreationDate", "datetime 2026-11-21T04:55:19Z"}}},
    // The second entry of the dictionary, 200 characters, is cut at 127, and the three behind it are read out of step:
    // their values have the ids 4 to 6 and no name, and are taken for properties of the document summary.
    {"longnames.doc",
     {std::string(300, 'T'), std::string(600, 'S'), std::string(511, 'A'), Keywords(), std::string(5000, 'D')},
     {{std::string(126, 'M'), "wstring 126"},
      {std::string(127, 'N'), "wstring two hundred"},
      {"NumberOfBytes", "wstring 127"},
      {"NumberOfLines", "wstring 128"},
      {"NumberOfParagraphs", "wstring next entry"}}},
};

} // namespace

TEST(Samples, YieldWhatTheirWritersWereGiven)
{
    for (const Sample& sample : SAMPLES)
        EXPECT_EQ(ReadSample(sample.file), sample.All()) << sample.file;
}

TEST(Samples, ManyCustomPropertiesKeepTheirNames)
{
    const Properties properties = ReadSample("many.xls");
    EXPECT_EQ(properties.at("Title"), "wstring Many custom");
    EXPECT_EQ(properties.at("Key 119"), "wstring Value 119 é");
    EXPECT_EQ(properties.size(), 120u + 4u);
}
