// Customer texts lose what a receipt printer would read as a command.
#include "print_text_sanitiser.h"

#include <gtest/gtest.h>

using service_business::print_cmd_formater::stripPrinterControls;

TEST(StripPrinterControls, TurnsTabsAndLineBreaksIntoOneSpaceEach)
{
    EXPECT_EQ(stripPrinterControls(QStringLiteral("a\tb\nc\rd\r\ne\n\nf")), QStringLiteral("a b c d e  f"));
}

TEST(StripPrinterControls, DropsOtherControlCharacters)
{
    // ESC p 0 (drawer pulse), GS V 1 (cut), NUL, BEL, DEL.
    const QString text = QStringLiteral("no ") + QChar(0x1b) + QStringLiteral("p0") + QChar(0x19) + QChar(0xfa) +
                         QStringLiteral(" onions") + QChar(0x1d) + QStringLiteral("V1") + QChar(0) + QChar(7) +
                         QChar(0x7f) + QStringLiteral("!");
    EXPECT_EQ(stripPrinterControls(text), QStringLiteral("no p0\u00fa onionsV1!"));
}

TEST(StripPrinterControls, KeepsPrintableTextAsItIs)
{
    const QString text = QStringLiteral("少放辣 · extra sauce ~ 100% \u00a0ok");
    EXPECT_EQ(stripPrinterControls(text), text);
    EXPECT_EQ(stripPrinterControls(QString()), QString());
}
