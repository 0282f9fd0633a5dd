#pragma once

#include <QList>
#include <QObject>
#include <memory>

namespace spindrel {

class DeckPreferences;
class VORLAudioPlaythroughManager;

/// Keeps the input playing through to the output while the user has asked for it, on the
/// devices and channels of the preferences; any change of them makes the play-through anew.
class SpindrelSoftwarePlayThroughManager : public QObject
{
    Q_OBJECT

public:
    /// Starts play-through at once when the preference is on.
    explicit SpindrelSoftwarePlayThroughManager(DeckPreferences& preferences, QObject* parent = nullptr);
    ~SpindrelSoftwarePlayThroughManager() override;

    bool softwarePlaythroughEnabled() const;
    QString recordAudioDeviceUID() const;
    QString playbackAudioDeviceUID() const;
    QList<int> recordDeviceChannels() const;

    /// The play-through now running, if any.
    VORLAudioPlaythroughManager* playthroughManager() const { return mPlaythroughManager.get(); }

private:
    void _rebuildPlaythroughManager();

    DeckPreferences& mPreferences;
    std::unique_ptr<VORLAudioPlaythroughManager> mPlaythroughManager;
};

} // namespace spindrel
