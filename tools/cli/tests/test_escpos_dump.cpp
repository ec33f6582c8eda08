// The readable dump of receipt bytes ("sbtool format --dump"): every golden receipt of the engine dumps as
// the .txt beside its .bin, hand-made streams dump as dump_cases.json says, and any bytes dump without failing.

#include "escpos_dump.h"
#include "tool_run.h"

#include <gtest/gtest.h>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <random>

using sbtool::dumpEscPos;

namespace {

class GoldenDump : public ::testing::TestWithParam<std::string> {};

// With SB_UPDATE_GOLDEN set the dumps are written instead of compared (engine/tests/golden/README.md).
TEST_P(GoldenDump, MatchesTheTextBesideTheReceipt)
{
    const QString name = QStringLiteral(SB_GOLDEN_DIR "/") + QString::fromStdString(GetParam());
    const QByteArray dump = dumpEscPos(cli_test::fileBytes(name + ".bin"));
    if (qEnvironmentVariableIsSet("SB_UPDATE_GOLDEN")) {
        ASSERT_TRUE(cli_test::writeFile(name + ".txt", dump));
        GTEST_SKIP() << "wrote " << name.toStdString() << ".txt";
    }
    EXPECT_EQ(dump.toStdString(), cli_test::fileBytes(name + ".txt").toStdString());
}

std::vector<std::string> goldenNames()
{
    std::vector<std::string> names;
    for (const QString& file : QDir(QStringLiteral(SB_GOLDEN_DIR)).entryList({QStringLiteral("*.bin")}))
        names.push_back(file.chopped(4).toStdString());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Engine, GoldenDump, ::testing::ValuesIn(goldenNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

TEST(EscPosDump, NamesCommandsKeepsTextAndShowsStrayOrCutOffBytes)
{
    const QJsonArray rows = QJsonDocument::fromJson(cli_test::fileBytes(QStringLiteral(SB_DUMP_CASES))).array();
    ASSERT_FALSE(rows.isEmpty());
    for (const QJsonValue& row : rows)
        EXPECT_EQ(dumpEscPos(QByteArray::fromHex(row["hex"].toString().toLatin1())).toStdString(), row["dump"].toString().toStdString())
            << row["about"].toString().toStdString();
}

TEST(EscPosDump, AcceptsArbitraryBytes)
{
    std::mt19937 random(20240315);
    const char interesting[] = {0x1B, 0x1D, 0x0A, 0x00, 'a', '!', 'V', 'k', 'p', 0x49, 0x7B, 'C'};  // every decoder path
    for (int round = 0; round < 2000; round++) {
        QByteArray noise(int(random() % 64), '\0');
        for (char& c : noise)
            c = random() % 2 ? interesting[random() % sizeof interesting] : char(random());
        EXPECT_EQ(noise.isEmpty(), dumpEscPos(noise).isEmpty());
    }
}

}  // namespace
