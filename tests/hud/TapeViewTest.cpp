#include "hud/TapeView.h"

#include "hud/PaintRecorder.h"
#include "hud/TapeNotesEditor.h"
#include "hud/TestTapes.h"
#include "tapes/CassetteGeometry.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace spindrel;
using G = CassetteGeometry;

namespace {

class TapeViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(tapes.isValid());
        view.resize(view.sizeHint());
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    }

    QPoint pointOn(const QRectF& cassetteRect) const
    {
        return view.mapFromCassette(cassetteRect).center().toPoint();
    }

    TapePtr loadWelcomeTape()
    {
        TapePtr tape = tapes.welcomeTape();
        view.setTape(tape);
        return tape;
    }

    test::TestTapes tapes;
    TapeView view;
};

} // namespace

TEST_F(TapeViewTest, ShowsTheTapeAndFollowsItsChanges)
{
    TapePtr tape = tapes.make(QStringLiteral("Kitchen session"), QDateTime(QDate(2012, 3, 4), QTime(20, 15)),
                              QStringLiteral("Two takes\nof the waltz"));
    view.setTape(tape);
    EXPECT_EQ(view.title(), QStringLiteral("Kitchen session"));
    EXPECT_EQ(view.cassetteValues().title, QStringLiteral("Kitchen session"));
    EXPECT_EQ(view.cassetteValues().notes, QStringLiteral("Two takes of the waltz"));
    EXPECT_TRUE(view.cassetteValues().timeLine.startsWith(QStringLiteral("Recorded")));

    QSignalSpy titleChanged(&view, &TapeView::titleChanged);
    tape->setTitle(QStringLiteral("Garden session"));
    EXPECT_EQ(view.cassetteValues().title, QStringLiteral("Garden session"));
    EXPECT_EQ(titleChanged.size(), 1);

    view.setTape(nullptr);
    tape->setTitle(QStringLiteral("Not shown"));
    EXPECT_EQ(view.title(), QStringLiteral("Garden session"));
}

TEST_F(TapeViewTest, EditedTitleAndNotesAreWrittenUnlessEscapedOrUnchangedAndHandTheKeyboardBack)
{
    TapePtr tape = loadWelcomeTape();
    view.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
    QSignalSpy ended(&view, &TapeView::editingEnded);
    const QString title = tape->title();
    view.editTitle();
    view.titleEditor()->setText(QStringLiteral("Never mind"));
    QTest::keyClick(view.titleEditor(), Qt::Key_Escape);
    EXPECT_FALSE(view.isEditingTitle());
    EXPECT_EQ(ended.size(), 1);
    view.editTitle();
    QTest::keyClick(view.titleEditor(), Qt::Key_Return);
    EXPECT_EQ(tape->title(), title);
    EXPECT_FALSE(tape->titleDirty());
    EXPECT_EQ(ended.size(), 2);

    QTest::mouseClick(&view, Qt::LeftButton, {}, pointOn(G::titleRect()));
    ASSERT_TRUE(view.isEditingTitle());
    QLineEdit* editor = view.titleEditor();
    EXPECT_EQ(editor->text(), title);
    editor->selectAll();
    QTest::keyClicks(editor, QStringLiteral("Porch recording"));
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_FALSE(view.isEditingTitle());
    EXPECT_EQ(tape->title(), QStringLiteral("Porch recording"));
    EXPECT_TRUE(tape->titleDirty());
    EXPECT_EQ(view.cassetteValues().title, QStringLiteral("Porch recording"));

    QTest::mouseClick(&view, Qt::LeftButton, {}, pointOn(G::notesRect()));
    ASSERT_TRUE(view.isEditingNotes());
    view.notesEditor()->setText(QStringLiteral("First line\nsecond line"));
    view.doneEditingNotes();
    EXPECT_FALSE(view.isEditingNotes());
    EXPECT_EQ(tape->notes(), QStringLiteral("First line\nsecond line"));
    EXPECT_TRUE(tape->notesDirty());
    EXPECT_EQ(view.cassetteValues().notes, QStringLiteral("First line second line"));

    // Escape in the notes closes them too, keeping what was written.
    const qsizetype endings = ended.size();
    view.displayNotesEditor();
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral(" Tuned down."));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_FALSE(view.isEditingNotes());
    EXPECT_EQ(tape->notes(), QStringLiteral("First line\nsecond line Tuned down."));
    EXPECT_EQ(ended.size(), endings + 1);

    // An editor left for another control stays out of the way.
    QLineEdit elsewhere(&view);
    elsewhere.show();
    view.editTitle();
    elsewhere.setFocus();
    EXPECT_FALSE(view.isEditingTitle());
    EXPECT_EQ(ended.size(), endings + 1);
    EXPECT_EQ(QApplication::focusWidget(), &elsewhere);
}

