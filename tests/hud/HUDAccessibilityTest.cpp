#include "hud/HUDAccessibility.h"

#include "hud/DrawerButton.h"
#include "hud/HUDView.h"
#include "hud/PositionView.h"
#include "hud/QualityView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/StereoView.h"
#include "hud/TapeView.h"
#include "hud/TestTapes.h"
#include "hud/TimeView.h"
#include "hud/VolumeView.h"

#include <QAccessible>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

QAccessibleInterface* accessible(QObject* object)
{
    return QAccessible::queryAccessibleInterface(object);
}

// Before any widget is made: an interface Qt made for an object stays with it.
class HUDAccessibilityTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { HUDAccessibility::install(); }
};

void press(QAccessibleInterface* iface)
{
    ASSERT_NE(iface->actionInterface(), nullptr);
    iface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
}

QString name(QAccessibleInterface* iface)
{
    return iface ? iface->text(QAccessible::Name) : QStringLiteral("<none>");
}

} // namespace

TEST_F(HUDAccessibilityTest, TheDisplaysSettingsAndReadingsAreReadAndSetThroughTheirValuesAndActions)
{
    HUDView hud;
    hud.resize(hud.sizeHint());
    hud.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&hud));
    QAccessibleInterface* display = accessible(&hud);
    ASSERT_NE(display, nullptr);

    QAccessibleInterface* quality = accessible(hud.qualityView());
    ASSERT_NE(quality, nullptr);
    EXPECT_GE(display->indexOfChild(quality), 0);
    hud.setQuality(QStringLiteral("MQ"));
    EXPECT_EQ(quality->text(QAccessible::Value), QStringLiteral("MQ"));
    ASSERT_EQ(quality->childCount(), 3);
    QAccessibleInterface* lq = quality->child(2);
    ASSERT_NE(lq, nullptr);
    EXPECT_EQ(name(lq), QStringLiteral("LQ"));
    EXPECT_EQ(lq->parent(), quality);
    EXPECT_EQ(quality->indexOfChild(lq), 2);
    EXPECT_TRUE(lq->state().checkable);
    EXPECT_FALSE(lq->state().checked);
    // Each box is found where it is drawn.
    const QPoint lqCenter =
        hud.qualityView()->mapToGlobal(hud.qualityView()->layers()[2].frame.center().toPoint());
    EXPECT_TRUE(lq->rect().contains(lqCenter));
    EXPECT_FALSE(quality->child(0)->rect().contains(lqCenter));
    EXPECT_EQ(quality->childAt(lqCenter.x(), lqCenter.y()), lq);
    press(lq);
    EXPECT_EQ(hud.quality(), QStringLiteral("LQ"));
    EXPECT_TRUE(lq->state().checked);
    EXPECT_FALSE(quality->child(1)->state().checked);

    QAccessibleInterface* stereo = accessible(hud.stereoView());
    ASSERT_NE(stereo, nullptr);
    ASSERT_EQ(stereo->childCount(), 2);
    press(stereo->child(1));
    EXPECT_FALSE(hud.stereo());
    EXPECT_EQ(stereo->text(QAccessible::Value), QStringLiteral("Mono"));

    QAccessibleInterface* volume = accessible(hud.volumeView());
    ASSERT_NE(volume, nullptr);
    QAccessibleValueInterface* volumeValue = volume->valueInterface();
    ASSERT_NE(volumeValue, nullptr);
    volumeValue->setCurrentValue(-10.0);
    EXPECT_EQ(hud.volume(), -10.0);
    EXPECT_EQ(volume->text(QAccessible::Value), QStringLiteral("-10 dB"));
    volume->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(volumeValue->currentValue().toDouble(), -5.0);
    volumeValue->setCurrentValue(-40.0);
    EXPECT_EQ(hud.volume(), VolumeView::minimumVolume);

    QAccessibleInterface* position = accessible(hud.positionView());
    ASSERT_NE(position, nullptr);
    hud.setMaxTime(34000.0);
    ASSERT_NE(position->valueInterface(), nullptr);
    EXPECT_EQ(position->valueInterface()->maximumValue().toDouble(), 34000.0);
    position->valueInterface()->setCurrentValue(17000.0);
    EXPECT_EQ(hud.position(), 17000.0);
    EXPECT_EQ(position->text(QAccessible::Value), QStringLiteral("0:17.00"));
    EXPECT_FALSE(position->state().readOnly);

    // While recording the settings are disabled and the bar only shows.
    hud.setRecordingMode(true);
    EXPECT_TRUE(quality->child(0)->state().disabled);
    press(quality->child(0));
    EXPECT_EQ(hud.quality(), QStringLiteral("LQ"));
    EXPECT_TRUE(position->state().readOnly);
    position->valueInterface()->setCurrentValue(0.0);
    EXPECT_EQ(hud.position(), 17000.0);
    hud.setRecordingMode(false);

    hud.setStereo(true);
    hud.setLevels(-30.0, -6.0);
    QAccessibleInterface* level = accessible(hud.levelView());
    ASSERT_NE(level, nullptr);
    ASSERT_NE(level->valueInterface(), nullptr);
    EXPECT_EQ(level->valueInterface()->currentValue().toDouble(), -6.0);
    EXPECT_EQ(level->text(QAccessible::Value), QStringLiteral("left -30 dB, right -6 dB"));
    EXPECT_TRUE(level->state().readOnly);
    level->valueInterface()->setCurrentValue(0.0);
    EXPECT_EQ(hud.levels(), StereoLevels(-30.0, -6.0));

    // Minutes run past the hour, and hundredths are cut, not rounded.
    hud.setTime(3723459.0);
    QAccessibleInterface* time = accessible(hud.timeView());
    ASSERT_NE(time, nullptr);
    EXPECT_EQ(time->text(QAccessible::Value), QStringLiteral("62:03.45"));
}

