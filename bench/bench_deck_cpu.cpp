// What the deck costs the machine while it sits idle with its meters running, while it records and
// while it plays: the real program, launched on a small library of its own and driven by its keys,
// its processor time read from /proc. GNOME Sound Recorder is measured beside it when installed.
// Needs the test services and xdotool: scripts/with-test-services build/bench/bench_deck_cpu
// SPINDREL_BENCH_SECONDS shortens each phase while iterating (60 s by default).
#include "../tests/PrivateSessionBus.h"
#include "ClickOnInput.h"
#include "ToneFile.h"
#include "tapes/Tape.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <memory>
#include <unistd.h>

namespace {

using spindrel::Tape;

int phaseSeconds()
{
    bool ok = false;
    const int seconds = qEnvironmentVariableIntValue("SPINDREL_BENCH_SECONDS", &ok);
    return ok && seconds > 0 ? seconds : 60;
}

void pause(double seconds)
{
    QThread::msleep(static_cast<unsigned long>(seconds * 1000.0));
}

// User and system time of a process, in seconds.
double cpuSeconds(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return -1.0;
    const QByteArray line = stat.readAll();
    // The command name may hold spaces; the fields after it are plain numbers.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13)
        return -1.0;
    const double ticks = double(sysconf(_SC_CLK_TCK));
    return (fields[11].toDouble() + fields[12].toDouble()) / ticks;
}

QString run(const QString& program, const QStringList& arguments, int timeoutMs = 30000)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs))
        process.kill();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

// The first visible window of a process, waited for.
QString windowOf(qint64 pid)
{
    for (int i = 0; i < 300; ++i) {
        const QString found =
            run(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                            QStringLiteral("--pid"), QString::number(pid)});
        if (!found.isEmpty())
            return found.split(u'\n').first();
        pause(0.1);
    }
    return {};
}

void pressKey(const QString& window, const QString& key)
{
    run(QStringLiteral("xdotool"), {QStringLiteral("windowfocus"), QStringLiteral("--sync"), window});
    run(QStringLiteral("xdotool"), {QStringLiteral("key"), key});
}

// A launched program in a home of its own, its processor time sampled over a phase.
class Launched
{
public:
    virtual ~Launched()
    {
        if (mProcess.state() != QProcess::NotRunning) {
            mProcess.terminate();
            if (!mProcess.waitForFinished(30000))
                mProcess.kill();
        }
    }

    bool isRunning() const { return mProcess.state() == QProcess::Running; }
    qint64 pid() const { return mProcess.processId(); }
    const QString& window() const { return mWindow; }
    QString homePath(const QString& name) const { return mHome.filePath(name); }

    // Percent of one core the process used over `seconds` of wall time.
    double measure(int seconds)
    {
        QElapsedTimer wall;
        const double before = cpuSeconds(pid());
        wall.start();
        pause(seconds);
        const double after = cpuSeconds(pid());
        const double elapsed = double(wall.nsecsElapsed()) / 1e9;
        if (before < 0 || after < 0)
            return -1.0;
        return 100.0 * (after - before) / elapsed;
    }

protected:
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), mHome.path());
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), mHome.filePath(QStringLiteral(".config")));
        environment.insert(QStringLiteral("XDG_DATA_HOME"), mHome.filePath(QStringLiteral(".local/share")));
        environment.insert(QStringLiteral("XDG_CACHE_HOME"), mHome.filePath(QStringLiteral(".cache")));
        return environment;
    }

    bool launch(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment)
    {
        mProcess.setProcessEnvironment(environment);
        mProcess.setWorkingDirectory(mHome.path());
        mProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mProcess.setStandardOutputFile(QProcess::nullDevice());
        mProcess.start(program, arguments);
        if (!mProcess.waitForStarted(30000))
            return false;
        mWindow = windowOf(pid());
        return !mWindow.isEmpty();
    }

    QTemporaryDir mHome;
    QProcess mProcess;
    QString mWindow;
};

class Deck : public Launched
{
public:
    static std::unique_ptr<Deck>& shared()
    {
        static std::unique_ptr<Deck> deck;
        if (!deck)
            deck.reset(new Deck);
        return deck;
    }

    bool start()
    {
        if (isRunning())
            return true;
        const QString library = homePath(QStringLiteral("Music/Spindrel"));
        QDir().mkpath(library);
        QDir().mkpath(homePath(QStringLiteral(".config/Spindrel")));
        QFile settings(homePath(QStringLiteral(".config/Spindrel/Spindrel.conf")));
        if (!settings.open(QIODevice::WriteOnly))
            return false;
        settings.write("[General]\nTapeLibraryLocation=" + library.toUtf8() + "\n");
        settings.close();
        if (!makeTape(library))
            return false;
        QProcessEnvironment env = environment();
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), mBus.address());
        if (!launch(QStringLiteral(SPINDREL_BINARY), {}, env))
            return false;
        // The library is read and the meters run before anything is measured.
        pause(5.0);
        return true;
    }

    QString playbackStatus()
    {
        QDBusInterface player(mService, QStringLiteral("/org/mpris/MediaPlayer2"),
                              QStringLiteral("org.mpris.MediaPlayer2.Player"), mConnection);
        return player.property("PlaybackStatus").toString();
    }

    qsizetype tapeCount() const
    {
        return QDir(homePath(QStringLiteral("Music/Spindrel")))
            .entryList({QStringLiteral("*.m4a")}, QDir::Files)
            .size();
    }

