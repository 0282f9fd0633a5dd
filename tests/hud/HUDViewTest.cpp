#include "hud/HUDView.h"

#include "hud/LevelView.h"
#include "hud/PaintRecorder.h"
#include "hud/PositionView.h"
#include "hud/QualityView.h"
#include "hud/StereoView.h"
#include "hud/TimeView.h"
#include "hud/VolumeView.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

class HUDViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        hud.resize(hud.sizeHint());
        hud.show();
    }

    // A click in a subview, at a point in the subview's own coordinates.
    static void clickAt(QWidget* view, const QPointF& point)
    {
        QTest::mouseClick(view, Qt::LeftButton, {}, point.toPoint());
    }

    HUDView hud;
};

} // namespace

TEST_F(HUDViewTest, LevelMeterLightsOneSegmentPerTenDecibelsAndMonoRepeatsTheLeft)
{
    const std::pair<double, int> levels[] = {{-100.0, 0}, {-56.0, 0}, {-54.0, 1},
                                             {-6.0, 5},   {-5.0, 6},  {12.0, 6}};
    for (const auto& [level, lit] : levels)
        EXPECT_EQ(LevelView::litSegmentsForLevel(level), lit) << level;

    QSignalSpy changed(&hud, &HUDView::levelsChanged);
    hud.setLevels(-30.0, -6.0);
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(hud.levels(), StereoLevels(-30.0, -6.0));
    EXPECT_EQ(hud.levelView()->litSegments(0), 3);
    EXPECT_EQ(hud.levelView()->litSegments(1), 5);
    // Mono shows the left level on both rows.
    hud.setStereo(false);
    EXPECT_EQ(hud.levelView()->litSegments(0), 3);
    EXPECT_EQ(hud.levelView()->litSegments(1), 3);
    hud.setStereo(true);
    EXPECT_EQ(hud.levelView()->litSegments(1), 5);
}

