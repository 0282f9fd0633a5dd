#include "hud/SegmentedTapeButtonView.h"

#include "hud/KeyboardTransportMap.h"
#include "hud/PaintRecorder.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

enum Segment { Rec = 0, Play, Rew, Ffwd, Stop, Pause };

// Records what reaches the parent: events the strip passes on.
class Parent : public QWidget
{
public:
    int keyPresses = 0;
    int mousePresses = 0;

protected:
    void keyPressEvent(QKeyEvent*) override { ++keyPresses; }
    void mousePressEvent(QMouseEvent*) override { ++mousePresses; }
};

class TransportStripTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        strip = new SegmentedTapeButtonView(&parent);
        strip->setUpTransportSegments();
        strip->resize(strip->sizeHint());
        strip->setClock([this] { return clock; });
        parent.resize(strip->size());
        parent.show();
        actionSpy = std::make_unique<QSignalSpy>(strip, &SegmentedTapeButtonView::segmentAction);
    }

    QList<int> actions() const
    {
        QList<int> sent;
        for (const QList<QVariant>& call : *actionSpy)
            sent << call.at(0).toInt();
        return sent;
    }

    QPoint centerOf(int segment) const { return strip->rectForSegment(segment).center().toPoint(); }

    void click(int segment, double holdSeconds)
    {
        QTest::mousePress(strip, Qt::LeftButton, {}, centerOf(segment));
        clock += holdSeconds;
        QTest::mouseRelease(strip, Qt::LeftButton, {}, centerOf(segment));
    }

    void sendKey(QEvent::Type type, Qt::Key key, bool autoRepeat = false)
    {
        QKeyEvent event(type, key, Qt::NoModifier, QString(), autoRepeat);
        QApplication::sendEvent(strip, &event);
    }

    void tapKey(Qt::Key key, double holdSeconds = 0.05)
    {
        sendKey(QEvent::KeyPress, key);
        clock += holdSeconds;
        sendKey(QEvent::KeyRelease, key);
    }

    Parent parent;
    SegmentedTapeButtonView* strip = nullptr;
    double clock = 1000.0;
    std::unique_ptr<QSignalSpy> actionSpy;
};

} // namespace

TEST_F(TransportStripTest, SixKeysWithGapsBetweenAndPressesOutsideArePassedOn)
{
    ASSERT_EQ(strip->segments(), 6);
    for (int segment = 0; segment < 6; ++segment)
        EXPECT_EQ(strip->segmentForPoint(strip->rectForSegment(segment).center()), segment);
    const QRectF first = strip->rectForSegment(0), second = strip->rectForSegment(1);
    EXPECT_EQ(strip->segmentForPoint(QPointF((first.right() + second.left()) / 2.0, first.center().y())), -1);

    QTest::mousePress(strip, Qt::LeftButton, {}, QPoint(1, 1));
    sendKey(QEvent::KeyPress, Qt::Key_Q);
    EXPECT_TRUE(actions().isEmpty());
    EXPECT_EQ(parent.mousePresses, 1);
    EXPECT_EQ(parent.keyPresses, 1);
}

TEST_F(TransportStripTest, MousePressSendsTheActionAndShowsTheKeyDownUntilRelease)
{
    QSignalSpy pressed(strip, &SegmentedTapeButtonView::segmentPressed);
    QSignalSpy released(strip, &SegmentedTapeButtonView::segmentReleased);
    QTest::mousePress(strip, Qt::LeftButton, {}, centerOf(Stop));
    EXPECT_EQ(actions(), QList<int>{Stop});
    EXPECT_TRUE(strip->isDepressedSegment(Stop));
    ASSERT_EQ(pressed.size(), 1);
    EXPECT_EQ(pressed.at(0).at(0).toInt(), Stop);

    QTest::mouseRelease(strip, Qt::LeftButton, {}, centerOf(Stop));
    EXPECT_FALSE(strip->isDepressedSegment(Stop));
    ASSERT_EQ(released.size(), 1);
    EXPECT_EQ(released.at(0).at(0).toInt(), Stop);
    EXPECT_EQ(actions(), QList<int>{Stop});
}

