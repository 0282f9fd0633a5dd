#pragma once

#include "SMC/SMCFSMContext.h"
#include "SMC/SMCState.h"
#include "SMC/WindowControllerOwner.h"

#include <QString>
#include <functional>
#include <string>
#include <vector>

namespace spindrel::test {

/// A deck stand-in that logs every call as text, e.g. "setPlaybackSpeed(-8)".
class RecordingOwner : public WindowControllerOwner
{
public:
    std::vector<std::string> calls;
    bool selectable = true; // what canSelectTape answers
    // Runs after each call is logged (to throw or feed events back).
    std::function<void(const std::string&)> onCall;

    void clearButtons() override { note("clearButtons"); }
    void setSelectedButton(TransportButton button) override { note("setSelectedButton", int(button)); }
    void clearSelectedButton(TransportButton button) override { note("clearSelectedButton", int(button)); }
    void playSoundEffect(SoundEffect sound) override { note("playSoundEffect", int(sound)); }
    void stopSoundEffect(SoundEffect sound) override { note("stopSoundEffect", int(sound)); }
    bool canSelectTape() override
    {
        note("canSelectTape");
        return selectable;
    }
    void selectCurrentTape() override { note("selectCurrentTape"); }
    void clearSelectedTape() override { note("clearSelectedTape"); }
    void createTapePlayer() override { note("createTapePlayer"); }
    void destroyTapePlayer() override { note("destroyTapePlayer"); }
    void clearCurrentTime() override { note("clearCurrentTime"); }
    void startPlayingAudio() override { note("startPlayingAudio"); }
    void stopPlayingAudio() override { note("stopPlayingAudio"); }
    void muteAudio() override { note("muteAudio"); }
    void unmuteAudio() override { note("unmuteAudio"); }
    void setPlaybackSpeed(double speed) override
    {
        note("setPlaybackSpeed(" + QString::number(speed).toStdString() + ")");
    }
    void startRecordingAudio() override { note("startRecordingAudio"); }
    void pauseRecordingAudio() override { note("pauseRecordingAudio"); }
    void resumeRecordingAudio() override { note("resumeRecordingAudio"); }
    void stopRecordingAudio() override { note("stopRecordingAudio"); }
    void startHUDUpdates() override { note("startHUDUpdates"); }
    void stopHUDUpdates() override { note("stopHUDUpdates"); }
    void startPlayAnimation() override { note("startPlayAnimation"); }
    void stopPlayAnimation() override { note("stopPlayAnimation"); }
    void playInsertionAnimation() override { note("playInsertionAnimation"); }
    void playRemovalAnimation() override { note("playRemovalAnimation"); }

private:
    void note(const std::string& call)
    {
        calls.push_back(call);
        if (onCall)
            onCall(call);
    }
    void note(const std::string& name, int argument) { note(name + "(" + std::to_string(argument) + ")"); }
};

/// The context's stack as short state names, bottom first, ending with the current state.
inline std::vector<std::string> stackShape(const SMCFSMContext& context)
{
    std::vector<std::string> shape;
    for (const SMCStateEntry* entry = context.stateStack(); entry; entry = entry->next())
        shape.insert(shape.begin(), entry->state()->name().toStdString());
    shape.push_back(context.state() ? context.state()->name().toStdString() : "(none)");
    for (std::string& name : shape)
        if (name.rfind("TapeMap::", 0) == 0)
            name.erase(0, 9);
    return shape;
}

} // namespace spindrel::test
