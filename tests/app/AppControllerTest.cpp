#include "app/AppController.h"

#include "app/AboutWindow.h"
#include "app/PreferencesController.h"
#include "app/UserDefaults.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"
#include "tapes/TapeLibraryArrayController.h"
#include "tapes/TapeTestFiles.h"
#include "update/Updater.h"

#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

QMap<QString, QString> mailFields(const QUrl& url)
{
    // Decoded as a mail program decodes them: each field percent-decoded on its own.
    QMap<QString, QString> fields;
    const QByteArray encoded = url.toEncoded();
    const int question = encoded.indexOf('?');
    fields.insert(QStringLiteral("to"),
                  QString::fromUtf8(QByteArray::fromPercentEncoding(encoded.mid(7, question - 7))));
    for (const QByteArray& pair : encoded.mid(question + 1).split('&')) {
        const int equals = pair.indexOf('=');
        fields.insert(QString::fromLatin1(pair.left(equals)),
                      QString::fromUtf8(QByteArray::fromPercentEncoding(pair.mid(equals + 1))));
    }
    return fields;
}

TEST(AppControllerFeedbackTest, TheMailKeepsItsSpacesAndLineBreaks)
{
    const QUrl url = AppController::feedbackMailURL(QStringLiteral("feedback@spindrel.test"));
    EXPECT_TRUE(url.toEncoded().startsWith("mailto:feedback@spindrel.test?SUBJECT="));
    EXPECT_FALSE(url.toEncoded().contains(' '));
    EXPECT_FALSE(url.toEncoded().contains('\n'));
    const auto fields = mailFields(url);
    EXPECT_EQ(fields.value(QStringLiteral("to")), QStringLiteral("feedback@spindrel.test"));
    EXPECT_EQ(fields.value(QStringLiteral("SUBJECT")),
              QStringLiteral("Spindrel Feedback: (Enter title here)"));
    const QString body = fields.value(QStringLiteral("BODY"));
    EXPECT_TRUE(body.startsWith(
        QStringLiteral("Here's how I feel about Spindrel:\n\n\n--\n(I'm using Spindrel version ") +
        AppController::versionText() + QStringLiteral(" with ")))
        << body.toStdString();
    EXPECT_TRUE(body.endsWith(QStringLiteral(".)\n")));
    EXPECT_TRUE(body.contains(AppController::currentSystemVersionString()));
}

TEST(AppControllerFeedbackTest, TheVersionReadsAsVersionAndBuild)
{
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d+\\.\\d+\\.\\d+ \\(\\d+\\)$"))
                    .match(AppController::versionText())
                    .hasMatch())
        << AppController::versionText().toStdString();
}

class AppControllerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qputenv("XDG_DATA_HOME", mFolder.filePath(QStringLiteral("data")).toLocal8Bit());
        mDefaults = std::make_unique<UserDefaults>(std::make_unique<QSettings>(
            mFolder.filePath(QStringLiteral("defaults.conf")), QSettings::IniFormat));
        mPreferences = std::make_unique<PreferencesController>(*mDefaults, library());
        mApp = std::make_unique<AppController>(mPreferences.get());
        mApp->applicationDidFinishLaunching();
    }

    void TearDown() override { mApp->windowController()->window()->close(); }

    QString library() const { return mFolder.filePath(QStringLiteral("Library")); }

    QTemporaryDir mFolder;
    std::unique_ptr<UserDefaults> mDefaults;
    std::unique_ptr<PreferencesController> mPreferences;
    std::unique_ptr<AppController> mApp;
};

TEST_F(AppControllerTest, TheDeckOpensOnTheLibraryWithItsWelcomeTape)
{
    EXPECT_EQ(mApp->soundFilePath(), library());
    EXPECT_EQ(mApp->soundFileURL(), QUrl::fromLocalFile(library()));
    WindowController* deck = mApp->windowController();
    ASSERT_NE(deck, nullptr);
    EXPECT_TRUE(deck->window()->isVisible());
    ASSERT_EQ(deck->library().content().size(), 1);
    EXPECT_EQ(QFileInfo(deck->library().content().first()->filename()).fileName(),
              QStringLiteral("sp-welcome.m4a"));
    EXPECT_EQ(deck->selectedTape(), deck->library().content().first());
    ASSERT_NE(mApp->tapeMenu(), nullptr);
    QStringList items;
    for (QAction* item : mApp->tapeMenu()->actions())
        items << item->text();
    EXPECT_TRUE(items.contains(QStringLiteral("Reveal Tape in Finder")));
    EXPECT_TRUE(items.contains(QStringLiteral("Move Tape to Trash")));
}

TEST_F(AppControllerTest, FilesHandedToTheApplicationArriveInTheLibrary)
{
    const QString outside = mFolder.filePath(QStringLiteral("Dropped take.m4a"));
    ASSERT_TRUE(test::makeTapeFile(outside));
    mApp->openFiles({outside});
    EXPECT_TRUE(QFileInfo::exists(library() + QStringLiteral("/Dropped take.m4a")));
    EXPECT_TRUE(QFileInfo::exists(outside));
    WindowController* deck = mApp->windowController();
    EXPECT_TRUE(QTest::qWaitFor([deck] { return deck->library().content().size() == 2; }, 5000));
}

TEST_F(AppControllerTest, CheckForUpdatesIsInTheMenuButTheFirstLaunchesDoNotCheckAtStart)
{
    if (!Updater::isAvailable())
        GTEST_SKIP() << "built without the update check";
    Updater* updater = mApp->sparkleUpdater();
    ASSERT_NE(updater, nullptr);
    EXPECT_FALSE(updater->isChecking());
    QAction* item = mApp->checkForUpdatesMenuItem();
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->isVisible());
    EXPECT_EQ(item->text(), QStringLiteral("Check for Updates…"));

    // Nothing listens on port 9 here, so the user's check must come back with a failure.
    updater->setPresentsAlerts(false);
    updater->setFeedURL(QUrl(QStringLiteral("http://127.0.0.1:9/appcast.xml")));
    QSignalSpy failed(updater, &Updater::checkFailed);
    item->trigger();
    EXPECT_TRUE(updater->isChecking());
    EXPECT_TRUE(failed.wait(5000));
}

TEST_F(AppControllerTest, TheAboutBoxShowsTheVersion)
{
    mApp->showAbout();
    ASSERT_NE(mApp->aboutWindow(), nullptr);
    EXPECT_TRUE(mApp->aboutWindow()->isVisible());
    EXPECT_TRUE(mApp->aboutWindow()->versionString().contains(AppController::versionText()));
    AboutWindow* first = mApp->aboutWindow();
    mApp->showAbout();
    EXPECT_EQ(mApp->aboutWindow(), first) << "made once";
}

} // namespace
