#include "HotKeysLib3/PTPortalHotKeyBackend.h"

#include "HotKeysLib3/PTHotKeyCenter.h"
#include "PrivateSessionBus.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

/// A stand-in for the desktop portal on a private bus: answers sessions and binds as a desktop
/// that accepts every preferred trigger, and sends activations on request.
class FakeShortcutsPortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)
public:
    explicit FakeShortcutsPortal(const QDBusConnection& bus) : mBus(bus)
    {
        qDBusRegisterMetaType<PTPortalShortcut>();
        qDBusRegisterMetaType<PTPortalShortcutList>();
        mBus.registerObject(portalPath, this,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
        mBus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    uint version() const { return 1; }

    int sessionsCreated = 0;
    QStringList closedSessions;
    PTPortalShortcutList boundShortcuts;
    QString boundSession;

    void activate(const QString& session, const QString& identifier, const char* signal = "Activated")
    {
        QDBusMessage message =
            QDBusMessage::createSignal(portalPath, QStringLiteral("org.freedesktop.portal.GlobalShortcuts"),
                                       QString::fromLatin1(signal));
        message << QVariant::fromValue(QDBusObjectPath(session)) << identifier << qulonglong(1)
                << QVariantMap();
        mBus.send(message);
    }

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap& options)
    {
        const QString sender = senderPath();
        const QString session = portalPath + QStringLiteral("/session/") + sender + QLatin1Char('/') +
                                options.value(QStringLiteral("session_handle_token")).toString();
        ++sessionsCreated;
        mBus.registerVirtualObject(session, &mSessions);
        return respondLater(options, {{QStringLiteral("session_handle"), session}});
    }

    // Qualified: QtDBus finds the argument type by the name written here.
    QDBusObjectPath BindShortcuts(const QDBusObjectPath& session,
                                  const spindrel::PTPortalShortcutList& shortcuts, const QString&,
                                  const QVariantMap& options)
    {
        boundSession = session.path();
        boundShortcuts = shortcuts;
        return respondLater(options, {});
    }

private:
    // Session objects: only Close is called on them.
    class Sessions : public QDBusVirtualObject
    {
    public:
        explicit Sessions(FakeShortcutsPortal& portal) : mPortal(portal) {}
        QString introspect(const QString&) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
        {
            if (message.member() == QLatin1String("Close")) {
                mPortal.closedSessions << message.path();
                QDBusConnection(connection).unregisterObject(message.path());
            }
            connection.send(message.createReply());
            return true;
        }

    private:
        FakeShortcutsPortal& mPortal;
    };

    QString senderPath() const
    {
        QString sender = message().service().mid(1);
        return sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    }

    QDBusObjectPath respondLater(const QVariantMap& options, const QVariantMap& results)
    {
        const QString request = portalPath + QStringLiteral("/request/") + senderPath() + QLatin1Char('/') +
                                options.value(QStringLiteral("handle_token")).toString();
        QMetaObject::invokeMethod(
            this,
            [this, request, results] {
                QDBusMessage response = QDBusMessage::createSignal(
                    request, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
                response << uint(0) << results;
                mBus.send(response);
            },
            Qt::QueuedConnection);
        return QDBusObjectPath(request);
    }

    QDBusConnection mBus;
    Sessions mSessions{*this};
};

std::shared_ptr<PTHotKey> makeHotKey(const QString& identifier, int32_t keyCode, QObject* target,
                                     QStringList& calls)
{
    auto hotKey = std::make_shared<PTHotKey>(identifier, PTKeyCombo(keyCode, 768));
    hotKey->setTarget(target);
    hotKey->setAction([&calls](PTHotKey& sender) { calls << sender.identifier(); });
    return hotKey;
}

class PTPortalHotKeyBackendTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!bus.isRunning())
            GTEST_SKIP() << "dbus-daemon is not installed";
        // The triggers name keys of the US layout whatever the machine uses.
        qputenv("XKB_DEFAULT_LAYOUT", "us");
    }

    test::PrivateSessionBus bus;
    QObject target;
    QStringList calls;
};

