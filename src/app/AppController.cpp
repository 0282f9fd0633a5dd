#include "app/AppController.h"

#include "app/AboutWindow.h"
#include "app/PreferencesController.h"
#include "app/SingleInstance.h"
#include "app/UserDefaults.h"
#include "deck/DeckWindow.h"
#include "deck/DefaultsKeys.h"
#include "deck/MprisService.h"
#include "deck/SpindrelSoftwarePlayThroughManager.h"
#include "deck/WindowController.h"
#include "update/Updater.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QMenu>
#include <QStandardPaths>
#include <QSysInfo>

#ifndef SPINDREL_BUILD
#define SPINDREL_BUILD "0"
#endif
#ifndef SPINDREL_SUPPORT_ADDRESS
#define SPINDREL_SUPPORT_ADDRESS ""
#endif

namespace spindrel {

AppController::AppController(PreferencesController* preferences, QObject* parent)
    : QObject(parent),
      mPreferencesController(preferences ? preferences : &PreferencesController::sharedInstance())
{
    mWindowController = std::make_unique<WindowController>(*mPreferencesController);
    buildMainMenu();
    mWindowController->showWindow();
    // Media keys and the desktop's sound menu reach the deck through the session bus, when there is one.
    mMediaPlayerService = std::make_unique<MprisService>(*mWindowController);
    mMediaPlayerService->registerOnBus(QDBusConnection::sessionBus());
    // Closing the deck ends the application, once the deck has put everything away.
    connect(mWindowController.get(), &WindowController::windowDidClose, this, [] {
        if (applicationShouldTerminateAfterLastWindowClosed())
            QCoreApplication::quit();
    });
    connect(qApp, &QCoreApplication::aboutToQuit, this, &AppController::applicationWillTerminate);
    // A logout, kill or Ctrl-C ends the deck the way quitting does: a recording becomes a tape.
    connect(&mTerminationSignals, &TerminationSignals::terminationRequested, qApp, &QCoreApplication::quit);
}

AppController::~AppController()
{
    // The service refers to the deck; it goes first.
    mMediaPlayerService.reset();
}

void AppController::applicationDidFinishLaunching()
{
    if (Updater::hasConfiguredFeed() && !mSparkleUpdater) {
        mSparkleUpdater = new Updater(this);
        connect(mCheckForUpdatesMenuItem, &QAction::triggered, mSparkleUpdater, &Updater::checkForUpdates);
        mCheckForUpdatesMenuItem->setVisible(true);
        mSparkleUpdater->checkAtStartupIfEnabled(
            mPreferencesController->defaultsValue(DefaultsKeys::SUCheckAtStartup));
    }
    mSoftwarePlaythroughManager =
        std::make_unique<SpindrelSoftwarePlayThroughManager>(*mPreferencesController);
    // Its first attempt runs on a worker and reports back later, so this connection is in time.
    connect(mSoftwarePlaythroughManager.get(), &SpindrelSoftwarePlayThroughManager::playThroughMessage,
            mWindowController.get(), &WindowController::showDeckMessage);
    mWindowController->applicationDidFinishLaunching();
}

void AppController::applicationWillTerminate()
{
    // Play-through goes first, so its sound stops before anything else is put away.
    mSoftwarePlaythroughManager.reset();
    if (mWindowController)
        mWindowController->windowWillClose();
    // What the deck kept at the close (its place, the tape box, the tape) is on disk before the
    // process ends: the settings are otherwise written only as the event loop turns.
    mPreferencesController->userDefaults().synchronize();
}

void AppController::openFiles(const QStringList& filenames)
{
    QList<QUrl> urls;
    for (const QString& filename : filenames)
        urls.append(QUrl::fromLocalFile(QFileInfo(filename).absoluteFilePath()));
    mWindowController->importTapesIntoLibrary(urls);
}

void AppController::serveLaterLaunches(SingleInstance& instance)
{
    connect(&instance, &SingleInstance::openRequested, this, [this](const QStringList& paths) {
        openFiles(paths);
        raiseDeck();
    });
    connect(&instance, &SingleInstance::raiseRequested, this, &AppController::raiseDeck);
    instance.acceptRequests();
}

void AppController::raiseDeck()
{
    QWidget* window = mWindowController->window();
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    mWindowController->showWindow();
}

QUrl AppController::soundFileURL() const
{
    return QUrl::fromLocalFile(soundFilePath());
}

QString AppController::soundFilePath() const
{
    return mPreferencesController->tapeLibraryURL();
}

QString AppController::currentSystemVersionString()
{
    static const QString version = QSysInfo::prettyProductName();
    return version;
}

QString AppController::versionText()
{
    return QStringLiteral("%1 %2(%3)")
        .arg(QStringLiteral(SPINDREL_VERSION), QString(), QStringLiteral(SPINDREL_BUILD));
}

QUrl AppController::feedbackMailURL(const QString& address)
{
    const QString subject = tr("Spindrel Feedback: (Enter title here)");
    const QString body =
        tr("Here's how I feel about Spindrel:\n\n\n--\n(I'm using Spindrel version %1 with %2.)\n")
            .arg(versionText(), currentSystemVersionString());
    const QByteArray url = "mailto:" + QUrl::toPercentEncoding(address, "@") +
                           "?SUBJECT=" + QUrl::toPercentEncoding(subject) +
                           "&BODY=" + QUrl::toPercentEncoding(body);
    return QUrl::fromEncoded(url, QUrl::StrictMode);
}

void AppController::sendFeedback()
{
    // When no mail program takes the URL nothing happens, as with any link.
    QDesktopServices::openUrl(feedbackMailURL(QStringLiteral(SPINDREL_SUPPORT_ADDRESS)));
}

QUrl AppController::userGuideURL()
{
    const QString installed =
        QStandardPaths::locate(QStandardPaths::GenericDataLocation, QStringLiteral("doc/spindrel/README.md"));
    if (!installed.isEmpty())
        return QUrl::fromLocalFile(installed);
    const QString built = QStringLiteral(SPINDREL_SOURCE_DIR "/README.md");
    if (QFileInfo(built).isReadable())
        return QUrl::fromLocalFile(built);
    return QUrl(QStringLiteral(SPINDREL_USER_GUIDE_URL));
}

void AppController::showUserGuide()
{
    QDesktopServices::openUrl(userGuideURL());
}

void AppController::showPreferences()
{
    mPreferencesController->showWindow(mWindowController->window());
}

void AppController::showAbout()
{
    if (!mAboutWindow)
        mAboutWindow = new AboutWindow(mWindowController->window());
    mAboutWindow->show();
    mAboutWindow->raise();
    mAboutWindow->activateWindow();
}

} // namespace spindrel
