#include "sharing/YouTubeAuthorizer.h"

#include "foundation/Log.h"
#include "sharing/TokenStore.h"

#include <QCryptographicHash>
#include <QDesktopServices>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrlQuery>

namespace spindrel {

namespace {

// Refresh a little before the expiry, so a request never leaves with a token about to lapse.
constexpr int expiryMarginSeconds = 60;

QByteArray base64Url(const QByteArray& bytes)
{
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray randomBytes(int count)
{
    QByteArray bytes(count, '\0');
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()), count / 4);
    return bytes;
}

// The e-mail claim of an ID token straight from the token endpoint over TLS, so its signature
// need not be checked (OpenID Connect Core 3.1.3.7).
QString emailFromIdToken(const QString& idToken)
{
    const QStringList parts = idToken.split(QLatin1Char('.'));
    if (parts.size() < 2)
        return {};
    const QByteArray payload = QByteArray::fromBase64(parts.at(1).toLatin1(), QByteArray::Base64UrlEncoding);
    return QJsonDocument::fromJson(payload).object().value(QStringLiteral("email")).toString();
}

QByteArray page(const QString& message)
{
    const QByteArray body =
        QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Spindrel</title>"
                       "</head><body><p>%1</p></body></html>")
            .arg(message.toHtmlEscaped())
            .toUtf8();
    return "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nConnection: "
           "close\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

QByteArray YouTubeAuthorizer::Token::toJson() const
{
    QJsonObject object{{QStringLiteral("access_token"), accessToken},
                       {QStringLiteral("refresh_token"), refreshToken},
                       {QStringLiteral("expiry"), expiry.toString(Qt::ISODate)},
                       {QStringLiteral("email"), email}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<YouTubeAuthorizer::Token> YouTubeAuthorizer::Token::fromJson(const QByteArray& json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    if (object.isEmpty())
        return std::nullopt;
    Token token;
    token.accessToken = object.value(QStringLiteral("access_token")).toString();
    token.refreshToken = object.value(QStringLiteral("refresh_token")).toString();
    token.expiry = QDateTime::fromString(object.value(QStringLiteral("expiry")).toString(), Qt::ISODate);
    token.email = object.value(QStringLiteral("email")).toString();
    return token;
}

YouTubeAuthorizer::YouTubeAuthorizer(const YouTubeService::Configuration& configuration,
                                     QNetworkAccessManager& network, std::unique_ptr<TokenStore> store)
    : mConfiguration(configuration), mNetwork(network), mStore(std::move(store)),
      mOpenBrowser([](const QUrl& url) { return QDesktopServices::openUrl(url); }),
      mRefreshRetryTimer(new QTimer(this))
{
    mRefreshRetryTimer->setSingleShot(true);
    connect(mRefreshRetryTimer, &QTimer::timeout, this, &YouTubeAuthorizer::sendRefresh);
}

YouTubeAuthorizer::~YouTubeAuthorizer() = default;

QString YouTubeAuthorizer::newCodeVerifier()
{
    // 48 random bytes give 64 characters of the unreserved set, within the 43 to 128 allowed.
    return QString::fromLatin1(base64Url(randomBytes(48)));
}

QString YouTubeAuthorizer::codeChallengeForVerifier(const QString& verifier)
{
    return QString::fromLatin1(
        base64Url(QCryptographicHash::hash(verifier.toLatin1(), QCryptographicHash::Sha256)));
}

void YouTubeAuthorizer::loadStoredAuthorization()
{
    const std::optional<QByteArray> stored =
        mStore->load(QString::fromLatin1(YouTubeService::keychainItemName));
    if (!stored)
        return;
    if (const std::optional<Token> token = Token::fromJson(*stored))
        setToken(*token);
}

bool YouTubeAuthorizer::storesPersistently() const
{
    return mStore->isPersistent();
}

void YouTubeAuthorizer::setToken(const Token& token)
{
    mToken = token;
    Q_EMIT authorizationChanged();
}

bool YouTubeAuthorizer::canAuthorize() const
{
    return !mToken.refreshToken.isEmpty() ||
           (!mToken.accessToken.isEmpty() && mToken.expiry > QDateTime::currentDateTimeUtc());
}

void YouTubeAuthorizer::signOut()
{
    cancelSignIn();
    mStore->remove(QString::fromLatin1(YouTubeService::keychainItemName));
    setToken(Token());
}

void YouTubeAuthorizer::store()
{
    mStore->save(QString::fromLatin1(YouTubeService::keychainItemName), mToken.toJson());
}

bool YouTubeAuthorizer::isSigningIn() const
{
    return mRedirectServer != nullptr;
}

void YouTubeAuthorizer::signIn()
{
    cancelSignIn();
    if (mConfiguration.clientId.isEmpty()) {
        Q_EMIT signInFinished(tr("No YouTube client identifier is configured."));
        return;
    }
    mRedirectServer = std::make_unique<QTcpServer>();
    if (!mRedirectServer->listen(QHostAddress::LocalHost, 0)) {
        const QString error = mRedirectServer->errorString();
        mRedirectServer.reset();
        Q_EMIT signInFinished(error);
        return;
    }
    connect(mRedirectServer.get(), &QTcpServer::newConnection, this, &YouTubeAuthorizer::acceptRedirect);
    mRedirectUri = QStringLiteral("http://127.0.0.1:%1").arg(mRedirectServer->serverPort());
    mState = QString::fromLatin1(base64Url(randomBytes(24)));
    mCodeVerifier = newCodeVerifier();

    QUrl url = mConfiguration.authorizationUrl;
    QUrlQuery query(url);
    query.addQueryItem(QStringLiteral("response_type"), QStringLiteral("code"));
    query.addQueryItem(QStringLiteral("client_id"), mConfiguration.clientId);
    query.addQueryItem(QStringLiteral("redirect_uri"), mRedirectUri);
    query.addQueryItem(QStringLiteral("scope"), mConfiguration.scope);
    query.addQueryItem(QStringLiteral("state"), mState);
    query.addQueryItem(QStringLiteral("code_challenge"), codeChallengeForVerifier(mCodeVerifier));
    query.addQueryItem(QStringLiteral("code_challenge_method"), QStringLiteral("S256"));
    url.setQuery(query);
    if (!mOpenBrowser(url)) {
        cancelSignIn();
        Q_EMIT signInFinished(tr("The web browser could not be opened."));
    }
}

void YouTubeAuthorizer::cancelSignIn()
{
    mRedirectServer.reset();
    mState.clear();
    mCodeVerifier.clear();
}

void YouTubeAuthorizer::acceptRedirect()
{
    while (QTcpSocket* socket = mRedirectServer ? mRedirectServer->nextPendingConnection() : nullptr) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            const QByteArray received = socket->property("received").toByteArray() + socket->readAll();
            socket->setProperty("received", received);
            // Only the request line and headers matter; the browser sends no body.
            if (received.contains("\r\n\r\n")) {
                socket->setProperty("received", QByteArray());
                handleRedirect(socket, received);
            }
        });
    }
}

