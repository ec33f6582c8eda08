#include "cli.h"

#include <QFile>
#include <QSaveFile>

#include <cstdio>

namespace sbtool {

int fail(const QString& message)
{
    std::fprintf(stderr, "sbtool: %s\n", message.toUtf8().constData());
    return ExitFailure;
}

int usageError(const char* command, const QString& message)
{
    std::fprintf(stderr, "sbtool: %s (see \"sbtool %s --help\")\n", message.toUtf8().constData(), command);
    return ExitUsage;
}

bool OptionReader::take(const QString& option, QString* value)
{
    int at = args_.indexOf(option);
    if (at < 0)
        return false;
    if (at + 1 >= args_.size()) {
        if (error_.isEmpty())
            error_ = option + QStringLiteral(" needs a value");
        args_.removeAt(at);
        return false;
    }
    *value = args_.at(at + 1);
    args_.removeAt(at + 1);
    args_.removeAt(at);
    if (args_.contains(option) && error_.isEmpty())
        error_ = option + QStringLiteral(" is given twice");
    return true;
}

bool OptionReader::takeFlag(const QString& option)
{
    return args_.removeAll(option) > 0;
}

bool readFile(const QString& path, QByteArray* data, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    *data = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

bool writeOutput(const QString& path, const QByteArray& data, QString* error)
{
    if (path.isEmpty()) {
        if (!data.isEmpty() && std::fwrite(data.constData(), 1, size_t(data.size()), stdout) != size_t(data.size())) {
            *error = QStringLiteral("cannot write to standard output");
            return false;
        }
        if (std::fflush(stdout) != 0) {
            *error = QStringLiteral("cannot write to standard output");
            return false;
        }
        return true;
    }
    // A failed write keeps whatever the file held before.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

}  // namespace sbtool
