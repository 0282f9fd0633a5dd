#pragma once

#include "sharing/YouTubeService.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QUrlQuery>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QNetworkAccessManager;
class QNetworkReply;
class QTcpServer;
class QTcpSocket;
class QTimer;

namespace spindrel {

class TokenStore;

/// OAuth 2.0 for an installed application: the sign-in page opens in the user's browser, which
/// comes back to a loopback address on 127.0.0.1 with the code; the code is exchanged with a
/// PKCE verifier (S256) and checked against a state value. Tokens are refreshed when they
/// expire and kept in a TokenStore.
class YouTubeAuthorizer : public QObject
{
    Q_OBJECT

public:
    struct Token
    {
        QString accessToken;
        QString refreshToken;
        QDateTime expiry;
        QString email;

        QByteArray toJson() const;
        static std::optional<Token> fromJson(const QByteArray& json);
    };

    /// Opens a page in the user's browser; true when it could.
    using BrowserOpener = std::function<bool(const QUrl& url)>;
    /// Called with nothing when the request carries a fresh access token, else with the reason.
    using AuthorizeHandler = std::function<void(const std::optional<QString>& error)>;

    YouTubeAuthorizer(const YouTubeService::Configuration& configuration, QNetworkAccessManager& network,
                      std::unique_ptr<TokenStore> store);
    ~YouTubeAuthorizer() override;

    void setBrowserOpener(BrowserOpener opener) { mOpenBrowser = std::move(opener); }
    /// Pauses before each new try of a token refresh that failed in transit or on a server error;
    /// when they run out the refresh fails.
    void setRefreshRetryDelays(std::vector<int> milliseconds)
    {
        mRefreshRetryDelays = std::move(milliseconds);
    }

    /// Reads the stored sign-in, if any.
    void loadStoredAuthorization();
    /// Starts a sign-in in the browser; signInFinished() follows.
    void signIn();
    void cancelSignIn();
    bool isSigningIn() const;
    /// Forgets the sign-in here and in the store.
    void signOut();

    /// A sign-in that can still authorise requests (a refresh token, or an access token in date).
    bool canAuthorize() const;
    /// Signed in: can authorise and knows whose account it is.
    bool isSignedIn() const { return canAuthorize() && !mToken.email.isEmpty(); }
    QString userEmail() const { return mToken.email; }
    /// False when the keyring could not be used, so a sign-in lasts only for this run.
    bool storesPersistently() const;

    /// Makes sure there is a fresh access token (refreshing it first when needed), then calls back.
    void authorize(AuthorizeHandler handler);
    /// The Authorization header's value for the current access token.
    QByteArray authorizationHeaderValue() const { return "Bearer " + mToken.accessToken.toUtf8(); }
    /// Forgets the access token, so the next request refreshes it (after a 401).
    void invalidateAccessToken();

    void setToken(const Token& token);
    const Token& token() const { return mToken; }

    /// The pieces of the PKCE exchange, exposed for checking.
    static QString newCodeVerifier();
    static QString codeChallengeForVerifier(const QString& verifier);

Q_SIGNALS:
    void signInFinished(const QString& error);
    void authorizationChanged();
    /// A token refresh failed and is tried again after a pause (`error` says why, in plain words).
    void refreshRetrying(const QString& error);
    /// The service withdrew the sign-in; the user has to sign in again.
    void signInRevoked(const QString& error);

private:
    void acceptRedirect();
    void handleRedirect(QTcpSocket* socket, const QByteArray& request);
    void exchangeCode(const QString& code);
    void finishSignIn(const QString& error);
    void refresh(std::function<void(const std::optional<QString>&)> done);
    void sendRefresh();
    void refreshAnswered(QNetworkReply* reply);
    void finishRefresh(const std::optional<QString>& error);
    /// Posts the form to the token endpoint with the client's identity added.
    QNetworkReply* postToTokenEndpoint(QUrlQuery form);
    std::optional<QString> takeTokenResponse(const QByteArray& body, bool initial);
    void store();

    YouTubeService::Configuration mConfiguration;
    QNetworkAccessManager& mNetwork;
    std::unique_ptr<TokenStore> mStore;
    BrowserOpener mOpenBrowser;
    Token mToken;

    std::unique_ptr<QTcpServer> mRedirectServer;
    QString mRedirectUri;
    QString mState;
    QString mCodeVerifier;
    std::vector<std::function<void(const std::optional<QString>&)>> mWaitingForRefresh;
    std::vector<int> mRefreshRetryDelays{1000, 2000, 4000, 8000, 16000, 32000};
    size_t mRefreshRetries = 0;
    QTimer* mRefreshRetryTimer = nullptr;
};

} // namespace spindrel
