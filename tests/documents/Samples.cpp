#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include <KivFile/OLE/Storage.h>
#include <documents/Words.h>

namespace
{

std::string ReadSample(const std::string& name)
{
    std::ifstream file(KIV_SAMPLES "/" + name, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    KivFile::StaticMemoryBuffer buffer = KivTest::Over(bytes);
    KivFile::OLE::PropertyStorage::AllMap all;
    KivFile::OLE::Storage("", buffer).Properties(all);
    all.erase("ModificationDate");
    return KivTest::Words(all);
}

std::string Keywords()
{
    std::string keywords = "k0";
    for (int i = 1; i < 200; ++i)
        keywords += ", k" + std::to_string(i);
    return keywords;
}

// The writer of most samples gave all of them the same two.
const std::string DATE = "|CreationDate=datetime 2019-03-14T15:09:26Z|";
const std::string REVISION = "|RevisionNumber=1|";

// What the writers were given; the two exceptions say why.
const std::pair<const char*, std::string> SAMPLES[] = {
    {"latin.doc", "Author=José Ångström|Client=Société Générale|Comments=Line one\nLine two — dash|Count=double 42" +
                      DATE + "Done=bool true|Keywords=alpha, béta, γάμμα|Not done=bool false|Ratio=double 0.125" +
                      REVISION + "Subject=Ünïcödé “quotes”|Title=Quarterly résumé – naïve façade|" +
                      "When=datetime 2024-02-29T12:00:00Z|"},
    {"cyrillic.xls", "Author=Иван Петров|Comments=Комментарий: «ёлки»" + DATE + "Keywords=отчёт, продажи" + REVISION +
                         "Subject=Тема документа|Title=Отчёт о продажах|Версия=double 3|Клиент=ООО «Ромашка»|"},
    {"japanese.doc", "Author=山田 太郎|Comments=これはコメントです。" + DATE + "Keywords=報告, 売上" + REVISION +
                         "Subject=件名テスト|Title=売上報告書 第1四半期|確認済み=bool true|顧客=株式会社テスト|"},
    {"arabic_hebrew.xls", "Author=محمد علي|Comments=تعليق עם טקסט" + DATE + "Keywords=تقرير, דוח" + REVISION +
                              "Subject=נושא המסמך|Title=تقرير المبيعات|לקוח=חברה|عميل=شركة|"},
    // Its summary holds a preview of 400 KB, more than the scratch buffer keeps in memory.
    {"emoji.ppt", "Author=𠮷野家 🍚|Comments=tail 🏁" + DATE + "emoji 🎉 key=🎉🎊|Keywords=🚀, x|plain=v" + REVISION +
                      "Subject=👩‍👩‍👧 family|Title=Rocket 🚀 and 𝒳 math|"},
    // Written without a code page: its UTF-8 text counts as Windows text.
    {"installer.msi", "Application=msitools 0.101|Author=SociÃ©tÃ© Exemple|Comments=A comment|"
                      "CreationDate=datetime 2026-11-21T04:55:19Z|DocumentSecurity=int 2|Keywords=Installer,Sample|"
                      "NumberOfPages=int 200|NumberOfWords=int 2|RevisionNumber={DE1F6F9D-6ED9-4ED4-AA8F-86B91DDC67E1}|"
                      "Subject=Description Ã©|TemplateDocument=Intel;1033|Title=Installation Database|"},
    // The second entry of the dictionary, 200 characters, is cut at 127, and the three behind it are read out of step:
    // their values have the ids 4 to 6 and no name, and are taken for properties of the document summary.
    {"longnames.doc", "Author=" + std::string(511, 'A') + "|Comments=" + std::string(5000, 'D') + DATE +
                          "Keywords=" + Keywords() + '|' + std::string(126, 'M') + "=126|" + std::string(127, 'N') +
                          "=two hundred|NumberOfBytes=127|NumberOfLines=128|NumberOfParagraphs=next entry" + REVISION +
                          "Subject=" + std::string(600, 'S') + "|Title=" + std::string(300, 'T') + '|'},
};

} // namespace

TEST(Samples, YieldWhatTheirWritersWereGiven)
{
    for (const auto& [file, properties] : SAMPLES)
        EXPECT_EQ(ReadSample(file), properties) << file;
    const std::string many = ReadSample("many.xls");
    EXPECT_EQ(std::ranges::count(many, '|'), 124);
    EXPECT_NE(many.find("|Key 119=Value 119 é|"), many.npos);
}
