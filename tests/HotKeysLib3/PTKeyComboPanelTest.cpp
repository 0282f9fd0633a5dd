#include "HotKeysLib3/PTKeyComboPanel.h"

#include "HotKeysLib3/PTHotKeyCenter.h"
#include "HotKeysLib3/PTKeyBroadcaster.h"
#include "HotKeysLib3/PTX11HotKeyBackend.h"
#include "XTestKeyboard.h"

#include <QAction>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

constexpr uint32_t keyControl = 0xffe3, keyShift = 0xffe1, keyA = 0x61;

TEST(PTKeyComboPanelTest, TypedKeysIncludingShortcutsAndTabBecomeTheCombinationAndItsTexts)
{
    QWidget window;
    auto& panel = *new PTKeyComboPanel(&window);
    QAction quit(&window);
    quit.setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit.setShortcutContext(Qt::ApplicationShortcut);
    window.addAction(&quit);
    QSignalSpy triggered(&quit, &QAction::triggered);
    window.show();
    panel.show();
    panel.setKeyBindingName(QStringLiteral("Record"));
    panel.setKeyCombo(PTKeyCombo(26, 768));
    PTKeyBroadcaster* field = panel.keyBroadcaster();
    field->setFocus();
    EXPECT_EQ(field->text(), QStringLiteral("Ctrl+Shift+7"));
    QSignalSpy notices(field, &PTKeyBroadcaster::keyEvent);

    QTest::keyClick(field, Qt::Key_9, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_EQ(notices.count(), 1);
    EXPECT_EQ(notices.first().first().toMap().value(QStringLiteral("keyCombo")).value<PTKeyCombo>(),
              PTKeyCombo(25, 768));
    EXPECT_EQ(panel.keyCombo(), PTKeyCombo(25, 768));
    EXPECT_EQ(field->text(), QStringLiteral("Ctrl+Shift+9"));
    EXPECT_EQ(panel.platformText(), QStringLiteral("Ctrl+Shift+9"));

    QTest::keyClick(field, Qt::Key_7, Qt::ControlModifier | Qt::KeypadModifier);
    EXPECT_EQ(panel.keyCombo(), PTKeyCombo(89, 256));
    EXPECT_EQ(field->text(), QStringLiteral("Ctrl+Pad 7"));

    // Super is stored as Control, the keypad flag not at all.
    QTest::keyClick(field, Qt::Key_F5, Qt::AltModifier | Qt::MetaModifier);
    EXPECT_EQ(field->text(), QStringLiteral("Alt+Super+F5"));

    // Modifiers alone change nothing; a bare key is no hot key.
    QTest::keyClick(field, Qt::Key_Control, Qt::ControlModifier);
    EXPECT_EQ(panel.keyCombo(), PTKeyCombo(96, PTKeyCombo::optionKey | PTKeyCombo::controlKey));
    QTest::keyClick(field, Qt::Key_A);
    EXPECT_EQ(panel.keyCombo(), PTKeyCombo(0, 0));
    EXPECT_EQ(field->text(), QStringLiteral("(None)"));
    EXPECT_EQ(panel.platformText(), QStringLiteral("A hot key needs Ctrl, Alt, Super or Shift."));

    QTest::keyClick(field, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(triggered.count(), 0);
    EXPECT_EQ(panel.keyCombo(), PTKeyCombo(12, 256));
    QTest::keyClick(field, Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(field->text(), QStringLiteral("Ctrl+Tab"));
}

TEST(PTKeyComboPanelTest, ClearEndsTheSheetAcceptedWithNoCombination)
{
    // OK and Cancel are the preferences window's test.
    QWidget window;
    window.show();
    PTKeyComboPanel& panel = PTKeyComboPanel::sharedPanel();
    panel.setKeyCombo(PTKeyCombo(25, 768));
    QList<int> endings;
    panel.runSheeetForModalWindow(&window, [&](int returnCode) { endings << returnCode; });
    EXPECT_EQ(panel.windowModality(), Qt::WindowModal);
    panel.clear();
    EXPECT_EQ(endings, QList<int>{QDialog::Accepted});
    EXPECT_TRUE(panel.keyCombo().isClearCombo());
    EXPECT_FALSE(panel.isVisible());
}

TEST(PTKeyComboPanelTest, RunningModallyGivesTheHotKeyItsNewCombinationAndRegistersIt)
{
    XTestKeyboard other;
    if (!other.isConnected())
        GTEST_SKIP() << "no X display";
    PTHotKeyCenter center(PTX11HotKeyBackend::connect());
    QObject target;
    QStringList calls;
    auto record = std::make_shared<PTHotKey>(QStringLiteral("Record"), PTKeyCombo(26, 768));
    record->setTarget(&target);
    record->setAction([&](PTHotKey& sender) { calls << sender.identifier(); });
    ASSERT_TRUE(center.registerHotKey(record));

    PTKeyComboPanel panel;
    QSignalSpy pressed(&center, &PTHotKeyCenter::hotKeyPressed);
    QTimer::singleShot(0, &panel, [&] {
        QTest::keyClick(panel.keyBroadcaster(), Qt::Key_B, Qt::ControlModifier);
        // The grabbed combination reaches the panel through the center and does not record.
        other.type({keyControl, keyShift, 0x37});
        EXPECT_TRUE(pressed.wait(15000));
        EXPECT_EQ(panel.keyCombo(), PTKeyCombo(26, 768));
        // Real key presses are read by their position.
        panel.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&panel));
        panel.keyBroadcaster()->setFocus();
        QSignalSpy notices(panel.keyBroadcaster(), &PTKeyBroadcaster::keyEvent);
        other.type({keyControl, keyShift, keyA});
        EXPECT_TRUE(notices.wait(15000));
        panel.ok();
    });
    EXPECT_EQ(panel.runModalForHotKey(record, center), int(QDialog::Accepted));
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_FALSE(center.invocationsSuspended());
    EXPECT_EQ(record->keyCombo(), PTKeyCombo(0, 768));
    EXPECT_TRUE(other.canGrab(0x37, 5)) << "the old combination is free again";
    EXPECT_FALSE(other.canGrab(keyA, 5));
    other.type({keyControl, keyShift, keyA});
    ASSERT_TRUE(pressed.wait(15000));
    EXPECT_EQ(calls, QStringList{QStringLiteral("Record")});

    // Cancel leaves the hot key alone.
    QTimer::singleShot(0, &panel, [&] {
        QTest::keyClick(panel.keyBroadcaster(), Qt::Key_B, Qt::ControlModifier);
        panel.cancel();
    });
    EXPECT_EQ(panel.runModalForHotKey(record, center), int(QDialog::Rejected));
    EXPECT_EQ(record->keyCombo(), PTKeyCombo(0, 768));
}

} // namespace