void YouTubeAuthorizer::handleRedirect(QTcpSocket* socket, const QByteArray& request)
{
    const QList<QByteArray> requestLine = request.left(request.indexOf("\r\n")).split(' ');
    const QUrl target(QString::fromLatin1(requestLine.value(1)));
    const QUrlQuery query(target);
    const QString state = query.queryItemValue(QStringLiteral("state"), QUrl::FullyDecoded);
    const QString code = query.queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded);
    const QString error = query.queryItemValue(QStringLiteral("error"), QUrl::FullyDecoded);
    // Anything else the browser asks for (an icon) is not the redirect.
    if (requestLine.value(0) != "GET" || (code.isEmpty() && error.isEmpty())) {
        socket->write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        socket->disconnectFromHost();
        return;
    }
    if (state != mState || mState.isEmpty()) {
        socket->write(page(tr("This sign-in did not come from Spindrel. Please try again.")));
        socket->disconnectFromHost();
        finishSignIn(tr("The sign-in answer did not match the request."));
        return;
    }
    if (!error.isEmpty()) {
        socket->write(page(tr("Spindrel was not given access to YouTube. You can close this window.")));
        socket->disconnectFromHost();
        finishSignIn(error);
        return;
    }
    socket->write(
        page(tr("Spindrel is signed in to YouTube. You can close this window and return to Spindrel.")));
    socket->disconnectFromHost();
    mRedirectServer.reset();
    exchangeCode(code);
}

void YouTubeAuthorizer::exchangeCode(const QString& code)
{
    QUrlQuery form;
    form.addQueryItem(QStringLiteral("grant_type"), QStringLiteral("authorization_code"));
    form.addQueryItem(QStringLiteral("code"), code);
    form.addQueryItem(QStringLiteral("redirect_uri"), mRedirectUri);
    form.addQueryItem(QStringLiteral("code_verifier"), mCodeVerifier);
    QNetworkReply* reply = postToTokenEndpoint(form);
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        const QByteArray body = reply->isOpen() ? reply->readAll() : QByteArray();
        if (YouTubeService::failedInTransit(reply)) {
            finishSignIn(YouTubeService::unreachableText(
                YouTubeService::transitErrorText(reply, mConfiguration.requestTimeoutMs)));
            return;
        }
        finishSignIn(takeTokenResponse(body, true).value_or(QString()));
    });
}

