// spindrel probe FILE: what the header probe reads, without touching the file.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "tapes/Tape.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

namespace spindrel {

namespace {

int runProbe(const QStringList& args)
{
    CommandOptions options(QStringLiteral("probe"), QStringLiteral("FILE [--json]"));
    options.parser().addOption(QCommandLineOption(QStringLiteral("json")));
    if (!options.parse(args))
        return 2;
    if (options.positional().size() != 1)
        return options.usageError(QStringLiteral("expected one file"));
    const QString path = options.positional().first();
    if (const auto status = options.failUnlessRegularFile(path))
        return *status;

    Tape tape(path);
    if (tape.samplerate() == 0)
        return options.fail(QStringLiteral("%1: no movie header found; not a tape").arg(path));

    if (options.isSet(QStringLiteral("json"))) {
        const QJsonObject json{{QStringLiteral("duration"), tape.duration()},
                               {QStringLiteral("sampleRate"), qint64(tape.samplerate())},
                               {QStringLiteral("bitrate"), qint64(tape.bitrate())},
                               {QStringLiteral("stereo"), tape.stereo()},
                               {QStringLiteral("quality"), tape.quality()}};
        options.out() << QJsonDocument(json).toJson(QJsonDocument::Indented);
        return 0;
    }
    options.out() << "duration:   " << QString::number(tape.duration(), 'f', 3) << " s\n"
                  << "sampleRate: " << tape.samplerate() << " Hz\n"
                  << "bitrate:    " << tape.bitrate() << " bit/s\n"
                  << "stereo:     " << (tape.stereo() ? "yes" : "no") << "\n"
                  << "quality:    " << tape.quality() << "\n";
    return 0;
}

} // namespace

CommandLine::Command probeCommand()
{
    return {QStringLiteral("probe"), QStringLiteral("FILE [--json]"),
            QStringLiteral("print a tape's duration, sample rate, bit rate, channels and quality"), runProbe};
}

} // namespace spindrel