TEST_F(TransportStripTest, HoldingAHoldableKeyOrButtonSendsItsActionAgainOnRelease)
{
    click(Ffwd, 0.5);
    EXPECT_EQ(actions(), (QList<int>{Ffwd, Ffwd}));
    actionSpy->clear();
    click(Ffwd, 0.1);
    click(Stop, 0.5); // not holdable
    // The threshold is the single-precision 0.32 s, strictly exceeded.
    click(Rew, static_cast<double>(0.32f));
    EXPECT_EQ(actions(), (QList<int>{Ffwd, Stop, Rew}));

    actionSpy->clear();
    tapKey(Qt::Key_V, 0.5);
    EXPECT_EQ(actions(), (QList<int>{Ffwd, Ffwd}));
    // Auto-repeats of a held key change nothing.
    actionSpy->clear();
    sendKey(QEvent::KeyPress, Qt::Key_C);
    clock += 0.2;
    sendKey(QEvent::KeyRelease, Qt::Key_C, true);
    sendKey(QEvent::KeyPress, Qt::Key_C, true);
    clock += 0.05;
    sendKey(QEvent::KeyRelease, Qt::Key_C);
    EXPECT_EQ(actions(), QList<int>{Rew});
}

TEST_F(TransportStripTest, RecordPullsPlayDownAndLocksTheWindingKeys)
{
    QTest::mousePress(strip, Qt::LeftButton, {}, centerOf(Rec));
    EXPECT_TRUE(strip->isDepressedSegment(Rec));
    EXPECT_TRUE(strip->isDepressedSegment(Play));
    QTest::mouseRelease(strip, Qt::LeftButton, {}, centerOf(Rec));

    // The transport latches record; fast-forward still sends its action but stays up.
    strip->setSelectedSegment(Rec);
    actionSpy->clear();
    QTest::mousePress(strip, Qt::LeftButton, {}, centerOf(Ffwd));
    EXPECT_EQ(actions(), QList<int>{Ffwd});
    EXPECT_FALSE(strip->isDepressedSegment(Ffwd));
    QTest::mouseRelease(strip, Qt::LeftButton, {}, centerOf(Ffwd));
    EXPECT_TRUE(strip->isDepressedSegment(Rec));
}

TEST_F(TransportStripTest, LatchedStateSetWhileAKeyIsHeldSurvivesTheRelease)
{
    QTest::mousePress(strip, Qt::LeftButton, {}, centerOf(Play));
    // The transport reacts to the press: play latches while the key is still held.
    strip->setSelectedSegment(Play);
    QTest::mouseRelease(strip, Qt::LeftButton, {}, centerOf(Play));
    EXPECT_TRUE(strip->isDepressedSegment(Play));

    // Stop pressed while playing: the transport clears the keys during the hold; the held stop
    // key stays down until released, and nothing comes back afterwards.
    QTest::mousePress(strip, Qt::LeftButton, {}, centerOf(Stop));
    strip->clearSelectedSegments();
    EXPECT_TRUE(strip->isDepressedSegment(Stop));
    EXPECT_FALSE(strip->isDepressedSegment(Play));
    QTest::mouseRelease(strip, Qt::LeftButton, {}, centerOf(Stop));
    EXPECT_TRUE(strip->selectedSegments().isEmpty());
}

TEST_F(TransportStripTest, KeyboardMapPressesTheKeysAndSpaceTogglesPlayAndStop)
{
    sendKey(QEvent::KeyPress, Qt::Key_Z);
    EXPECT_TRUE(strip->isDepressedSegment(Rec));
    EXPECT_TRUE(strip->isDepressedSegment(Play));
    sendKey(QEvent::KeyRelease, Qt::Key_Z);
    EXPECT_TRUE(strip->selectedSegments().isEmpty());
    for (const Qt::Key key : {Qt::Key_X, Qt::Key_C, Qt::Key_V, Qt::Key_B, Qt::Key_N, Qt::Key_Space})
        tapKey(key);
    EXPECT_EQ(actions(), (QList<int>{Rec, Play, Rew, Ffwd, Stop, Pause, Play}));

    strip->setSelectedSegment(Play);
    actionSpy->clear();
    tapKey(Qt::Key_Space);
    EXPECT_EQ(actions(), QList<int>{Stop});
    // The play key of the map toggles the same way.
    EXPECT_EQ(strip->segmentForKeyCode(7), Stop);
    strip->clearSelectedSegments();
    EXPECT_EQ(strip->segmentForKeyCode(7), Play);
}

