#include "DeckTest.h"

#include "audio/AudioTestSupport.h"
#include "deck/DeckWindow.h"
#include "hud/SegmentedTapeButtonView.h"
#include "tapes/Tape.h"
#include "tapes/TapeLibraryArrayController.h"
#include "tapes/TapeTestFiles.h"

#include <QDir>
#include <QTest>

namespace spindrel::test {

void DeckTest::SetUp()
{
    ASSERT_TRUE(mFolder.isValid());
    mLibraryPath = mFolder.filePath(QStringLiteral("Library"));
    ASSERT_TRUE(QDir().mkpath(mLibraryPath));
    mPreferences = std::make_unique<TestPreferences>(mLibraryPath);
}

void DeckTest::TearDown()
{
    mTone.reset();
    if (mDeck)
        mDeck->window()->close();
    mDeck.reset();
}

WindowController& DeckTest::openDeck()
{
    mDeck = std::make_unique<WindowController>(*mPreferences);
    mDeck->showWindow();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(mDeck->window()));
    mDeck->applicationDidFinishLaunching();
    // The library is read in the background; the tests start from a full one.
    EXPECT_TRUE(waitFor([this] { return !mDeck->library().isScanning(); }));
    return *mDeck;
}

QString DeckTest::addTape(const QString& title, const QDateTime& date, double seconds, const QString& notes)
{
    const QString path = mLibraryPath + QLatin1Char('/') + title + QStringLiteral(".m4a");
    EXPECT_TRUE(makeTapeFile(path, {QStringLiteral("LQ"), true, seconds}));
    Tape tape(path);
    tape.setTitle(title);
    tape.setDate(date);
    if (!notes.isNull())
        tape.setNotes(notes);
    tape.commitAttributes();
    return tape.filename();
}

void DeckTest::feedTone(double seconds)
{
    mTone = playIntoInput(mFolder.path(), QStringLiteral("%1 sine 440").arg(seconds));
    ASSERT_TRUE(mTone);
}

bool DeckTest::waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    return QTest::qWaitFor(condition, timeoutMs);
}

void DeckTest::clickSegment(TransportButton button)
{
    SegmentedTapeButtonView* strip = mDeck->buttonView();
    QTest::mouseClick(strip, Qt::LeftButton, {}, strip->rectForSegment(int(button)).center().toPoint());
}

QStringList DeckTest::libraryFiles() const
{
    return QDir(mLibraryPath).entryList({QStringLiteral("*.m4a")}, QDir::Files, QDir::Name);
}

} // namespace spindrel::test
