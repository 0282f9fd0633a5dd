#pragma once

#include "update/Appcast.h"

#include <QObject>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>

class QNetworkAccessManager;
class QNetworkReply;
class QSettings;

namespace spindrel {

/// The software update check: reads the appcast feed, compares its newest release with this build
/// and tells the user what is new and where to get it.
///
/// The feed's address comes from the environment variable SPINDREL_APPCAST_URL, else the setting
/// "SUFeedURL", else the build's SPINDREL_APPCAST_URL; without one there is nothing to check.
class Updater : public QObject
{
    Q_OBJECT
public:
    explicit Updater(QObject* parent = nullptr);
    ~Updater() override;

    /// False in builds made with SPINDREL_UPDATE_CHECK off: no check, no menu item.
    static bool isAvailable();
    /// Whether the build, the environment or the settings name a feed: without one the deck
    /// offers no check at all, rather than one that can only fail.
    static bool hasConfiguredFeed();
    QUrl feedURL() const;
    void setFeedURL(const QUrl& url) { mFeedURL = url; }
    QString currentVersion() const { return mCurrentVersion; }
    void setCurrentVersion(const QString& version) { mCurrentVersion = version; }
    /// Whether results are shown in message boxes (on by default).
    void setPresentsAlerts(bool presents) { mPresentsAlerts = presents; }

    /// The check at start: runs in the background when "SUCheckAtStartup" (given as read from the
    /// defaults) is true, or is not set at all, the updater's own default being to check.
    void checkAtStartupIfEnabled(const QVariant& checkAtStartup);
    bool isChecking() const { return mReply != nullptr; }

public Q_SLOTS:
    /// "Check for Updates…": always answers, also when there is nothing new or the check failed.
    void checkForUpdates();
    /// Says something only when there is a newer release.
    void checkForUpdatesInBackground();

Q_SIGNALS:
    void updateFound(const spindrel::AppcastItem& item);
    void noUpdateFound();
    void checkFailed(const QString& message);

private:
    static QUrl configuredFeedURL();

    void check(bool userInitiated);
    void replyFinished(bool userInitiated);
    void fail(const QString& message, bool userInitiated);

    QNetworkAccessManager* mNetwork;
    QNetworkReply* mReply = nullptr;
    QUrl mFeedURL;
    QString mCurrentVersion;
    bool mPresentsAlerts = true;
};

} // namespace spindrel
