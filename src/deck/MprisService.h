#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

namespace spindrel {

class WindowController;

/// The deck as an MPRIS media player on the session bus, so that media keys and the desktop's
/// sound menu can play, pause and stop the loaded tape and step through the library.
class MprisService : public QObject
{
    Q_OBJECT
public:
    static constexpr const char* objectPath = "/org/mpris/MediaPlayer2";
    static constexpr const char* serviceName = "org.mpris.MediaPlayer2.spindrel";

    explicit MprisService(WindowController& deck, QObject* parent = nullptr);
    ~MprisService() override;

    /// Puts the player on `bus` under the well-known name, or under a name made unique with the
    /// process id when another deck holds it. False when the bus refuses both.
    bool registerOnBus(QDBusConnection bus);
    QString registeredName() const { return mRegisteredName; }

    WindowController& deck() const { return mDeck; }

    /// "Playing", "Paused" or "Stopped", as the transport stands.
    QString playbackStatus() const;
    /// The loaded tape: track id, length in microseconds, title, file URL and date.
    QVariantMap metadata() const;
    /// The play position in microseconds.
    qint64 position() const;
    bool hasTape() const;

private:
    /// Tells the bus about the player properties that changed since the last announcement.
    void announceChanges();

    WindowController& mDeck;
    QDBusConnection mBus;
    QString mRegisteredName;
    QVariantMap mAnnounced;
};

} // namespace spindrel
