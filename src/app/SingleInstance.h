#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

namespace spindrel {

/// One deck per session: the first launch holds a name on the session bus, and later launches hand
/// their files (or, without files, a request to raise the deck) to it instead of opening a deck.
class SingleInstance : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.spindrel.Spindrel")

public:
    static constexpr const char* serviceName = "org.spindrel.Spindrel";
    static constexpr const char* objectPath = "/org/spindrel/Spindrel";
    static constexpr const char* interfaceName = "org.spindrel.Spindrel";

    explicit SingleInstance(QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Takes the name on `bus` for this process. False when another process holds it (or the bus
    /// refuses), in which case nothing is left registered.
    bool registerOnBus(QDBusConnection bus);
    bool isRegistered() const { return !mRegisteredName.isEmpty(); }

    /// Hands `paths` (absolute) to the process holding the name on `bus`; with none, asks it to raise
    /// its window. False when no process answered within `timeoutMs`.
    static bool handOver(QDBusConnection bus, const QStringList& paths, int timeoutMs = 25000);

    /// Requests that came before this call are delivered now; later ones as they come.
    void acceptRequests();

public Q_SLOTS:
    /// Files or file URLs to import; the deck also comes to the front.
    Q_SCRIPTABLE void Open(const QStringList& paths);
    Q_SCRIPTABLE void Raise();

Q_SIGNALS:
    void openRequested(const QStringList& paths);
    void raiseRequested();

private:
    QDBusConnection mBus;
    QString mRegisteredName;
    bool mAccepting = false;
    QList<QStringList> mPendingOpens;
    bool mPendingRaise = false;
};

} // namespace spindrel