private:
    Deck() : mConnection(mBus.connect(QStringLiteral("bench"))) {}

    // A long tape, the newest in the library, as the deck leaves its own recordings.
    static bool makeTape(const QString& library)
    {
        const QString encoded = library + QStringLiteral("/Long take.m4a");
        if (!spindrel::bench::encodeTone(
                encoded, 44100, 600, QStringLiteral("96k"),
                {QStringLiteral("-metadata"), QStringLiteral("date=2030-03-04 10:15:00 +0000")}))
            return false;
        Tape tape(encoded);
        tape.setTitle(QStringLiteral("Long take"));
        return tape.commitAttributes();
    }

    spindrel::test::PrivateSessionBus mBus;
    QDBusConnection mConnection;
    QString mService = QStringLiteral("org.mpris.MediaPlayer2.spindrel");
};

// GNOME Sound Recorder, when it is installed.
class Peer : public Launched
{
public:
    static std::unique_ptr<Peer>& shared()
    {
        static std::unique_ptr<Peer> peer;
        if (!peer)
            peer.reset(new Peer);
        return peer;
    }

    static QString program()
    {
        return QStandardPaths::findExecutable(QStringLiteral("gnome-sound-recorder"));
    }

    bool start()
    {
        if (isRunning())
            return true;
        QProcessEnvironment env = environment();
        // Its own bus: it is a single-instance GApplication, and settings stay in memory.
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), mBus.address());
        env.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
        // Xvfb has no graphics card: GTK's GL renderer would paint in software and charge the peer
        // for what a desktop's card does.
        env.insert(QStringLiteral("GSK_RENDERER"), QStringLiteral("cairo"));
        if (!launch(program(), {}, env))
            return false;
        pause(5.0);
        return true;
    }

    qsizetype recordingCount() const
    {
        qsizetype count = 0;
        for (const QString& folder : {QStringLiteral("Recordings"), QStringLiteral(".local/share"),
                                      QStringLiteral(".local/share/org.gnome.SoundRecorder")}) {
            count += QDir(homePath(folder)).entryList(QDir::Files).size();
        }
        return count;
    }

private:
    spindrel::test::PrivateSessionBus mBus;
};

std::map<std::string, double>& percents()
{
    static std::map<std::string, double> measured;
    return measured;
}

void report(benchmark::State& state, const char* phase, double percent)
{
    state.SetIterationTime(double(phaseSeconds()));
    state.counters["cpu_percent"] = percent;
    percents()[phase] = percent;
}

void BM_DeckIdle(benchmark::State& state)
{
    Deck& deck = *Deck::shared();
    for (auto _ : state) {
        if (!deck.start()) {
            state.SkipWithError("the deck did not start");
            return;
        }
        report(state, "idle", deck.measure(phaseSeconds()));
    }
}
BENCHMARK(BM_DeckIdle)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

void BM_DeckPlaying(benchmark::State& state)
{
    Deck& deck = *Deck::shared();
    for (auto _ : state) {
        if (!deck.start()) {
            state.SkipWithError("the deck did not start");
            return;
        }
        pressKey(deck.window(), QStringLiteral("x"));
        pause(1.0);
        if (deck.playbackStatus() != QStringLiteral("Playing")) {
            state.SkipWithError("the deck did not play");
            return;
        }
        const double percent = deck.measure(phaseSeconds());
        const bool stillPlaying = deck.playbackStatus() == QStringLiteral("Playing");
        pressKey(deck.window(), QStringLiteral("b"));
        pause(2.0);
        if (!stillPlaying) {
            state.SkipWithError("the tape ended before the phase did");
            return;
        }
        report(state, "playing", percent);
    }
}
BENCHMARK(BM_DeckPlaying)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

void BM_DeckRecording(benchmark::State& state)
{
    Deck& deck = *Deck::shared();
    for (auto _ : state) {
        if (!deck.start()) {
            state.SkipWithError("the deck did not start");
            return;
        }
        const qsizetype before = deck.tapeCount();
        pressKey(deck.window(), QStringLiteral("z"));
        pause(1.0);
        const double percent = deck.measure(phaseSeconds());
        pressKey(deck.window(), QStringLiteral("b"));
        for (int i = 0; i < 300 && deck.tapeCount() == before; ++i)
            pause(0.1);
        if (deck.tapeCount() == before) {
            state.SkipWithError("the deck made no recording");
            return;
        }
        report(state, "recording", percent);
    }
}
BENCHMARK(BM_DeckRecording)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