TEST_F(HUDViewTest, VolumeShowsAWedgeAndIsSetByClickingItsColumns)
{
    QSignalSpy changed(&hud, &HUDView::volumeChanged);
    VolumeView* volume = hud.volumeView();
    clickAt(volume, QPointF(VolumeView::firstColumn + 1.0, 8.0));
    EXPECT_EQ(hud.volume(), -25.0);
    clickAt(volume, QPointF(VolumeView::firstColumn + 6.0 * 3 + 2.0, 8.0));
    EXPECT_EQ(hud.volume(), -10.0);
    EXPECT_EQ(changed.size(), 2);

    // The label is not a column; dragging across the wedge follows the pointer.
    clickAt(volume, QPointF(5.0, 8.0));
    EXPECT_EQ(hud.volume(), -10.0);
    QTest::mousePress(volume, Qt::LeftButton, {}, QPoint(static_cast<int>(VolumeView::firstColumn) + 2, 8));
    QMouseEvent drag(QEvent::MouseMove, QPointF(VolumeView::firstColumn + 6.0 * 5 + 2.0, 8.0),
                     volume->mapToGlobal(QPointF(VolumeView::firstColumn + 32.0, 8.0)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(volume, &drag);
    EXPECT_EQ(hud.volume(), 0.0);
    QTest::mouseRelease(volume, Qt::LeftButton, {},
                        QPoint(static_cast<int>(VolumeView::firstColumn) + 32, 8));
}

TEST_F(HUDViewTest, PositionBarMarksThePositionAndSeeksOnClicks)
{
    PositionView* bar = hud.positionView();
    EXPECT_EQ(bar->litSegment(), 0);
    hud.setPosition(5000.0);
    EXPECT_EQ(bar->litSegment(), 0) << "no duration: the first segment";

    hud.setMaxTime(34000.0);
    hud.setPosition(20000.0);
    EXPECT_EQ(bar->litSegment(), 19); // rint(20000 / 34000 * 33)
    EXPECT_EQ(bar->segmentColor(19), HUDView::activeColor());
    EXPECT_EQ(bar->segmentColor(3), HUDView::inactiveColor());

    QSignalSpy position(&hud, &HUDView::positionChanged);
    clickAt(bar, QPointF(138.0, 5.0));
    ASSERT_EQ(position.size(), 1);
    EXPECT_EQ(hud.position(), 34000.0);
    EXPECT_EQ(bar->litSegment(), 33);

    // Seeking divides by 34: a click at x = 70 lands on index 17.
    clickAt(bar, QPointF(70.0, 5.0));
    EXPECT_EQ(hud.position(), 34000.0 * 17 / 34);
    EXPECT_EQ(position.size(), 2);
}

TEST_F(HUDViewTest, RecordingRunsALightAlongTheBarAndLocksTheSettings)
{
    hud.setRecordingMode(true);
    PositionView* bar = hud.positionView();
    hud.setPosition(0.0);
    // Segment i takes shade (p + 100 - i) mod 5, shade 0 fully lit.
    EXPECT_EQ(bar->segmentColor(0).alphaF(), bar->segmentColor(5).alphaF());
    EXPECT_NEAR(bar->segmentColor(0).alphaF(), 0.2 + 0.8 * 5 / 5.0, 0.01); // (0 + 100) mod 5 = 0
    EXPECT_NEAR(bar->segmentColor(1).alphaF(), 0.2 + 0.8 * 1 / 5.0, 0.01); // 99 mod 5 = 4
    hud.setPosition(400.0);                                                // two steps on
    EXPECT_NEAR(bar->segmentColor(2).alphaF(), 1.0, 0.01);

    QSignalSpy quality(&hud, &HUDView::qualityChanged);
    QSignalSpy stereo(&hud, &HUDView::stereoChanged);
    QSignalSpy position(&hud, &HUDView::positionChanged);
    hud.setMaxTime(10000.0);
    clickAt(hud.qualityView(), hud.qualityView()->layers()[0].frame.center());
    clickAt(hud.stereoView(), hud.stereoView()->layerFrame(1).center());
    clickAt(bar, QPointF(138.0, 5.0));
    EXPECT_EQ(quality.size(), 0);
    EXPECT_EQ(stereo.size(), 0);
    EXPECT_EQ(position.size(), 0);
}

TEST_F(HUDViewTest, QualityAndChannelsAreChosenByClickingTheirBoxesAndMonoDevicesAlert)
{
    const auto& layers = hud.qualityView()->layers();
    ASSERT_EQ(layers.size(), 3u);
    hud.setQuality(QStringLiteral("LQ"));
    QSignalSpy quality(&hud, &HUDView::qualityChanged);
    clickAt(hud.qualityView(), layers[1].frame.center());
    EXPECT_EQ(hud.quality(), QStringLiteral("MQ"));
    hud.setQuality(QStringLiteral("XQ"));
    EXPECT_EQ(hud.quality(), QStringLiteral("MQ"));
    EXPECT_EQ(quality.size(), 1);

    bool canRecordStereo = false;
    int alerts = 0;
    hud.setCanRecordStereo([&] { return canRecordStereo; });
    hud.setMonoAlert([&] { ++alerts; });
    hud.setStereo(false);
    QSignalSpy stereo(&hud, &HUDView::stereoChanged);
    clickAt(hud.stereoView(), hud.stereoView()->layerFrame(0).center());
    EXPECT_EQ(alerts, 1);
    EXPECT_FALSE(hud.stereo());
    EXPECT_EQ(stereo.size(), 0);
    canRecordStereo = true;
    clickAt(hud.stereoView(), hud.stereoView()->layerFrame(0).center());
    EXPECT_TRUE(hud.stereo());
    clickAt(hud.stereoView(), hud.stereoView()->layerFrame(1).center());
    EXPECT_FALSE(hud.stereo());
    EXPECT_EQ(stereo.size(), 2);
    EXPECT_EQ(alerts, 1);
}

TEST_F(HUDViewTest, TabWalksTheSettingsWhichTheKeyboardThenChangesAndTheOneWithItIsRinged)
{
    hud.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&hud));
    VolumeView* volume = hud.volumeView();
    // On the ring: just left of the control, halfway down.
    const QPointF onRing(volume->geometry().left() - 3.0, volume->geometry().center().y());
    for (const qreal ratio : {1.0, 2.0}) {
        volume->clearFocus();
        const QImage plain = test::rendered(hud, ratio);
        volume->setFocus(Qt::TabFocusReason);
        const QImage ringed = test::rendered(hud, ratio);
        const QPoint pixel = (onRing * ratio).toPoint();
        const QColor before = plain.pixelColor(pixel);
        const QColor after = ringed.pixelColor(pixel);
        EXPECT_GT(after.blue(), before.blue() + 60) << ratio;
        EXPECT_GT(after.blue(), after.red()) << ratio;
    }

    hud.qualityView()->setFocus(Qt::TabFocusReason);
    QList<QWidget*> walked;
    for (int i = 0; i < 4; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        walked << QApplication::focusWidget();
    }
    // The meter and the time only show: Tab passes them by.
    EXPECT_EQ(walked, (QList<QWidget*>{hud.stereoView(), volume, hud.positionView(), hud.qualityView()}));
    // A click sets a control but leaves the keyboard where it was.
    clickAt(volume, QPointF(VolumeView::firstColumn + 1.0, 8.0));
    EXPECT_EQ(QApplication::focusWidget(), hud.qualityView());

    QualityView* quality = hud.qualityView();
    hud.setQuality(QStringLiteral("HQ"));
    QStringList qualities;
    for (const Qt::Key key :
         {Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Left, Qt::Key_Space, Qt::Key_Space}) {
        QTest::keyClick(quality, key);
        qualities << hud.quality();
    }
    EXPECT_EQ(qualities, (QStringList{QStringLiteral("MQ"), QStringLiteral("LQ"), QStringLiteral("LQ"),
                                      QStringLiteral("MQ"), QStringLiteral("LQ"), QStringLiteral("HQ")}));

    StereoView* stereo = hud.stereoView();
    int alerts = 0;
    bool canRecordStereo = true;
    hud.setCanRecordStereo([&] { return canRecordStereo; });
    hud.setMonoAlert([&] { ++alerts; });
    QTest::keyClick(stereo, Qt::Key_Right);
    EXPECT_FALSE(hud.stereo());
    QTest::keyClick(stereo, Qt::Key_Space);
    EXPECT_TRUE(hud.stereo());
    QTest::keyClick(stereo, Qt::Key_Return);
    EXPECT_FALSE(hud.stereo());
    canRecordStereo = false;
    QTest::keyClick(stereo, Qt::Key_Left);
    EXPECT_FALSE(hud.stereo());
    EXPECT_EQ(alerts, 1);

    hud.setVolume(0.0);
    QList<double> volumes;
    for (const Qt::Key key :
         {Qt::Key_Left, Qt::Key_Down, Qt::Key_Up, Qt::Key_Home, Qt::Key_Left, Qt::Key_End, Qt::Key_Right}) {
        QTest::keyClick(volume, key);
        volumes << hud.volume();
    }
    EXPECT_EQ(volumes, (QList<double>{-5.0, -10.0, -5.0, -25.0, -25.0, 0.0, 0.0}));
    // From between two columns the first step lands on the next column that way.
    hud.setVolume(-12.0);
    QTest::keyClick(volume, Qt::Key_Right);
    EXPECT_EQ(hud.volume(), -10.0);
    hud.setVolume(-12.0);
    QTest::keyClick(volume, Qt::Key_Left);
    EXPECT_EQ(hud.volume(), -15.0);

    PositionView* bar = hud.positionView();
    hud.setMaxTime(34000.0);
    hud.setPosition(0.0);
    QSignalSpy seeks(&hud, &HUDView::positionChanged);
    QList<double> positions;
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_PageDown, Qt::Key_Left, Qt::Key_End, Qt::Key_Right,
                              Qt::Key_PageUp, Qt::Key_Home}) {
        QTest::keyClick(bar, key);
        positions << hud.position();
    }
    EXPECT_EQ(positions, (QList<double>{1000.0, 6000.0, 5000.0, 34000.0, 34000.0, 29000.0, 0.0}));
    EXPECT_EQ(seeks.size(), 6);

    // While recording the settings and the bar stay as they are.
    hud.setRecordingMode(true);
    QTest::keyClick(quality, Qt::Key_Right);
    QTest::keyClick(stereo, Qt::Key_Space);
    QTest::keyClick(bar, Qt::Key_End);
    EXPECT_EQ(hud.quality(), QStringLiteral("HQ"));
    EXPECT_FALSE(hud.stereo());
    EXPECT_EQ(hud.position(), 0.0);
}

