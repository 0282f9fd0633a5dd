#include "deck/SoundEffectPlayer.h"

#include "audio/VORLAudioDevice.h"
#include "foundation/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace spindrel {

SoundEffectPlayer::SoundEffectPlayer(const QString& name, const QString& filePath, const QString& deviceUID,
                                     QObject* parent)
    : QObject(parent), mName(name), mFilePath(filePath), mDeviceUID(deviceUID)
{
}

SoundEffectPlayer::~SoundEffectPlayer()
{
    if (mPlayer)
        mPlayer->setDelegate(nullptr);
}

QString SoundEffectPlayer::fileForResource(const QString& resourcePath)
{
    QFile resource(resourcePath);
    if (!resource.exists())
        return {};
    // The decoder reads files, not resources: keep a copy beside the user's other caches.
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/sounds");
    const QString path = folder + QLatin1Char('/') + QFileInfo(resourcePath).fileName();
    if (QFileInfo(path).size() == resource.size())
        return path;
    QFile::remove(path);
    if (!QDir().mkpath(folder) || !resource.copy(path)) {
        logError(QStringLiteral("SoundEffectPlayer"),
                 QStringLiteral("could not copy %1 to %2").arg(resourcePath, path));
        return {};
    }
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    return path;
}

bool SoundEffectPlayer::preparePlayer()
{
    if (mPlayer)
        return true;
    if (mUnplayable || mFilePath.isEmpty())
        return false;
    try {
        mPlayer = std::make_unique<VORLExtendedAudioFilePlayer>(mFilePath, VORLAudioDevice(mDeviceUID));
        mPlayer->setDelegate(this);
        return true;
    } catch (const std::exception& exception) {
        mUnplayable = true;
        logError(QStringLiteral("SoundEffectPlayer"),
                 QStringLiteral("%1: %2").arg(mName, QString::fromLocal8Bit(exception.what())));
        return false;
    }
}

void SoundEffectPlayer::play()
{
    if (isPlaying() || !preparePlayer())
        return;
    mPlayer->setCurrentFrame(0);
    if (mPlayer->startFilePlaying())
        ++mStartCount;
}

void SoundEffectPlayer::stop()
{
    if (mPlayer)
        mPlayer->stopFilePlaying();
}

bool SoundEffectPlayer::isPlaying() const
{
    return mPlayer && mPlayer->isFilePlaying();
}

void SoundEffectPlayer::audioFilePlayerDidReachEndOfFile(VORLExtendedAudioFilePlayer* player)
{
    if (!mLoops || player != mPlayer.get())
        return;
    mPlayer->setCurrentFrame(0);
    mPlayer->startFilePlaying();
}

} // namespace spindrel
