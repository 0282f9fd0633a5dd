// Loading, scanning and searching a library of 10,000 small tapes, with TagLib's FileRef (tags
// and audio properties) loading the same files as the peer; and loading 10,000 tapes as the deck
// leaves them (notes, a 150 KB cover art) the way the library does, against TagLib reading the
// same folder, with a warm and with a cold page cache.
#include "MP4Tags/MP4Tags.h"
#include "RatioReporter.h"
#include "RealTapeLibrary.h"
#include "ToneFile.h"
#include "tapes/LibraryQuery.h"
#include "tapes/Tape.h"
#include "tapes/TapeCassette.h"
#include "tapes/TapeLetterTag.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <map>
#include <memory>
#include <taglib/fileref.h>
#include <taglib/tag.h>

using namespace spindrel;

namespace {

constexpr int kTapes = 10000;

/// A folder of kTapes copies of one tagged LQ tape, with titles, notes and dates that vary.
class Library
{
public:
    Library()
    {
        const QString base = mDir.filePath(QStringLiteral("base.m4a"));
        spindrel::bench::encodeTone(base, 22050, 2, QStringLiteral("48k"),
                                    {QStringLiteral("-movie_timescale"), QStringLiteral("22050")});
        mFolder = mDir.filePath(QStringLiteral("library"));
        QDir().mkpath(mFolder);
        const QStringList words{QStringLiteral("piano"), QStringLiteral("guitar"),
                                QStringLiteral("interview"), QStringLiteral("memo"),
                                QStringLiteral("rehearsal")};
        for (int i = 0; i < kTapes; ++i) {
            const QString path = QStringLiteral("%1/%2.m4a").arg(mFolder).arg(i, 5, 10, QLatin1Char('0'));
            QFile::copy(base, path);
            auto tags = MP4Tags::fromFile(path);
            tags->setTitle(QStringLiteral("%1 take %2").arg(words.at(i % words.size())).arg(i));
            tags->setLyrics(QStringLiteral("notes for take %1").arg(i));
            tags->setReleaseDate(QStringLiteral("%1-%2-%3 10:15:00 +0000")
                                     .arg(2005 + i % 15)
                                     .arg(1 + i % 12, 2, 10, QLatin1Char('0'))
                                     .arg(1 + i % 28, 2, 10, QLatin1Char('0')));
            writeTapeLetter(*tags,
                            TapeLetter(QStringLiteral("A"), TapeColorScheme::colorSchemeWithIndex(i % 8)));
        }
    }
    const QString& folder() const { return mFolder; }

private:
    QTemporaryDir mDir;
    QString mFolder;
};

Library& library()
{
    static Library instance;
    return instance;
}

QStringList paths()
{
    QStringList list;
    for (const QString& name : QDir(library().folder()).entryList({QStringLiteral("*.m4a")}, QDir::Files))
        list << library().folder() + QLatin1Char('/') + name;
    return list;
}

// One tape after another, for the cost of one.
void BM_LoadTapes(benchmark::State& state)
{
    const QStringList files = paths();
    for (auto _ : state) {
        for (const QString& path : files) {
            Tape tape(path);
            benchmark::DoNotOptimize(tape.duration());
        }
    }
    state.counters["tapes"] = double(files.size());
}

void BM_LoadTapes_TagLib(benchmark::State& state)
{
    const QStringList files = paths();
    for (auto _ : state) {
        for (const QString& path : files) {
            TagLib::FileRef file(QFile::encodeName(path).constData(), true, TagLib::AudioProperties::Fast);
            benchmark::DoNotOptimize(file.tag()->title());
            benchmark::DoNotOptimize(file.audioProperties()->lengthInMilliseconds());
        }
    }
    state.counters["tapes"] = double(files.size());
}

void BM_ScanIntoModel(benchmark::State& state)
{
    paths(); // warm
    for (auto _ : state) {
        auto controller = std::make_unique<TapeLibraryArrayController>(library().folder());
        benchmark::DoNotOptimize(controller->rowCount());
        state.PauseTiming(); // tearing down is not part of the scan
        controller.reset();
        state.ResumeTiming();
    }
}

void BM_FilterQuery(benchmark::State& state)
{
    static TapeLibraryArrayController* controller = [] {
        auto* made = new TapeLibraryArrayController(library().folder());
        return made;
    }();
    const QStringList queries{QStringLiteral("piano"), QStringLiteral("guitar take"),
                              QStringLiteral("color:blue quality:lq"), QStringLiteral("year:2012"),
                              QStringLiteral("month:march | interview")};
    const QString query = queries.at(state.range(0));
    for (auto _ : state) {
        controller->setFilterString(query);
        benchmark::DoNotOptimize(controller->rowCount());
        state.PauseTiming(); // clearing the field is a query of its own
        controller->setFilterString(QString());
        state.ResumeTiming();
    }
    state.SetLabel(query.toStdString());
}

// What writing a letter-less file costs: the cover art drawn and encoded, then the tags written.
void BM_CoverArt(benchmark::State& state)
{
    Tape tape(QDir(library().folder()).filePath(QStringLiteral("00001.m4a")));
    const CassetteValues values = TapeCassette::valuesForTape(tape);
    qsizetype bytes = 0;
    for (auto _ : state)
        bytes = TapeCassette::coverArtPNG(values).size();
    state.counters["bytes"] = double(bytes);
}

void BM_CommitLetterlessTape(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString source = QDir(library().folder()).filePath(QStringLiteral("00002.m4a"));
    int run = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const QString path = dir.filePath(QStringLiteral("%1.m4a").arg(run++));
        QFile::copy(source, path);
        Tape tape(path);
        tape.setTapeLetter(TapeLetter::tapeLetter(QStringLiteral("B")));
        state.ResumeTiming();
        benchmark::DoNotOptimize(tape.commitAttributes());
    }
}

