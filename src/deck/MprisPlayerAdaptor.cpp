#include "deck/MprisPlayerAdaptor.h"

#include "audio/VORLExtendedAudioFilePlayer.h"
#include "deck/MprisService.h"
#include "deck/WindowController.h"
#include "hud/HUDView.h"

#include <QUrl>
#include <algorithm>

namespace spindrel {

namespace {
// The HUD's volume wedge spans 30 dB; the bus speaks of 0 to 1.
constexpr double volumeRangeDB = 30.0;
} // namespace

MprisPlayerAdaptor::MprisPlayerAdaptor(MprisService& service)
    : QDBusAbstractAdaptor(&service), mService(service)
{
}

QString MprisPlayerAdaptor::playbackStatus() const
{
    return mService.playbackStatus();
}

QVariantMap MprisPlayerAdaptor::metadata() const
{
    return mService.metadata();
}

double MprisPlayerAdaptor::volume() const
{
    return std::clamp(1.0 + mService.deck().hudView()->volume() / volumeRangeDB, 0.0, 1.0);
}

void MprisPlayerAdaptor::setVolume(double volume)
{
    mService.deck().hudView()->setVolume((std::clamp(volume, 0.0, 1.0) - 1.0) * volumeRangeDB);
}

qlonglong MprisPlayerAdaptor::position() const
{
    return mService.position();
}

bool MprisPlayerAdaptor::hasTape() const
{
    return mService.hasTape();
}

void MprisPlayerAdaptor::Play()
{
    const QString status = playbackStatus();
    if (status == QLatin1String("Paused"))
        mService.deck().pauseTape();
    else if (status == QLatin1String("Stopped"))
        mService.deck().playTape();
}

void MprisPlayerAdaptor::Pause()
{
    if (playbackStatus() == QLatin1String("Playing"))
        mService.deck().pauseTape();
}

void MprisPlayerAdaptor::PlayPause()
{
    if (playbackStatus() == QLatin1String("Playing"))
        Pause();
    else
        Play();
}

void MprisPlayerAdaptor::Stop()
{
    if (playbackStatus() != QLatin1String("Stopped"))
        mService.deck().stopTape();
}

void MprisPlayerAdaptor::Next()
{
    mService.deck().nextTape();
}

void MprisPlayerAdaptor::Previous()
{
    mService.deck().previousTape();
}

void MprisPlayerAdaptor::Seek(qlonglong offset)
{
    seekTo(position() + offset);
}

void MprisPlayerAdaptor::SetPosition(const QDBusObjectPath& trackId, qlonglong position)
{
    // A request meant for a tape that is no longer loaded is stale and ignored.
    if (trackId.path() !=
        mService.metadata().value(QStringLiteral("mpris:trackid")).value<QDBusObjectPath>().path())
        return;
    seekTo(position);
}

void MprisPlayerAdaptor::OpenUri(const QString& uri)
{
    const QUrl url(uri);
    if (url.isLocalFile())
        mService.deck().importTapesIntoLibrary({url});
}

void MprisPlayerAdaptor::seekTo(qlonglong microseconds)
{
    if (!mService.deck().audioFilePlayer())
        return;
    const double length = mService.metadata().value(QStringLiteral("mpris:length")).toDouble();
    const double clamped = std::clamp(double(microseconds), 0.0, length);
    // Through the HUD, as a click on the position bar would, so the display follows.
    mService.deck().hudView()->setPosition(clamped / 1000.0);
    Q_EMIT Seeked(position());
}

} // namespace spindrel
