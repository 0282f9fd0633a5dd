// A deck that starts recording into the library folder given as its argument and goes on until
// it is killed: what a user's deck is when the machine or the process dies mid-recording. Like the
// application, it ends as quitting does on SIGTERM, SIGINT and SIGHUP.
#include "TestPreferences.h"
#include "audio/VORLExtendedAudioFileRecorder.h"
#include "deck/WindowController.h"
#include "foundation/TerminationSignals.h"

#include <QApplication>
#include <cstdio>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s LIBRARY_FOLDER\n", argv[0]);
        return 2;
    }
    spindrel::test::TestPreferences preferences(QString::fromLocal8Bit(argv[1]));
    spindrel::WindowController deck(preferences);
    spindrel::TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &spindrel::TerminationSignals::terminationRequested, &application,
                     &QCoreApplication::quit);
    QObject::connect(&application, &QCoreApplication::aboutToQuit, [&deck] { deck.windowWillClose(); });
    deck.showWindow();
    deck.applicationDidFinishLaunching();
    deck.recordTape();
    if (!deck.audioFileRecorder() || !deck.audioFileRecorder()->isFileRecording()) {
        std::fprintf(stderr, "the deck did not start recording\n");
        return 1;
    }
    std::printf("recording\n");
    std::fflush(stdout);
    return QApplication::exec();
}
