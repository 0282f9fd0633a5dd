#pragma once

#include "audio/VORLExtendedAudioFilePlayer.h"

#include <QObject>
#include <QString>
#include <memory>

namespace spindrel {

/// One of the deck's mechanical sounds: a short file played on an output device, from its start
/// each time, optionally looping. The sound's file is opened at its first play.
class SoundEffectPlayer : public QObject, public VORLExtendedAudioFilePlayerDelegate
{
    Q_OBJECT

public:
    /// `filePath` is a sound file on disk; `deviceUID` empty means the default output.
    SoundEffectPlayer(const QString& name, const QString& filePath, const QString& deviceUID,
                      QObject* parent = nullptr);
    ~SoundEffectPlayer() override;

    /// A resource sound (":/sounds/X.wav") as a file the audio layer can open; copied once into
    /// the user's cache. A null string when there is no such resource.
    static QString fileForResource(const QString& resourcePath);

    const QString& name() const { return mName; }
    const QString& filePath() const { return mFilePath; }
    bool loops() const { return mLoops; }
    void setLoops(bool loops) { mLoops = loops; }

    /// Starts the sound from its beginning; a sound still playing is left alone.
    void play();
    void stop();
    bool isPlaying() const;
    /// How many times the sound was started (a loop's repeats not counted).
    int startCount() const { return mStartCount; }

    void audioFilePlayerDidReachEndOfFile(VORLExtendedAudioFilePlayer* player) override;

private:
    bool preparePlayer();

    QString mName;
    QString mFilePath;
    QString mDeviceUID;
    bool mLoops = false;
    bool mUnplayable = false;
    int mStartCount = 0;
    std::unique_ptr<VORLExtendedAudioFilePlayer> mPlayer;
};

} // namespace spindrel
