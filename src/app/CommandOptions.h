#pragma once

#include <QCommandLineParser>
#include <QStringList>
#include <QTextStream>
#include <optional>

namespace spindrel {

/// Shared plumbing of the command-line commands: option parsing with a usage line on error, and
/// the two output streams.
class CommandOptions
{
public:
    CommandOptions(const QString& command, const QString& positionalUsage);

    QCommandLineParser& parser() { return mParser; }
    /// Parses; on a bad option prints the reason and usage to stderr and returns false.
    bool parse(const QStringList& args);
    QStringList positional() const { return mParser.positionalArguments(); }
    bool isSet(const QString& name) const { return mParser.isSet(name); }
    QString value(const QString& name) const { return mParser.value(name); }

    /// Prints "spindrel COMMAND: message" to stderr and returns the failure status.
    int fail(const QString& message);
    int usageError(const QString& message);
    /// The status to exit with when `path` is missing or is no regular file (a folder, a FIFO).
    std::optional<int> failUnlessRegularFile(const QString& path);
    /// Parses the two arguments "FILE OUT" of a command that renders a tape into a file; the tape
    /// must exist. Returns the status to exit with when they are not right.
    std::optional<int> parseTapeAndOutput(const QStringList& args, QString* tape, QString* output);

    QTextStream& out() { return mOut; }

private:
    QString mCommand;
    QString mUsage;
    QCommandLineParser mParser;
    QTextStream mOut;
    QTextStream mErr;
};

} // namespace spindrel
