#include "deck/PlaybackSession.h"

#include "audio/VORLExtendedAudioFilePlayer.h"
#include "foundation/Log.h"

namespace spindrel {

PlaybackSession::PlaybackSession(QObject* parent) : QObject(parent) {}

PlaybackSession::~PlaybackSession() = default;

bool PlaybackSession::open(const QString& filename, const VORLAudioDevice& device, double volume)
{
    close();
    // A damaged or foreign file must never take the deck down: it simply does not play.
    try {
        mPlayer = std::make_unique<VORLExtendedAudioFilePlayer>(filename, device);
    } catch (const std::exception& exception) {
        logError(QStringLiteral("PlaybackSession"),
                 QStringLiteral("%1 cannot be played: %2")
                     .arg(filename, QString::fromLocal8Bit(exception.what())));
        return false;
    }
    mPlayer->setPlaybackVolume(volume);
    connect(mPlayer.get(), &VORLExtendedAudioFilePlayer::audioFilePlayerDidReachEndOfFile, this,
            &PlaybackSession::reachedEnd);
    connect(
        mPlayer.get(), &VORLExtendedAudioFilePlayer::audioFilePlayerDidFail, this,
        [this](VORLExtendedAudioFilePlayer* player) { Q_EMIT outputLost(player->device().deviceName()); });
    return true;
}

void PlaybackSession::close()
{
    if (mPlayer)
        disconnect(mPlayer.get(), nullptr, this, nullptr);
    mPlayer.reset();
}

bool PlaybackSession::start(QString* error)
{
    if (!mPlayer || mPlayer->startFilePlaying())
        return true;
    if (error)
        *error = mPlayer->errorString();
    return false;
}

void PlaybackSession::stop()
{
    if (mPlayer)
        mPlayer->stopFilePlaying();
}

void PlaybackSession::mute()
{
    if (mPlayer)
        mPlayer->setPlaybackLevel(0.0);
}

void PlaybackSession::setVolume(double decibels)
{
    if (mPlayer)
        mPlayer->setPlaybackVolume(decibels);
}

void PlaybackSession::setSpeed(double speed)
{
    if (mPlayer)
        mPlayer->setPlaybackSpeed(speed);
}

void PlaybackSession::seek(double milliseconds)
{
    if (mPlayer)
        mPlayer->setCurrentTime(milliseconds);
}

double PlaybackSession::currentTime() const
{
    return mPlayer ? mPlayer->currentTime() : 0.0;
}

double PlaybackSession::maxTime() const
{
    return mPlayer ? mPlayer->maxTime() : 0.0;
}

} // namespace spindrel
