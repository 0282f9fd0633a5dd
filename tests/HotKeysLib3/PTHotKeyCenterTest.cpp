#include "HotKeysLib3/PTHotKeyCenter.h"

#include "foundation/Assertion.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

PTHotKeyEvent event(uint32_t eventClass, uint32_t kind, uint32_t signature, uint32_t id)
{
    return {eventClass, kind, {signature, id}};
}

void expectAssertion(PTHotKeyCenter& center, const PTHotKeyEvent& event, const std::string& description)
{
    try {
        center.sendEvent(event);
        ADD_FAILURE() << "no assertion for " << description;
    } catch (const InternalInconsistency& error) {
        EXPECT_EQ(error.description(), description);
    }
}

TEST(PTHotKeyCenterTest, EventsNoRegisteredHotKeyCanSendAreProgrammingErrors)
{
    PTHotKeyCenter center(std::make_unique<PTUnavailableHotKeyBackend>());
    QSignalSpy pressed(&center, &PTHotKeyCenter::hotKeyPressed);
    expectAssertion(center, event(fourCharCode("mous"), kPTEventHotKeyPressed, kPTHotKeySignature, 1),
                    "Unknown event class");
    expectAssertion(center, event(kPTEventClassKeyboard, kPTEventHotKeyPressed, fourCharCode("XXXX"), 1),
                    "Invalid hot key id");
    expectAssertion(center, event(kPTEventClassKeyboard, kPTEventHotKeyPressed, kPTHotKeySignature, 0),
                    "Invalid hot key id");
    expectAssertion(center, event(kPTEventClassKeyboard, 7, kPTHotKeySignature, 1), "Unknown event kind");
    // A well-formed event for an id that is gone (unregistered in the meantime) is dropped quietly.
    center.sendEvent(event(kPTEventClassKeyboard, kPTEventHotKeyPressed, kPTHotKeySignature, 42));
    EXPECT_EQ(pressed.count(), 0);
}

TEST(PTHotKeyCenterTest, WithoutAWayToTheKeyboardHotKeysAreRefusedAndThePreferencesSaySo)
{
    PTHotKeyCenter center(std::make_unique<PTUnavailableHotKeyBackend>());
    auto record = std::make_shared<PTHotKey>(QStringLiteral("Record"), PTKeyCombo(26, 768));
    EXPECT_FALSE(center.registerHotKey(record));
    EXPECT_EQ(record->hotKeyID(), 0u);
    EXPECT_TRUE(center.allHotKeys().isEmpty());
    // Nothing needs doing for a combination that is no hot key, so that is no refusal.
    auto bare = std::make_shared<PTHotKey>(QStringLiteral("Stop"), PTKeyCombo(25, 0));
    EXPECT_TRUE(center.registerHotKey(bare));
    EXPECT_EQ(center.availability(), PTHotKeyCenter::Availability::Unavailable);
    EXPECT_EQ(center.availabilityText(), QStringLiteral("Global hot keys are unavailable in this session."));
}

TEST(PTHotKeyTest, InvokeSendsTheActionToALivingTargetOnly)
{
    auto target = std::make_unique<QObject>();
    PTHotKey hotKey(QStringLiteral("Pause"), PTKeyCombo(28, 768));
    EXPECT_EQ(hotKey.name(), QStringLiteral("Pause"));
    QStringList calls;
    hotKey.setAction([&](PTHotKey& sender) { calls << sender.identifier(); });
    hotKey.invoke();
    EXPECT_TRUE(calls.isEmpty()) << "no target";
    hotKey.setTarget(target.get());
    hotKey.invoke();
    EXPECT_EQ(calls, QStringList{QStringLiteral("Pause")});
    target.reset();
    hotKey.invoke();
    EXPECT_EQ(calls.size(), 1) << "the target is gone";
}

} // namespace
