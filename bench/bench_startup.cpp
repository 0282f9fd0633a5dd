// From nothing to the deck on screen: preferences, widgets and the window shown while the library
// is read in the background, for an empty library and one of 1,000 tapes; and on to the last
// tape listed. The library's own scan of
// the same folder is measured beside it, so the deck's share of the time can be read off.
// And as a user meets it: the program launched as a process on a library of 10,000 tapes with
// cover art, timed until its window shows the painted deck, with a warm and a cold page cache;
// then the process's CPU use while the deck idles, and the time its close takes with nothing
// changed.
// Needs a display and the sound server: scripts/with-test-services build/bench/bench_startup
#include "RatioReporter.h"
#include "RealTapeLibrary.h"
#include "ToneFile.h"
#include "app/AppController.h"
#include "app/PreferencesController.h"
#include "app/UserDefaults.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QWindow>
#include <benchmark/benchmark.h>
#include <csignal>
#include <map>
#include <set>
#include <xcb/xcb.h>

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
        spindrel::bench::encodeTone(
            encoded, 22050, 2, QStringLiteral("48k"),
            {QStringLiteral("-metadata"), QStringLiteral("date=2012-03-04 10:15:00 +0000")});
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

/// Reads the display back to tell when a process's window first shows something painted.
class DisplayProbe
{
public:
    DisplayProbe() : mConnection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(mConnection))
            return;
        mRoot = xcb_setup_roots_iterator(xcb_get_setup(mConnection)).data->root;
        const char name[] = "_NET_WM_PID";
        auto* reply = xcb_intern_atom_reply(mConnection,
                                            xcb_intern_atom(mConnection, 1, sizeof name - 1, name), nullptr);
        if (reply) {
            mPidAtom = reply->atom;
            free(reply);
        }
    }
    ~DisplayProbe() { xcb_disconnect(mConnection); }
    bool usable() const { return mPidAtom != XCB_ATOM_NONE; }

    /// The process has a viewable top-level window showing more than a background: unpainted, it
    /// shows one colour or the root's two.
    bool painted(qint64 pid)
    {
        auto* tree = xcb_query_tree_reply(mConnection, xcb_query_tree(mConnection, mRoot), nullptr);
        if (!tree)
            return false;
        bool found = false;
        const xcb_window_t* children = xcb_query_tree_children(tree);
        for (int i = 0; i < xcb_query_tree_children_length(tree) && !found; ++i)
            found = windowOf(children[i], pid) && showsColours(children[i]);
        free(tree);
        return found;
    }
    xcb_window_t window(qint64 pid)
    {
        auto* tree = xcb_query_tree_reply(mConnection, xcb_query_tree(mConnection, mRoot), nullptr);
        xcb_window_t found = XCB_WINDOW_NONE;
        const xcb_window_t* children = xcb_query_tree_children(tree);
        for (int i = 0; tree && i < xcb_query_tree_children_length(tree) && !found; ++i) {
            if (windowOf(children[i], pid))
                found = children[i];
        }
        free(tree);
        return found;
    }
    /// Asks the window to close as a window manager's close button does.
    void close(xcb_window_t window)
    {
        const xcb_atom_t protocols = atom("WM_PROTOCOLS");
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = protocols;
        event.data.data32[0] = atom("WM_DELETE_WINDOW");
        event.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(mConnection, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(mConnection);
    }

private:
    xcb_atom_t atom(const char* name)
    {
        auto* reply = xcb_intern_atom_reply(
            mConnection, xcb_intern_atom(mConnection, 0, uint16_t(strlen(name)), name), nullptr);
        const xcb_atom_t found = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        free(reply);
        return found;
    }
    bool windowOf(xcb_window_t window, qint64 pid)
    {
        auto* attributes = xcb_get_window_attributes_reply(
            mConnection, xcb_get_window_attributes(mConnection, window), nullptr);
        const bool viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        free(attributes);
        if (!viewable)
            return false;
        auto* property = xcb_get_property_reply(
            mConnection, xcb_get_property(mConnection, 0, window, mPidAtom, XCB_ATOM_CARDINAL, 0, 1),
            nullptr);
        const bool ours = property && xcb_get_property_value_length(property) == 4 &&
                          *static_cast<const uint32_t*>(xcb_get_property_value(property)) == uint32_t(pid);
        free(property);
        return ours;
    }
    bool showsColours(xcb_window_t window)
    {
        auto* geometry = xcb_get_geometry_reply(mConnection, xcb_get_geometry(mConnection, window), nullptr);
        if (!geometry)
            return false;
        auto* image = xcb_get_image_reply(mConnection,
                                          xcb_get_image(mConnection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                                        geometry->width, geometry->height, ~0u),
                                          nullptr);
        free(geometry);
        if (!image)
            return false;
        const auto* pixels = reinterpret_cast<const uint32_t*>(xcb_get_image_data(image));
        const int count = xcb_get_image_data_length(image) / 4;
        std::set<uint32_t> colours;
        for (int i = 0; i < count && colours.size() <= 16; i += 97)
            colours.insert(pixels[i] & 0xFFFFFF);
        free(image);
        return colours.size() > 16;
    }

    xcb_connection_t* mConnection;
    xcb_window_t mRoot = XCB_WINDOW_NONE;
    xcb_atom_t mPidAtom = XCB_ATOM_NONE;
};