TEST_F(TransportStripTest, KeysAreFoundByTheirPositionNotTheirLetter)
{
    // On a German layout the key at Z's place types Y; the window system reports its position.
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Y, Qt::NoModifier, 52, 0, 0, QStringLiteral("y"));
    QApplication::sendEvent(strip, &press);
    EXPECT_EQ(actions(), QList<int>{Rec});

    // A remapped default: record on the key at Q's place (code 12).
    QVariantMap keymap = KeyboardTransportMap::defaultMap();
    keymap[KeyboardTransportMap::recordName()] = 12;
    strip->setKeymap(keymap);
    EXPECT_EQ(strip->segmentForKeyCode(12), Rec);
    EXPECT_EQ(strip->segmentForKeyCode(6), -1);
}

TEST_F(TransportStripTest, TheKeysAreRingedWhileTheyHaveTheKeyboardAndAHeldKeyGoesWhenAFieldTakesIt)
{
    QLineEdit field(&parent);
    field.move(0, strip->height());
    field.show();
    parent.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&parent));
    for (const qreal ratio : {1.0, 2.0}) {
        field.setFocus();
        const QImage plain = test::rendered(*strip, ratio);
        strip->setFocus();
        const QImage ringed = test::rendered(*strip, ratio);
        // On the ring, halfway up the left edge.
        const QPoint pixel = (QPointF(2.0, strip->height() / 2.0) * ratio).toPoint();
        EXPECT_GT(ringed.pixelColor(pixel).blue(), plain.pixelColor(pixel).blue() + 60) << ratio;
    }

    // Fast-forward held long enough to cue: a field taking the keyboard lets it go as a release
    // would, sending the held action again.
    QSignalSpy released(strip, &SegmentedTapeButtonView::segmentReleased);
    strip->setFocus();
    sendKey(QEvent::KeyPress, Qt::Key_V);
    clock += 0.5;
    field.setFocus();
    EXPECT_EQ(actions(), (QList<int>{Ffwd, Ffwd}));
    ASSERT_EQ(released.size(), 1);
    EXPECT_EQ(released.at(0).at(0).toInt(), Ffwd);
    EXPECT_FALSE(strip->isDepressedSegment(Ffwd));
    EXPECT_EQ(strip->heldSegment(), -1);
    // The real release, whenever it comes, and releases of keys pressed elsewhere change nothing.
    sendKey(QEvent::KeyRelease, Qt::Key_V);
    sendKey(QEvent::KeyRelease, Qt::Key_X);
    EXPECT_EQ(actions(), (QList<int>{Ffwd, Ffwd}));
    EXPECT_EQ(released.size(), 1);
}

TEST(KeyboardTransportMapTest, HardwareKeyCodesTranslateBothWays)
{
    for (int code = 0; code < 128; ++code) {
        const int qtKey = KeyboardTransportMap::qtKeyForHardwareKeyCode(code);
        if (qtKey != 0) {
            EXPECT_EQ(KeyboardTransportMap::hardwareKeyCodeForQtKey(qtKey), code) << code;
        }
    }
    EXPECT_EQ(KeyboardTransportMap::hardwareKeyCodeForScanCode(65), KeyboardTransportMap::spaceKeyCode);
    EXPECT_EQ(KeyboardTransportMap::hardwareKeyCodeForScanCode(57), 45);
    EXPECT_EQ(KeyboardTransportMap::hardwareKeyCodeForQtKey(Qt::Key_Launch0), -1);
}