TEST_F(HUDViewTest, ReadingsThatChangeNothingShownRepaintNothing)
{
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&hud));
    test::PaintRecorder meter(hud.levelView());
    test::PaintRecorder time(hud.timeView());
    test::PaintRecorder position(hud.positionView());
    test::PaintRecorder panel(&hud);
    hud.setMaxTime(60000.0);
    hud.setLevels(-100.0, -100.0);
    hud.setTime(1000.0);
    hud.setPosition(1000.0);
    for (test::PaintRecorder* recorder : {&meter, &time, &position, &panel})
        recorder->settle();

    // Silence read again and again, a thousandth of a second, a step within one segment.
    hud.setLevels(-99.0, -98.0);
    hud.setTime(1000.4);
    hud.setPosition(1200.0);
    test::PaintRecorder::flush();
    EXPECT_TRUE(meter.regions().isEmpty());
    EXPECT_TRUE(time.regions().isEmpty());
    EXPECT_TRUE(position.regions().isEmpty());
    EXPECT_TRUE(panel.regions().isEmpty());
    EXPECT_EQ(hud.levels(), StereoLevels(-99.0, -98.0)) << "the readings are kept all the same";

    // What does show is repainted, each element on its own, the panel only beneath it.
    hud.setLevels(-20.0, -98.0);
    hud.setTime(1010.0);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return !meter.regions().isEmpty() && !time.regions().isEmpty(); }, 10000));
    const QRegion changed = QRegion(hud.levelView()->geometry()) + QRegion(hud.timeView()->geometry());
    EXPECT_TRUE((panel.painted() - changed).isEmpty()) << "the panel was repainted away from the change";

    // Recording steps its running light five times a second, not on every reading.
    hud.setRecordingMode(true);
    hud.setTime(0.0);
    hud.setPosition(0.0);
    position.settle();
    hud.setPosition(90.0);
    test::PaintRecorder::flush();
    EXPECT_TRUE(position.regions().isEmpty());
    hud.setPosition(110.0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !position.regions().isEmpty(); }, 10000));
}
