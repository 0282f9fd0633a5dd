// Pictures of the working deck for the documentation, taken at scale 2 on the test services:
//   scripts/with-test-services build/tests/deck/deck_screenshots docs
// writes deck.png (drawer closed), deck-drawer.png, deck-recording.png and deck-playing.png.
#include "TestPreferences.h"
#include "audio/AudioTestSupport.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"
#include "tapes/TapeColorScheme.h"
#include "tapes/TapeLibraryArrayController.h"
#include "tapes/TapeTestFiles.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryDir>
#include <cstdio>

using namespace spindrel;

namespace {

void settle(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

bool save(QWidget& window, const QString& path)
{
    constexpr qreal scale = 2.0;
    QImage image((QSizeF(window.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::black);
    window.render(&image);
    const bool saved = image.save(path);
    std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(path));
    return saved;
}

bool addTape(const QString& folder, const QString& title, const QDateTime& date, int scheme,
             const QString& notes)
{
    const QString path = folder + QLatin1Char('/') + title + QStringLiteral(".m4a");
    if (!test::makeTapeFile(path, {QStringLiteral("MQ"), true, 95.0}))
        return false;
    Tape tape(path);
    tape.setTitle(title);
    tape.setDate(date);
    tape.setNotes(notes);
    tape.setTapeLetter(TapeLetter(QStringLiteral("A"), TapeColorScheme::colorSchemeWithIndex(scheme)));
    tape.commitAttributes();
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(out);

    QTemporaryDir folder;
    const QString library = folder.filePath(QStringLiteral("Spindrel"));
    QDir().mkpath(library);
    const QList<std::tuple<QString, int, int, QString>> tapes = {
        {QStringLiteral("Kitchen session with Maria"), 28, 0,
         QStringLiteral("Two takes of the waltz, then the long improvisation at the end")},
        {QStringLiteral("Voice memo: garden plans"), 27, 1, QStringLiteral("Where the beans go this year")},
        {QStringLiteral("Rehearsal, second set"), 26, 3, QStringLiteral("Tempo drifts in the bridge")},
        {QStringLiteral("Interview with Tom"), 25, 5, QStringLiteral("About the old mill")},
        {QStringLiteral("Birdsong at dawn"), 24, 2, QStringLiteral("Blackbird, then a wren")},
    };
    for (const auto& [title, day, scheme, notes] : tapes) {
        if (!addTape(library, title, QDateTime(QDate(2012, 3, day), QTime(20, 15)), scheme, notes))
            return 1;
    }

    test::TestPreferences preferences(library);
    preferences.setDefaultsValue(DefaultsKeys::PlaySoundEffects, false);
    preferences.setDefaultsValue(DefaultsKeys::ShowNSStatusItem, false);
    WindowController deck(preferences);
    deck.showWindow();
    deck.applicationDidFinishLaunching();
    settle(800);
    bool ok = save(*deck.window(), out + QStringLiteral("/deck.png"));

    deck.discloseTapes();
    settle(1300);
    ok &= save(*deck.window(), out + QStringLiteral("/deck-drawer.png"));

    // A recording of a tone played into the test input.
    const auto player = test::playIntoInput(folder.path(), QStringLiteral("8 sine 440 vol 0.4"));
    deck.recordTape();
    settle(3200);
    ok &= save(*deck.window(), out + QStringLiteral("/deck-recording.png"));
    deck.stopTape();
    // The take is finished once the recorder has drained.
    for (int waited = 0; deck.isWaitingForRecorder() && waited < 10000; waited += 100)
        settle(100);

    deck.library().setSelectionIndex(1);
    deck.playTape();
    settle(2500);
    ok &= save(*deck.window(), out + QStringLiteral("/deck-playing.png"));
    deck.stopTape();
    deck.window()->close();
    return ok ? 0 : 1;
}
