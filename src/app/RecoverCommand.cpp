// spindrel recover [--folder DIR]: turns recordings that a crash interrupted into tapes.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "app/LibraryFolder.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QFileInfo>

namespace spindrel {

namespace {

int runRecover(const QStringList& args)
{
    CommandOptions options(QStringLiteral("recover"), QStringLiteral("[--folder DIR]"));
    options.parser().addOption(
        QCommandLineOption(QStringLiteral("folder"), QStringLiteral("folder"), QStringLiteral("dir")));
    if (!options.parse(args))
        return 2;
    if (!options.positional().isEmpty())
        return options.usageError(QStringLiteral("unexpected argument %1").arg(options.positional().first()));
    QString folder = options.value(QStringLiteral("folder"));
    if (folder.isEmpty())
        folder = LibraryFolder::currentPath();
    folder = QFileInfo(folder).absoluteFilePath();
    if (!QFileInfo(folder).isDir())
        return options.fail(QStringLiteral("%1: no such folder").arg(folder));

    int status = 0;
    const auto results = TapeLibraryArrayController::recoverInterruptedRecordings(folder);
    for (const RecordingRecovery::Result& result : results) {
        switch (result.outcome) {
        case RecordingRecovery::Outcome::Recovered:
            options.out() << "recovered " << result.source << " -> " << result.recovered << " ("
                          << QString::number(result.seconds, 'f', 1) << " s)\n";
            break;
        case RecordingRecovery::Outcome::InUse:
            options.out() << "in use " << result.source << " (being recorded; left alone)\n";
            break;
        case RecordingRecovery::Outcome::Failed:
            options.out() << "kept " << result.source << " (" << result.message << ")\n";
            status = 1;
            break;
        }
    }
    if (results.isEmpty())
        options.out() << "no interrupted recordings in " << folder << "\n";
    return status;
}

} // namespace

CommandLine::Command recoverCommand()
{
    return {QStringLiteral("recover"), QStringLiteral("[--folder DIR]"),
            QStringLiteral("turn recordings that a crash interrupted into tapes (this also happens whenever "
                           "the library is loaded)"),
            runRecover, CommandLine::Needs::Painting};
}

} // namespace spindrel
