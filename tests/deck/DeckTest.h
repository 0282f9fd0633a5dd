#pragma once

#include "QtPrinters.h"
#include "TestPreferences.h"
#include "audio/VORLExtendedAudioFilePlayer.h"
#include "audio/VORLExtendedAudioFileRecorder.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"

#include <QApplication>
#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace spindrel {

inline void PrintTo(TransportState state, std::ostream* out)
{
    static const char* const names[] = {"Idle",   "TapeStopped", "Playing",   "FastForwarding", "Rewinding",
                                        "Cueing", "Reviewing",   "Recording", "Paused"};
    const int index = int(state);
    *out << (index >= 0 && index < 9 ? names[index] : "?");
}

} // namespace spindrel

namespace spindrel::test {

/// The window of type T named `name` among the application's top-level ones, or null: the deck's
/// dialogs have no parent to find them by.
template <typename T> T* topLevelWidget(const QString& name)
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* found = qobject_cast<T*>(widget); found && found->objectName() == name)
            return found;
    }
    return nullptr;
}

/// A deck over a library folder of its own, with the sound server's test devices: what plays
/// into the sink "mic" is what the deck records.
class DeckTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Makes the deck, shows it and connects it as the application does at launch.
    WindowController& openDeck();
    void closeDeck() { mDeck->window()->close(); }

    /// A tape file in the library with this title and date, `seconds` long.
    QString addTape(const QString& title, const QDateTime& date, double seconds = 2.0,
                    const QString& notes = QString());

    /// Plays a 440 Hz tone of `seconds` into the recording input.
    void feedTone(double seconds);
    TransportState state() const { return mDeck->transportState(); }
    /// Turns the event loop until `condition` holds; false after `timeoutMs`.
    static bool waitFor(const std::function<bool()>& condition, int timeoutMs = 20000);
    void clickSegment(TransportButton button);
    QStringList libraryFiles() const;

    QTemporaryDir mFolder;
    QString mLibraryPath;
    std::unique_ptr<TestPreferences> mPreferences;
    std::unique_ptr<WindowController> mDeck;
    std::unique_ptr<QProcess> mTone;
};

} // namespace spindrel::test
