#include "HotKeysLib3/PTHotKeyCenter.h"

#include "AssertionText.h"
#include "foundation/Assertion.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

TEST(PTHotKeyCenterTest, EventsNoRegisteredHotKeyCanSendAreProgrammingErrors)
{
    PTHotKeyCenter center(std::make_unique<PTUnavailableHotKeyBackend>());
    QSignalSpy pressed(&center, &PTHotKeyCenter::hotKeyPressed);
    const auto expectAssertion = [&](uint32_t eventClass, uint32_t kind, uint32_t signature, uint32_t id,
                                     const std::string& description) {
        EXPECT_EQ(test::assertionFrom([&] {
                      center.sendEvent({eventClass, kind, {signature, id}});
                  }),
                  description);
    };
    expectAssertion(fourCharCode("mous"), kPTEventHotKeyPressed, kPTHotKeySignature, 1,
                    "Unknown event class");
    expectAssertion(kPTEventClassKeyboard, kPTEventHotKeyPressed, fourCharCode("XXXX"), 1,
                    "Invalid hot key id");
    expectAssertion(kPTEventClassKeyboard, kPTEventHotKeyPressed, kPTHotKeySignature, 0,
                    "Invalid hot key id");
    expectAssertion(kPTEventClassKeyboard, 7, kPTHotKeySignature, 1, "Unknown event kind");
    // A well-formed event for an id that is gone (unregistered in the meantime) is dropped quietly.
    center.sendEvent({kPTEventClassKeyboard, kPTEventHotKeyPressed, {kPTHotKeySignature, 42}});
    EXPECT_EQ(pressed.count(), 0);
}

TEST(PTHotKeyTest, InvokeSendsTheActionToALivingTargetOnly)
{
    auto target = std::make_unique<QObject>();
    PTHotKey hotKey(QStringLiteral("Pause"), PTKeyCombo(28, 768));
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
