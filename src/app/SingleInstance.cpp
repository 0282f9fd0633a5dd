#include "app/SingleInstance.h"

#include "foundation/Log.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QUrl>
#include <utility>

namespace spindrel {

SingleInstance::SingleInstance(QObject* parent) : QObject(parent), mBus(QString()) {}

SingleInstance::~SingleInstance()
{
    if (isRegistered()) {
        mBus.unregisterService(mRegisteredName);
        mBus.unregisterObject(QString::fromLatin1(objectPath));
    }
}

bool SingleInstance::registerOnBus(QDBusConnection bus)
{
    if (!bus.isConnected())
        return false;
    // The object is there before the name, so a call made the moment the name appears finds it.
    if (!bus.registerObject(QString::fromLatin1(objectPath), this, QDBusConnection::ExportScriptableSlots))
        return false;
    // Asking for the name is the test: of two launches at the same moment only one gets it.
    if (!bus.registerService(QString::fromLatin1(serviceName))) {
        bus.unregisterObject(QString::fromLatin1(objectPath));
        return false;
    }
    mBus = bus;
    mRegisteredName = QString::fromLatin1(serviceName);
    return true;
}

bool SingleInstance::handOver(QDBusConnection bus, const QStringList& paths, int timeoutMs)
{
    if (!bus.isConnected())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QString::fromLatin1(serviceName), QString::fromLatin1(objectPath), QString::fromLatin1(interfaceName),
        paths.isEmpty() ? QStringLiteral("Raise") : QStringLiteral("Open"));
    if (!paths.isEmpty())
        call << paths;
    const QDBusMessage reply = bus.call(call, QDBus::Block, timeoutMs);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        logError(logSourceName(__FILE__),
                 QStringLiteral("the running deck did not answer: %1").arg(reply.errorMessage()));
        return false;
    }
    return true;
}

void SingleInstance::acceptRequests()
{
    mAccepting = true;
    const QList<QStringList> opens = std::exchange(mPendingOpens, {});
    const bool raise = std::exchange(mPendingRaise, false);
    for (const QStringList& paths : opens)
        Q_EMIT openRequested(paths);
    if (raise && opens.isEmpty())
        Q_EMIT raiseRequested();
}

void SingleInstance::Open(const QStringList& paths)
{
    QStringList files;
    for (const QString& path : paths) {
        const QUrl url(path);
        files << (url.isLocalFile() ? url.toLocalFile() : path);
    }
    if (!mAccepting)
        mPendingOpens << files;
    else
        Q_EMIT openRequested(files);
}

void SingleInstance::Raise()
{
    if (!mAccepting)
        mPendingRaise = true;
    else
        Q_EMIT raiseRequested();
}

} // namespace spindrel
