// sbtool preview: receipt bytes drawn as the printed paper, on the chosen width, reading and scale.

#include "tool_run.h"

#include <QImage>
#include <QTextCodec>

using namespace cli_test;

namespace {

class PreviewCommand : public ToolTest {
protected:
    void SetUp() override
    {
        ToolTest::SetUp();
        ASSERT_TRUE(succeeds(run({"format", "dine", "-o", homePath("dine.bin")})));
    }
};

TEST_F(PreviewCommand, DrawsOnFiftyEightMillimetresByDefaultAndScaleMultipliesBothSides)
{
    ASSERT_TRUE(succeeds(run({"preview", homePath("dine.bin"), "-o", homePath("dine.png")})));
    EXPECT_EQ(QImage(homePath("dine.png")).width(), 416);
    ASSERT_TRUE(succeeds(run({"preview", homePath("dine.bin"), "-o", homePath("1.png"), "--width", "80"})));
    ASSERT_TRUE(
        succeeds(run({"preview", homePath("dine.bin"), "-o", homePath("2.png"), "--width", "80", "--scale", "2"})));
    const QImage once(homePath("1.png"));
    EXPECT_EQ(once.width(), 608);
    EXPECT_EQ(QImage(homePath("2.png")).size(), once.size() * 2);
}

TEST_F(PreviewCommand, GbDocumentDrawsLikeTheUtf8Receipt)
{
    // Converted whole: QString::fromUtf8(QByteArray) would stop at the first NUL of the receipt.
    const QByteArray utf8 = fileBytes(homePath("dine.bin"));
    const QByteArray gb18030 =
        QTextCodec::codecForName("GB18030")->fromUnicode(QString::fromUtf8(utf8.constData(), utf8.size()));
    ASSERT_TRUE(writeFile(homePath("dine.gb"), gb18030));
    ASSERT_TRUE(succeeds(run({"preview", homePath("dine.bin"), "-o", homePath("utf8.png")})));
    ASSERT_TRUE(succeeds(run({"preview", homePath("dine.gb"), "-o", homePath("gb.png"), "--encoding", "gb18030"})));
    EXPECT_EQ(QImage(homePath("gb.png")), QImage(homePath("utf8.png")));
}

TEST_F(PreviewCommand, FileThatCannotBeDrawnIsOneLine)
{
    ASSERT_TRUE(writeFile(homePath("empty.bin"), QByteArray()));
    const ToolRun empty = run({"preview", homePath("empty.bin"), "-o", homePath("empty.png")});
    EXPECT_TRUE(failsWith(empty, 1, QStringLiteral("sbtool: cannot draw %1: the print stream is empty")
                                        .arg(homePath("empty.bin"))));
    const QString missing = homePath("missing.bin");
    EXPECT_TRUE(failsWith(run({"preview", missing, "-o", homePath("x.png")}), 1,
                          QStringLiteral("sbtool: cannot read %1: No such file or directory").arg(missing)));
}

}  // namespace