const QString& realLibrary()
{
    static const QString folder = bench::realTapeLibrary(kTapes);
    return folder;
}

// Cold runs empty the page cache before each pass; warm runs read the folder once beforehand.
bool prepare(benchmark::State& state, bool cold)
{
    if (realLibrary().isEmpty()) {
        state.SkipWithError("the tapes could not be made");
        return false;
    }
    if (cold && !bench::canDropCaches()) {
        state.SkipWithError("cold cache skipped: dropping the page cache takes root");
        return false;
    }
    state.SetLabel(cold ? "cold" : "warm");
    return true;
}

void beforePass(benchmark::State& state, bool cold)
{
    if (!cold)
        return;
    state.PauseTiming();
    bench::dropCaches();
    state.ResumeTiming();
}

// What the library does with a folder: list it, read every tape, arrange them newest first.
void BM_LibraryLoad(benchmark::State& state)
{
    const bool cold = state.range(0) != 0;
    if (!prepare(state, cold))
        return;
    if (!cold)
        TapeLibraryArrayController warmUp(realLibrary());
    qsizetype tapes = 0;
    for (auto _ : state) {
        beforePass(state, cold);
        auto library = std::make_unique<TapeLibraryArrayController>(realLibrary());
        tapes = library->rowCount();
        state.PauseTiming(); // letting go is not part of the load
        library.reset();
        state.ResumeTiming();
    }
    if (tapes < kTapes) // a deck opened on the folder adds its welcome tape
        state.SkipWithError("the library did not list every tape");
    state.counters["tapes"] = double(tapes);
}

// TagLib's FileRef on every file of the listing: the tags and the audio properties.
void BM_LibraryLoad_TagLib(benchmark::State& state)
{
    const bool cold = state.range(0) != 0;
    if (!prepare(state, cold))
        return;
    const auto loadAll = [] {
        int read = 0;
        const QDir folder(realLibrary());
        for (const QString& name : folder.entryList({QStringLiteral("*.m4a")}, QDir::Files)) {
            TagLib::FileRef file(QFile::encodeName(folder.filePath(name)).constData(), true,
                                 TagLib::AudioProperties::Fast);
            if (file.isNull())
                continue;
            benchmark::DoNotOptimize(file.tag()->title());
            benchmark::DoNotOptimize(file.tag()->year());
            benchmark::DoNotOptimize(file.audioProperties()->lengthInMilliseconds());
            ++read;
        }
        return read;
    };
    if (!cold)
        loadAll();
    int read = 0;
    for (auto _ : state) {
        beforePass(state, cold);
        read = loadAll();
    }
    if (read < kTapes)
        state.SkipWithError("TagLib did not read every tape");
    state.counters["tapes"] = double(read);
}

// Collects the mean real time of every run to print the ratios at the end.
void printLoadRatio(const spindrel::bench::RatioReporter& reporter, const char* label,
                    const std::string& ours, const std::string& peer, double goal)
{
    const auto* a = reporter.find(ours);
    const auto* b = reporter.find(peer);
    if (!a || !b) {
        std::printf("%s: not measured in this run\n", label);
        return;
    }
    std::printf("%s: ours %.1f ms, TagLib %.1f ms, ratio %.2f (goal %.0f)\n", label, a->GetAdjustedRealTime(),
                b->GetAdjustedRealTime(), b->GetAdjustedRealTime() / a->GetAdjustedRealTime(), goal);
}

} // namespace

BENCHMARK(BM_CoverArt)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CommitLetterlessTape)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTapes)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_LoadTapes_TagLib)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_ScanIntoModel)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_FilterQuery)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibraryLoad)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_LibraryLoad_TagLib)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_LibraryLoad)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_LibraryLoad_TagLib)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    return spindrel::bench::runBenchmarks(argc, argv, [](const spindrel::bench::RatioReporter& reporter) {
        printLoadRatio(reporter, "10,000 small tapes, warm, TagLib / library",
                       "BM_ScanIntoModel/iterations:3/real_time",
                       "BM_LoadTapes_TagLib/iterations:3/real_time", 4);
        printLoadRatio(reporter, "10,000 tapes with 150 KB cover art, warm, TagLib / library",
                       "BM_LibraryLoad/0/iterations:5/real_time",
                       "BM_LibraryLoad_TagLib/0/iterations:5/real_time", 4);
        printLoadRatio(reporter, "10,000 tapes with 150 KB cover art, cold, TagLib / library",
                       "BM_LibraryLoad/1/iterations:3/real_time",
                       "BM_LibraryLoad_TagLib/1/iterations:3/real_time", 5);
    });
}
