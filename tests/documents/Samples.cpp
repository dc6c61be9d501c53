#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

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

std::string Repeated(char character, std::size_t n)
{
    return std::string(n, character);
}

std::string Keywords()
{
    std::string keywords = "wstring k0";
    for (int i = 1; i < 200; ++i)
        keywords += ", k" + std::to_string(i);
    return keywords;
}

struct Sample {
    const char* file;
    Properties properties;
};

// What the writers were given; the two exceptions say why.
const Sample SAMPLES[] = {
    {"latin.doc",
     {{"Title", "wstring Quarterly résumé – naïve façade"},
      {"Subject", "wstring Ünïcödé “quotes”"},
      {"Author", "wstring José Ångström"},
      {"Keywords", "wstring alpha, béta, γάμμα"},
      {"Comments", "wstring Line one\nLine two — dash"},
      {"CreationDate", "datetime 2019-03-14T15:09:26Z"},
      {"RevisionNumber", "wstring 1"},
      {"Client", "wstring Société Générale"},
      {"Count", "double 42"},
      {"Ratio", "double 0.125"},
      {"Done", "bool true"},
      {"Not done", "bool false"},
      {"When", "datetime 2024-02-29T12:00:00Z"}}},
    {"cyrillic.xls",
     {{"Title", "wstring Отчёт о продажах"},
      {"Subject", "wstring Тема документа"},
      {"Author", "wstring Иван Петров"},
      {"Keywords", "wstring отчёт, продажи"},
      {"Comments", "wstring Комментарий: «ёлки»"},
      {"CreationDate", "datetime 2019-03-14T15:09:26Z"},
      {"RevisionNumber", "wstring 1"},
      {"Клиент", "wstring ООО «Ромашка»"},
      {"Версия", "double 3"}}},
    {"japanese.doc",
     {{"Title", "wstring 売上報告書 第1四半期"},
      {"Subject", "wstring 件名テスト"},
      {"Author", "wstring 山田 太郎"},
      {"Keywords", "wstring 報告, 売上"},
      {"Comments", "wstring これはコメントです。"},
      {"CreationDate", "datetime 2019-03-14T15:09:26Z"},
      {"RevisionNumber", "wstring 1"},
      {"顧客", "wstring 株式会社テスト"},
      {"確認済み", "bool true"}}},
    {"arabic_hebrew.xls",
     {{"Title", "wstring تقرير المبيعات"},
      {"Subject", "wstring נושא המסמך"},
      {"Author", "wstring محمد علي"},
      {"Keywords", "wstring تقرير, דוח"},
      {"Comments", "wstring تعليق עם טקסט"},
      {"CreationDate", "datetime 2019-03-14T15:09:26Z"},
      {"RevisionNumber", "wstring 1"},
      {"عميل", "wstring شركة"},
      {"לקוח", "wstring חברה"}}},
    // Its summary holds a preview of 400 KB, more than the scratch buffer keeps in memory.
    {"emoji.ppt",
     {{"Title", "wstring Rocket 🚀 and 𝒳 math"},
      {"Subject", "wstring 👩‍👩‍👧 family"},
      {"Author", "wstring 𠮷野家 🍚"},
      {"Keywords", "wstring 🚀, x"},
      {"Comments", "wstring tail 🏁"},
      {"CreationDate", "datetime 2019-03-14T15:09:26Z"},
      {"RevisionNumber", "wstring 1"},
      {"emoji 🎉 key", "wstring 🎉🎊"},
      {"plain", "wstring v"}}},
    // Written without a code page: its UTF-8 text counts as Windows text.
    {"installer.msi",
     {{"Title", "wstring Installation Database"},
      {"Subject", "wstring Description Ã©"},
      {"Author", "wstring SociÃ©tÃ© Exemple"},
      {"Keywords", "wstring Installer,Sample"},
      {"Comments", "wstring A comment"},
      {"TemplateDocument", "wstring Intel;1033"},
      {"RevisionNumber", "wstring {DE1F6F9D-6ED9-4ED4-AA8F-86B91DDC67E1}"},
      {"NumberOfPages", "int 200"},
      {"NumberOfWords", "int 2"},
      {"Application", "wstring msitools 0.101"},
      {"DocumentSecurity", "int 2"},
      {"CreationDate", "datetime 2026-11-21T04:55:19Z"}}},
    // The second entry of the dictionary, 200 characters, is cut at 127, and the three behind it are read out of step:
    // their values have the ids 4 to 6 and no name, and are taken for properties of the document summary.
    {"longnames.doc",
     {{"Title", "wstring " + Repeated('T', 300)},
      {"Subject", "wstring " + Repeated('S', 600)},
      {"Author", "wstring " + Repeated('A', 511)},
      {"Keywords", Keywords()},
      {"Comments", "wstring " + Repeated('D', 5000)},
      {"CreationDate", "datetime 2019-03-14T15:09:26Z"},
      {"RevisionNumber", "wstring 1"},
      {Repeated('M', 126), "wstring 126"},
      {Repeated('N', 127), "wstring two hundred"},
      {"NumberOfBytes", "wstring 127"},
      {"NumberOfLines", "wstring 128"},
      {"NumberOfParagraphs", "wstring next entry"}}},
};

} // namespace

TEST(Samples, YieldWhatTheirWritersWereGiven)
{
    for (const Sample& sample : SAMPLES)
        EXPECT_EQ(ReadSample(sample.file), sample.properties) << sample.file;
}

TEST(Samples, ManyCustomPropertiesKeepTheirNames)
{
    const Properties properties = ReadSample("many.xls");
    EXPECT_EQ(properties.at("Title"), "wstring Many custom");
    EXPECT_EQ(properties.at("Key 119"), "wstring Value 119 é");
    EXPECT_EQ(properties.size(), 120u + 4u);
}
