// sbtool profiles: the shop accounts signed in on this machine.

#include "commands.h"
#include "settings_state.h"

#include "service_business/profile_manager.h"

#include <cstdio>

namespace sbtool {
namespace {

using service_business::ProfileManager;

const char usageText[] =
    "usage: sbtool profiles list\n"
    "       sbtool profiles add USER [--ksid KSID]\n"
    "       sbtool profiles remove ID\n"
    "\n"
    "The shop accounts (profiles) of this machine, each with its own settings files in\n"
    "Profiles/ID of the application-data directory (see \"sbtool settings --help\").\n"
    "\n"
    "  list           one line per profile: its id, user name and ksid, in id order\n"
    "  add USER       adds a profile for the user name with default settings; prints its id\n"
    "  --ksid KSID    the account's session id to store with it\n"
    "  remove ID      removes the profile, its settings files and its browser cache\n"
    "\n"
    "exit codes: 0 done, 1 no such profile, the settings files could not be written, or they need\n"
    "            \"sbtool settings check\" first, 2 the command line is wrong\n";

int runList(const QStringList& args)
{
    if (!args.isEmpty())
        return usageError("profiles", QStringLiteral("unexpected argument \"%1\"").arg(args.first()));
    QString error;
    if (!requireGoodSettings(&error))
        return fail(error);
    for (const auto& profile : ProfileManager::profileList()) {
        const utility_business::ProfileInfo info = profile->profileInfo();
        std::printf("%d\t%s\t%s\n", profile->id(), info.username.toUtf8().constData(), info.ksid.toUtf8().constData());
    }
    std::fflush(stdout);
    return ExitOk;
}

int runAdd(const QStringList& args)
{
    OptionReader options(args);
    utility_business::ProfileInfo info;
    options.take(QStringLiteral("--ksid"), &info.ksid);
    if (!options.error().isEmpty())
        return usageError("profiles", options.error());
    const QStringList rest = options.rest();
    if (rest.size() != 1)
        return usageError("profiles", QStringLiteral("\"add\" takes one USER"));
    info.username = rest.first();
    if (info.username.isEmpty())
        return usageError("profiles", QStringLiteral("the user name is empty"));
    QString error;
    if (!requireGoodSettings(&error))
        return fail(error);

    const auto profile = ProfileManager::addProfile(info);
    if (!profile)
        return fail(QStringLiteral("cannot add a profile for \"%1\": its settings files could not be written")
                        .arg(info.username));
    std::printf("%d\n", profile->id());
    std::fflush(stdout);
    return ExitOk;
}

int runRemove(const QStringList& args)
{
    if (args.size() != 1)
        return usageError("profiles", QStringLiteral("\"remove\" takes one ID"));
    bool ok = false;
    const int id = args.first().toInt(&ok);
    if (!ok || id <= 0)
        return usageError("profiles", QStringLiteral("a profile id is a whole number from 1"));
    QString error;
    if (!requireGoodSettings(&error))
        return fail(error);
    if (!ProfileManager::profileExist(id))
        return fail(QStringLiteral("no profile %1 (see \"sbtool profiles list\")").arg(id));
    if (!ProfileManager::removeProfile(id))
        return fail(QStringLiteral("cannot remove profile %1: the settings files could not be written").arg(id));
    return ExitOk;
}

int runProfiles(const QStringList& args)
{
    QStringList rest = args;
    const QString action = rest.isEmpty() ? QString() : rest.takeFirst();
    if (action == QLatin1String("list"))
        return runList(rest);
    if (action == QLatin1String("add"))
        return runAdd(rest);
    if (action == QLatin1String("remove"))
        return runRemove(rest);
    if (action.isEmpty())
        return usageError("profiles", QStringLiteral("no action given"));
    return usageError("profiles", QStringLiteral("unknown action \"%1\"").arg(action));
}

}  // namespace

const Command profilesCommand = {"profiles", "list, add and remove the shop accounts (profiles)", usageText,
                                 runProfiles};

}  // namespace sbtool
