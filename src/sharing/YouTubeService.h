#pragma once

#include <QNetworkRequest>
#include <QString>
#include <QUrl>
#include <memory>

class QNetworkAccessManager;
class QNetworkReply;

namespace spindrel {

class TokenStore;
class YouTubeAuthorizer;

/// Where the video service lives and who we are to it, and the one network access manager and
/// authorizer the upload window uses.
///
/// Every address and the client's identity are configuration values. Each is read from an
/// environment variable first, then from the settings key, then falls back to the default:
///
///   SPINDREL_YOUTUBE_AUTH_URL         YouTube/AuthorizationURL  https://accounts.google.com/o/oauth2/v2/auth
///   SPINDREL_YOUTUBE_TOKEN_URL        YouTube/TokenURL          https://oauth2.googleapis.com/token
///   SPINDREL_YOUTUBE_API_URL          YouTube/APIURL            https://www.googleapis.com/youtube/v3
///   SPINDREL_YOUTUBE_UPLOAD_URL       YouTube/UploadURL         https://www.googleapis.com/upload/...
///   SPINDREL_YOUTUBE_MY_VIDEOS_URL    YouTube/MyVideosURL       https://studio.youtube.com/
///   SPINDREL_YOUTUBE_SIGN_UP_URL      YouTube/SignUpURL         https://accounts.google.com/signup
///   SPINDREL_YOUTUBE_CLIENT_ID        YouTube/ClientID          (none: sign-in is refused until set)
///   SPINDREL_YOUTUBE_CLIENT_SECRET    YouTube/ClientSecret      (none)
///   SPINDREL_YOUTUBE_API_KEY          YouTube/APIKey            (none: categories then need a sign-in)
///   SPINDREL_YOUTUBE_SCOPE            YouTube/Scope             youtube.upload youtube.readonly openid email
///   SPINDREL_WEB_ADDRESS              ProductWebAddress         (none: no address in the description)
///   SPINDREL_YOUTUBE_TIMEOUT_MS       YouTube/TimeoutMS         30000: a request moving no byte that
///                                                               long is given up (an upload's stall)
///   SPINDREL_YOUTUBE_OUTAGE_LIMIT_MS  YouTube/OutageLimitMS     600000: how long an upload waits for
///                                                               the network before it fails
class YouTubeService
{
public:
    static constexpr const char* userAgent = "VORL-Spindrel-1.0";
    /// The name the stored sign-in goes under in the keyring.
    static constexpr const char* keychainItemName = "Spindrel: YouTube";

    struct Configuration
    {
        QUrl authorizationUrl;
        QUrl tokenUrl;
        QUrl apiUrl;
        QUrl uploadUrl;
        QUrl myVideosUrl;
        QUrl signUpUrl;
        QString clientId;
        QString clientSecret;
        QString apiKey;
        QString scope;
        QString productWebAddress;
        int requestTimeoutMs = 30 * 1000;
        int outageLimitMs = 10 * 60 * 1000;

        /// The values from the environment, the settings and the defaults, in that order.
        static Configuration fromEnvironment();
    };

    /// The service of the application, made on first use from the environment and settings.
    static std::shared_ptr<YouTubeService> youTubeService();

    /// A service with its own configuration and token store (tests point it at a local server).
    YouTubeService(Configuration configuration, std::unique_ptr<TokenStore> tokenStore);
    ~YouTubeService();

    const Configuration& configuration() const { return mConfiguration; }
    QNetworkAccessManager& network() { return *mNetwork; }
    YouTubeAuthorizer& authorizer() { return *mAuthorizer; }

    /// The host whose reachability decides when to fetch the categories again.
    QString hostName() const { return mConfiguration.apiUrl.host(); }
    /// videoCategories.list for a region, with the API key when there is one.
    QUrl categoriesUrl(const QString& regionCode) const;
    /// The resumable upload of a video with its snippet and status.
    QUrl resumableUploadUrl() const;

    /// A request to the service with our user agent and the stall timeout.
    QNetworkRequest request(const QUrl& url) const;
    /// A finished reply that failed in transit (no answer, broken connection, timeout), not one
    /// the service answered.
    static bool failedInTransit(QNetworkReply* reply);
    /// Why a reply failed in transit, in plain words ("no answer within 30 s").
    static QString transitErrorText(QNetworkReply* reply, int timeoutMs);
    /// "YouTube could not be reached: reason"
    static QString unreachableText(const QString& reason);
    /// "YouTube refused the request: reason"
    static QString refusedText(const QString& reason);
    /// "it answered 503 Service Unavailable": the reply's status, for messages.
    static QString answerText(QNetworkReply* reply);
    /// The service's own words from an error body, else answerText().
    static QString refusalReason(QNetworkReply* reply, const QByteArray& body);

private:
    Configuration mConfiguration;
    std::unique_ptr<QNetworkAccessManager> mNetwork;
    std::unique_ptr<YouTubeAuthorizer> mAuthorizer;
};

} // namespace spindrel
