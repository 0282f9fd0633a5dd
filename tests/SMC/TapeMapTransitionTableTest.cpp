#include "RecordingOwner.h"
#include "SMC/WindowControllerContext.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

using namespace spindrel;
using spindrel::test::RecordingOwner;
using spindrel::test::stackShape;

// Every (state, event) cell of the transport map: the owner calls it makes, in
// order, and the stack it leaves, or the "Default transition" refusal.

namespace {

using Calls = std::vector<std::string>;
using Shape = std::vector<std::string>;

Calls operator+(Calls left, const Calls& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

using Send = std::optional<Error> (WindowControllerContext::*)();
#define EVENT(name) std::pair<const std::string, Send>(#name, &WindowControllerContext::name)
const std::map<std::string, Send> events = {EVENT(ffwdDown),   EVENT(ffwdUp),         EVENT(pauseDown),
                                            EVENT(pauseUp),    EVENT(play),           EVENT(rec),
                                            EVENT(rewindDown), EVENT(rewindUp),       EVENT(stop),
                                            EVENT(tapeChosen), EVENT(windowWillClose)};
#undef EVENT

// How to reach each situation from a fresh context with a selectable tape.
const std::map<std::string, std::vector<std::string>> situations = {
    {"Idle", {}},
    {"TapeStopped", {"tapeChosen"}},
    {"Playing", {"tapeChosen", "play"}},
    {"FastForwarding", {"tapeChosen", "ffwdDown"}},
    {"Rewinding", {"tapeChosen", "rewindDown"}},
    {"Cueing", {"tapeChosen", "play", "ffwdDown"}},
    {"Reviewing", {"tapeChosen", "play", "rewindDown"}},
    {"Recording", {"rec"}},
    {"PausedOverPlaying", {"tapeChosen", "play", "pauseDown"}},
    {"PausedOverRecording", {"rec", "pauseDown"}},
};

// Entry and exit actions of each state, and the actions of the transitions that
// recur.
const Calls tapeStoppedEntry = {"selectCurrentTape", "createTapePlayer", "clearCurrentTime",
                                "playInsertionAnimation"};
const Calls tapeStoppedExit = {"destroyTapePlayer", "playRemovalAnimation", "clearSelectedTape"};
const Calls playingEntry = {"setPlaybackSpeed(1)", "startPlayingAudio", "startHUDUpdates",
                            "startPlayAnimation"};
const Calls playingExit = {"stopPlayingAudio", "stopHUDUpdates", "stopPlayAnimation"};
// Fast-forward and rewind differ only in speed and lit button.
Calls windEntry(const char* speed, const char* button)
{
    return {"playSoundEffect(1)", "playSoundEffect(0)", speed,       button,
            "startHUDUpdates",    "startPlayAnimation", "muteAudio", "startPlayingAudio"};
}
Calls windExit(const char* button)
{
    return {"stopPlayingAudio",   "unmuteAudio",        "stopPlayAnimation",   "stopHUDUpdates",
            "stopSoundEffect(0)", "playSoundEffect(2)", "setPlaybackSpeed(1)", button};
}
const Calls ffwdEntry = windEntry("setPlaybackSpeed(8)", "setSelectedButton(3)");
const Calls ffwdExit = windExit("clearSelectedButton(3)");
const Calls rewindEntry = windEntry("setPlaybackSpeed(-8)", "setSelectedButton(2)");
const Calls rewindExit = windExit("clearSelectedButton(2)");
const Calls cueEntry = {"playSoundEffect(6)", "setPlaybackSpeed(2)", "setSelectedButton(3)"};
const Calls cueExit = {"playSoundEffect(7)", "setPlaybackSpeed(1)", "clearSelectedButton(3)"};
const Calls reviewEntry = {"playSoundEffect(6)", "setPlaybackSpeed(-2)", "setSelectedButton(2)"};
const Calls reviewExit = {"playSoundEffect(7)", "setPlaybackSpeed(1)", "clearSelectedButton(2)"};
const Calls recordingEntry = {"startHUDUpdates", "startRecordingAudio", "playInsertionAnimation",
                              "setPlaybackSpeed(1)", "startPlayAnimation"};
const Calls recordingExit = {"stopHUDUpdates", "stopRecordingAudio", "stopPlayAnimation"};
const Calls pausedEntry = {"stopPlayAnimation", "playSoundEffect(6)", "setSelectedButton(5)"};
const Calls pausedExit = {"startPlayAnimation", "playSoundEffect(7)", "clearSelectedButton(5)"};

const Calls idleRecord =
    Calls{"clearButtons", "setSelectedButton(1)", "setSelectedButton(0)", "playSoundEffect(1)"} +
    recordingEntry;
const Calls idleLoad = Calls{"canSelectTape"} + tapeStoppedEntry;
const Calls startPlaying =
    Calls{"clearButtons", "playSoundEffect(1)", "setSelectedButton(1)", "setPlaybackSpeed(1)"} + playingEntry;
const Calls playingStop = playingExit + Calls{"playSoundEffect(2)", "clearButtons"};
const Calls playingPlay = playingExit + Calls{"clearButtons"};
const Calls playingChosen = playingStop + tapeStoppedExit + idleLoad;

const Shape atIdle = {"Idle"};
const Shape loaded = {"Idle", "TapeStopped"};
const Shape playing = {"Idle", "TapeStopped", "Playing"};
const Shape recording = {"Idle", "Recording"};

struct Cell
{
    std::string from;
    std::string event;
    bool refused = false; // "Default transition"
    Calls calls;
    Shape shape; // empty: unchanged
    bool selectable = true;
};

Cell handled(std::string from, std::string event, Calls calls, Shape shape)
{
    return {std::move(from), std::move(event), false, std::move(calls), std::move(shape)};
}

Cell unselectable(Cell cell)
{
    cell.selectable = false;
    return cell;
}

Cell refused(std::string from, std::string event)
{
    return {std::move(from), std::move(event), true, {}, {}};
}

std::vector<Cell> transitionTable()
{
    std::vector<Cell> cells = {
        handled("Idle", "rec", idleRecord, recording),
        handled("Idle", "tapeChosen", idleLoad, loaded),
        handled("TapeStopped", "play", startPlaying, playing),
        handled("TapeStopped", "ffwdDown", ffwdEntry, {"Idle", "TapeStopped", "FastForwarding"}),
        handled("TapeStopped", "rewindDown", rewindEntry, {"Idle", "TapeStopped", "Rewinding"}),
        handled("TapeStopped", "rec", tapeStoppedExit + idleRecord, recording),
        handled("TapeStopped", "tapeChosen", tapeStoppedExit + idleLoad, loaded),
        handled("Playing", "play", playingPlay, loaded),
        handled("Playing", "stop", playingStop, loaded),
        handled("Playing", "tapeChosen", playingChosen, loaded),
        handled("Playing", "rec", playingExit + tapeStoppedExit + idleRecord, recording),
        handled("Playing", "windowWillClose", playingExit, loaded),
        handled("Playing", "ffwdDown", cueEntry, {"Idle", "TapeStopped", "Playing", "Cueing"}),
        handled("Playing", "rewindDown", reviewEntry, {"Idle", "TapeStopped", "Playing", "Reviewing"}),
        handled("Playing", "pauseDown", Calls{"stopPlayingAudio"} + pausedEntry,
                {"Idle", "TapeStopped", "Playing", "Paused"}),
        handled("Playing", "pauseUp", {"startPlayingAudio"}, playing),
        refused("Playing", "ffwdUp"),
        refused("Playing", "rewindUp"),
        handled("FastForwarding", "ffwdUp", ffwdExit, loaded),
        handled("FastForwarding", "play", ffwdExit + startPlaying, playing),
        handled("FastForwarding", "rewindDown", ffwdExit + rewindEntry, {"Idle", "TapeStopped", "Rewinding"}),
        handled("FastForwarding", "stop", ffwdExit, loaded),
        handled("FastForwarding", "tapeChosen", ffwdExit + tapeStoppedExit + idleLoad, loaded),
        handled("FastForwarding", "windowWillClose", ffwdExit, loaded),
        handled("Rewinding", "rewindUp", rewindExit, loaded),
        handled("Rewinding", "ffwdDown", rewindExit + ffwdEntry, {"Idle", "TapeStopped", "FastForwarding"}),
        handled("Rewinding", "play", rewindExit + startPlaying, playing),
        handled("Rewinding", "stop", rewindExit, loaded),
        handled("Rewinding", "tapeChosen", rewindExit + tapeStoppedExit + idleLoad, loaded),
        handled("Rewinding", "windowWillClose", rewindExit, loaded),
        handled("Cueing", "ffwdUp", cueExit, playing),
        handled("Cueing", "play", cueExit + playingPlay, loaded),
        handled("Cueing", "rewindDown", cueExit + reviewEntry,
                {"Idle", "TapeStopped", "Playing", "Reviewing"}),
        handled("Cueing", "stop", cueExit + playingStop, loaded),
        handled("Cueing", "tapeChosen", cueExit + playingChosen, loaded),
        handled("Cueing", "windowWillClose", cueExit + playingExit, loaded),
        handled("Reviewing", "rewindUp", reviewExit, playing),
        handled("Reviewing", "ffwdDown", reviewExit + cueEntry, {"Idle", "TapeStopped", "Playing", "Cueing"}),
        handled("Reviewing", "play", reviewExit + playingPlay, loaded),
        handled("Reviewing", "stop", reviewExit + playingStop, loaded),
        handled("Reviewing", "tapeChosen", reviewExit + playingChosen, loaded),
        handled("Reviewing", "windowWillClose", reviewExit + playingExit, loaded),
        handled("Recording", "stop", recordingExit + Calls{"clearButtons", "playSoundEffect(2)"} + idleLoad,
                loaded),
        handled("Recording", "pauseDown", Calls{"pauseRecordingAudio"} + pausedEntry,
                {"Idle", "Recording", "Paused"}),
        handled("Recording", "pauseUp", {"resumeRecordingAudio"}, recording),
        handled("Recording", "windowWillClose", recordingExit, atIdle),
        refused("Recording", "ffwdUp"),
        refused("Recording", "rewindUp"),
        handled("PausedOverPlaying", "pauseUp", pausedExit + Calls{"startPlayingAudio"}, playing),
        handled("PausedOverPlaying", "stop", pausedExit + playingStop, loaded),
        handled("PausedOverPlaying", "tapeChosen", pausedExit + playingChosen, loaded),
        handled("PausedOverPlaying", "windowWillClose", pausedExit + playingExit, loaded),
        handled("PausedOverRecording", "pauseUp", pausedExit + Calls{"resumeRecordingAudio"}, recording),
        handled("PausedOverRecording", "stop",
                pausedExit + recordingExit + Calls{"clearButtons", "playSoundEffect(2)"} + idleLoad, loaded),
        // Recording ignores the resent selection change: the pause is released,
        // nothing else.
        handled("PausedOverRecording", "tapeChosen", pausedExit, recording),
        handled("PausedOverRecording", "windowWillClose", pausedExit + recordingExit, atIdle),
    };
    // Every other pair is ignored: no call, no change of stack.
    std::set<std::pair<std::string, std::string>> listed;
    for (const Cell& cell : cells)
        listed.insert({cell.from, cell.event});
    for (const auto& [from, path] : situations)
        for (const auto& [name, send] : events)
            if (!listed.count({from, name}))
                cells.push_back(handled(from, name, {}, {}));

    // The guard of Idle's tapeChosen, met directly and at the end of a recording.
    cells.push_back(unselectable(handled("Idle", "tapeChosen", {"canSelectTape"}, atIdle)));
    cells.push_back(unselectable(
        handled("Recording", "stop",
                recordingExit + Calls{"clearButtons", "playSoundEffect(2)", "canSelectTape"}, atIdle)));
    cells.push_back(unselectable(handled(
        "PausedOverRecording", "stop",
        pausedExit + recordingExit + Calls{"clearButtons", "playSoundEffect(2)", "canSelectTape"}, atIdle)));
    return cells;
}

class TransitionTableTest : public ::testing::TestWithParam<Cell>
{
};

TEST_P(TransitionTableTest, CallsTheOwnerInOrderAndLeavesTheStack)
{
    const Cell& cell = GetParam();
    RecordingOwner owner;
    WindowControllerContext context(owner);
    for (const std::string& step : situations.at(cell.from))
        (context.*events.at(step))();
    const Shape before = stackShape(context);

    owner.calls.clear();
    owner.selectable = cell.selectable;
    const std::optional<Error> refusal = (context.*events.at(cell.event))();
    if (cell.refused) {
        ASSERT_TRUE(refusal.has_value()) << cell.event << " was accepted in " << cell.from;
        EXPECT_EQ(refusal->localizedDescription(), QStringLiteral("Default transition"));
    } else {
        EXPECT_FALSE(refusal.has_value()) << cell.event << " was refused in " << cell.from;
    }
    EXPECT_EQ(owner.calls, cell.calls);
    EXPECT_EQ(stackShape(context), cell.shape.empty() ? before : cell.shape);
    EXPECT_FALSE(context.isInTransition());
}

std::string cellName(const ::testing::TestParamInfo<Cell>& info)
{
    return info.param.from + "_" + info.param.event + (info.param.selectable ? "" : "_NothingSelected");
}

INSTANTIATE_TEST_SUITE_P(TapeMap, TransitionTableTest, ::testing::ValuesIn(transitionTable()), cellName);

} // namespace
