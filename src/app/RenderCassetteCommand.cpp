// spindrel render-cassette FILE OUT.png: the tape's cassette picture at scale 2.0.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "tapes/CassetteArtwork.h"
#include "tapes/Tape.h"
#include "tapes/TapeCassette.h"

namespace spindrel {

namespace {

int runRenderCassette(const QStringList& args)
{
    CommandOptions options(QStringLiteral("render-cassette"), QStringLiteral("FILE OUT.png"));
    QString path;
    QString out;
    if (const auto status = options.parseTapeAndOutput(args, &path, &out))
        return *status;

    Tape tape(path);
    CassetteArtwork artwork(TapeCassette::valuesForTape(tape));
    if (!artwork.coverArtImage().save(out, "PNG"))
        return options.fail(QStringLiteral("%1: could not be written").arg(out));
    options.out() << out << "\n";
    return 0;
}

} // namespace

CommandLine::Command renderCassetteCommand()
{
    return {QStringLiteral("render-cassette"), QStringLiteral("FILE OUT.png"),
            QStringLiteral("draw the tape's cassette as a PNG at scale 2.0"), runRenderCassette,
            CommandLine::Needs::Painting};
}

} // namespace spindrel
