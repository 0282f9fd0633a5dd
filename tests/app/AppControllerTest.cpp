#include "app/AppController.h"

#include "LaunchedDeckTest.h"
#include "app/AboutWindow.h"
#include "app/PreferencesWindow.h"
#include "hud/MenuLetters.h"
#include "hud/MenuMnemonics.h"
#include "tapes/TapeLibraryArrayController.h"
#include "update/Updater.h"

#include <QDir>
#include <QFileInfo>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QScopeGuard>
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
    for (const QByteArray& pair : encoded.mid(question + 1).split('&')) {
        const int equals = pair.indexOf('=');
        fields.insert(QString::fromLatin1(pair.left(equals)),
                      QString::fromUtf8(QByteArray::fromPercentEncoding(pair.mid(equals + 1))));
    }
    return fields;
}

class AppControllerTest : public test::LaunchedDeckTest
{
protected:
    void SetUp() override
    {
        qunsetenv("SPINDREL_APPCAST_URL");
        launchDeck();
    }
};

TEST_F(AppControllerTest, TheDeckOpensOnTheLibraryWithItsWelcomeTape)
{
    EXPECT_EQ(mApp->soundFilePath(), library());
    WindowController* deck = mApp->windowController();
    ASSERT_NE(deck, nullptr);
    EXPECT_TRUE(deck->window()->isVisible());
    // The library fills in the background.
    ASSERT_TRUE(QTest::qWaitFor([deck] { return deck->selectedTape() != nullptr; }, 20000));
    ASSERT_EQ(deck->library().content().size(), 1);
    EXPECT_EQ(QFileInfo(deck->library().content().first()->filename()).fileName(),
              QStringLiteral("sp-welcome.m4a"));
    EXPECT_EQ(deck->selectedTape(), deck->library().content().first());
    ASSERT_NE(mApp->tapeMenu(), nullptr);
    QStringList items;
    for (QAction* item : mApp->tapeMenu()->actions())
        items << MenuMnemonics::withoutMnemonic(item->text());
    EXPECT_TRUE(items.contains(QStringLiteral("Move Tape to Trash")));

    // The items of the usual keys, as the menus show them when they open.
    const auto withShortcut = [&](const QKeySequence& keys) {
        QStringList texts;
        for (QAction* menu : deck->window()->menuBar()->actions()) {
            Q_EMIT menu->menu()->aboutToShow();
            for (QAction* item : menu->menu()->actions()) {
                if (item->shortcut() == keys)
                    texts << MenuMnemonics::withoutMnemonic(item->text());
            }
        }
        return texts;
    };
    // The drawer's item says what it will do.
    const QKeySequence drawerKeys(QStringLiteral("Ctrl+T"));
    const QStringList show{QStringLiteral("Show Tapes")}, hide{QStringLiteral("Hide Tapes")};
    const bool disclosed = deck->tapesDisclosed();
    EXPECT_EQ(withShortcut(drawerKeys), disclosed ? hide : show);
    deck->discloseTapes();
    ASSERT_TRUE(QTest::qWaitFor([&] { return deck->tapesDisclosed() != disclosed; }, 15000));
    EXPECT_EQ(withShortcut(drawerKeys), disclosed ? show : hide);
    EXPECT_EQ(withShortcut(QKeySequence(Qt::Key_F2)), QStringList{QStringLiteral("Edit Title")});
    EXPECT_EQ(withShortcut(QKeySequence(QStringLiteral("Ctrl+,"))),
              QStringList{QStringLiteral("Preferences…")});
    // F1 opens the user guide, which a clone or an installed copy has at hand.
    EXPECT_EQ(withShortcut(QKeySequence(QKeySequence::HelpContents)),
              QStringList{QStringLiteral("Spindrel Help")});
    const QUrl guide = AppController::userGuideURL();
    ASSERT_TRUE(guide.isLocalFile()) << guide.toString().toStdString();
    EXPECT_TRUE(QFileInfo(guide.toLocalFile()).isReadable());

    for (QAction* menu : deck->window()->menuBar()->actions())
        test::expectALetterPerItem(menu->menu());
}

