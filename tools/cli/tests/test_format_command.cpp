// sbtool format: receipts of the built-in examples and of given files, through the service's formatter,
// written as bytes, as a dump or as a picture, and one line for every input it cannot format.

#include "tool_run.h"

#include <QImage>

using namespace cli_test;

namespace {

using FormatCommand = ToolTest;

TEST_F(FormatCommand, WritesTheSameBytesToAFileAsToStandardOutput)
{
    const ToolRun toStdout = run({"format", "phone"});
    ASSERT_TRUE(succeeds(toStdout));
    const ToolRun toFile = run({"format", "phone", "-o", homePath("phone.bin")});
    ASSERT_TRUE(succeeds(toFile));
    EXPECT_TRUE(toFile.out.isEmpty());
    EXPECT_EQ(fileBytes(homePath("phone.bin")), toStdout.out);
}

TEST_F(FormatCommand, DropsPrinterCommandsTypedIntoACustomerText)
{
    // A remark holding the drawer-pulse command ESC p 0 2 2, as a customer could type it.
    QByteArray order = fileBytes(QStringLiteral(SB_EXAMPLES_DIR "/dine_order.json"));
    order.replace("一位小朋友，加一副儿童餐具", "加辣\\u001bp022");
    ASSERT_TRUE(writeFile(homePath("order.json"), order));

    const ToolRun bytes = run({"format", "dine", "--order", homePath("order.json")});
    ASSERT_TRUE(succeeds(bytes));
    EXPECT_FALSE(bytes.out.contains("\x1bp022"));
    const ToolRun dump = run({"format", "dine", "--order", homePath("order.json"), "--dump"});
    EXPECT_TRUE(dump.out.contains("加辣p022")) << dump.out.constData();
    EXPECT_FALSE(dump.out.contains("[DRAWER]"));
}

TEST_F(FormatCommand, PreviewDrawsThePaperOfTheReceiptWidth)
{
    const ToolRun alone = run({"format", "dine", "--preview", homePath("dine.png")});
    ASSERT_TRUE(succeeds(alone));
    EXPECT_TRUE(alone.out.isEmpty());  // a preview alone writes no bytes
    ASSERT_TRUE(succeeds(run({"format", "summary", "--width", "80", "--preview", homePath("summary.png")})));
    // 384 and 576 printer dots, with a 16-dot margin on each side.
    EXPECT_EQ(QImage(homePath("dine.png")).width(), 416);
    EXPECT_EQ(QImage(homePath("summary.png")).width(), 608);
}

TEST_F(FormatCommand, MissingFileAndInvalidJsonAreOneLineEach)
{
    const QString path = homePath("no_such_order.json");
    EXPECT_TRUE(failsWith(run({"format", "--order", path}), 1,
                          QStringLiteral("sbtool: cannot read %1: No such file or directory").arg(path)));
    ASSERT_TRUE(writeFile(homePath("broken.json"), "{\"id\": \"1\", \"general\": {"));
    EXPECT_TRUE(failsWith(run({"format", "phone", "--order", homePath("broken.json")}), 1,
                          QStringLiteral("sbtool: %1: not valid JSON: unterminated object at offset 24")
                              .arg(homePath("broken.json"))));
}

TEST_F(FormatCommand, InputTheFormatterRefusesIsNamedByTheEngineCode)
{
    ASSERT_TRUE(writeFile(homePath("a4.json"), "{\"width\": \"A4\", \"style\": \"normal\"}"));
    EXPECT_TRUE(failsWith(run({"format", "--settings", homePath("a4.json")}), 1,
                          "sbtool: format failed: -331 (paper width is not 58mm or 80mm)"));
    EXPECT_TRUE(failsWith(run({"format", "--restaurant", homePath("a4.json")}), 1,
                          "sbtool: format failed: -2 (missing input or incomplete document)"));
}

TEST_F(FormatCommand, CommandLineMistakesAreUsageErrors)
{
    EXPECT_TRUE(usageError(run({"format", "--width", "72"}), "format", "--width must be 58 or 80"));
    EXPECT_TRUE(
        usageError(run({"format", "--copies", "-1"}), "format", "--copies must be a whole number of 0 or more"));
    EXPECT_TRUE(usageError(run({"format", "takeaway"}), "format", "unknown kind \"takeaway\""));
    EXPECT_TRUE(usageError(run({"format", "summary", "--copies", "2"}), "format",
                           "the summary always prints one copy; --copies does not apply"));
    EXPECT_TRUE(usageError(run({"format", "dine", "extra"}), "format", "unexpected argument \"extra\""));
}

}  // namespace