TEST_F(HUDAccessibilityTest, TheTransportKeysAreNamedAfterTheirActionsAndPress)
{
    SegmentedTapeButtonView keys;
    keys.setUpTransportSegments();
    keys.resize(keys.sizeHint());
    keys.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&keys));
    QAccessibleInterface* strip = accessible(&keys);
    ASSERT_NE(strip, nullptr);
    ASSERT_EQ(strip->childCount(), 6);
    QStringList names;
    for (int i = 0; i < strip->childCount(); ++i) {
        EXPECT_EQ(strip->child(i)->parent(), strip);
        names << name(strip->child(i));
    }
    EXPECT_EQ(names,
              (QStringList{QStringLiteral("Record"), QStringLiteral("Play"), QStringLiteral("Rewind"),
                           QStringLiteral("Fast Forward"), QStringLiteral("Stop"), QStringLiteral("Pause")}));
    EXPECT_EQ(strip->child(1)->text(QAccessible::Accelerator), QStringLiteral("X"));

    // Each key is found where it is drawn.
    const QPoint center = keys.mapToGlobal(keys.rectForSegment(3).center().toPoint());
    EXPECT_TRUE(strip->child(3)->rect().contains(center));
    EXPECT_EQ(strip->childAt(center.x(), center.y()), strip->child(3));
    EXPECT_EQ(strip->indexOfChild(strip->child(3)), 3);

    QSignalSpy actions(&keys, &SegmentedTapeButtonView::segmentAction);
    press(strip->child(1));
    ASSERT_EQ(actions.size(), 1);
    EXPECT_EQ(actions.at(0).at(0).toInt(), 1);
    EXPECT_FALSE(strip->child(1)->state().pressed);
    // Latched by the transport, the key reads as pressed.
    keys.setSelectedSegment(1);
    EXPECT_TRUE(strip->child(1)->state().pressed);
}

TEST_F(HUDAccessibilityTest, TheCassetteAndTheDrawerHandleSayWhatTheyShowAndDo)
{
    test::TestTapes tapes;
    ASSERT_TRUE(tapes.isValid());
    TapeView view;
    view.resize(view.sizeHint());
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    QAccessibleInterface* cassette = accessible(&view);
    ASSERT_NE(cassette, nullptr);
    EXPECT_EQ(cassette->text(QAccessible::Description), QStringLiteral("No tape"));
    ASSERT_NE(cassette->actionInterface(), nullptr);
    EXPECT_TRUE(cassette->actionInterface()->actionNames().isEmpty());

    const TapePtr tape = tapes.make(QStringLiteral("Porch recording"),
                                    QDateTime(QDate(2020, 5, 1), QTime(9, 0)), QStringLiteral("Crickets"));
    view.setTape(tape);
    EXPECT_EQ(cassette->text(QAccessible::Value), QStringLiteral("Porch recording"));
    EXPECT_EQ(cassette->text(QAccessible::Description), QStringLiteral("Crickets"));
    const QStringList actions = cassette->actionInterface()->actionNames();
    ASSERT_EQ(actions.size(), 3);
    cassette->actionInterface()->doAction(actions.at(0));
    EXPECT_TRUE(view.isEditingTitle());
    view.endTitleEditing(false);
    const auto scheme = tape->tapeLetter().colorScheme();
    cassette->actionInterface()->doAction(actions.at(2));
    EXPECT_NE(tape->tapeLetter().colorScheme(), scheme);

    DrawerButton drawer(DrawerButton::Right);
    drawer.show();
    QAccessibleInterface* handle = accessible(&drawer);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(name(handle), QStringLiteral("Show Tapes"));
    drawer.setDisclosed(true);
    EXPECT_EQ(name(handle), QStringLiteral("Hide Tapes"));
    QSignalSpy clicked(&drawer, &DrawerButton::clicked);
    press(handle);
    EXPECT_TRUE(QTest::qWaitFor([&] { return clicked.size() == 1; }, 10000));
}
