// Command-line transcripts: each *.json file of SB_TRANSCRIPT_DIR holds cases, and each case is a list of
// steps run in a fresh home: a run of the program (arguments, environment, stdin) with its stdout, stderr
// and exit code compared exactly, files written before it and files or pictures checked after it.
// README.md beside the data says what a step may hold.

#include "tool_run.h"

#include "qt_print.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

struct Case {
    std::string name;
    QJsonArray steps;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.name;
}

std::vector<Case> loadCases()
{
    std::vector<Case> cases;
    const QDir dir(QStringLiteral(SB_TRANSCRIPT_DIR));
    for (const QString& file : dir.entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name)) {
        QFile data(dir.filePath(file));
        QJsonParseError error;
        const QJsonArray rows = data.open(QIODevice::ReadOnly)
                                    ? QJsonDocument::fromJson(data.readAll(), &error).array()
                                    : QJsonArray();
        if (rows.isEmpty())
            ADD_FAILURE() << "no cases in " << file.toStdString() << ": " << error.errorString().toStdString();
        for (const QJsonValue& row : rows)
            cases.push_back({QFileInfo(file).baseName().toStdString() + '_' +
                                 row[QStringLiteral("name")].toString().toStdString(),
                             row[QStringLiteral("steps")].toArray()});
    }
    return cases;
}

class Transcript : public ::testing::TestWithParam<Case> {
protected:
    // ${HOME} is the case's home, ${DATA} its application data; the others are folders of the project.
    QByteArray expand(QString text) const
    {
        text.replace(QLatin1String("${HOME}"), m_home.path())
            .replace(QLatin1String("${DATA}"), m_home.filePath(QStringLiteral("data")))
            .replace(QLatin1String("${EXAMPLES}"), QStringLiteral(SB_EXAMPLES_DIR))
            .replace(QLatin1String("${FACTORY}"), QStringLiteral(SB_FACTORY_SETTINGS_DIR))
            .replace(QLatin1String("${RESOURCES}"), QStringLiteral(SB_BUILD_RESOURCES_DIR));
        return text.toUtf8();
    }
    // A path below the home unless it is absolute.
    QString path(const QJsonValue& value) const
    {
        return QDir(m_home.path()).filePath(QString::fromUtf8(expand(value.toString())));
    }
    // A string, a list of lines each ending in a line break, or {"file": PATH} for that file's bytes;
    // nothing when absent.
    QByteArray text(const QJsonValue& value) const
    {
        if (value.isObject())
            return fileBytes(path(value[QStringLiteral("file")]));
        if (!value.isArray())
            return expand(value.toString());
        QByteArray lines;
        for (const QJsonValue& line : value.toArray())
            lines += expand(line.toString()) + '\n';
        return lines;
    }
    static QByteArray fileBytes(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }
    // Exact comparison; "${*}" in an expected text given in the case stands for any text within one line.
    ::testing::AssertionResult same(const QJsonValue& value, const QByteArray& actual) const
    {
        const QByteArray expected = text(value);
        bool match = expected == actual;
        if (!value.isObject() && expected.contains("${*}")) {
            QStringList pieces = QString::fromUtf8(expected).split(QStringLiteral("${*}"));
            for (QString& piece : pieces)
                piece = QRegularExpression::escape(piece);
            const QRegularExpression pattern(QLatin1Char('^') + pieces.join(QStringLiteral("[^\n]*")) + QLatin1Char('$'));
            match = pattern.match(QString::fromUtf8(actual)).hasMatch();
        }
        if (match)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "expected\n" << expected.constData() << "\nactual\n" << actual.constData();
    }

