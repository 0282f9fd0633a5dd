// From nothing to the deck on screen: preferences, widgets and the window shown while the library
// is read in the background, for an empty library and one of 1,000 tapes; and on to the last
// tape listed. The library's own scan of
// the same folder is measured beside it, so the deck's share of the time can be read off.
// Needs a display and the sound server: scripts/with-test-services build/bench/bench_startup
#include "app/AppController.h"
#include "app/PreferencesController.h"
#include "app/UserDefaults.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QWindow>
#include <benchmark/benchmark.h>
#include <map>

using namespace spindrel;

namespace {

QTemporaryDir& workFolder()
{
    static QTemporaryDir folder;
    return folder;
}

// A library folder of `count` tapes (copies of one short recording of the deck's), made once per
// count.
QString libraryOf(int count)
{
    static std::map<int, QString> made;
    if (auto found = made.find(count); found != made.end())
        return found->second;
    const QString folder = workFolder().filePath(QStringLiteral("library-%1").arg(count));
    QDir().mkpath(folder);
    static QString model;
    if (model.isEmpty()) {
        const QString encoded = workFolder().filePath(QStringLiteral("model.m4a"));
        QProcess ffmpeg;
        ffmpeg.start(
            QStringLiteral("ffmpeg"),
            {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"), QStringLiteral("lavfi"),
             QStringLiteral("-i"), QStringLiteral("sine=frequency=440:sample_rate=22050:duration=2"),
             QStringLiteral("-c:a"), QStringLiteral("aac"), QStringLiteral("-b:a"), QStringLiteral("48k"),
             QStringLiteral("-metadata"), QStringLiteral("date=2012-03-04 10:15:00 +0000"),
             QStringLiteral("-f"), QStringLiteral("ipod"), encoded});
        ffmpeg.waitForFinished(60000);
        // As the deck leaves its recordings: letter, cover art and all, so that loading them
        // writes nothing.
        Tape tape(encoded);
        tape.setTitle(QStringLiteral("Rehearsal"));
        tape.commitAttributes(); // renamed after its date and title
        model = tape.filename();
    }
    for (int i = 0; i < count; ++i)
        QFile::copy(model, folder + QStringLiteral("/Rehearsal %1.m4a").arg(i, 4, 10, QLatin1Char('0')));
    made.emplace(count, folder);
    return folder;
}

void waitUntilShown(QWidget* window)
{
    // Shown means mapped and painted once.
    while (!window->windowHandle() || !window->windowHandle()->isExposed())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QCoreApplication::processEvents();
}

// The deck is shown while the library is still being read; `full` also waits for the last tape.
void startDeck(benchmark::State& state, bool full)
{
    const QString library = libraryOf(int(state.range(0)));
    int run = 0;
    for (auto _ : state) {
        auto defaults = std::make_unique<UserDefaults>(std::make_unique<QSettings>(
            workFolder().filePath(QStringLiteral("defaults-%1-%2.conf").arg(full).arg(run++)),
            QSettings::IniFormat));
        auto preferences = std::make_unique<PreferencesController>(*defaults, library);
        auto app = std::make_unique<AppController>(preferences.get());
        app->applicationDidFinishLaunching();
        WindowController* deck = app->windowController();
        waitUntilShown(deck->window());
        if (full) {
            while (deck->library().isScanning())
                QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }

        state.PauseTiming();
        while (deck->library().isScanning())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (deck->library().content().size() < state.range(0))
            state.SkipWithError("the library is not complete");
        deck->window()->close();
        app.reset();
        preferences.reset();
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    state.counters["tapes"] = double(state.range(0));
}

void BM_StartToDeckShown(benchmark::State& state)
{
    startDeck(state, false);
}
BENCHMARK(BM_StartToDeckShown)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(8);

void BM_StartToLibraryFull(benchmark::State& state)
{
    startDeck(state, true);
}
BENCHMARK(BM_StartToLibraryFull)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(8);

void BM_LibraryScanAlone(benchmark::State& state)
{
    const QString library = libraryOf(int(state.range(0)));
    for (auto _ : state) {
        TapeLibraryArrayController scan(library);
        benchmark::DoNotOptimize(scan.content().size());
    }
}
BENCHMARK(BM_LibraryScanAlone)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(8);

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    qputenv("XDG_DATA_HOME", workFolder().filePath(QStringLiteral("data")).toLocal8Bit());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
