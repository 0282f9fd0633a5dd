#pragma once

#include "app/AboutWindow.h"
#include "foundation/TerminationSignals.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <memory>

class QAction;
class QMenu;

namespace spindrel {

class MprisService;
class PreferencesController;
class SingleInstance;
class SpindrelSoftwarePlayThroughManager;
class Updater;
class WindowController;

/// The application: makes the preferences and the deck at start, opens files handed to it as
/// imports, composes the feedback mail and ends when the deck's window closes.
class AppController : public QObject
{
    Q_OBJECT

public:
    /// Makes the preferences controller (`preferences`, or the shared one) and the deck, and
    /// shows the deck's window.
    explicit AppController(PreferencesController* preferences = nullptr, QObject* parent = nullptr);
    ~AppController() override;

    void applicationDidFinishLaunching();
    void applicationWillTerminate();
    static bool applicationShouldTerminateAfterLastWindowClosed() { return true; }
    /// Files handed to the application go into the library.
    void openFiles(const QStringList& filenames);
    /// Later launches reach this deck through `instance`: their files are imported, and the deck
    /// comes to the front.
    void serveLaterLaunches(SingleInstance& instance);
    /// Brings the deck's window to the front, out of the task bar if it was minimised.
    void raiseDeck();

    /// The library folder, as a URL and as a path.
    QUrl soundFileURL() const;
    QString soundFilePath() const;

    /// The running system's name and version, found once.
    static QString currentSystemVersionString();
    /// "1.2 (345)": the version and the build.
    static QString versionText();
    /// The mail a user sends to give feedback, as a mailto URL.
    static QUrl feedbackMailURL(const QString& address);
    void sendFeedback();
    /// The user guide: the copy installed with the program, else the one in the source tree it
    /// was built from, else the guide on the web.
    static QUrl userGuideURL();
    void showUserGuide();
    void showPreferences();
    void showAbout();

    WindowController* windowController() const { return mWindowController.get(); }
    PreferencesController& preferencesController() const { return *mPreferencesController; }
    QMenu* tapeMenu() const { return mTapeMenu; }
    AboutWindow* aboutWindow() const { return mAboutWindow; }
    SpindrelSoftwarePlayThroughManager* softwarePlaythroughManager() const
    {
        return mSoftwarePlaythroughManager.get();
    }
    /// The software update check; none in builds without one, or before launch finished.
    Updater* sparkleUpdater() const { return mSparkleUpdater; }
    QAction* checkForUpdatesMenuItem() const { return mCheckForUpdatesMenuItem; }

private:
    void buildMainMenu();

    PreferencesController* mPreferencesController;
    std::unique_ptr<WindowController> mWindowController;
    std::unique_ptr<SpindrelSoftwarePlayThroughManager> mSoftwarePlaythroughManager;
    QMenu* mTapeMenu = nullptr;
    QPointer<AboutWindow> mAboutWindow;
    Updater* mSparkleUpdater = nullptr;
    std::unique_ptr<MprisService> mMediaPlayerService;
    TerminationSignals mTerminationSignals;
    QAction* mCheckForUpdatesMenuItem = nullptr;
};

} // namespace spindrel
