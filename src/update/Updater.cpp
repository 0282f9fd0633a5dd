#include "update/Updater.h"

#include "foundation/Log.h"
#include "update/UpdateAlert.h"
#include "update/VersionComparator.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>

namespace spindrel {

namespace {

const QString launchCountKey = QStringLiteral("LaunchCount");
const QString checkAtStartupKey = QStringLiteral("SUCheckAtStartup");
const QString feedURLKey = QStringLiteral("SUFeedURL");
constexpr int quietLaunches = 3;
constexpr int transferTimeoutMs = 30000;

} // namespace

Updater::Updater(QObject* parent)
    : QObject(parent), mNetwork(new QNetworkAccessManager(this)),
      mCurrentVersion(QStringLiteral(SPINDREL_VERSION))
{
    qRegisterMetaType<AppcastItem>();
}

Updater::~Updater() = default;

bool Updater::isAvailable()
{
    return SPINDREL_UPDATE_CHECK;
}

bool Updater::hasConfiguredFeed()
{
    return isAvailable() && configuredFeedURL().isValid();
}

QUrl Updater::feedURL() const
{
    return mFeedURL.isValid() ? mFeedURL : configuredFeedURL();
}

QUrl Updater::configuredFeedURL()
{
    if (const QString fromEnvironment = qEnvironmentVariable("SPINDREL_APPCAST_URL");
        !fromEnvironment.isEmpty())
        return QUrl(fromEnvironment);
    if (const QString fromSettings = QSettings().value(feedURLKey).toString(); !fromSettings.isEmpty())
        return QUrl(fromSettings);
    return QUrl(QStringLiteral(SPINDREL_APPCAST_URL));
}

void Updater::checkAtStartupIfEnabled(const QVariant& checkAtStartup)
{
    if (!isAvailable() || !feedURL().isValid())
        return;
    if (checkAtStartup.isValid() && !checkAtStartup.toBool())
        return;
    checkForUpdatesInBackground();
}

void Updater::checkForUpdates()
{
    check(true);
}

void Updater::checkForUpdatesInBackground()
{
    check(false);
}

void Updater::check(bool userInitiated)
{
    if (!isAvailable())
        return;
    if (mReply)
        return;
    const QUrl url = feedURL();
    if (!url.isValid()) {
        fail(tr("No update feed is configured."), userInitiated);
        return;
    }
    QNetworkRequest request(url);
    request.setTransferTimeout(transferTimeoutMs);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QString(QStringLiteral("Spindrel/") + mCurrentVersion));
    mReply = mNetwork->get(request);
    connect(mReply, &QNetworkReply::finished, this, [this, userInitiated] { replyFinished(userInitiated); });
}

void Updater::replyFinished(bool userInitiated)
{
    QNetworkReply* reply = mReply;
    mReply = nullptr;
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError) {
        fail(reply->errorString(), userInitiated);
        return;
    }
    const Appcast appcast = Appcast::fromData(reply->readAll());
    if (!appcast.errorString().isEmpty()) {
        fail(tr("The update feed cannot be read: %1").arg(appcast.errorString()), userInitiated);
        return;
    }
    const AppcastItem* best = appcast.bestItem();
    if (!best || VersionComparator::compareVersions(best->versionString, mCurrentVersion) <= 0) {
        if (userInitiated && mPresentsAlerts)
            UpdateAlert::showUpToDate(mCurrentVersion);
        Q_EMIT noUpdateFound();
        return;
    }
    if (mPresentsAlerts)
        UpdateAlert::showUpdateFound(*best, mCurrentVersion);
    Q_EMIT updateFound(*best);
}

void Updater::fail(const QString& message, bool userInitiated)
{
    logError(logSourceName(__FILE__), message);
    if (userInitiated && mPresentsAlerts)
        UpdateAlert::showError(
            tr("An error occurred in retrieving update information. Please try again later.") +
            QStringLiteral("\n\n") + message);
    Q_EMIT checkFailed(message);
}

} // namespace spindrel
