// sbtool settings: the client's settings files: their start-up repair, and the environment settings.

#include "commands.h"
#include "settings_state.h"

#include "service_business/data_checker.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"
#include "utility_business/kelmo_path_info.h"

#include <QDir>
#include <QFileInfo>

#include <cstdio>

namespace sbtool {
namespace {

using service_business::json_db::JsonDB;

const char usageText[] =
    "usage: sbtool settings check\n"
    "       sbtool settings env get KEY\n"
    "       sbtool settings env set KEY VALUE\n"
    "\n"
    "The client's settings files live in the application-data directory: $SERVICE_BUSINESS_HOME/data\n"
    "when SERVICE_BUSINESS_HOME is set, else $XDG_DATA_HOME/Zhevo (~/.local/share/Zhevo).\n"
    "\n"
    "  check          runs the client's start-up check: Settings-App.json, Settings-Basis.json and\n"
    "                 Settings-Env.json, when missing or not valid JSON, are restored from their\n"
    "                 factory copies in the resource package; says what it found and did. Restoring\n"
    "                 Settings-App.json removes every profile, since the factory file lists none.\n"
    "                 A damaged file is kept beside it as NAME.damaged-TIME (the last three).\n"
    "                 Files of the wrong shape and the profiles' own files are judged, not repaired.\n"
    "  env get KEY    prints the value of KEY in Settings-Env.json\n"
    "  env set KEY V  stores the text V under KEY in Settings-Env.json\n"
    "\n"
    "exit codes: 0 done, 1 a file could not be repaired or written or was left damaged, KEY is not\n"
    "            set, or the settings need \"sbtool settings check\" first, 2 the command line is wrong\n";

void say(const QString& line)
{
    std::printf("%s\n", line.toUtf8().constData());
}

int runCheck()
{
    const QStringList files = globalSettingsFiles();
    QList<FileCheck> before;
    QList<QStringList> copiesBefore;
    for (const QString& name : files) {
        before << checkSettingsFile(name);
        copiesBefore << damagedCopies(name);
    }
    const QString profilesDir = utility_business::kelmoPathInfo().profilesDir();
    const bool hadProfiles = QFileInfo(profilesDir).isDir();

    // The client's start-up makes its directories before the check, which writes restored files into it.
    const QString dir = utility_business::kelmoPathInfo().appdataDir();
    if (!QDir().mkpath(dir))
        return fail(QStringLiteral("cannot make the settings directory %1").arg(dir));
    // It fails only with a file it could not restore; the files are judged one by one below to name it.
    service_business::data_manage::data_checker::checkSettings();

    say(QStringLiteral("settings in %1").arg(dir));
    int leftDamaged = 0;
    for (int i = 0; i < files.size(); ++i) {
        const FileCheck after = checkSettingsFile(files[i]);
        if (after.state == FileState::WrongShape) {
            // The start-up restores only files that do not load; one of the wrong shape makes saves fail.
            say(QStringLiteral("%1: %2; not repaired: fix it, or remove it to have the factory copy restored")
                    .arg(files[i], after.problem));
            ++leftDamaged;
        } else if (after.state != FileState::Good) {
            return fail(QStringLiteral("cannot restore %1 (it is %2) from the factory copy in %3")
                            .arg(files[i], after.problem, utility_business::kelmoPathInfo().ostinelPakPath()));
        } else if (before[i].state == FileState::Good) {
            say(QStringLiteral("%1: good").arg(files[i]));
        } else {
            const QStringList copies = damagedCopies(files[i]);
            const QString kept = copies != copiesBefore[i] && !copies.isEmpty()
                                     ? QStringLiteral("; kept as %1").arg(copies.last())
                                     : QString();
            say(QStringLiteral("%1: restored from the factory copy (it was %2%3)")
                    .arg(files[i], before[i].problem, kept));
        }
    }
    if (hadProfiles && !QFileInfo(profilesDir).exists())
        say(QStringLiteral("profiles removed: the factory Settings-App.json lists none"));
    // The start-up leaves a profile's files as they are: the profile reads its defaults, and its next save
    // writes both files again.
    for (const QString& name : profileSettingsFiles()) {
        const FileCheck check = checkSettingsFile(name);
        if (check.state == FileState::Good) {
            say(QStringLiteral("%1: good").arg(name));
        } else {
            say(QStringLiteral("%1: %2; not repaired: the profile reads its defaults until its next save")
                    .arg(name, check.problem));
            ++leftDamaged;
        }
    }
    std::fflush(stdout);
    if (leftDamaged > 0)
        return fail(QStringLiteral("%1 settings file(s) left damaged, named above").arg(leftDamaged));
    return ExitOk;
}

int runEnvGet(const QString& key)
{
    QString error;
    if (!requireGoodSettings(&error))
        return fail(error);
    const utility_business::JsonDocument* env = JsonDB::envDocument();
    if (!env->nodeExist({key}))
        return fail(
            QStringLiteral("%1 has no setting \"%2\"").arg(settingsFilePath(QStringLiteral("Settings-Env.json")), key));
    // Texts print as they are; any other value as its JSON text, on one line.
    const QString json = utility_business::JsonDocument(env->toString({key})).toCompactString();
    say(json.startsWith(QLatin1Char('"')) ? JsonDB::browser()->getEnvSettings(key) : json);
    std::fflush(stdout);
    return ExitOk;
}

int runEnvSet(const QString& key, const QString& value)
{
    QString error;
    if (!requireGoodSettings(&error))
        return fail(error);
    if (!JsonDB::updater()->setEnvSettings(key, value))
        return fail(QStringLiteral("cannot save %1").arg(settingsFilePath(QStringLiteral("Settings-Env.json"))));
    return ExitOk;
}

int runSettings(const QStringList& args)
{
    const QString action = args.value(0);
    if (action == QLatin1String("check")) {
        if (args.size() > 1)
            return usageError("settings", QStringLiteral("unexpected argument \"%1\"").arg(args.at(1)));
        return runCheck();
    }
    if (action == QLatin1String("env")) {
        const QString verb = args.value(1);
        if (verb == QLatin1String("get") && args.size() == 3)
            return runEnvGet(args.at(2));
        if (verb == QLatin1String("set") && args.size() == 4)
            return runEnvSet(args.at(2), args.at(3));
        if (verb == QLatin1String("get"))
            return usageError("settings", QStringLiteral("\"env get\" takes one KEY"));
        if (verb == QLatin1String("set"))
            return usageError("settings", QStringLiteral("\"env set\" takes a KEY and a VALUE"));
        return usageError("settings", QStringLiteral("\"env\" is followed by get or set"));
    }
    if (action.isEmpty())
        return usageError("settings", QStringLiteral("no action given"));
    return usageError("settings", QStringLiteral("unknown action \"%1\"").arg(action));
}

}  // namespace

const Command settingsCommand = {"settings", "check and repair the settings files; read and set env settings",
                                 usageText, runSettings};

}  // namespace sbtool
