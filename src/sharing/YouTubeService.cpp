#include "sharing/YouTubeService.h"

#include "sharing/SecretServiceTokenStore.h"
#include "sharing/YouTubeAuthorizer.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
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
    bool ok = false;
    const int timeout =
        configured("SPINDREL_YOUTUBE_TIMEOUT_MS", QStringLiteral("YouTube/TimeoutMS"), QString()).toInt(&ok);
    if (ok && timeout > 0)
        c.requestTimeoutMs = timeout;
    const int outage =
        configured("SPINDREL_YOUTUBE_OUTAGE_LIMIT_MS", QStringLiteral("YouTube/OutageLimitMS"), QString())
            .toInt(&ok);
    if (ok && outage >= 0)
        c.outageLimitMs = outage;
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
    // Also covers any request made without request(): none may wait forever.
    mNetwork->setTransferTimeout(mConfiguration.requestTimeoutMs);
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

QNetworkRequest YouTubeService::request(const QUrl& url) const
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::UserAgentHeader, QString::fromLatin1(userAgent));
    // Qt restarts this timer whenever bytes move, so a long upload is not cut off, a stalled one is.
    request.setTransferTimeout(mConfiguration.requestTimeoutMs);
    return request;
}

bool YouTubeService::failedInTransit(QNetworkReply* reply)
{
    return reply->error() != QNetworkReply::NoError &&
           reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 0;
}

QString YouTubeService::transitErrorText(QNetworkReply* reply, int timeoutMs)
{
    // The transfer timeout aborts the reply; our own aborts never reach a finished handler.
    if (reply->error() == QNetworkReply::OperationCanceledError ||
        reply->error() == QNetworkReply::TimeoutError)
        return QCoreApplication::translate("spindrel::YouTubeService", "no answer within %1 s")
            .arg((timeoutMs + 999) / 1000);
    return reply->errorString();
}

QString YouTubeService::unreachableText(const QString& reason)
{
    return QCoreApplication::translate("spindrel::YouTubeService", "YouTube could not be reached: %1")
        .arg(reason);
}

QString YouTubeService::refusedText(const QString& reason)
{
    return QCoreApplication::translate("spindrel::YouTubeService", "YouTube refused the request: %1")
        .arg(reason);
}

QString YouTubeService::answerText(QNetworkReply* reply)
{
    return QCoreApplication::translate("spindrel::YouTubeService", "it answered %1 %2")
        .arg(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt())
        .arg(reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
}

QString YouTubeService::refusalReason(QNetworkReply* reply, const QByteArray& body)
{
    const QString message = QJsonDocument::fromJson(body)
                                .object()
                                .value(QStringLiteral("error"))
                                .toObject()
                                .value(QStringLiteral("message"))
                                .toString();
    return message.isEmpty() ? answerText(reply) : message;
}

} // namespace spindrel
