// spindrel export FILE DEST [--force]: copies a tape out of the library, as the deck's export does.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "tapes/TapeExport.h"

#include <QFileInfo>

namespace spindrel {

namespace {

int runExport(const QStringList& args)
{
    CommandOptions options(QStringLiteral("export"), QStringLiteral("FILE DEST [--force]"));
    options.parser().addOption(
        QCommandLineOption(QStringLiteral("force"), QStringLiteral("replace an existing DEST")));
    if (!options.parse(args))
        return 2;
    if (options.positional().size() != 2)
        return options.usageError(QStringLiteral("expected a tape file and a destination"));
    const QString source = options.positional().at(0);
    QString destination = options.positional().at(1);
    // A folder as destination takes the tape under its own name.
    if (QFileInfo(destination).isDir())
        destination = destination + QLatin1Char('/') + QFileInfo(source).fileName();
    const auto existing = options.isSet(QStringLiteral("force")) ? TapeExport::ExistingFile::Replace
                                                                 : TapeExport::ExistingFile::Keep;
    if (const std::optional<Error> error = TapeExport::exportFile(source, destination, existing)) {
        const bool refused = existing == TapeExport::ExistingFile::Keep && QFileInfo::exists(destination);
        return options.fail(error->localizedDescription() +
                            (refused ? QStringLiteral(" (use --force to replace it)") : QString()));
    }
    options.out() << "exported " << source << " -> " << destination << "\n";
    return 0;
}

} // namespace

CommandLine::Command exportCommand()
{
    return {QStringLiteral("export"), QStringLiteral("FILE DEST [--force]"),
            QStringLiteral("copy a tape to DEST (a file or folder); an existing file is kept unless --force"),
            runExport};
}

} // namespace spindrel
