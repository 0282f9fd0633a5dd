// spindrel library [--folder DIR] [--query Q] [--json] [--watch]: the tape box, as text.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "app/LibraryFolder.h"
#include "tapes/DurationFormatter.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <csignal>

namespace spindrel {

namespace {

QJsonObject tapeJson(const Tape& tape)
{
    return {{QStringLiteral("date"), tape.date().toString(Qt::ISODate)},
            {QStringLiteral("duration"), tape.duration()},
            {QStringLiteral("quality"), tape.quality()},
            {QStringLiteral("color"), tape.tapeLetter().colorScheme()->colorName()},
            {QStringLiteral("letter"), tape.tapeLetter().letter()},
            {QStringLiteral("title"), tape.title()},
            {QStringLiteral("path"), tape.filename()}};
}

QString tapeLine(const Tape& tape)
{
    return QStringLiteral("%1  %2  %3  %4  %5  %6  %7")
        .arg(tape.date().isValid() ? tape.date().toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"))
                                   : QStringLiteral("----------------"))
        .arg(DurationFormatter::durationToString(int32_t(tape.duration())), 9)
        .arg(tape.quality(), 2)
        .arg(tape.tapeLetter().colorScheme()->colorName(), -6)
        .arg(tape.tapeLetter().letter(), 1)
        .arg(tape.title(), QFileInfo(tape.filename()).fileName());
}

int watch(TapeLibraryArrayController& library, CommandOptions& options)
{
    QSet<QString> known;
    for (const TapePtr& tape : library.content())
        known.insert(tape->filename());
    QObject::connect(&library, &TapeLibraryArrayController::folderChanged, [&] {
        QSet<QString> now;
        for (const TapePtr& tape : library.content()) {
            now.insert(tape->filename());
            if (!known.contains(tape->filename()))
                options.out() << "+ " << tapeLine(*tape) << "\n";
        }
        for (const QString& path : std::as_const(known)) {
            if (!now.contains(path))
                options.out() << "- " << path << "\n";
        }
        options.out().flush();
        known = now;
    });
    library.startMonitoringRecordingDirectory();
    if (!library.isMonitoring())
        return options.fail(QStringLiteral("%1: the folder cannot be watched").arg(library.folderPath()));
    options.out() << "watching " << library.folderPath() << " (Ctrl+C to stop)\n";
    options.out().flush();
    std::signal(SIGINT, [](int) { QCoreApplication::quit(); });
    std::signal(SIGTERM, [](int) { QCoreApplication::quit(); });
    return QCoreApplication::exec();
}

int runLibrary(const QStringList& args)
{
    CommandOptions options(QStringLiteral("library"),
                           QStringLiteral("[--folder DIR] [--query Q] [--json] [--watch]"));
    options.parser().addOption(
        QCommandLineOption(QStringLiteral("folder"), QStringLiteral("folder"), QStringLiteral("dir")));
    options.parser().addOption(
        QCommandLineOption(QStringLiteral("query"), QStringLiteral("query"), QStringLiteral("q")));
    options.parser().addOption(QCommandLineOption(QStringLiteral("json")));
    options.parser().addOption(QCommandLineOption(QStringLiteral("watch")));
    if (!options.parse(args))
        return 2;
    if (!options.positional().isEmpty())
        return options.usageError(QStringLiteral("unexpected argument %1").arg(options.positional().first()));

    QString folder = options.value(QStringLiteral("folder"));
    if (folder.isEmpty()) {
        folder = LibraryFolder::currentPath();
        LibraryFolder::setUp(folder);
    }
    folder = QFileInfo(folder).absoluteFilePath();
    if (!QFileInfo(folder).isDir())
        options.fail(QStringLiteral("%1: no such folder; the library is empty").arg(folder));

    TapeLibraryArrayController library(folder);
    if (options.isSet(QStringLiteral("query")))
        library.setFilterString(options.value(QStringLiteral("query")));
    if (options.isSet(QStringLiteral("watch")))
        return watch(library, options);

    if (options.isSet(QStringLiteral("json"))) {
        QJsonArray tapes;
        for (const TapePtr& tape : library.arrangedObjects())
            tapes.append(tapeJson(*tape));
        options.out() << QJsonDocument(tapes).toJson(QJsonDocument::Indented);
    } else {
        for (const TapePtr& tape : library.arrangedObjects())
            options.out() << tapeLine(*tape) << "\n";
    }
    return 0;
}

int runImport(const QStringList& args)
{
    CommandOptions options(QStringLiteral("import"), QStringLiteral("FILE... [--folder DIR]"));
    options.parser().addOption(
        QCommandLineOption(QStringLiteral("folder"), QStringLiteral("folder"), QStringLiteral("dir")));
    if (!options.parse(args))
        return 2;
    if (options.positional().isEmpty())
        return options.usageError(QStringLiteral("expected files to import"));
    QString folder = options.value(QStringLiteral("folder"));
    if (folder.isEmpty()) {
        folder = LibraryFolder::currentPath();
        LibraryFolder::setUp(folder);
    }
    TapeLibraryArrayController library(folder);
    int status = 0;
    for (const QString& path : options.positional()) {
        const QFileInfo source(path);
        // A source that is there but not a regular file is refused by the copy, with its reason.
        if (!source.exists()) {
            status = options.fail(QStringLiteral("%1: no such file").arg(path));
            continue;
        }
        if (QFileInfo::exists(folder + QLatin1Char('/') + source.fileName())) {
            options.out() << "skipped " << path << " (the library has a file of that name)\n";
            continue;
        }
        if (auto error = library.copyTape(QUrl::fromLocalFile(source.absoluteFilePath())))
            status = options.fail(error->localizedDescription());
        else
            options.out() << "imported " << folder << "/" << source.fileName() << "\n";
    }
    return status;
}

} // namespace

CommandLine::Command libraryCommand()
{
    return {
        QStringLiteral("library"), QStringLiteral("[--folder DIR] [--query Q] [--json] [--watch]"),
        QStringLiteral("list the tapes newest first (date, length, quality, colour, letter, title, file); "
                       "--watch prints additions and removals as they happen"),
        runLibrary, CommandLine::Needs::Painting};
}

CommandLine::Command importCommand()
{
    return {QStringLiteral("import"), QStringLiteral("FILE... [--folder DIR]"),
            QStringLiteral("copy files into the library (names already there are skipped)"), runImport,
            CommandLine::Needs::Painting};
}

} // namespace spindrel