// From the press of REC to the first sample in the tape, with the input live as the deck's meters
// keep it: a click played at a known moment, heard on the input and found in the finished tape.
double gRecToFirstSampleMs = -1.0;
void BM_DeckRecToFirstSample(benchmark::State& state)
{
    Deck& deck = *Deck::shared();
    const QDir library(deck.homePath(QStringLiteral("Music/Spindrel")));
    double total = 0.0;
    int runs = 0;
    for (auto _ : state) {
        if (!deck.start()) {
            state.SkipWithError("the deck did not start");
            return;
        }
        // The take of an earlier phase may still be finishing and taking its name: what is there
        // counts once the folder has stayed the same for two seconds.
        QStringList before = library.entryList(QDir::Files);
        for (int still = 0, i = 0; still < 8 && i < 240; ++i) {
            pause(0.25);
            const QStringList now = library.entryList(QDir::Files);
            still = now == before ? still + 1 : 0;
            before = now;
        }
        const double started = spindrel::bench::nowMilliseconds() + 3000.0;
        spindrel::bench::Click click(started, started + 1500.0, QByteArray());
        pause((started - spindrel::bench::nowMilliseconds()) / 1000.0);
        pressKey(deck.window(), QStringLiteral("z"));
        pause(2.5);
        pressKey(deck.window(), QStringLiteral("b"));
        QString take;
        // The take has its name once its tags are written.
        for (int i = 0; i < 300 && take.isEmpty(); ++i) {
            pause(0.1);
            for (const QString& name : library.entryList({QStringLiteral("*Untitled*.m4a")}, QDir::Files))
                take = before.contains(name) ? take : library.filePath(name);
        }
        const double heardAt = click.finish();
        const double inTape = take.isEmpty() ? -1.0 : spindrel::bench::clickInTape(take);
        if (heardAt < 0.0 || inTape < 0.0) {
            state.SkipWithError("no take, or the click was not in it");
            return;
        }
        state.SetIterationTime((heardAt - inTape) / 1000.0);
        total += heardAt - inTape;
        ++runs;
    }
    gRecToFirstSampleMs = total / runs;
}
BENCHMARK(BM_DeckRecToFirstSample)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

// The peer, running; null (and the benchmark skipped) when it is not installed or did not start.
Peer* startedPeer(benchmark::State& state)
{
    if (Peer::program().isEmpty()) {
        state.SkipWithError("gnome-sound-recorder is not installed");
        return nullptr;
    }
    Peer& peer = *Peer::shared();
    if (!peer.start()) {
        state.SkipWithError("gnome-sound-recorder did not start");
        return nullptr;
    }
    return &peer;
}

void BM_PeerIdle(benchmark::State& state)
{
    for (auto _ : state) {
        Peer* started = startedPeer(state);
        if (!started)
            return;
        Peer& peer = *started;
        report(state, "peer idle", peer.measure(phaseSeconds()));
    }
}
BENCHMARK(BM_PeerIdle)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

void BM_PeerRecording(benchmark::State& state)
{
    for (auto _ : state) {
        Peer* started = startedPeer(state);
        if (!started)
            return;
        Peer& peer = *started;
        const qsizetype before = peer.recordingCount();
        pressKey(peer.window(), QStringLiteral("ctrl+r"));
        pause(1.0);
        const double percent = peer.measure(phaseSeconds());
        // Its stop key is the record key again.
        pressKey(peer.window(), QStringLiteral("ctrl+r"));
        pause(2.0);
        if (peer.recordingCount() == before) {
            state.SkipWithError("gnome-sound-recorder made no recording");
            return;
        }
        report(state, "peer recording", percent);
    }
}
BENCHMARK(BM_PeerRecording)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

void printRatios()
{
    const std::map<std::string, double> goals = {{"idle", 0.5}, {"recording", 5.0}, {"playing", 8.0}};
    for (const auto& [phase, goal] : goals) {
        const auto ours = percents().find(phase);
        if (ours == percents().end())
            continue;
        std::printf("deck %s: %.2f%% of a core, goal %.1f%%, ratio %.2f", phase.c_str(), ours->second, goal,
                    goal / std::max(ours->second, 0.01));
        const auto peer = percents().find("peer " + phase);
        if (peer != percents().end())
            std::printf("; peer %.2f%%", peer->second);
        std::printf("\n");
    }
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv); // the tape's cover art is drawn
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printRatios();
    if (gRecToFirstSampleMs >= 0.0)
        std::printf("deck REC to first sample: %.1f ms, goal 100 ms, ratio %.2f\n", gRecToFirstSampleMs,
                    100.0 / std::max(gRecToFirstSampleMs, 1.0));
    // Both programs end while the application that watches them still exists.
    Deck::shared().reset();
    Peer::shared().reset();
    return 0;
}
