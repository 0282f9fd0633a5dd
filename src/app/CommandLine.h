#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace spindrel {

/// The headless command line of the spindrel binary: `spindrel COMMAND ARGS...` drives the same
/// classes as the deck, without a window.
class CommandLine
{
public:
    struct Command
    {
        QString name;
        QString usage;   // the arguments, for --help
        QString summary; // one line
        std::function<int(const QStringList& args)> run;
    };

    CommandLine();

    /// True when the arguments ask for the command line rather than the deck.
    bool handles(const QStringList& arguments) const;

    /// Runs the command the arguments name (arguments[0] is the program) and returns the exit status.
    int run(const QStringList& arguments) const;

    QString helpText() const;

private:
    const Command* find(const QString& name) const;

    std::vector<Command> mCommands;
};

} // namespace spindrel