QNetworkReply* YouTubeAuthorizer::postToTokenEndpoint(QUrlQuery form)
{
    form.addQueryItem(QStringLiteral("client_id"), mConfiguration.clientId);
    if (!mConfiguration.clientSecret.isEmpty())
        form.addQueryItem(QStringLiteral("client_secret"), mConfiguration.clientSecret);
    QNetworkRequest request(mConfiguration.tokenUrl);
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QStringLiteral("application/x-www-form-urlencoded"));
    request.setHeader(QNetworkRequest::UserAgentHeader, QString::fromLatin1(YouTubeService::userAgent));
    request.setTransferTimeout(mConfiguration.requestTimeoutMs);
    return mNetwork.post(request, form.query(QUrl::FullyEncoded).toUtf8());
}

std::optional<QString> YouTubeAuthorizer::takeTokenResponse(const QByteArray& body, bool initial)
{
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const QString accessToken = object.value(QStringLiteral("access_token")).toString();
    if (accessToken.isEmpty()) {
        const QString description = object.value(QStringLiteral("error_description")).toString();
        const QString error = object.value(QStringLiteral("error")).toString();
        return !description.isEmpty()
                   ? description
                   : (!error.isEmpty() ? error : tr("The sign-in service gave no access."));
    }
    Token token = initial ? Token() : mToken;
    token.accessToken = accessToken;
    const QString refreshToken = object.value(QStringLiteral("refresh_token")).toString();
    if (!refreshToken.isEmpty())
        token.refreshToken = refreshToken;
    token.expiry =
        QDateTime::currentDateTimeUtc().addSecs(object.value(QStringLiteral("expires_in")).toInt(3600));
    const QString email = emailFromIdToken(object.value(QStringLiteral("id_token")).toString());
    if (!email.isEmpty())
        token.email = email;
    setToken(token);
    store();
    return std::nullopt;
}

void YouTubeAuthorizer::finishSignIn(const QString& error)
{
    cancelSignIn();
    Q_EMIT signInFinished(error);
}

void YouTubeAuthorizer::invalidateAccessToken()
{
    mToken.expiry = QDateTime();
}

void YouTubeAuthorizer::authorize(AuthorizeHandler handler)
{
    if (!mToken.accessToken.isEmpty() &&
        mToken.expiry > QDateTime::currentDateTimeUtc().addSecs(expiryMarginSeconds)) {
        handler(std::nullopt);
        return;
    }
    if (mToken.refreshToken.isEmpty()) {
        handler(tr("Not signed in to YouTube."));
        return;
    }
    refresh(std::move(handler));
}

void YouTubeAuthorizer::refresh(std::function<void(const std::optional<QString>&)> done)
{
    mWaitingForRefresh.push_back(std::move(done));
    if (mWaitingForRefresh.size() > 1)
        return; // one refresh serves every request that waits for it
    mRefreshRetries = 0;
    sendRefresh();
}

void YouTubeAuthorizer::sendRefresh()
{
    if (mToken.refreshToken.isEmpty()) {
        finishRefresh(tr("Not signed in to YouTube."));
        return;
    }
    QUrlQuery form;
    form.addQueryItem(QStringLiteral("grant_type"), QStringLiteral("refresh_token"));
    form.addQueryItem(QStringLiteral("refresh_token"), mToken.refreshToken);
    QNetworkReply* reply = postToTokenEndpoint(form);
    connect(reply, &QNetworkReply::finished, this, [this, reply] { refreshAnswered(reply); });
}

void YouTubeAuthorizer::refreshAnswered(QNetworkReply* reply)
{
    reply->deleteLater();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QByteArray body = reply->isOpen() ? reply->readAll() : QByteArray();
    // No answer, or the service in trouble: the sign-in itself may be fine, so ask again later.
    if (YouTubeService::failedInTransit(reply) || status >= 500) {
        const QString error = YouTubeService::unreachableText(
            status >= 500 ? tr("its sign-in service answered %1 %2")
                                .arg(status)
                                .arg(reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString())
                          : YouTubeService::transitErrorText(reply, mConfiguration.requestTimeoutMs));
        if (mRefreshRetries >= mRefreshRetryDelays.size()) {
            finishRefresh(error);
            return;
        }
        Q_EMIT refreshRetrying(error);
        mRefreshRetryTimer->start(mRefreshRetryDelays[mRefreshRetries++]);
        return;
    }
    std::optional<QString> error = takeTokenResponse(body, false);
    if (error && status >= 400 && status < 500) {
        // The grant was withdrawn: the stored sign-in is worth nothing any more.
        error = tr("YouTube no longer accepts this sign-in (%1). Please sign in again.").arg(*error);
        signOut();
        Q_EMIT signInRevoked(*error);
    }
    finishRefresh(error);
}

void YouTubeAuthorizer::finishRefresh(const std::optional<QString>& error)
{
    mRefreshRetryTimer->stop();
    for (auto& waiting : std::exchange(mWaitingForRefresh, {}))
        waiting(error);
}

} // namespace spindrel
