// Renders the deck's widgets into PNGs at scale 2 so their look can be checked by eye:
//   hud_screenshots OUTPUT_DIR   (writes hud.png, transport.png, widgets.png)
#include "hud/DeckBackgroundView.h"
#include "hud/DrawerButton.h"
#include "hud/HUDView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/SpeakerGrillView.h"
#include "hud/TapeBoxSearchField.h"
#include "hud/TapeBoxView.h"
#include "hud/TapeView.h"
#include "hud/TestTapes.h"
#include "tapes/FilteringArrayController.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <cstdio>

using namespace spindrel;

namespace {

constexpr qreal scale = 2.0;

bool save(QWidget& widget, const QString& path)
{
    // Let fades and the first layout settle.
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 250)
        QCoreApplication::processEvents();
    QImage image((QSizeF(widget.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(QColor(40, 41, 44));
    widget.render(&image);
    const bool saved = image.save(path);
    std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(path));
    return saved;
}

void fillHUD(HUDView& hud)
{
    hud.setQuality(QStringLiteral("MQ"));
    hud.setStereo(true);
    hud.setLevels(-14.0, -26.0);
    hud.setVolume(-10.0);
    hud.setTime(61234.5);
    hud.setMaxTime(180000.0);
    hud.setPosition(61234.5);
}

} // namespace

int main(int argc, char** argv)
{
    // Widgets drawn at twice the density, as on a high-resolution screen.
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs");
    QDir().mkpath(out);
    bool ok = true;

    HUDView hud;
    fillHUD(hud);
    hud.resize(hud.sizeHint());
    ok &= save(hud, out + QStringLiteral("/hud.png"));

    SegmentedTapeButtonView strip;
    strip.setUpTransportSegments();
    strip.setSelectedSegment(1);
    strip.resize(strip.sizeHint());
    ok &= save(strip, out + QStringLiteral("/transport.png"));

    // Every part of the deck side by side, drawer open.
    test::TestTapes tapes;
    FilteringArrayController library;
    const QList<std::pair<QString, int>> titles = {{QStringLiteral("Kitchen session with Maria"), 0},
                                                   {QStringLiteral("Voice memo: garden plans"), 1},
                                                   {QStringLiteral("Rehearsal, second set"), 3},
                                                   {QStringLiteral("Interview with Tom"), 5},
                                                   {QStringLiteral("Birdsong at dawn"), 2}};
    int day = 28;
    for (const auto& [title, scheme] : titles) {
        TapePtr tape =
            tapes.make(title, QDateTime(QDate(2012, 3, day--), QTime(20, 15)),
                       QStringLiteral("Two takes of the waltz, then the long improvisation at the end"));
        if (!tape)
            return 1;
        tape->setTapeLetter(TapeLetter(QStringLiteral("A"), TapeColorScheme::colorSchemeWithIndex(scheme)));
        library.addObjects({tape});
    }
    library.setSelectionIndex(0);

    DeckBackgroundView deck;
    deck.resize(626, 540);
    HUDView deckHUD(&deck);
    fillHUD(deckHUD);
    deckHUD.setGeometry(12, 14, 366, 66);
    TapeView tapeView(&deck);
    tapeView.setGeometry(12, 92, 366, 236);
    tapeView.setTape(library.selectedObjects().first());
    SpeakerGrillView leftGrille(&deck);
    leftGrille.setGeometry(12, 340, 176, 96);
    SpeakerGrillView rightGrille(&deck);
    rightGrille.setGeometry(202, 340, 176, 96);
    SegmentedTapeButtonView deckStrip(&deck);
    deckStrip.setUpTransportSegments();
    deckStrip.setSelectedSegment(1);
    deckStrip.setGeometry(10, 450, 370, 66);
    DrawerButton drawer(DrawerButton::Right, &deck);
    drawer.setDisclosed(true);
    drawer.setGeometry(382, 240, 14, 48);
    TapeBoxSearchField search(&deck);
    search.setGeometry(402, 16, 212, 24);
    TapeBoxView box(&deck);
    box.setLibrary(&library);
    box.setGeometry(402, 50, 212, 466);
    deck.setDividers({86, 334, 444});
    deck.show();
    QCoreApplication::processEvents();
    ok &= save(deck, out + QStringLiteral("/widgets.png"));

    return ok ? 0 : 1;
}
