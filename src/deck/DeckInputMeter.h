#pragma once

#include <QObject>
#include <memory>

class QTimer;

namespace spindrel {

class DeckPreferences;
class HUDView;
class VORLAudioInputMeter;

/// The HUD's input levels: meters the recording device the preferences name, and is made anew
/// when the devices, the default input or the user's choice change. Without a sound server there
/// is nothing to meter; the levels rest at the floor.
class DeckInputMeter : public QObject
{
    Q_OBJECT

public:
    DeckInputMeter(DeckPreferences& preferences, HUDView& hud, QObject* parent = nullptr);
    ~DeckInputMeter() override;

    /// Meters the chosen device, unless the server is away.
    void start();
    /// Lets go of the device; the levels rest at the floor.
    void stop();
    /// Follows the hardware and the preferences no more, and stops.
    void shutDown();

    VORLAudioInputMeter* meter() const { return mMeter.get(); }
    bool isMetering() const { return mTimer != nullptr; }

private:
    void restart();
    void devicesChanged();
    void recordDeviceChanged();
    void update();

    DeckPreferences& mPreferences;
    HUDView& mHUD;
    std::unique_ptr<VORLAudioInputMeter> mMeter;
    QTimer* mTimer = nullptr;
};

} // namespace spindrel