TEST_F(TapeViewTest, ClicksCycleTheLettersColoursRevealAndShare)
{
    TapePtr tape = loadWelcomeTape();
    const unsigned start = tape->tapeLetter().colorScheme()->index();
    QTest::mouseClick(&view, Qt::LeftButton, {}, pointOn(G::letterRect()));
    const auto& scheme = tape->tapeLetter().colorScheme();
    EXPECT_EQ(scheme->index(), (start + 1) % TapeColorScheme::Count);
    EXPECT_TRUE(tape->tapeLetterDirty());
    EXPECT_EQ(view.cassetteValues().letterBackgroundColor, scheme->backgroundColor());
    EXPECT_EQ(view.cassetteValues().titleColor, scheme->titleColor());

    // A double click arrives as a press, a release and a double-click event: only the press counts.
    QTest::mouseClick(&view, Qt::LeftButton, {}, pointOn(G::letterRect()));
    QTest::mouseDClick(&view, Qt::LeftButton, {}, pointOn(G::letterRect()));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, pointOn(G::letterRect()));
    EXPECT_EQ(tape->tapeLetter().colorScheme()->index(), (start + 2) % TapeColorScheme::Count);

    // Ctrl and a click reveal the file instead of editing; the share button shares.
    QSignalSpy reveal(&view, &TapeView::revealTapeRequested);
    QTest::mouseClick(&view, Qt::LeftButton, Qt::ControlModifier, pointOn(G::titleRect()));
    EXPECT_FALSE(view.isEditingTitle());
    EXPECT_EQ(reveal.size(), 1);

    QSignalSpy share(&view, &TapeView::shareButtonPressed);
    QTest::mouseClick(&view, Qt::LeftButton, {}, pointOn(TapeView::shareButtonRect()));
    EXPECT_TRUE(share.wait(15000));
}

TEST_F(TapeViewTest, ReelsTurnTwoDegreesPerStepAtTheTransportSpeed)
{
    loadWelcomeTape();
    const double step = 2.0 * std::numbers::pi / 180.0;
    QSignalSpy turned(&view, &TapeView::spoolRotationChanged);
    view.setRotationSpeed(8.0);
    view.startRotationAnimation(true);
    view.startRotationAnimation(true); // replaces the timer
    ASSERT_TRUE(view.isRotating());
    ASSERT_TRUE(QTest::qWaitFor([&] { return turned.size() >= 4; }));
    view.startRotationAnimation(false);
    EXPECT_FALSE(view.isRotating());
    const qsizetype steps = turned.size();
    EXPECT_NEAR(view.spoolRotation(), steps * 8.0 * step, 1e-9);
    QTest::qWait(80);
    EXPECT_EQ(turned.size(), steps) << "no steps once stopped";

    // Backwards when rewinding; a still transport redraws but does not turn.
    const double before = view.spoolRotation();
    view.setRotationSpeed(-2.0);
    view.rotationTimerFired();
    EXPECT_NEAR(view.spoolRotation(), before - 2.0 * step, 1e-9);
    view.setRotationSpeed(0.0);
    view.rotationTimerFired();
    EXPECT_NEAR(view.spoolRotation(), before - 2.0 * step, 1e-9);
    EXPECT_EQ(turned.size(), steps + 2);
    EXPECT_EQ(view.cassetteValues().spoolRotation, view.spoolRotation());
}

