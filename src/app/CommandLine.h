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
    /// What a command needs of Qt. No command shows a window, but drawing text (cover art, the
    /// cassette, movie frames) takes the GUI library's fonts.
    enum class Needs { Core, Painting };

    struct Command
    {
        QString name;
        QString usage;   // the arguments, for --help
        QString summary; // one line
        std::function<int(const QStringList& args)> run;
        Needs needs = Needs::Core;
    };

    CommandLine();

    /// True when the arguments ask for the command line rather than the deck.
    bool handles(const QStringList& arguments) const;

    /// What the command the arguments name needs; help, the version and unknown commands need
    /// only the core.
    Needs needs(const QStringList& arguments) const;

    /// Runs the command the arguments name (arguments[0] is the program) and returns the exit status.
    int run(const QStringList& arguments) const;

    QString helpText() const;

private:
    const Command* find(const QString& name) const;

    std::vector<Command> mCommands;
};

} // namespace spindrel
