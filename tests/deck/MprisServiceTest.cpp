#include "deck/MprisService.h"

#include "DeckTest.h"
#include "PrivateSessionBus.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QSignalSpy>
#include <QTest>

using namespace spindrel;
using namespace spindrel::test;

namespace {

/// A media-key daemon or sound menu: another connection calling the deck over the bus.
class RemoteControl : public QObject
{
    Q_OBJECT
public:
    RemoteControl(QDBusConnection bus, QString service) : mBus(std::move(bus)), mService(std::move(service))
    {
        mBus.connect(mService, QString::fromLatin1(MprisService::objectPath),
                     QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"),
                     this, SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    }

    /// Calls a method of the player; the deck answers on this thread's event loop, so wait on it.
    bool call(const QString& method)
    {
        const auto message =
            QDBusMessage::createMethodCall(mService, QString::fromLatin1(MprisService::objectPath),
                                           QStringLiteral("org.mpris.MediaPlayer2.Player"), method);
        QDBusPendingCallWatcher watcher(mBus.asyncCall(message));
        return QTest::qWaitFor([&] { return watcher.isFinished(); }, 15000) && !watcher.isError();
    }

    QVariant property(const QString& name)
    {
        auto message = QDBusMessage::createMethodCall(mService, QString::fromLatin1(MprisService::objectPath),
                                                      QStringLiteral("org.freedesktop.DBus.Properties"),
                                                      QStringLiteral("Get"));
        message << QStringLiteral("org.mpris.MediaPlayer2.Player") << name;
        QDBusPendingReply<QDBusVariant> reply = mBus.asyncCall(message);
        if (!QTest::qWaitFor([&] { return reply.isFinished(); }, 15000) || reply.isError())
            return {};
        return reply.value().variant();
    }

    QStringList announcedStatuses;

public Q_SLOTS:
    void propertiesChanged(const QString&, const QVariantMap& changed, const QStringList&)
    {
        if (changed.contains(QStringLiteral("PlaybackStatus")))
            announcedStatuses << changed.value(QStringLiteral("PlaybackStatus")).toString();
    }

private:
    QDBusConnection mBus;
    QString mService;
};

class MprisServiceTest : public DeckTest
{
protected:
    void SetUp() override
    {
        DeckTest::SetUp();
        if (!mBus.isRunning())
            GTEST_SKIP() << "dbus-daemon is not installed";
    }

    PrivateSessionBus mBus;
};

TEST_F(MprisServiceTest, TheBusPlaysPausesAndStopsTheLoadedTapeAndHearsEveryChange)
{
    addTape(QStringLiteral("Older take"), QDateTime(QDate(2011, 1, 2), QTime(9, 0)), 2.0);
    addTape(QStringLiteral("Band rehearsal"), QDateTime(QDate(2012, 3, 4), QTime(10, 15)), 6.0);
    WindowController& deck = openDeck();
    MprisService service(deck);
    ASSERT_TRUE(service.registerOnBus(mBus.connect(QStringLiteral("deck"))));
    EXPECT_EQ(service.registeredName(), QString::fromLatin1(MprisService::serviceName));
    // A second deck takes a name of its own.
    MprisService second(deck);
    ASSERT_TRUE(second.registerOnBus(mBus.connect(QStringLiteral("second"))));
    EXPECT_TRUE(second.registeredName().startsWith(QString::fromLatin1(MprisService::serviceName) +
                                                   QStringLiteral(".instance")));
    RemoteControl remote(mBus.connect(QStringLiteral("remote")), service.registeredName());

    const QVariantMap metadata = qdbus_cast<QVariantMap>(remote.property(QStringLiteral("Metadata")));
    EXPECT_EQ(metadata.value(QStringLiteral("xesam:title")).toString(), QStringLiteral("Band rehearsal"));
    EXPECT_NEAR(metadata.value(QStringLiteral("mpris:length")).toLongLong() / 1e6, 6.0, 0.1);
    EXPECT_EQ(remote.property(QStringLiteral("PlaybackStatus")).toString(), QStringLiteral("Stopped"));

    ASSERT_TRUE(remote.call(QStringLiteral("Play")));
    EXPECT_EQ(state(), TransportState::Playing);
    ASSERT_TRUE(waitFor([&] { return remote.property(QStringLiteral("Position")).toLongLong() > 200000; }));

    ASSERT_TRUE(remote.call(QStringLiteral("PlayPause")));
    EXPECT_EQ(state(), TransportState::Paused);
    ASSERT_TRUE(remote.call(QStringLiteral("Play")));
    EXPECT_EQ(state(), TransportState::Playing);
    ASSERT_TRUE(remote.call(QStringLiteral("Stop")));
    EXPECT_EQ(state(), TransportState::TapeStopped);
    ASSERT_TRUE(waitFor([&] { return remote.announcedStatuses.size() >= 4; }));
    EXPECT_EQ(remote.announcedStatuses, (QStringList{QStringLiteral("Playing"), QStringLiteral("Paused"),
                                                     QStringLiteral("Playing"), QStringLiteral("Stopped")}));

    // The library is the play list: Previous goes to the older tape.
    ASSERT_TRUE(remote.call(QStringLiteral("Previous")));
    ASSERT_TRUE(waitFor([&] { return deck.selectedTape()->title() == QLatin1String("Older take"); }));
    EXPECT_EQ(qdbus_cast<QVariantMap>(remote.property(QStringLiteral("Metadata")))
                  .value(QStringLiteral("xesam:title"))
                  .toString(),
              QStringLiteral("Older take"));
}

} // namespace

#include "MprisServiceTest.moc"
