#include "sharing/YouTubeService.h"

#include "sharing/SecretServiceTokenStore.h"
#include "sharing/YouTubeAuthorizer.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QUrlQuery>

namespace spindrel {

namespace {

QString configured(const char* variable, const QString& key, const QString& fallback)
{
    const QString fromEnvironment = qEnvironmentVariable(variable);
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QSettings().value(key, fallback).toString();
}

} // namespace

YouTubeService::Configuration YouTubeService::Configuration::fromEnvironment()
{
    Configuration c;
    c.authorizationUrl =
        QUrl(configured("SPINDREL_YOUTUBE_AUTH_URL", QStringLiteral("YouTube/AuthorizationURL"),
                        QStringLiteral("https://accounts.google.com/o/oauth2/v2/auth")));
    c.tokenUrl = QUrl(configured("SPINDREL_YOUTUBE_TOKEN_URL", QStringLiteral("YouTube/TokenURL"),
                                 QStringLiteral("https://oauth2.googleapis.com/token")));
    c.apiUrl = QUrl(configured("SPINDREL_YOUTUBE_API_URL", QStringLiteral("YouTube/APIURL"),
                               QStringLiteral("https://www.googleapis.com/youtube/v3")));
    c.uploadUrl = QUrl(configured("SPINDREL_YOUTUBE_UPLOAD_URL", QStringLiteral("YouTube/UploadURL"),
                                  QStringLiteral("https://www.googleapis.com/upload/youtube/v3/videos")));
    c.myVideosUrl = QUrl(configured("SPINDREL_YOUTUBE_MY_VIDEOS_URL", QStringLiteral("YouTube/MyVideosURL"),
                                    QStringLiteral("https://studio.youtube.com/")));
    c.signUpUrl = QUrl(configured("SPINDREL_YOUTUBE_SIGN_UP_URL", QStringLiteral("YouTube/SignUpURL"),
                                  QStringLiteral("https://accounts.google.com/signup")));
    c.clientId = configured("SPINDREL_YOUTUBE_CLIENT_ID", QStringLiteral("YouTube/ClientID"), QString());
    c.clientSecret =
        configured("SPINDREL_YOUTUBE_CLIENT_SECRET", QStringLiteral("YouTube/ClientSecret"), QString());
    c.apiKey = configured("SPINDREL_YOUTUBE_API_KEY", QStringLiteral("YouTube/APIKey"), QString());
    c.scope = configured("SPINDREL_YOUTUBE_SCOPE", QStringLiteral("YouTube/Scope"),
                         QStringLiteral("https://www.googleapis.com/auth/youtube.upload "
                                        "https://www.googleapis.com/auth/youtube.readonly openid email"));
    c.productWebAddress = configured("SPINDREL_WEB_ADDRESS", QStringLiteral("ProductWebAddress"), QString());
    return c;
}

std::shared_ptr<YouTubeService> YouTubeService::youTubeService()
{
    static std::shared_ptr<YouTubeService> service;
    if (!service) {
        service = std::make_shared<YouTubeService>(Configuration::fromEnvironment(),
                                                   std::make_unique<SecretServiceTokenStore>());
        // Its network objects must go while the application object still exists.
        qAddPostRoutine([] { service.reset(); });
    }
    return service;
}

YouTubeService::YouTubeService(Configuration configuration, std::unique_ptr<TokenStore> tokenStore)
    : mConfiguration(std::move(configuration)), mNetwork(std::make_unique<QNetworkAccessManager>())
{
    mAuthorizer = std::make_unique<YouTubeAuthorizer>(mConfiguration, *mNetwork, std::move(tokenStore));
}

YouTubeService::~YouTubeService() = default;

QUrl YouTubeService::categoriesUrl(const QString& regionCode) const
{
    QUrl url = mConfiguration.apiUrl;
    url.setPath(url.path() + QStringLiteral("/videoCategories"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("part"), QStringLiteral("snippet"));
    query.addQueryItem(QStringLiteral("regionCode"), regionCode);
    if (!mConfiguration.apiKey.isEmpty())
        query.addQueryItem(QStringLiteral("key"), mConfiguration.apiKey);
    url.setQuery(query);
    return url;
}

QUrl YouTubeService::resumableUploadUrl() const
{
    QUrl url = mConfiguration.uploadUrl;
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("uploadType"), QStringLiteral("resumable"));
    query.addQueryItem(QStringLiteral("part"), QStringLiteral("snippet,status"));
    url.setQuery(query);
    return url;
}

} // namespace spindrel
