// Keeps changing and saving settings until it is killed. It continues from the largest value on disk,
// prints "ready <start>" and then, for n = start + 1, start + 2, ..., saves n in three files and prints
// "W n" (window x, Settings-Runtime.json of profile 1), "E n" (env "counter") and "S n" (sn, Settings-App.json)
// each right after its save reported done.
// With a number of saves as its argument it makes that many (0: only the store's start-up), says "lost n"
// for each that failed instead of stopping, and exits.
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include <QByteArray>

#include <algorithm>
#include <cstdlib>

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

int main(int argc, char** argv)
{
    const int saves = argc > 1 ? std::atoi(argv[1]) : -1;
    auto* browser = JsonDB::browser();
    auto* updater = JsonDB::updater();
    int n = std::max({browser->windowInfo(1).x, browser->getEnvSettings(QStringLiteral("counter")).toInt(),
                      browser->sn().toInt()});
    say("ready " + QByteArray::number(n));
    auto done = [&](bool saved, const char* kind) {
        if (!saved && saves < 0) ::_exit(1);
        say((saved ? QByteArray(kind) : QByteArray("lost")) + ' ' + QByteArray::number(n));
    };
    for (int made = 0; saves < 0 || made < saves; made += 3) {
        ++n;
        auto window = browser->windowInfo(1);
        window.x = n;
        done(updater->updateWindowInfo(1, window), "W");
        done(updater->setEnvSettings(QStringLiteral("counter"), QString::number(n)), "E");
        done(updater->setSN(QString::number(n)), "S");
    }
}