TEST_F(TapeViewTest, EjectClosesOpenEditorsAndDuringAnInsertStartsFromWhereTheCassetteIs)
{
    TapePtr tape = loadWelcomeTape();
    const double height = TapeView::tapeSize().height();
    view.editTitle();
    view.titleEditor()->setText(QStringLiteral("Written before the eject"));
    view.displayNotesEditor();
    view.notesEditor()->setText(QStringLiteral("Notes too"));
    view.ejectTape();
    EXPECT_FALSE(view.isEditingTitle());
    EXPECT_FALSE(view.isEditingNotes());
    EXPECT_EQ(tape->title(), QStringLiteral("Written before the eject"));
    EXPECT_EQ(tape->notes(), QStringLiteral("Notes too"));
    QSignalSpy finished(&view, &TapeView::motionFinished);
    ASSERT_TRUE(finished.wait(15000));
    // Nothing on the cassette reacts while it is out.
    QTest::mouseClick(&view, Qt::LeftButton, {}, pointOn(G::titleRect()));
    EXPECT_FALSE(view.isEditingTitle());

    view.insertTape();
    EXPECT_TRUE(view.isMoving());
    ASSERT_TRUE(QTest::qWaitFor([&] { return view.tapeOffset() < height * 0.9 && view.tapeOffset() > 0.0; }));
    const double midway = view.tapeOffset();
    view.ejectTape();
    EXPECT_DOUBLE_EQ(view.tapeOffset(), midway);
    ASSERT_TRUE(finished.wait(15000));
    EXPECT_DOUBLE_EQ(view.tapeOffset(), height);
    EXPECT_FALSE(view.isMoving());
    view.insertTape();
    ASSERT_TRUE(finished.wait(15000));
    EXPECT_DOUBLE_EQ(view.tapeOffset(), 0.0);
}

TEST_F(TapeViewTest, ThumbnailIsTheViewsDrawingAtTheGivenScale)
{
    const QImage empty = view.thumbnail(2.0);
    EXPECT_EQ(empty.size(), view.size() * 2);
    EXPECT_EQ(empty.devicePixelRatio(), 2.0);

    loadWelcomeTape();
    const QImage loaded = view.thumbnail(2.0);
    EXPECT_NE(loaded, empty) << "the cassette shows once a tape is loaded";
    // The label's paper, near the top left of the label, is light.
    const QPointF paper = view.mapFromCassette(G::labelRect()).topLeft() + QPointF(6.0, 6.0);
    EXPECT_GT(qGray(loaded.pixel((paper * 2.0).toPoint())), 180);

    const QImage drag = view.dragImage();
    EXPECT_NEAR(drag.deviceIndependentSize().width(), 128.0, 0.5);
    EXPECT_NEAR(drag.deviceIndependentSize().height(), 128.0 * view.height() / view.width(), 1.0);
}

TEST_F(TapeViewTest, PacksFollowThePlayPositionAndSetTheRightReelsRate)
{
    loadWelcomeTape();
    EXPECT_NEAR(view.rightRotationMultiplier(), 155.0 / 90.0, 1e-9) << "the still picture's packs";
    view.setPlayProgress(1.0);
    EXPECT_DOUBLE_EQ(view.cassetteValues().leftPackDiameter, G::hubDiameter);
    EXPECT_DOUBLE_EQ(view.cassetteValues().rightPackDiameter, G::fullPackDiameter);

    // The next tape turns its right reel at the rate its packs give.
    view.setPlayProgress(0.5);
    loadWelcomeTape();
    const auto packs = CassetteValues::packDiametersForProgress(0.5);
    EXPECT_NEAR(view.rightRotationMultiplier(), packs.first / packs.second, 1e-9);
    EXPECT_EQ(view.cassetteValues().rightRotationMultiplier, view.rightRotationMultiplier());
}

TEST_F(TapeViewTest, TurningReelsAndAPlayingTapeRepaintOnlyWhatMoves)
{
    loadWelcomeTape();
    test::PaintRecorder paints(&view);
    paints.settle();
    QRegion reels;
    for (const auto reel : {G::Reel::Left, G::Reel::Right})
        reels += view.mapFromCassette(G::reelRect(reel)).toAlignedRect().adjusted(-2, -2, 2, 2);

    // A reel step repaints the two hubs and nothing else.
    view.setRotationSpeed(1.0);
    view.rotationTimerFired();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !paints.regions().isEmpty(); }, 10000));
    EXPECT_TRUE((paints.painted() - reels).isEmpty()) << "painted outside the reels";

    // The play position moves many times a second; the packs are redrawn only when they change
    // by a part of a pixel that shows, and then only in the cassette's window.
    view.setPlayProgress(0.25);
    paints.settle();
    view.setPlayProgress(0.25 + 1e-7);
    paints.flush();
    EXPECT_TRUE(paints.regions().isEmpty()) << "a move too small to see repainted the cassette";
    EXPECT_DOUBLE_EQ(view.playProgress(), 0.25 + 1e-7);

    view.setPlayProgress(0.5);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !paints.regions().isEmpty(); }, 10000));
    const QRect window = view.mapFromCassette(G::windowRect()).toAlignedRect().adjusted(-2, -2, 2, 2);
    EXPECT_TRUE((paints.painted() - QRegion(window)).isEmpty()) << "painted outside the window";
}
