// The conversions on the real tables generated from Unihan and packed into the resource package.
#include "service_business/translator.h"

#include "resource_parser/res_loader.h"
#include "utility_business/kelmo_path_info.h"

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>
#include <QTextCodec>

#include <future>
#include <map>
#include <vector>

namespace Translator = service_business::Translator;

namespace {

// What the printing side does to a line: keep what GB2312 has, spell the rest in pinyin.
std::u16string printable(const std::u16string& text)
{
    std::u16string result;
    for (char16_t c : Translator::toSimplifiedChinese(text)) {
        if (Translator::isInGB2312(c))
            result += c;
        else
            result += Translator::toPinyin(c);
    }
    return result;
}

QString tableText(const char* name)
{
    const auto package = resource::ResLoader::get(utility_business::kelmoPathInfo().ostinelPakPath());
    return package->getFileText(QLatin1String(name));
}

std::u16string pairFileText() { return tableText("data/traditional_simplified.dat").toStdU16String(); }

}  // namespace

TEST(Translator, SimplifiesATraditionalName)
{
    EXPECT_EQ(Translator::toSimplifiedChinese(u"劉德華"), u"刘德华");
    EXPECT_EQ(Translator::toSimplifiedChinese(u"張偉 (後門)"), u"张伟 (后门)");
    EXPECT_EQ(Translator::toTraditionalChinese(u"刘德华"), u"劉德華");
}

TEST(Translator, SpellsACharacterOutsideGb2312InPinyinWithoutTone)
{
    EXPECT_EQ(Translator::toPinyin(u'喆'), u"zhe");
    EXPECT_EQ(Translator::toPinyin(u'堃'), u"kun");
    EXPECT_EQ(Translator::toPinyin(u'绿'), u"lv") << "ü is written v";
    EXPECT_EQ(Translator::toPinyin(u'A'), u"(*)");
    EXPECT_EQ(Translator::toPinyin(std::u16string(u"好A")), u"hao(*)");
    EXPECT_EQ(Translator::toPinyin(std::u16string()), u"");
}

TEST(Translator, PrintableLineKeepsGb2312SymbolsAndHanAndSpellsTheRest)
{
    EXPECT_EQ(printable(u"王喆，張堃【x2】"), u"王zhe，张kun【x2】");
    EXPECT_EQ(printable(u"——\u2015\u30fb"), u"——(*)(*)") << "the dash of the printer's code page, not its look-alikes";
}

// What the table accepts is printed as is, so each must be one two-byte GB2312 code of the printer's code page.
TEST(Translator, EveryCharacterOfTheGb2312TableIsATwoByteGb2312CodeOfThePrintersCodePage)
{
    const QStringList codes = tableText("data/gb2312.dat").split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(codes.size(), 7445) << "GB2312's 6763 Han characters and 682 symbols";
    QTextCodec* const codePage = QTextCodec::codecForName("GB18030");
    ASSERT_TRUE(codePage);
    QStringList outside;
    for (const QString& code : codes) {
        const QByteArray bytes = codePage->fromUnicode(QString(QChar(code.toUShort(nullptr, 16))));
        const bool gb2312 = bytes.size() == 2 && uchar(bytes[0]) >= 0xA1 && uchar(bytes[0]) <= 0xF7 &&
                            uchar(bytes[1]) >= 0xA1 && uchar(bytes[1]) <= 0xFE;
        if (!gb2312) outside << code;
    }
    EXPECT_TRUE(outside.isEmpty()) << outside.join(QLatin1Char(' ')).toStdString();
}

TEST(Translator, TraditionalAndBackReturnsEveryPairWhoseCharactersOccurOnce)
{
    const std::u16string text = pairFileText();
    std::vector<char16_t> characters;
    for (char16_t c : text)
        if (c != u' ' && c != u'\n') characters.push_back(c);
    ASSERT_GT(characters.size(), 2000u) << "the generated pair table is missing or short";
    ASSERT_EQ(characters.size() % 2, 0u);

    std::map<char16_t, int> occurrences;
    for (char16_t c : characters) ++occurrences[c];
    int checked = 0;
    for (size_t i = 0; i + 1 < characters.size(); i += 2) {
        const std::u16string traditional(1, characters[i]);
        const std::u16string simplified(1, characters[i + 1]);
        if (occurrences[characters[i]] != 1 || occurrences[characters[i + 1]] != 1) continue;
        EXPECT_EQ(Translator::toSimplifiedChinese(Translator::toTraditionalChinese(simplified)), simplified);
        EXPECT_EQ(Translator::toTraditionalChinese(Translator::toSimplifiedChinese(traditional)), traditional);
        ++checked;
    }
    EXPECT_GT(checked, 1000);
}

TEST(Translator, FirstUseFromManyThreadsAtOnceSeesOneLoadedTable)
{
    std::promise<void> go;
    std::shared_future<void> start = go.get_future().share();
    std::vector<std::future<std::u16string>> results;
    for (int i = 0; i < 8; ++i)
        results.push_back(std::async(std::launch::async, [start] {
            start.wait();
            return Translator::toSimplifiedChinese(u"劉") + Translator::toPinyin(u'喆');
        }));
    go.set_value();
    for (auto& result : results) EXPECT_EQ(result.get(), u"刘zhe");
}
