#pragma once

#include "app/AppController.h"
#include "app/PreferencesController.h"
#include "app/UserDefaults.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace spindrel::test {

/// Defaults kept in a file of the folder's own, not in the user's settings.
inline std::unique_ptr<UserDefaults> openUserDefaults(const QTemporaryDir& folder)
{
    return std::make_unique<UserDefaults>(
        std::make_unique<QSettings>(folder.filePath(QStringLiteral("defaults.conf")), QSettings::IniFormat));
}

/// The application launched as the desktop launches it, with its defaults, library and data in a
/// folder of the test's own.
class LaunchedDeckTest : public ::testing::Test
{
protected:
    void launchDeck()
    {
        qputenv("XDG_DATA_HOME", mFolder.filePath(QStringLiteral("data")).toLocal8Bit());
        mDefaults = openUserDefaults(mFolder);
        mPreferences = std::make_unique<PreferencesController>(*mDefaults, library());
        mApp = std::make_unique<AppController>(mPreferences.get());
        mApp->applicationDidFinishLaunching();
    }

    // The application goes before anything a test made for it.
    void TearDown() override
    {
        if (mApp)
            mApp->windowController()->window()->close();
        mApp.reset();
    }

    QString library() const { return mFolder.filePath(QStringLiteral("Library")); }

    QTemporaryDir mFolder;
    std::unique_ptr<UserDefaults> mDefaults;
    std::unique_ptr<PreferencesController> mPreferences;
    std::unique_ptr<AppController> mApp;
};

} // namespace spindrel::test