double cpuSecondsOf(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return 0.0;
    const QByteArray line = stat.readAll();
    // After the name in parentheses: state is field 3, utime and stime fields 14 and 15.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 12 ? (fields.at(11).toDouble() + fields.at(12).toDouble()) / sysconf(_SC_CLK_TCK)
                              : 0.0;
}

// Arguments: the number of tapes (0 or 10,000) and whether the page cache is dropped first.
void BM_LaunchToFirstPaint(benchmark::State& state)
{
    const int count = int(state.range(0));
    const bool cold = state.range(1) != 0;
    const QString library =
        count == 0 ? workFolder().filePath(QStringLiteral("empty")) : bench::realTapeLibrary(count);
    QDir().mkpath(library);
    if (library.isEmpty()) {
        state.SkipWithError("the tapes could not be made");
        return;
    }
    if (cold && !bench::canDropCaches()) {
        state.SkipWithError("cold cache skipped: dropping the page cache takes root");
        return;
    }
    DisplayProbe display;
    if (!display.usable()) {
        state.SkipWithError("no display");
        return;
    }
    // A home of its own: settings naming the library, no session bus, so every launch opens a deck.
    const QString home = workFolder().filePath(QStringLiteral("launch-home"));
    QDir().mkpath(home + QStringLiteral("/config/Spindrel"));
    QSettings settings(home + QStringLiteral("/config/Spindrel/Spindrel.conf"), QSettings::IniFormat);
    settings.setValue(QStringLiteral("TapeLibraryLocation"), library);
    settings.sync();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));

    double idleSeconds = 0.0;
    double idleCpu = 0.0;
    double closeMs = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        if (cold)
            bench::dropCaches();
        QProcess deck;
        deck.setProcessEnvironment(environment);
        deck.setProgram(QStringLiteral(SPINDREL_BINARY));
        deck.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        state.ResumeTiming();

        deck.start();
        deck.waitForStarted();
        QElapsedTimer waited;
        waited.start();
        while (!display.painted(deck.processId()) && waited.elapsed() < 60000)
            QThread::usleep(500);

        state.PauseTiming();
        if (waited.elapsed() >= 60000)
            state.SkipWithError("the deck did not show");
        // Time for the library to fill, then the deck at rest.
        QThread::sleep(cold ? 8 : 3);
        const double before = cpuSecondsOf(deck.processId());
        QThread::sleep(5);
        idleCpu += cpuSecondsOf(deck.processId()) - before;
        idleSeconds += 5;
        QElapsedTimer closing;
        closing.start();
        display.close(display.window(deck.processId()));
        if (!deck.waitForFinished(60000)) {
            deck.kill();
            deck.waitForFinished();
        }
        closeMs += double(closing.elapsed());
        state.ResumeTiming();
    }
    state.counters["idle_cpu_percent"] = 100.0 * idleCpu / std::max(1.0, idleSeconds);
    state.counters["close_ms"] = closeMs / double(std::max<benchmark::IterationCount>(1, state.iterations()));
    state.SetLabel(cold ? "cold" : "warm");
}
BENCHMARK(BM_LaunchToFirstPaint)
    ->Args({0, 0})
    ->Args({10000, 0})
    ->Args({10000, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

// Collects the launches' times and counters to set them against the goals at the end.
void printGoal(const spindrel::bench::RatioReporter& reporter, const char* label, const std::string& name,
               double goalMs)
{
    const auto* run = reporter.find(name);
    if (!run) {
        std::printf("%s: not measured in this run\n", label);
        return;
    }
    const double ms = run->GetAdjustedRealTime();
    std::printf("%s: %.0f ms, goal %.0f ms, ratio %.2f; idle %.2f%% of a core; close %.0f ms\n", label, ms,
                goalMs, goalMs / ms, spindrel::bench::RatioReporter::counter(*run, "idle_cpu_percent"),
                spindrel::bench::RatioReporter::counter(*run, "close_ms"));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    qputenv("XDG_DATA_HOME", workFolder().filePath(QStringLiteral("data")).toLocal8Bit());
    return spindrel::bench::runBenchmarks(argc, argv, [](const spindrel::bench::RatioReporter& reporter) {
        printGoal(reporter, "launch to first paint, no tapes, warm",
                  "BM_LaunchToFirstPaint/0/0/iterations:3/real_time", 250);
        printGoal(reporter, "launch to first paint, 10,000 tapes, warm",
                  "BM_LaunchToFirstPaint/10000/0/iterations:3/real_time", 250);
        printGoal(reporter, "launch to first paint, 10,000 tapes, cold",
                  "BM_LaunchToFirstPaint/10000/1/iterations:3/real_time", 600);
    });
}
