#include "deck/DeckInputMeter.h"

#include "audio/VORLAudioHardware.h"
#include "audio/VORLAudioInputMeter.h"
#include "deck/DeckPreferences.h"
#include "foundation/Log.h"
#include "hud/HUDView.h"

#include <QTimer>

namespace spindrel {

namespace {
constexpr double kFloorDecibels = -100.0;
// Fifteen times a second, like the rest of the HUD.
constexpr int kRefreshMs = 67;
} // namespace

DeckInputMeter::DeckInputMeter(DeckPreferences& preferences, HUDView& hud, QObject* parent)
    : QObject(parent), mPreferences(preferences), mHUD(hud)
{
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    connect(hardware, &VORLAudioHardware::defaultInputDeviceDidChange, this, &DeckInputMeter::devicesChanged);
    connect(hardware, &VORLAudioHardware::deviceListDidChange, this, &DeckInputMeter::devicesChanged);
    connect(hardware, &VORLAudioHardware::defaultInputDeviceSampleRateDidChange, this,
            &DeckInputMeter::restart);
    connect(&preferences, &DeckPreferences::recordDeviceChangedNotification, this,
            &DeckInputMeter::recordDeviceChanged);
    connect(&preferences, &DeckPreferences::recordDeviceChannelsChangedNotification, this,
            &DeckInputMeter::recordDeviceChanged);
}

DeckInputMeter::~DeckInputMeter()
{
    if (mMeter)
        mMeter->stop();
}

void DeckInputMeter::start()
{
    if (VORLAudioHardware::sharedInstance()->serverState() != VORLAudioHardware::ServerState::Running)
        return;
    try {
        mMeter = std::make_unique<VORLAudioInputMeter>(mPreferences.recordingAudioDevice(),
                                                       mPreferences.recordingAudioDeviceChannels());
        mMeter->start();
    } catch (const std::exception& exception) {
        mMeter.reset();
        logError(
            QStringLiteral("DeckInputMeter"),
            QStringLiteral("Could not meter the input: %1").arg(QString::fromLocal8Bit(exception.what())));
        return;
    }
    delete mTimer;
    mTimer = new QTimer(this);
    mTimer->setTimerType(Qt::PreciseTimer);
    mTimer->setInterval(kRefreshMs);
    connect(mTimer, &QTimer::timeout, this, &DeckInputMeter::update);
    mTimer->start();
}

void DeckInputMeter::stop()
{
    delete mTimer;
    mTimer = nullptr;
    if (mMeter)
        mMeter->stop();
    mMeter.reset();
    mHUD.setLevels(kFloorDecibels, kFloorDecibels);
}

void DeckInputMeter::shutDown()
{
    disconnect(VORLAudioHardware::sharedInstance(), nullptr, this, nullptr);
    disconnect(&mPreferences, nullptr, this, nullptr);
    stop();
}

void DeckInputMeter::restart()
{
    stop();
    start();
}

void DeckInputMeter::devicesChanged()
{
    mPreferences.checkDefaultAudioDevices();
    restart();
}

void DeckInputMeter::recordDeviceChanged()
{
    restart();
    // Setting the HUD to mono also stores the choice, through the HUD's observation.
    if (mHUD.stereo() && !mPreferences.recordingAudioDevice().canRecordStereo())
        mHUD.setStereo(false);
}

void DeckInputMeter::update()
{
    if (!mMeter)
        return;
    const auto [left, right] = mMeter->levels();
    mHUD.setLevels(left, right);
}

} // namespace spindrel
