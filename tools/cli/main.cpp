// sbtool: the command-line tool of service_business. "sbtool COMMAND ARGS..." runs one command; see
// "sbtool --help". Exit codes: 0 done, 1 the work failed, 2 the command line is wrong.

#include "commands.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

// Every command of the tool. A new command is a source file defining its Command and a line here.
const sbtool::Command* const commandTable[] = {
    &sbtool::formatCommand,   &sbtool::previewCommand,  &sbtool::printCommand, &sbtool::printersCommand,
    &sbtool::statusCommand,   &sbtool::profilesCommand, &sbtool::settingsCommand, &sbtool::busCommand,
};

const sbtool::Command* findCommand(const QString& name)
{
    for (const sbtool::Command* command : commandTable) {
        if (name == QLatin1String(command->name))
            return command;
    }
    return nullptr;
}

int unknownCommand(const QString& name)
{
    std::fprintf(stderr, "sbtool: unknown command \"%s\" (see \"sbtool --help\")\n", name.toUtf8().constData());
    return sbtool::ExitUsage;
}

void printHelp()
{
    std::printf("usage: sbtool COMMAND [ARGS...]\n"
                "       sbtool help COMMAND | sbtool COMMAND --help\n\n"
                "commands:\n");
    for (const sbtool::Command* command : commandTable)
        std::printf("  %-10s %s\n", command->name, command->summary);
    std::printf("\nexit codes: 0 done, 1 the work failed, 2 the command line is wrong\n");
}

}  // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty()) {
        std::fprintf(stderr, "sbtool: no command given (see \"sbtool --help\")\n");
        return sbtool::ExitUsage;
    }
    const QString first = args.takeFirst();
    if (first == QLatin1String("--help") || first == QLatin1String("-h")) {
        printHelp();
        return sbtool::ExitOk;
    }
    if (first == QLatin1String("help")) {
        if (args.isEmpty()) {
            printHelp();
            return sbtool::ExitOk;
        }
        const sbtool::Command* command = findCommand(args.first());
        if (!command)
            return unknownCommand(args.first());
        std::fputs(command->usage, stdout);
        return sbtool::ExitOk;
    }
    const sbtool::Command* command = findCommand(first);
    if (!command)
        return unknownCommand(first);
    if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
        std::fputs(command->usage, stdout);
        return sbtool::ExitOk;
    }
    return command->run(args);
}
