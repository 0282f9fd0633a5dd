#include "app/CommandLine.h"

#include "app/Commands.h"

#include <QFileInfo>
#include <QTextStream>
#include <cstdio>

namespace spindrel {

CommandLine::CommandLine()
{
    mCommands = {tagsCommand(),    probeCommand(),     tapeCommand(),        renderCassetteCommand(),
                 libraryCommand(), importCommand(),    devicesCommand(),     playCommand(),
                 meterCommand(),   recordRawCommand(), exportMovieCommand(), recordCommand(),
                 recoverCommand()};
    mCommands.push_back(trashCommand());
    mCommands.push_back(addToMusicCommand());
    mCommands.push_back(exportCommand());
}

bool CommandLine::handles(const QStringList& arguments) const
{
    if (arguments.size() < 2)
        return false;
    const QString& first = arguments.at(1);
    return first == QLatin1String("--help") || first == QLatin1String("-h") ||
           first == QLatin1String("--version") || first == QLatin1String("help") || find(first) != nullptr ||
           (!first.startsWith(QLatin1Char('-')) && !QFileInfo::exists(first));
}

CommandLine::Needs CommandLine::needs(const QStringList& arguments) const
{
    const Command* command = find(arguments.value(1));
    return command ? command->needs : Needs::Core;
}

int CommandLine::run(const QStringList& arguments) const
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QString first = arguments.value(1);
    if (first == QLatin1String("--version")) {
        out << "spindrel " << SPINDREL_VERSION << "\n";
        return 0;
    }
    if (first == QLatin1String("--help") || first == QLatin1String("-h") || first == QLatin1String("help")) {
        out << helpText();
        return 0;
    }
    const Command* command = find(first);
    if (!command) {
        err << "spindrel: unknown command \"" << first << "\". Try spindrel --help.\n";
        return 2;
    }
    return command->run(arguments.mid(2));
}

QString CommandLine::helpText() const
{
    QString text;
    QTextStream out(&text);
    out << "Usage: spindrel [FILE...]        open the deck (files are imported into the library)\n"
        << "       spindrel COMMAND [ARGS...] run without a window\n"
        << "       spindrel --version | --help\n";
    if (!mCommands.empty())
        out << "\nCommands:\n";
    for (const Command& command : mCommands) {
        out << "  " << command.name << " " << command.usage << "\n"
            << "      " << command.summary << "\n";
    }
    return text;
}

const CommandLine::Command* CommandLine::find(const QString& name) const
{
    for (const Command& command : mCommands) {
        if (command.name == name)
            return &command;
    }
    return nullptr;
}

} // namespace spindrel
