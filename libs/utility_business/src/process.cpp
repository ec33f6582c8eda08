#include "utility_business/process.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <unistd.h>

namespace utility_business {
namespace process {

namespace {

constexpr int kCommandNameLength = 15;  // TASK_COMM_LEN less its terminating NUL

QStringList appProcessNames()
{
    const QString configured = QString::fromLocal8Bit(qgetenv("SERVICE_BUSINESS_APP_PROCESSES"));
    QStringList names = configured.split(QLatin1Char(','), Qt::SkipEmptyParts);
    if (names.isEmpty()) names << QStringLiteral("zhevo-browser");
    for (QString& name : names) name = name.trimmed().left(kCommandNameLength);
    return names;
}

// "pid (name) state ..."; the name may itself hold spaces and parentheses, so it ends at the last ')'.
bool isLiveProcessNamed(const QString& statPath, const QStringList& names)
{
    QFile file(statPath);
    if (!file.open(QIODevice::ReadOnly)) return false;  // the process has just gone
    const QByteArray stat = file.read(512);
    const int open = stat.indexOf('(');
    const int close = stat.lastIndexOf(')');
    if (open < 0 || close < open || close + 2 >= stat.size()) return false;
    const char state = stat.at(close + 2);
    if (state == 'Z' || state == 'X') return false;
    return names.contains(QString::fromLocal8Bit(stat.mid(open + 1, close - open - 1)));
}

}  // namespace

bool hasKelmoAppRunning()
{
    const QStringList names = appProcessNames();
    const QString self = QString::number(::getpid());
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool numeric = false;
        entry.toInt(&numeric);
        if (!numeric || entry == self) continue;
        if (isLiveProcessNamed(QStringLiteral("/proc/") + entry + QStringLiteral("/stat"), names)) return true;
    }
    return false;
}

}  // namespace process
}  // namespace utility_business
