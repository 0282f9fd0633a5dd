// spindrel export-movie FILE OUT.mov: the tape rendered as a movie, with a progress bar.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "foundation/Log.h"
#include "sharing/TapeMovie.h"
#include "tapes/Tape.h"

#include <QEventLoop>
#include <atomic>
#include <cstdio>
#include <unistd.h>

namespace spindrel {

namespace {

constexpr int barWidth = 40;

void drawProgressBar(int percent)
{
    const int filled = percent * barWidth / 100;
    const QByteArray bar = QByteArray(filled, '#') + QByteArray(barWidth - filled, '-');
    std::fprintf(stderr, "\rExporting [%s] %3d%%", bar.constData(), percent);
    std::fflush(stderr);
}

int runExportMovie(const QStringList& args)
{
    CommandOptions options(QStringLiteral("export-movie"), QStringLiteral("FILE OUT.mov"));
    QString path;
    QString out;
    if (const auto status = options.parseTapeAndOutput(args, &path, &out))
        return *status;

    auto tape = std::make_shared<Tape>(path);
    TapeMovie movie(tape);
    movie.setFilename(out);

    // The export calls back on its own thread; the bar is drawn here, on the main thread.
    const bool showBar = ::isatty(STDERR_FILENO) != 0;
    // Log lines take the bar's line and the next update draws it again below them.
    const LogSink previousSink = setLogSink([showBar](const QString& line) {
        const QByteArray text = line.toLocal8Bit();
        std::fprintf(stderr, "%s%s\n", showBar ? "\r\033[K" : "", text.constData());
    });
    std::atomic<int> lastPercent = -1;
    QEventLoop loop;
    movie.setProgressUpdateBlock([&](double progress) {
        const int percent = int(progress * 100.0);
        if (showBar && lastPercent.exchange(percent) != percent)
            QMetaObject::invokeMethod(
                &loop, [percent] { drawProgressBar(percent); }, Qt::QueuedConnection);
        return true;
    });
    std::optional<Error> result;
    bool finished = false;
    movie.performMovieExportWithCompletionBlock([&](const std::optional<Error>& error) {
        QMetaObject::invokeMethod(
            &loop,
            [&, error] {
                result = error;
                finished = true;
                loop.quit();
            },
            Qt::QueuedConnection);
    });
    if (!finished)
        loop.exec();
    movie.waitUntilFinished();
    setLogSink(previousSink);
    if (showBar) {
        if (!result)
            drawProgressBar(100);
        std::fputs("\n", stderr);
    }
    if (result)
        return options.fail(QStringLiteral("%1: %2").arg(out, result->localizedDescription()));
    options.out() << out << "\n";
    return 0;
}

} // namespace

CommandLine::Command exportMovieCommand()
{
    return {QStringLiteral("export-movie"), QStringLiteral("FILE OUT.mov"),
            QStringLiteral("render the tape as an H.264 movie of its cassette with its audio"),
            runExportMovie, CommandLine::Needs::Painting};
}

} // namespace spindrel
