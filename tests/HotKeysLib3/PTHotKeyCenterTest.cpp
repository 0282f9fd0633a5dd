#include "HotKeysLib3/PTHotKeyCenter.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

/// Accepts every combination and lets the test play the desktop's presses and releases.
class ScriptedBackend : public PTHotKeyBackend
{
public:
    QString name() const override { return QStringLiteral("scripted"); }
    Availability availability() const override { return Availability::Available; }
    bool registerHotKey(uint32_t id, const QString&, const QString&, const PTKeyCombo&) override
    {
        registered.push_back(id);
        return true;
    }
    void unregisterHotKey(uint32_t id) override { std::erase(registered, id); }
    void press(uint32_t id) { Q_EMIT activated(id, true); }
    void release(uint32_t id) { Q_EMIT activated(id, false); }

    std::vector<uint32_t> registered;
};

TEST(PTHotKeyCenterTest, ActivationsReachTheRegisteredHotKeyAndLateOnesAreDropped)
{
    auto* backend = new ScriptedBackend;
    PTHotKeyCenter center{std::unique_ptr<PTHotKeyBackend>(backend)};
    QSignalSpy pressed(&center, &PTHotKeyCenter::hotKeyPressed);
    QSignalSpy released(&center, &PTHotKeyCenter::hotKeyReleased);
    QObject target;
    QStringList calls;
    const auto makeHotKey = [&](const QString& identifier, int32_t keyCode) {
        auto hotKey = std::make_shared<PTHotKey>(identifier, PTKeyCombo(keyCode, 768));
        hotKey->setTarget(&target);
        hotKey->setAction([&calls](PTHotKey& sender) { calls << sender.identifier(); });
        return hotKey;
    };
    const auto record = makeHotKey(QStringLiteral("Record"), 26);
    const auto stop = makeHotKey(QStringLiteral("Stop"), 25);
    ASSERT_TRUE(center.registerHotKey(record));
    ASSERT_TRUE(center.registerHotKey(stop));
    ASSERT_EQ(backend->registered, (std::vector<uint32_t>{record->hotKeyID(), stop->hotKeyID()}));
    ASSERT_NE(record->hotKeyID(), stop->hotKeyID());

    backend->press(stop->hotKeyID());
    backend->release(stop->hotKeyID());
    EXPECT_EQ(calls, QStringList{QStringLiteral("Stop")}) << "a release invokes nothing";
    ASSERT_EQ(pressed.count(), 1);
    EXPECT_EQ(pressed.at(0).at(0).toString(), QStringLiteral("Stop"));
    ASSERT_EQ(released.count(), 1);
    EXPECT_EQ(released.at(0).at(0).toString(), QStringLiteral("Stop"));

    // A press still on its way when its hot key was unregistered, or one for an id never given out.
    const uint32_t gone = record->hotKeyID();
    center.unregisterHotKey(record);
    EXPECT_EQ(record->hotKeyID(), 0u);
    backend->press(gone);
    backend->press(4711);
    EXPECT_EQ(calls.size(), 1);
    EXPECT_EQ(pressed.count(), 1);

    center.setInvocationsSuspended(true);
    backend->press(stop->hotKeyID());
    EXPECT_EQ(calls.size(), 1) << "suspended: announced, not invoked";
    EXPECT_EQ(pressed.count(), 2);
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