    void run(const QJsonObject& step) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("SERVICE_BUSINESS_HOME"), m_home.path());
        env.insert(QStringLiteral("TZ"), QStringLiteral("Asia/Shanghai"));
        const QJsonObject vars = step[QStringLiteral("env")].toObject();
        for (auto it = vars.begin(); it != vars.end(); ++it)
            env.insert(it.key(), QString::fromUtf8(expand(it.value().toString())));
        QStringList args;
        for (const QJsonValue& arg : step[QStringLiteral("run")].toArray())
            args << QString::fromUtf8(expand(arg.toString()));
        const cli_test::ToolRun result =
            cli_test::runProgram(QStringLiteral(SB_PROGRAM), args, env, text(step[QStringLiteral("stdin")]), m_home.path());
        EXPECT_EQ(result.exitCode, step[QStringLiteral("exit")].toInt(0));
        EXPECT_TRUE(same(step[QStringLiteral("stdout")], result.out)) << "stdout";
        EXPECT_TRUE(same(step[QStringLiteral("stderr")], result.err)) << "stderr";
        if (step.contains(QStringLiteral("stdout_to"))) {
            QFile kept(path(step[QStringLiteral("stdout_to")]));
            ASSERT_TRUE(kept.open(QIODevice::WriteOnly) && kept.write(result.out) == result.out.size());
        }
    }

    void check(const QJsonObject& step) const
    {
        QString file = path(step[QStringLiteral("file")]);
        if (step.contains(QStringLiteral("glob"))) {
            const QFileInfo pattern(path(step[QStringLiteral("glob")]));
            const QStringList found = pattern.dir().entryList({pattern.fileName()});
            ASSERT_EQ(found.size(), 1) << pattern.filePath().toStdString();
            file = pattern.dir().filePath(found.first());
        }
        if (step.contains(QStringLiteral("missing"))) {
            EXPECT_NE(QFileInfo::exists(file), step[QStringLiteral("missing")].toBool()) << file.toStdString();
        } else if (step.contains(QStringLiteral("same_as"))) {
            EXPECT_EQ(fileBytes(file), fileBytes(path(step[QStringLiteral("same_as")]))) << file.toStdString();
        } else {
            EXPECT_TRUE(same(step[QStringLiteral("text")], fileBytes(file))) << file.toStdString();
        }
    }

    void checkImage(const QJsonObject& step) const
    {
        const QImage image(path(step[QStringLiteral("image")]));
        ASSERT_FALSE(image.isNull());
        const QJsonArray size = step[QStringLiteral("size")].toArray();
        if (!size.isEmpty()) {
            EXPECT_EQ(image.size(), QSize(size[0].toInt(), size[1].toInt()));
        }
        if (step.contains(QStringLiteral("same_as"))) {
            EXPECT_EQ(image, QImage(path(step[QStringLiteral("same_as")])));
        }
        if (step.contains(QStringLiteral("differs_from"))) {
            EXPECT_NE(image, QImage(path(step[QStringLiteral("differs_from")])));
        }
    }

    void write(const QJsonObject& step) const
    {
        const QString file = path(step[QStringLiteral("write")]);
        ASSERT_TRUE(QDir().mkpath(QFileInfo(file).absolutePath()));
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(step.contains(QStringLiteral("hex")) ? QByteArray::fromHex(step[QStringLiteral("hex")].toString().toLatin1())
                                                       : text(step[QStringLiteral("text")]));
    }

    QTemporaryDir m_home;
};

TEST_P(Transcript, MatchesItsTranscript)
{
    ASSERT_TRUE(m_home.isValid());
    int number = 0;
    for (const QJsonValue& value : GetParam().steps) {
        const QJsonObject step = value.toObject();
        SCOPED_TRACE(QStringLiteral("step %1: %2").arg(++number).arg(QString::fromUtf8(QJsonDocument(step).toJson(QJsonDocument::Compact))).toStdString());
        if (step.contains(QStringLiteral("run"))) {
            run(step);
        } else if (step.contains(QStringLiteral("write"))) {
            write(step);
        } else if (step.contains(QStringLiteral("mkdir"))) {
            ASSERT_TRUE(QDir().mkpath(path(step[QStringLiteral("mkdir")])));
        } else if (step.contains(QStringLiteral("image"))) {
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
