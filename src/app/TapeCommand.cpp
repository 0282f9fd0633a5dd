// spindrel tape FILE [--title T] ...: edits a tape as the deck does, commits it and prints its path.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "tapes/DateParser.h"
#include "tapes/Tape.h"

#include <QFileInfo>

namespace spindrel {

namespace {

int runTape(const QStringList& args)
{
    CommandOptions options(QStringLiteral("tape"), QStringLiteral("FILE [--title T] [--notes N] [--date D] "
                                                                  "[--artist A] [--letter X] [--color N]"));
    for (const char* name : {"title", "notes", "date", "artist", "letter", "color"})
        options.parser().addOption(
            QCommandLineOption(QLatin1String(name), QLatin1String(name), QStringLiteral("value")));
    if (!options.parse(args))
        return 2;
    if (options.positional().size() != 1)
        return options.usageError(QStringLiteral("expected one file"));
    const QString path = options.positional().first();
    if (const auto status = options.failUnlessRegularFile(path))
        return *status;

    std::optional<QDateTime> date;
    if (options.isSet(QStringLiteral("date"))) {
        date = DateParser::dateWithNaturalLanguageString(options.value(QStringLiteral("date")));
        if (!date)
            return options.usageError(
                QStringLiteral("“%1” is not a date").arg(options.value(QStringLiteral("date"))));
    }
    int colorIndex = -1;
    if (options.isSet(QStringLiteral("color"))) {
        bool ok = false;
        colorIndex = options.value(QStringLiteral("color")).toInt(&ok);
        if (!ok || colorIndex < 0 || colorIndex >= int(TapeColorScheme::Count))
            return options.usageError(QStringLiteral("--color takes a number from 0 to 7"));
    }

    Tape tape(path);
    if (tape.samplerate() == 0)
        return options.fail(QStringLiteral("%1: not a tape (no movie header)").arg(path));
    QString failure;
    QObject::connect(&tape, &Tape::errorOccurred,
                     [&failure](const Error& error) { failure = error.localizedDescription(); });
    QObject::connect(&tape, &Tape::commitFailed, [&failure](const QString& reason) { failure = reason; });
    if (options.isSet(QStringLiteral("title")))
        tape.setTitle(options.value(QStringLiteral("title")));
    if (options.isSet(QStringLiteral("notes")))
        tape.setNotes(options.value(QStringLiteral("notes")));
    if (date)
        tape.setDate(*date);
    if (options.isSet(QStringLiteral("artist")))
        tape.setArtist(options.value(QStringLiteral("artist")));
    if (options.isSet(QStringLiteral("letter")) || colorIndex >= 0) {
        TapeLetter letter(tape.tapeLetter().letter(),
                          std::make_shared<TapeColorScheme>(tape.tapeLetter().colorScheme()->index()));
        if (options.isSet(QStringLiteral("letter")))
            letter.setLetter(options.value(QStringLiteral("letter")));
        if (colorIndex >= 0)
            letter.colorScheme()->setIndex(unsigned(colorIndex));
        tape.setTapeLetter(letter);
    }
    // A failed write keeps the file as it was, under its old name.
    const bool written = tape.commitAttributes();
    if (!written)
        return options.fail(failure.isEmpty() ? QStringLiteral("%1: the tags could not be written").arg(path)
                                              : failure);
    if (!failure.isEmpty()) {
        options.out() << tape.filename() << "\n";
        return options.fail(failure);
    }
    options.out() << tape.filename() << "\n";
    return 0;
}

} // namespace

CommandLine::Command tapeCommand()
{
    return {
        QStringLiteral("tape"),
        QStringLiteral("FILE [--title T] [--notes N] [--date D] [--artist A] [--letter X] [--color N]"),
        QStringLiteral("edit a tape, commit it (cover art, rename after the title) and print its new path"),
        runTape, CommandLine::Needs::Painting};
}

} // namespace spindrel
