// Command-line transcripts: each *.json file of SB_TRANSCRIPT_DIR holds cases, each a list of steps run in a
// fresh home (runs of the program compared exactly, files written and checked); its README says what a step holds.

#include "tool_run.h"

#include <gtest/gtest.h>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace {

struct Case {
    std::string name;
    QJsonArray steps;
    friend void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }
};

std::vector<Case> loadCases()
{
    std::vector<Case> cases;
    const QDir dir(QStringLiteral(SB_TRANSCRIPT_DIR));
    for (const QString& file : dir.entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name)) {
        QJsonParseError error;
        const QJsonArray rows = QJsonDocument::fromJson(cli_test::fileBytes(dir.filePath(file)), &error).array();
        if (rows.isEmpty())
            ADD_FAILURE() << "no cases in " << file.toStdString() << ": " << error.errorString().toStdString();
        for (const QJsonValue& row : rows)
            cases.push_back({QFileInfo(file).baseName().toStdString() + '_' + row["name"].toString().toStdString(),
                             row["steps"].toArray()});
    }
    return cases;
}

class Transcript : public ::testing::TestWithParam<Case> {
protected:
    // ${HOME} is the case's home, ${DATA} its application data, ${SOURCE} the project, ${RESOURCES} the built
    // resource packages.
    QByteArray expand(const QJsonValue& value) const
    {
        return value.toString()
            .replace(QLatin1String("${HOME}"), m_home.path())
            .replace(QLatin1String("${DATA}"), m_home.filePath(QStringLiteral("data")))
            .replace(QLatin1String("${SOURCE}"), QStringLiteral(SB_SOURCE_DIR))
            .replace(QLatin1String("${RESOURCES}"), QStringLiteral(SB_BUILD_RESOURCES_DIR))
            .toUtf8();
    }
    // A path below the home unless it is absolute.
    QString path(const QJsonValue& value) const { return QDir(m_home.path()).filePath(QString::fromUtf8(expand(value))); }
    // A string, a list of lines each ending in a line break, or {"file": PATH} for that file's bytes; nothing
    // when absent.
    QByteArray text(const QJsonValue& value) const
    {
        if (value.isObject())
            return cli_test::fileBytes(path(value["file"]));
        QByteArray lines;
        for (const QJsonValue& line : value.toArray())
            lines += expand(line) + '\n';
        return value.isArray() ? lines : expand(value);
    }
    // Exact comparison; "${*}" in an expected text given in the case stands for any text within one line.
    ::testing::AssertionResult same(const QJsonValue& value, const QByteArray& actual) const
    {
        const QByteArray expected = text(value);
        QStringList pieces = QString::fromUtf8(expected).split(QStringLiteral("${*}"));
        for (QString& piece : pieces)
            piece = QRegularExpression::escape(piece);
        const QRegularExpression pattern(QLatin1Char('^') + pieces.join(QStringLiteral("[^\\n]*")) + QLatin1Char('$'));
        if (expected == actual || (!value.isObject() && pieces.size() > 1 && pattern.match(QString::fromUtf8(actual)).hasMatch()))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "expected\n" << expected.constData() << "\nactual\n" << actual.constData();
    }

    void run(const QJsonObject& step) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("SERVICE_BUSINESS_HOME"), m_home.path());
        env.insert(QStringLiteral("TZ"), QStringLiteral("Asia/Shanghai"));
        const QJsonObject vars = step["env"].toObject();
        for (auto it = vars.begin(); it != vars.end(); ++it)
            env.insert(it.key(), QString::fromUtf8(expand(it.value())));
        QStringList args;
        for (const QJsonValue& arg : step["run"].toArray())
            args << QString::fromUtf8(expand(arg));
        const cli_test::ToolRun result =
            cli_test::runProgram(QStringLiteral(SB_PROGRAM), args, env, text(step["stdin"]), m_home.path());
        EXPECT_EQ(result.exitCode, step["exit"].toInt(0));
        EXPECT_TRUE(same(step["stdout"], result.out)) << "stdout";
        EXPECT_TRUE(same(step["stderr"], result.err)) << "stderr";
        if (step.contains("stdout_to") && !cli_test::writeFile(path(step["stdout_to"]), result.out))
            ADD_FAILURE() << "cannot keep stdout";
    }

    // A file by its path, or by a pattern that matches exactly one file (a name with a time stamp).
    void check(const QJsonObject& step) const
    {
        const QFileInfo info(path(step["file"]));
        const QStringList found = info.dir().entryList({info.fileName()});
        const QString file = info.fileName().contains('*') && found.size() == 1 ? info.dir().filePath(found[0]) : info.filePath();
        if (step.contains("missing")) {
            EXPECT_NE(QFileInfo::exists(file), step["missing"].toBool()) << file.toStdString();
        } else if (step.contains("same_as")) {
            EXPECT_EQ(cli_test::fileBytes(file), cli_test::fileBytes(path(step["same_as"]))) << file.toStdString();
        } else {
            EXPECT_TRUE(same(step["text"], cli_test::fileBytes(file))) << file.toStdString();
        }
    }

    void checkImage(const QJsonObject& step) const
    {
        const QImage image(path(step["image"]));
        ASSERT_FALSE(image.isNull());
        const QJsonArray size = step["size"].toArray();
        EXPECT_TRUE(size.isEmpty() || image.size() == QSize(size[0].toInt(), size[1].toInt())) << image.width() << "x" << image.height();
        EXPECT_TRUE(!step.contains("same_as") || image == QImage(path(step["same_as"])));
        EXPECT_TRUE(!step.contains("differs_from") || image != QImage(path(step["differs_from"])));
    }

    QTemporaryDir m_home;
};

TEST_P(Transcript, MatchesItsTranscript)
{
    for (const QJsonValue& value : GetParam().steps) {
        const QJsonObject step = value.toObject();
        SCOPED_TRACE("step " + QJsonDocument(step).toJson(QJsonDocument::Compact).toStdString());
        if (step.contains("run")) {
            run(step);
        } else if (step.contains("write")) {
            const QByteArray bytes = step.contains("hex") ? QByteArray::fromHex(step["hex"].toString().toLatin1()) : text(step["text"]);
            ASSERT_TRUE(cli_test::writeFile(path(step["write"]), bytes));
        } else if (step.contains("image")) {
            checkImage(step);
        } else {
            check(step);
        }
        if (HasFatalFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, Transcript, ::testing::ValuesIn(loadCases()),
                         [](const ::testing::TestParamInfo<Case>& info) { return info.param.name; });

}  // namespace
