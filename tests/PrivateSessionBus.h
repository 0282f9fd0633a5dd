#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>

namespace spindrel::test {

/// A session bus of one test's own, so that nothing on the desktop answers or listens.
class PrivateSessionBus
{
public:
    PrivateSessionBus()
    {
        mDaemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                      QStringLiteral("--print-address")});
        if (mDaemon.waitForStarted(5000))
            for (int i = 0; i < 50 && !mDaemon.canReadLine(); ++i)
                mDaemon.waitForReadyRead(100);
        mAddress = QString::fromUtf8(mDaemon.readLine()).trimmed();
    }
    ~PrivateSessionBus()
    {
        for (const QString& name : mNames)
            QDBusConnection::disconnectFromBus(name);
        mDaemon.terminate();
        mDaemon.waitForFinished(5000);
    }
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    bool isRunning() const { return !mAddress.isEmpty(); }
    /// Where other processes find the bus (their DBUS_SESSION_BUS_ADDRESS).
    QString address() const { return mAddress; }
    /// A new connection to the bus under the connection name `name`.
    QDBusConnection connect(const QString& name)
    {
        mNames << name;
        return QDBusConnection::connectToBus(mAddress, name);
    }

private:
    QProcess mDaemon;
    QString mAddress;
    QStringList mNames;
};

} // namespace spindrel::test