TEST_F(PTPortalHotKeyBackendTest, BindsInOneSessionInvokesTheActivatedHotKeyAndRebindsOnChange)
{
    FakeShortcutsPortal portal(bus.connect(QStringLiteral("portal")));
    auto* backend = new PTPortalHotKeyBackend(bus.connect(QStringLiteral("client")));
    PTHotKeyCenter center{std::unique_ptr<PTHotKeyBackend>(backend)};
    QSignalSpy bound(backend, &PTPortalHotKeyBackend::shortcutsBound);
    EXPECT_EQ(center.availability(), PTHotKeyCenter::Availability::Pending);

    // Registered before the portal has answered: bound once it has.
    auto record = makeHotKey(QStringLiteral("Record"), 26, &target, calls);
    auto stop = makeHotKey(QStringLiteral("Stop"), 25, &target, calls);
    auto pause = makeHotKey(QStringLiteral("Pause"), 28, &target, calls);
    for (const auto& hotKey : {record, stop, pause})
        EXPECT_TRUE(center.registerHotKey(hotKey));
    ASSERT_TRUE(bound.wait(15000));
    EXPECT_EQ(bound.first().first().toUInt(), 0u);
    EXPECT_EQ(center.availability(), PTHotKeyCenter::Availability::Available);
    EXPECT_EQ(portal.sessionsCreated, 1) << "three registrations in a row make one session";
    const auto triggers = [&] {
        QMap<QString, QString> result;
        for (const PTPortalShortcut& shortcut : portal.boundShortcuts)
            result[shortcut.identifier] =
                shortcut.properties.value(QStringLiteral("preferred_trigger")).toString();
        return result;
    };
    EXPECT_EQ(triggers(), (QMap<QString, QString>{{QStringLiteral("Record"), QStringLiteral("CTRL+SHIFT+7")},
                                                  {QStringLiteral("Pause"), QStringLiteral("CTRL+SHIFT+8")},
                                                  {QStringLiteral("Stop"), QStringLiteral("CTRL+SHIFT+9")}}));
    EXPECT_EQ(portal.boundSession, backend->sessionHandle());

    QSignalSpy released(&center, &PTHotKeyCenter::hotKeyReleased);
    portal.activate(backend->sessionHandle(), QStringLiteral("Stop"));
    portal.activate(backend->sessionHandle(), QStringLiteral("Stop"), "Deactivated");
    ASSERT_TRUE(QTest::qWaitFor([&] { return released.count() == 1; }));
    EXPECT_EQ(calls, QStringList{QStringLiteral("Stop")});
    // Activations of a session that is not ours are not for us.
    portal.activate(portal.boundSession + QStringLiteral("x"), QStringLiteral("Record"));
    portal.activate(backend->sessionHandle(), QStringLiteral("Pause"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls.size() == 2; }));
    EXPECT_EQ(calls.last(), QStringLiteral("Pause"));

    const QString firstSession = backend->sessionHandle();
    record->setKeyCombo(PTKeyCombo(0, PTKeyCombo::optionKey | PTKeyCombo::controlKey));
    EXPECT_TRUE(center.registerHotKey(record));
    ASSERT_TRUE(bound.wait(15000));
    EXPECT_EQ(portal.sessionsCreated, 2);
    EXPECT_EQ(portal.closedSessions, QStringList{firstSession});
    EXPECT_EQ(triggers().value(QStringLiteral("Record")), QStringLiteral("ALT+LOGO+a"));

    // Turning hot keys off closes the session and binds nothing.
    for (const auto& hotKey : {record, stop, pause}) {
        hotKey->setKeyCombo(PTKeyCombo::clearKeyCombo());
        EXPECT_TRUE(center.registerHotKey(hotKey));
    }
    EXPECT_TRUE(center.allHotKeys().isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return portal.closedSessions.size() == 2; }));
    EXPECT_EQ(portal.sessionsCreated, 2) << "nothing left to bind";
    EXPECT_TRUE(backend->sessionHandle().isEmpty());
}

TEST_F(PTPortalHotKeyBackendTest, WithoutAPortalHotKeysAreUnavailable)
{
    PTHotKeyCenter center{std::make_unique<PTPortalHotKeyBackend>(bus.connect(QStringLiteral("client")))};
    QSignalSpy changed(&center, &PTHotKeyCenter::availabilityChanged);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return center.availability() == PTHotKeyCenter::Availability::Unavailable; }));
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(center.availabilityText(), QStringLiteral("Global hot keys are unavailable in this session."));
    EXPECT_FALSE(center.registerHotKey(makeHotKey(QStringLiteral("Record"), 26, &target, calls)));
}

} // namespace

#include "PTPortalHotKeyBackendTest.moc"
