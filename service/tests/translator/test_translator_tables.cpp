// The readers of the three table files, fed small texts.
#include "translator_p.h"

#include <gtest/gtest.h>

using service_business::Translator::Tables;

TEST(TranslatorGb2312Table, HoldsEverythingUpTo0xFFAndHexCodesUntilTheFirstTokenThatIsNotHex)
{
    const Tables empty = Tables::fromTexts({});
    for (char16_t c = 0; c <= 0xFF; ++c) EXPECT_TRUE(empty.isInGB2312(c)) << int(c);
    EXPECT_FALSE(empty.isInGB2312(0x100));

    // Only the low 16 bits of a code count.
    const Tables tables = Tables::fromTexts({u"1597D\n4e00 0x5B57\t\r\n  zz 6C34", u"", u""});
    EXPECT_TRUE(tables.isInGB2312(u'好'));
    EXPECT_TRUE(tables.isInGB2312(u'一'));
    EXPECT_TRUE(tables.isInGB2312(u'字'));
    EXPECT_FALSE(tables.isInGB2312(u'水')) << "reading stops at \"zz\"";
}

TEST(TranslatorPinyinTable, ReadsCodeAndTokenLinesAndDropsTheToneCharacter)
{
    // A token of one character gives the no-pinyin mark; the first entry of a key wins; lines without code or
    // token are skipped; a CR is white space and the last line needs no line feed.
    const Tables tables = Tables::fromTexts({u"", u"597D hao3\n597D hao4x\n4E00 3\nnot-hex foo1\n6C34\n5B57\tzi4\r\n"
                                                  u"4F60 ni3",
                                             u""});
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"好", u"hao"}, {u"一", u"(*)"}, {u"字", u"zi"}, {u"水", u"(*)"},
        {u"你好", u"nihao"}, {u"a你", u"(*)ni"}, {u"", u""},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(tables.toPinyin(std::u16string_view(text)), expected);
    EXPECT_EQ(tables.toPinyin(u'好'), u"hao");
}

TEST(TranslatorPairTable, ReadsCharactersTwoAtATimeAndTheFirstPairOfAKeyWinsInEachDirection)
{
    // White space between pairs is skipped and an unfinished pair dropped; 發 and 髮 both simplify to 发,
    // which goes back to the first of them; characters without a mapping are kept.
    const Tables tables = Tables::fromTexts({u"", u"", u"張 张\n劉刘  華\t华 發 发\n髮 发\n發 X\n國"});
    EXPECT_EQ(tables.toSimplifiedChinese(u"張劉華國發髮"), u"张刘华國发发");
    EXPECT_EQ(tables.toTraditionalChinese(u"张刘华国发"), u"張劉華国發");
    EXPECT_EQ(tables.toSimplifiedChinese(u"Tel: 138, 張三"), u"Tel: 138, 张三");
    EXPECT_EQ(tables.toSimplifiedChinese(u""), u"");
}
