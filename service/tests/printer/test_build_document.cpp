// The receipt stream made into the spooler document: split at NUL, simplified, pinyin for what GB2312
// lacks, encoded in the printer's code page, one NUL after each piece. Runs on the real conversion tables.
#include "printer_test_support.h"

#include "service_business/printer.h"

#include <gtest/gtest.h>

using printer_test::sameBytes;
using service_business::Printer;

namespace {

QByteArray built(const QByteArray& printCmd)
{
    return Printer::buildDocument(printCmd).bytes();
}

}  // namespace

TEST(BuildDocument, EmptyStreamGivesOneNulByte)
{
    const systemif::print::Document doc = Printer::buildDocument(QByteArray());
    ASSERT_EQ(doc.size(), 1);
    EXPECT_EQ(doc.data()[0], '\0');
}

TEST(BuildDocument, EachPieceIsSimplifiedSpeltAndEncodedInGb18030)
{
    const struct {
        QByteArray input;
        QByteArray expected;
    } cases[] = {
        // 你 C4E3, 好 BAC3, full-width comma A3AC, 桌 D7C0; ASCII stays as it is.
        {"你好，5桌\n", QByteArray("\xC4\xE3\xBA\xC3\xA3\xAC" "5\xD7\xC0\n\0", 11)},
        // 劉德華 becomes 刘德华: 刘 C1F5, 德 B5C2, 华 BBAA.
        {"劉德華", QByteArray("\xC1\xF5\xB5\xC2\xBB\xAA\0", 7)},
        // 镕 is not in GB2312: 朱 D6EC, "rong", 基 BBF9.
        {"朱镕基", QByteArray("\xD6\xEC" "rong" "\xBB\xF9\0", 9)},
        // Without any pinyin (an emoji, two UTF-16 units) each unit becomes "(*)"; so does a byte that is
        // not UTF-8.
        {"OK\xF0\x9F\x98\x80", QByteArray("OK(*)(*)\0", 9)},
        {"A\xFF" "B", QByteArray("A(*)B\0", 6)},
        // ESC @, ESC a 1, text, GS V B 0: the NUL of the cut is where the stream is split, and comes back;
        // one more NUL ends the document.
        {QByteArray("\x1b@\x1b\x61\x01" "Table 5\n" "\x1dVB\x00", 17),
         QByteArray("\x1b@\x1b\x61\x01" "Table 5\n" "\x1dVB\x00\x00", 18)},
        {QByteArray("劉\0\0你", 8), QByteArray("\xC1\xF5\0\0\xC4\xE3\0", 7)},
    };
    for (const auto& c : cases) EXPECT_TRUE(sameBytes(c.expected, built(c.input))) << c.input.toHex(' ').toStdString();
}

TEST(BuildDocument, CodePageCanBeChosen)
{
    EXPECT_FALSE(Printer::setCodePage("no-such-code-page"));
    EXPECT_TRUE(sameBytes(QByteArray("\xC4\xE3\0", 3), built("你")));

    ASSERT_TRUE(Printer::setCodePage("Big5"));
    // 你 in Big5 is A741.
    const QByteArray big5 = built("你");
    ASSERT_TRUE(Printer::setCodePage("GB18030"));
    EXPECT_TRUE(sameBytes(QByteArray("\xA7\x41\0", 3), big5));
}
