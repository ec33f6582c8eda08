// sbtool format: receipts of the built-in examples and of given files, through the service's formatter,
// written as bytes, as a dump or as a picture, and one line for every input it cannot format.

#include "tool_run.h"

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

}  // namespace