TEST_F(AppControllerTest, FeedbackReachesTheDesktopsOpenerWithSubjectAndBodyIntact)
{
    // A stand-in for xdg-open, first on PATH, that writes the URL it is handed.
    const QString bin = mFolder.filePath(QStringLiteral("bin"));
    const QString handed = mFolder.filePath(QStringLiteral("handed"));
    ASSERT_TRUE(QDir().mkpath(bin));
    QFile opener(bin + QStringLiteral("/xdg-open"));
    ASSERT_TRUE(opener.open(QIODevice::WriteOnly));
    opener.write("#!/bin/sh\nprintf '%s' \"$*\" > '" + handed.toUtf8() + ".tmp' && mv '" + handed.toUtf8() +
                 ".tmp' '" + handed.toUtf8() + "'\n");
    opener.close();
    opener.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray savedPath = qgetenv("PATH");
    qputenv("PATH", bin.toLocal8Bit() + ':' + savedPath);
    mApp->sendFeedback();
    const bool arrived = QTest::qWaitFor([&] { return QFileInfo::exists(handed); }, 15000);
    qputenv("PATH", savedPath);
    ASSERT_TRUE(arrived);

    QFile file(handed);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray encoded = file.readAll();
    EXPECT_TRUE(encoded.startsWith("mailto:" SPINDREL_SUPPORT_ADDRESS "?SUBJECT=")) << encoded.toStdString();
    EXPECT_FALSE(encoded.contains(' ') || encoded.contains('\n'));
    const QUrl url = QUrl::fromEncoded(encoded, QUrl::StrictMode);
    ASSERT_TRUE(url.isValid());
    const auto sent = mailFields(url);
    EXPECT_EQ(sent.value(QStringLiteral("SUBJECT")), QStringLiteral("Spindrel Feedback: (Enter title here)"));
    EXPECT_EQ(sent.value(QStringLiteral("BODY")),
              QStringLiteral("Here's how I feel about Spindrel:\n\n\n--\n(I'm using Spindrel version ") +
                  AppController::versionText() + QStringLiteral(" with ") +
                  AppController::currentSystemVersionString() + QStringLiteral(".)\n"));
}

TEST_F(AppControllerTest, CheckForUpdatesIsOfferedOnlyWithAFeedAndTheFirstLaunchesDoNotCheckAtStart)
{
    // No feed named anywhere: a check could only fail, so none is offered.
    EXPECT_EQ(mApp->sparkleUpdater(), nullptr);
    ASSERT_NE(mApp->checkForUpdatesMenuItem(), nullptr);
    EXPECT_FALSE(mApp->checkForUpdatesMenuItem()->isVisible());
    if (!Updater::isAvailable())
        GTEST_SKIP() << "built without the update check";

    // Nothing listens on port 9 here, so the user's check must come back with a failure.
    mApp->windowController()->window()->close();
    mApp.reset();
    mPreferences.reset();
    mDefaults.reset();
    qputenv("SPINDREL_APPCAST_URL", "http://127.0.0.1:9/appcast.xml");
    const auto unset = qScopeGuard([] { qunsetenv("SPINDREL_APPCAST_URL"); });
    launchDeck();
    Updater* updater = mApp->sparkleUpdater();
    ASSERT_NE(updater, nullptr);
    EXPECT_FALSE(updater->isChecking());
    QAction* item = mApp->checkForUpdatesMenuItem();
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->isVisible());
    EXPECT_EQ(MenuMnemonics::withoutMnemonic(item->text()), QStringLiteral("Check for Updates…"));

    updater->setPresentsAlerts(false);
    QSignalSpy failed(updater, &Updater::checkFailed);
    item->trigger();
    EXPECT_TRUE(updater->isChecking());
    EXPECT_TRUE(failed.wait(15000));
}

TEST_F(AppControllerTest, TheAboutBoxShowsTheVersionAndBuild)
{
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d+\\.\\d+\\.\\d+ \\(\\d+\\)$"))
                    .match(AppController::versionText())
                    .hasMatch())
        << AppController::versionText().toStdString();
    mApp->showAbout();
    ASSERT_NE(mApp->aboutWindow(), nullptr);
    EXPECT_TRUE(mApp->aboutWindow()->isVisible());
    EXPECT_TRUE(mApp->aboutWindow()->versionString().contains(AppController::versionText()));
}

TEST_F(AppControllerTest, PreferencesOpenCentredOnTheDeckAtOneWidthForEveryPane)
{
    QWidget* deck = mApp->windowController()->window();
    deck->move(180, 140);
    ASSERT_TRUE(QTest::qWaitFor([deck] { return deck->pos() == QPoint(180, 140); }, 15000));
    mApp->showPreferences();
    PreferencesWindow* preferences = mPreferences->window();
    ASSERT_NE(preferences, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(preferences));
    const QPoint offset = preferences->frameGeometry().center() - deck->frameGeometry().center();
    EXPECT_LE(std::abs(offset.x()), 1) << offset.x();
    EXPECT_LE(std::abs(offset.y()), 1) << offset.y();

    const int width = preferences->width();
    for (const auto pane :
         {PreferencesWindow::HotKeysPane, PreferencesWindow::AudioPane, PreferencesWindow::GeneralPane}) {
        preferences->showPane(pane);
        QCoreApplication::processEvents();
        EXPECT_EQ(preferences->width(), width) << "pane " << int(pane);
    }
    preferences->close();
}

TEST_F(AppControllerTest, WhatTheDeckKeepsAtTheEndIsOnDiskWhenTheApplicationEnds)
{
    mApp->windowController()->window()->move(150, 110);
    mApp->applicationWillTerminate();
    // Read as bytes: another QSettings in this process would share the unwritten values.
    QFile file(mFolder.filePath(QStringLiteral("defaults.conf")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray written = file.readAll();
    EXPECT_TRUE(written.contains("SpindrelWindowTapesDisclosed=false")) << written.toStdString();
    EXPECT_TRUE(written.contains("@Rect(150 110 ")) << written.toStdString();
}

} // namespace
