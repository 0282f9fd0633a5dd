#pragma once

#include <QCommandLineParser>
#include <QStringList>
#include <QTextStream>

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

    QTextStream& out() { return mOut; }

private:
    QString mCommand;
    QString mUsage;
    QCommandLineParser mParser;
    QTextStream mOut;
    QTextStream mErr;
};

} // namespace spindrel
