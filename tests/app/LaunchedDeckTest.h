#pragma once

#include "app/AppController.h"
#include "app/PreferencesController.h"
#include "app/UserDefaults.h"
#include "deck/DeckWindow.h"
#include "deck/DefaultsKeys.h"
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

/// The preferences over defaults, library and data in a folder of the test's own.
class PreferencesFixture : public ::testing::Test
{
protected:
    void openDefaults()
    {
        // The library's set-up installs an icon among the user's data.
        qputenv("XDG_DATA_HOME", mFolder.filePath(QStringLiteral("data")).toLocal8Bit());
        mDefaults = openUserDefaults(mFolder);
    }

    /// A controller with what the deck registers at its start.
    std::unique_ptr<PreferencesController> makeController()
    {
        auto controller = std::make_unique<PreferencesController>(*mDefaults, library());
        mDefaults->registerDefaults({{DefaultsKeys::RecordingIsStereo, true},
                                     {DefaultsKeys::RecordDeviceChannels, QVariantList{0, 1}}});
        return controller;
    }

    QString library() const { return mFolder.filePath(QStringLiteral("Library")); }

    QTemporaryDir mFolder;
    std::unique_ptr<UserDefaults> mDefaults;
};

/// The application launched as the desktop launches it.
class LaunchedDeckTest : public PreferencesFixture
{
protected:
    void launchDeck()
    {
        openDefaults();
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

    std::unique_ptr<PreferencesController> mPreferences;
    std::unique_ptr<AppController> mApp;
};

} // namespace spindrel::test
