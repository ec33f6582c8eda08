// The readers of the three table files, fed small texts.
#include "translator.h"

#include <gtest/gtest.h>

using service_business::Translator::Tables;
using service_business::Translator::TableTexts;

namespace {

Tables gb2312(const std::u16string& text) { return Tables::fromTexts({text, u"", u""}); }
Tables pinyin(const std::u16string& text) { return Tables::fromTexts({u"", text, u""}); }
Tables pairs(const std::u16string& text) { return Tables::fromTexts({u"", u"", text}); }

}  // namespace

TEST(TranslatorGb2312Table, EveryCharacterUpTo0xFFIsInEvenWhenTheSetIsEmpty)
{
    const Tables empty = Tables::fromTexts({});
    for (char16_t c = 0; c <= 0xFF; ++c) EXPECT_TRUE(empty.isInGB2312(c)) << int(c);
    EXPECT_FALSE(empty.isInGB2312(u'好'));
    EXPECT_FALSE(empty.isInGB2312(0x100));
}

TEST(TranslatorGb2312Table, ReadsHexCodesUntilTheFirstTokenThatIsNotHex)
{
    const Tables tables = gb2312(u"597D\n4e00 0x5B57\t\r\n  zz 6C34");
    EXPECT_TRUE(tables.isInGB2312(u'好'));
    EXPECT_TRUE(tables.isInGB2312(u'一'));
    EXPECT_TRUE(tables.isInGB2312(u'字'));
    EXPECT_FALSE(tables.isInGB2312(u'水')) << "reading stops at \"zz\"";
}

TEST(TranslatorGb2312Table, KeepsTheLow16BitsOfACode)
{
    const Tables tables = gb2312(u"1597D");
    EXPECT_TRUE(tables.isInGB2312(u'好'));
}

TEST(TranslatorPinyinTable, DropsTheLastCharacterOfTheToken)
{
    const Tables tables = pinyin(u"597D hao3\n5B57\tzi4\r\n");
    EXPECT_EQ(tables.toPinyin(u'好'), u"hao");
    EXPECT_EQ(tables.toPinyin(u'字'), u"zi") << "a CR before the line feed is white space";
}

TEST(TranslatorPinyinTable, TokenOfOneCharacterGivesTheNoPinyinMark)
{
    const Tables tables = pinyin(u"597D 3\n");
    EXPECT_EQ(tables.toPinyin(u'好'), u"(*)");
}

TEST(TranslatorPinyinTable, FirstEntryOfADuplicateKeyWins)
{
    const Tables tables = pinyin(u"597D hao3\n597D hao4x\n");
    EXPECT_EQ(tables.toPinyin(u'好'), u"hao");
}

TEST(TranslatorPinyinTable, SkipsLinesWithoutCodeOrTokenAndReadsOn)
{
    const Tables tables = pinyin(u"\nnot-hex foo1\n4E00\n5B57 zi4");
    EXPECT_EQ(tables.toPinyin(u'一'), u"(*)");
    EXPECT_EQ(tables.toPinyin(u'字'), u"zi") << "the last line needs no line feed";
}

TEST(TranslatorPinyinTable, StringPinyinConcatenatesAndMarksEveryUnlistedCharacter)
{
    const Tables tables = pinyin(u"4F60 ni3\n597D hao3\n");
    EXPECT_EQ(tables.toPinyin(std::u16string_view(u"你好")), u"nihao");
    EXPECT_EQ(tables.toPinyin(std::u16string_view(u"a你")), u"(*)ni");
    EXPECT_EQ(tables.toPinyin(std::u16string_view(u"")), u"");
}

TEST(TranslatorPairTable, ReadsCharactersTwoAtATimeAndDropsAnUnfinishedPair)
{
    const Tables tables = pairs(u"張 张\n劉刘  華\t华 國");
    EXPECT_EQ(tables.toSimplifiedChinese(u"張劉華國"), u"张刘华國");
    EXPECT_EQ(tables.toTraditionalChinese(u"张刘华国"), u"張劉華国");
}

TEST(TranslatorPairTable, FirstPairOfAKeyWinsInEachDirection)
{
    // 發 and 髮 both simplify to 发; 发 goes back to the first of them.
    const Tables tables = pairs(u"發 发\n髮 发\n發 X\n");
    EXPECT_EQ(tables.toSimplifiedChinese(u"發髮"), u"发发");
    EXPECT_EQ(tables.toTraditionalChinese(u"发"), u"發");
}

TEST(TranslatorPairTable, CharactersWithoutAMappingAreKept)
{
    const Tables tables = pairs(u"張 张");
    EXPECT_EQ(tables.toSimplifiedChinese(u"Tel: 138, 張三"), u"Tel: 138, 张三");
    EXPECT_EQ(tables.toSimplifiedChinese(u""), u"");
}
