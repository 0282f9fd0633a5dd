#include "deck/MprisService.h"

#include "audio/VORLExtendedAudioFilePlayer.h"
#include "deck/MprisPlayerAdaptor.h"
#include "deck/MprisRootAdaptor.h"
#include "deck/WindowController.h"
#include "foundation/Log.h"
#include "hud/HUDView.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QUrl>

namespace spindrel {

namespace {
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
} // namespace

MprisService::MprisService(WindowController& deck, QObject* parent)
    : QObject(parent), mDeck(deck), mBus(QString())
{
    new MprisRootAdaptor(*this);
    new MprisPlayerAdaptor(*this);
    connect(&mDeck, &WindowController::transportStateChanged, this, &MprisService::announceChanges);
    connect(&mDeck, &WindowController::selectedTapeChanged, this, &MprisService::announceChanges);
    connect(mDeck.hudView(), &HUDView::volumeChanged, this, &MprisService::announceChanges);
}

MprisService::~MprisService()
{
    if (!mRegisteredName.isEmpty()) {
        mBus.unregisterObject(QString::fromLatin1(objectPath));
        mBus.unregisterService(mRegisteredName);
    }
}

bool MprisService::registerOnBus(QDBusConnection bus)
{
    if (!bus.isConnected())
        return false;
    if (!bus.registerObject(QString::fromLatin1(objectPath), this, QDBusConnection::ExportAdaptors))
        return false;
    const QString name = QString::fromLatin1(serviceName);
    const QString unique = name + QStringLiteral(".instance%1").arg(QCoreApplication::applicationPid());
    for (const QString& candidate : {name, unique}) {
        if (bus.registerService(candidate)) {
            mBus = bus;
            mRegisteredName = candidate;
            mAnnounced = {{QStringLiteral("PlaybackStatus"), playbackStatus()},
                          {QStringLiteral("Metadata"), metadata()}};
            return true;
        }
    }
    bus.unregisterObject(QString::fromLatin1(objectPath));
    logError(logSourceName(__FILE__), QStringLiteral("the session bus refused the media player's name"));
    return false;
}

QString MprisService::playbackStatus() const
{
    switch (mDeck.transportState()) {
    case TransportState::Paused:
        return QStringLiteral("Paused");
    case TransportState::Playing:
    case TransportState::Cueing:
    case TransportState::Reviewing:
        return QStringLiteral("Playing");
    default:
        return QStringLiteral("Stopped");
    }
}

bool MprisService::hasTape() const
{
    return mDeck.selectedTape() && !mDeck.selectedTape()->filename().isEmpty();
}

QVariantMap MprisService::metadata() const
{
    if (!hasTape())
        return {{QStringLiteral("mpris:trackid"), QVariant::fromValue(QDBusObjectPath(QStringLiteral(
                                                      "/org/mpris/MediaPlayer2/TrackList/NoTrack")))}};
    const TapePtr& tape = mDeck.selectedTape();
    // The path names the file, so a track id stays the same for as long as the tape does.
    const QByteArray digest =
        QCryptographicHash::hash(tape->filename().toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
    QVariantMap values{
        {QStringLiteral("mpris:trackid"),
         QVariant::fromValue(
             QDBusObjectPath(QStringLiteral("/io/spindrel/Tape/") + QString::fromLatin1(digest)))},
        {QStringLiteral("mpris:length"), qlonglong(tape->duration() * 1e6)},
        {QStringLiteral("xesam:title"), tape->title()},
        {QStringLiteral("xesam:url"), QUrl::fromLocalFile(tape->filename()).toString()},
    };
    if (!tape->artist().isEmpty())
        values.insert(QStringLiteral("xesam:artist"), QStringList{tape->artist()});
    if (tape->date().isValid())
        values.insert(QStringLiteral("xesam:contentCreated"), tape->date().toString(Qt::ISODate));
    return values;
}

qint64 MprisService::position() const
{
    const VORLExtendedAudioFilePlayer* player = mDeck.audioFilePlayer();
    return player ? qint64(player->currentTime() * 1000.0) : 0;
}

void MprisService::announceChanges()
{
    if (mRegisteredName.isEmpty())
        return;
    const auto* player = findChild<MprisPlayerAdaptor*>();
    const QVariantMap now{{QStringLiteral("PlaybackStatus"), playbackStatus()},
                          {QStringLiteral("Metadata"), metadata()},
                          {QStringLiteral("Volume"), player->volume()},
                          {QStringLiteral("CanPlay"), hasTape()}};
    QVariantMap changed;
    for (auto it = now.cbegin(); it != now.cend(); ++it)
        if (mAnnounced.value(it.key()) != it.value())
            changed.insert(it.key(), it.value());
    if (changed.isEmpty())
        return;
    mAnnounced = now;
    QDBusMessage signal = QDBusMessage::createSignal(QString::fromLatin1(objectPath),
                                                     QStringLiteral("org.freedesktop.DBus.Properties"),
                                                     QStringLiteral("PropertiesChanged"));
    signal << playerInterface << changed << QStringList();
    mBus.send(signal);
}

} // namespace spindrel
