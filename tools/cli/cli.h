#pragma once
// What every sbtool command shares: exit codes, the message format and the option reader.

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace sbtool {

// Exit codes of every command.
enum ExitCode {
    ExitOk = 0,       // done
    ExitFailure = 1,  // the work failed: a file, the input or the engine
    ExitUsage = 2     // the command line is wrong
};

// One command of the tool: "sbtool NAME ARGS...".
struct Command {
    const char* name;
    const char* summary;  // one line for "sbtool --help"
    const char* usage;    // the full text for "sbtool NAME --help"
    int (*run)(const QStringList& args);
};

// Prints "sbtool: MESSAGE" as one line on stderr and returns ExitFailure.
int fail(const QString& message);

// Prints "sbtool: MESSAGE" and a pointer to the command's help on stderr and returns ExitUsage.
int usageError(const char* command, const QString& message);

// Reads "--name VALUE" options and flags from a command's arguments, in any order.
class OptionReader {
public:
    explicit OptionReader(const QStringList& args) : args_(args) {}

    // Takes the value of option; false when the option is absent. A missing value is an error.
    bool take(const QString& option, QString* value);
    // Takes a flag; true when present.
    bool takeFlag(const QString& option);
    // The arguments left after the options taken, in order.
    QStringList rest() const { return args_; }
    // The first error met ("--copies needs a value"), or empty.
    QString error() const { return error_; }

private:
    QStringList args_;
    QString error_;
};

// Reads a whole file; on failure sets error to one line naming the file.
bool readFile(const QString& path, QByteArray* data, QString* error);

// Writes data to path atomically, or to stdout when path is empty; on failure sets error.
bool writeOutput(const QString& path, const QByteArray& data, QString* error);

}  // namespace sbtool
