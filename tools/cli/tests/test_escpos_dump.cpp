// The readable dump of receipt bytes ("sbtool format --dump"): every golden receipt of the engine dumps as
// the .txt beside its .bin, hand-made streams (dump_cases.json) dump as written there, and any bytes dump
// without failing.

#include "escpos_dump.h"

#include "qt_print.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <random>

using sbtool::dumpEscPos;

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

class GoldenDump : public ::testing::TestWithParam<std::string> {};

// With SB_UPDATE_GOLDEN=1 the dumps are written instead of compared (engine/tests/golden/README.md).
TEST_P(GoldenDump, MatchesTheTextBesideTheReceipt)
{
    const QDir dir(QStringLiteral(SB_GOLDEN_DIR));
    const QString name = QString::fromStdString(GetParam());
    const QByteArray dump = dumpEscPos(readAll(dir.filePath(name + ".bin")));
    if (qEnvironmentVariableIsSet("SB_UPDATE_GOLDEN")) {
        QFile text(dir.filePath(name + ".txt"));
        ASSERT_TRUE(text.open(QIODevice::WriteOnly) && text.write(dump) == dump.size());
        GTEST_SKIP() << "wrote " << text.fileName().toStdString();
    }
    EXPECT_EQ(dump, readAll(dir.filePath(name + ".txt")));
}

std::vector<std::string> goldenNames()
{
    std::vector<std::string> names;
    for (const QString& file : QDir(QStringLiteral(SB_GOLDEN_DIR)).entryList({QStringLiteral("*.bin")}, QDir::Files, QDir::Name))
        names.push_back(file.chopped(4).toStdString());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Engine, GoldenDump, ::testing::ValuesIn(goldenNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

TEST(EscPosDump, NamesCommandsKeepsTextAndShowsStrayOrCutOffBytes)
{
    const QJsonArray rows = QJsonDocument::fromJson(readAll(QStringLiteral(SB_DUMP_CASES))).array();
    ASSERT_FALSE(rows.isEmpty());
    for (const QJsonValue& row : rows) {
        const QByteArray bytes = QByteArray::fromHex(row[QStringLiteral("hex")].toString().toLatin1());
        EXPECT_EQ(dumpEscPos(bytes), row[QStringLiteral("dump")].toString().toUtf8()) << bytes.toHex().constData();
    }
}

TEST(EscPosDump, AcceptsArbitraryBytes)
{
    std::mt19937 random(20240315);
    // Mostly command starts and their arguments, so that every decoder path is taken.
    static const char interesting[] = {0x1B, 0x1D, 0x0A, 0x00, 'a', '!', 'V', 'k', 'p', 0x49, 0x7B, 'C'};
    for (int round = 0; round < 2000; round++) {
        QByteArray noise(int(random() % 64), '\0');
        for (char& c : noise)
            c = random() % 2 ? interesting[random() % sizeof interesting] : char(random());
        EXPECT_EQ(noise.isEmpty(), dumpEscPos(noise).isEmpty());
    }
}

}  // namespace
