#pragma once

#include "TestPreferences.h"
#include "deck/WindowController.h"

#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace spindrel::test {

/// A deck over a library folder of its own, with the sound server's test devices: what plays
/// into the sink "mic" is what the deck records.
class DeckTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Makes the deck, shows it and connects it as the application does at launch.
    WindowController& openDeck();
    /// Closes the deck's window, as the user does.
    void closeDeck();

    /// A tape file in the library with this title and date, `seconds` long.
    QString addTape(const QString& title, const QDateTime& date, double seconds = 2.0,
                    const QString& notes = QString());

    /// Plays a 440 Hz tone of `seconds` into the recording input.
    void feedTone(double seconds);
    /// The name of the transport's state ("TapeMap::Playing").
    QString state() const;
    /// Turns the event loop until `condition` holds; false after `timeoutMs`.
    static bool waitFor(const std::function<bool()>& condition, int timeoutMs = 8000);
    /// Presses and releases a transport key with the mouse.
    void clickSegment(int segment);
    /// The .m4a files in the library folder.
    QStringList libraryFiles() const;

    QTemporaryDir mFolder;
    QString mLibraryPath;
    std::unique_ptr<TestPreferences> mPreferences;
    std::unique_ptr<WindowController> mDeck;
    std::unique_ptr<QProcess> mTone;
};

} // namespace spindrel::test

QT_BEGIN_NAMESPACE
// Readable QStrings in test failures.
inline std::ostream& operator<<(std::ostream& out, const QString& text)
{
    return out << text.toStdString();
}
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
QT_END_NAMESPACE
