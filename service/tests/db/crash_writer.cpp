// Keeps changing and saving settings until it is killed. It continues from the largest value on disk,
// prints "ready <start>" and then, for n = start + 1, start + 2, ..., saves n in three files and prints
// "W n" (window x, Settings-Runtime.json of profile 1), "E n" (env "counter") and "S n" (sn, Settings-App.json)
// each right after its save reported done.
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include <QByteArray>

#include <algorithm>

#include <unistd.h>

using service_business::json_db::JsonDB;

namespace {
void say(const QByteArray& line)
{
    const QByteArray text = line + '\n';
    // Unbuffered, so that the line is out before the next save begins.
    if (::write(STDOUT_FILENO, text.constData(), static_cast<size_t>(text.size())) != text.size()) ::_exit(3);
}
}  // namespace

int main()
{
    auto* browser = JsonDB::browser();
    auto* updater = JsonDB::updater();
    int n = std::max({browser->windowInfo(1).x, browser->getEnvSettings(QStringLiteral("counter")).toInt(),
                      browser->sn().toInt()});
    say("ready " + QByteArray::number(n));
    for (;;) {
        ++n;
        auto window = browser->windowInfo(1);
        window.x = n;
        if (!updater->updateWindowInfo(1, window)) return 1;
        say("W " + QByteArray::number(n));
        if (!updater->setEnvSettings(QStringLiteral("counter"), QString::number(n))) return 1;
        say("E " + QByteArray::number(n));
        if (!updater->setSN(QString::number(n))) return 1;
        say("S " + QByteArray::number(n));
    }
}
