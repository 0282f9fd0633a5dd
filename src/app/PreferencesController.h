#pragma once

#include "app/PreferencesWindow.h"
#include "deck/DeckPreferences.h"

#include <QPointer>
#include <QVariantMap>
#include <memory>

class QWidget;

namespace spindrel {

class UserDefaults;

/// The user's settings and the preferences window. Registers the defaults and sets up the library
/// folder on first use, answers the deck's questions about devices and channels, and keeps the
/// channel choice consistent with stereo and the chosen device.
class PreferencesController : public DeckPreferences
{
    Q_OBJECT

public:
    /// The one controller over the application's defaults; made (and the defaults registered,
    /// the library folder set up) on first use.
    static PreferencesController& sharedInstance();

    /// A controller over other defaults (tests). Registers the defaults of `libraryPath`'s set-up.
    PreferencesController(UserDefaults& defaults, const QString& libraryPath, QObject* parent = nullptr);
    ~PreferencesController() override;

    /// The first-use registration: sets up the library folder (when `libraryPath` is empty, the
    /// default one), counts the launch and registers every default of the preferences.
    static void registerPreferenceDefaults(UserDefaults& defaults, const QString& libraryPath = {});
    /// The preferences' own defaults, without the library location and the updater's.
    static QVariantMap preferenceDefaults();

    UserDefaults& userDefaults() const { return mDefaults; }

    QVariant defaultsValue(const QString& key) const override;
    void setDefaultsValue(const QString& key, const QVariant& value) override;
    void registerDefaults(const QVariantMap& defaults) override;

    void checkDefaultAudioDevices() override;

    QString tapeLibraryURL() const { return tapeLibraryPath(); }
    void setTapeLibraryURL(const QString& path) { setTapeLibraryPath(path); }

    /// The choices of the channel pop-up for a device with `channelCount` inputs: pairs "1-2",
    /// "3-4"... in stereo (an odd last channel is not offered), single channels in mono.
    struct ChannelChoice
    {
        QString title;
        QList<unsigned> channels;
    };
    static QList<ChannelChoice> channelChoices(unsigned channelCount, bool stereo);
    /// The channel list fitted to stereo or mono: mono keeps the first entry; stereo makes the
    /// pair that holds the first entry.
    static QList<int> channelsForStereo(const QList<int>& channels, bool stereo);

    // Choices of the window's pop-ups; the deck hears of record device and channel changes.
    void recordDeviceChanged(const QString& deviceUID);
    void recordDeviceChannelsChanged(const QList<unsigned>& channels);
    void playbackDeviceChanged(const QString& deviceUID);

    /// Shows the preferences window (made on first use).
    /// Shows the preferences; a window not yet on screen opens centred on `centredOn` when given.
    void showWindow(const QWidget* centredOn = nullptr);
    PreferencesWindow* window() const { return mWindow; }

private:
    /// Keeps the stored channels to a pair in stereo and to one in mono.
    void fitChannelsToStereo();
    /// A new device starts from the default channels.
    void forgetChannels();
    void refreshWindow();

    UserDefaults& mDefaults;
    QPointer<PreferencesWindow> mWindow;
};

} // namespace spindrel
