// The conversions on the real tables generated from Unihan and packed into the resource package: the cases
// of translator_cases.txt, and the tables' own consistency.
#include "service_business/translator.h"

#include "resource_parser/res_loader.h"
#include "utility_business/kelmo_path_info.h"

#include "qt_print.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>
#include <QTextCodec>

#include <future>
#include <map>
#include <vector>

namespace Translator = service_business::Translator;

namespace {

std::u16string convert(const QString& conversion, const std::u16string& text)
{
    if (conversion == QLatin1String("simplified")) return Translator::toSimplifiedChinese(text);
    if (conversion == QLatin1String("traditional")) return Translator::toTraditionalChinese(text);
    if (conversion == QLatin1String("pinyin")) return text.size() == 1 ? Translator::toPinyin(text[0]) : Translator::toPinyin(text);
    std::u16string line;  // printable
    for (char16_t c : Translator::toSimplifiedChinese(text)) line += Translator::isInGB2312(c) ? std::u16string(1, c) : Translator::toPinyin(c);
    return line;
}

QString unescaped(QString text)
{
    static const QRegularExpression escape(QStringLiteral("\\\\u([0-9a-fA-F]{4})"));
    for (auto match = escape.match(text); match.hasMatch(); match = escape.match(text))
        text.replace(match.capturedStart(), 6, QChar(match.captured(1).toUShort(nullptr, 16)));
    return text;
}

QString tableText(const char* name)
{
    return resource::ResLoader::get(utility_business::kelmoPathInfo().ostinelPakPath())->getFileText(QLatin1String(name));
}

}  // namespace

TEST(Translator, ConvertsEveryCaseOfTheTable)
{
    QFile file(QStringLiteral(SB_TRANSLATOR_CASES));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Text));
    int cases = 0;
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n')) {
        const QStringList fields = line.split('\t');
        if (line.startsWith('#') || fields.size() != 3) continue;
        ++cases;
        EXPECT_EQ(QString::fromStdU16String(convert(fields[0], unescaped(fields[1]).toStdU16String())), unescaped(fields[2]))
            << line.toStdString();
    }
    EXPECT_EQ(cases, 11);
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
        if (bytes.size() != 2 || uchar(bytes[0]) < 0xA1 || uchar(bytes[0]) > 0xF7 || uchar(bytes[1]) < 0xA1 || uchar(bytes[1]) > 0xFE)
            outside << code;
    }
    EXPECT_EQ(outside, QStringList());
}

TEST(Translator, TraditionalAndBackReturnsEveryPairWhoseCharactersOccurOnce)
{
    std::vector<char16_t> characters;
    for (char16_t c : tableText("data/traditional_simplified.dat").toStdU16String())
        if (c != u' ' && c != u'\n') characters.push_back(c);
    ASSERT_GT(characters.size(), 2000u) << "the generated pair table is missing or short";
    ASSERT_EQ(characters.size() % 2, 0u);
    std::map<char16_t, int> occurrences;
    for (char16_t c : characters) ++occurrences[c];
    int checked = 0;
    for (size_t i = 0; i + 1 < characters.size(); i += 2) {
        const std::u16string traditional(1, characters[i]), simplified(1, characters[i + 1]);
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
