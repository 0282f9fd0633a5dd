#include "sharing/FakeYouTubeService.h"

#include "sharing/YouTubeAuthorizer.h"

#include <QJsonDocument>
#include <QTcpSocket>
#include <QUrlQuery>
#include <iostream>

void reportDelay(const char* what, qint64 milliseconds)
{
    std::cout << "[ measure  ] " << what << ": " << milliseconds << " ms" << std::endl;
}

namespace {

QByteArray reason(int status)
{
    static const QHash<int, QByteArray> reasons{
        {200, "OK"},           {201, "Created"},   {308, "Resume Incomplete"},  {400, "Bad Request"},
        {401, "Unauthorized"}, {403, "Forbidden"}, {503, "Service Unavailable"}};
    return reasons.value(status, "Not Found");
}

QByteArray errorJson(int code, const QString& message)
{
    return QJsonDocument(
               QJsonObject{{QStringLiteral("error"), QJsonObject{{QStringLiteral("code"), code},
                                                                 {QStringLiteral("message"), message}}}})
        .toJson(QJsonDocument::Compact);
}

} // namespace

FakeYouTubeService::FakeYouTubeService()
{
    mServer.listen(QHostAddress::LocalHost, 0);
    connect(&mServer, &QTcpServer::newConnection, this, &FakeYouTubeService::accept);
    categoriesJson = R"({"kind":"youtube#videoCategoryListResponse","items":[
        {"id":"1","snippet":{"title":"Film & Animation","assignable":true}},
        {"id":"10","snippet":{"title":"Music","assignable":true}},
        {"id":"18","snippet":{"title":"Short Movies","assignable":false}},
        {"id":"22","snippet":{"assignable":true}}]})";
}

FakeYouTubeService::~FakeYouTubeService()
{
    for (QTcpSocket* socket : mConnections.keys())
        socket->disconnect(this);
}

QUrl FakeYouTubeService::url(const QString& path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(mServer.serverPort()).arg(path));
}

spindrel::YouTubeService::Configuration FakeYouTubeService::configuration() const
{
    spindrel::YouTubeService::Configuration c;
    c.authorizationUrl = url(QStringLiteral("/auth"));
    c.tokenUrl = url(QStringLiteral("/token"));
    c.apiUrl = url(QStringLiteral("/youtube/v3"));
    c.uploadUrl = url(QStringLiteral("/upload/youtube/v3/videos"));
    c.myVideosUrl = url(QStringLiteral("/my_videos"));
    c.signUpUrl = url(QStringLiteral("/signup"));
    c.clientId = QStringLiteral("1234567890-test.apps.example.com");
    c.clientSecret = QStringLiteral("not-so-secret");
    c.scope = QStringLiteral("https://www.googleapis.com/auth/youtube.upload openid email");
    c.productWebAddress = QStringLiteral("https://spindrel.example");
    // Nothing here waits long for a stalled request.
    c.requestTimeoutMs = 1000;
    return c;
}

QString FakeYouTubeService::issueCode(const QString& codeChallenge)
{
    mChallenge = codeChallenge;
    mCode = QStringLiteral("code-%1").arg(++mTokenSerial);
    return mCode;
}

QList<FakeYouTubeService::Request> FakeYouTubeService::requestsTo(const QString& path) const
{
    QList<Request> matching;
    for (const Request& request : requests) {
        if (request.url.path() == path)
            matching << request;
    }
    return matching;
}

void FakeYouTubeService::recover()
{
    fault = Fault::None;
    QList<QTcpSocket*> stalled;
    for (auto it = mConnections.cbegin(); it != mConnections.cend(); ++it) {
        if (it->stalled)
            stalled << it.key();
    }
    for (QTcpSocket* socket : stalled) {
        mConnections.remove(socket);
        socket->abort();
    }
}

bool FakeYouTubeService::meetsFault(const Request& request)
{
    if (fault == Fault::None || faultsLeft == 0 ||
        !(faultPath.isEmpty() || request.url.path().startsWith(faultPath)))
        return false;
    if (faultsLeft > 0)
        --faultsLeft;
    ++faultsMet;
    Q_EMIT faultMet();
    return true;
}

void FakeYouTubeService::accept()
{
    while (QTcpSocket* socket = mServer.nextPendingConnection()) {
        mConnections.insert(socket, Connection());
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readFrom(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            mConnections.remove(socket);
            socket->deleteLater();
        });
    }
}

void FakeYouTubeService::readFrom(QTcpSocket* socket)
{
    if (!mConnections.contains(socket))
        return;
    Connection& connection = mConnections[socket];
    if (connection.stalled)
        return; // never read: the client's bytes back up as with a hung server
    connection.buffer += socket->readAll();
    while (true) {
        if (!connection.haveHeaders) {
            const qsizetype end = connection.buffer.indexOf("\r\n\r\n");
            if (end < 0)
                return;
            const QList<QByteArray> lines = connection.buffer.left(end).split('\n');
            connection.buffer.remove(0, end + 4);
            const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
            connection.request = Request();
            connection.request.method = requestLine.value(0);
            connection.request.url = url(QString::fromLatin1(requestLine.value(1)));
            for (qsizetype i = 1; i < lines.size(); ++i) {
                const qsizetype colon = lines[i].indexOf(':');
                if (colon > 0)
                    connection.request.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                                      lines[i].mid(colon + 1).trimmed());
            }
            connection.remaining = connection.request.headers.value("content-length").toLongLong();
            connection.haveHeaders = true;
            const bool sessionPut =
                connection.request.method == "PUT" &&
                connection.request.url.path().startsWith(QStringLiteral("/upload/session/"));
            connection.movieUpload =
                sessionPut && !connection.request.headers.value("content-range").startsWith("bytes */");
            if (meetsFault(connection.request)) {
                if (!connection.movieUpload)
                    requests << connection.request;
                if (fault == Fault::Stall) {
                    connection.stalled = true;
                    socket->setReadBufferSize(16 * 1024);
                    if (connection.movieUpload)
                        requests << connection.request;
                    return;
                }
                if (fault == Fault::Drop && !connection.movieUpload) {
                    mConnections.remove(socket);
                    socket->abort();
                    return;
                }
                if (fault == Fault::Drop)
                    connection.dropAt = movie.size() + std::max<qint64>(dropAfterBytes, 1);
                connection.unavailable = fault == Fault::Unavailable;
            }
            if (connection.movieUpload) {
                requests << connection.request;
                const QByteArray range = connection.request.headers.value("content-range");
                const qint64 first = range.isEmpty() ? 0 : range.mid(6, range.indexOf('-') - 6).toLongLong();
                if (first != movie.size()) {
                    reply(socket, 400, errorJson(400, QStringLiteral("upload resumed at the wrong byte")));
                    mConnections.remove(socket);
                    socket->disconnectFromHost();
                    return;
                }
            }
        }
        const qint64 take = std::min<qint64>(connection.remaining, connection.buffer.size());
        if (connection.movieUpload) {
            const qint64 allowed =
                connection.dropAt < 0 ? take : std::min<qint64>(take, connection.dropAt - movie.size());
            movie += connection.buffer.left(allowed);
            if (connection.dropAt >= 0 && movie.size() >= connection.dropAt) {
                ++connectionsBroken;
                mConnections.remove(socket);
                socket->abort();
                return;
            }
        } else {
            connection.request.body += connection.buffer.left(take);
        }
        connection.buffer.remove(0, take);
        connection.remaining -= take;
        if (connection.remaining > 0)
            return;
        connection.haveHeaders = false;
        if (!connection.movieUpload && !connection.unavailable)
            requests << connection.request;
        if (connection.unavailable) {
            connection.unavailable = false;
            reply(socket, 503, errorJson(503, QStringLiteral("The service is unavailable.")));
        } else {
            respond(socket, connection);
        }
        if (!mConnections.contains(socket))
            return;
    }
}

bool FakeYouTubeService::authorized(const Request& request) const
{
    return !lastAccessToken.isEmpty() &&
           request.headers.value("authorization") == "Bearer " + lastAccessToken.toUtf8();
}

QByteArray FakeYouTubeService::tokenResponse(bool withRefresh)
{
    lastAccessToken = QStringLiteral("access-%1").arg(++mTokenSerial);
    QJsonObject object{{QStringLiteral("access_token"), lastAccessToken},
                       {QStringLiteral("expires_in"), 3599},
                       {QStringLiteral("token_type"), QStringLiteral("Bearer")}};
    if (withRefresh) {
        object.insert(QStringLiteral("refresh_token"), refreshToken);
        const QByteArray claims =
            QJsonDocument(QJsonObject{{QStringLiteral("email"), email}}).toJson(QJsonDocument::Compact);
        object.insert(QStringLiteral("id_token"),
                      QStringLiteral("eyJhbGciOiJub25lIn0.%1.")
                          .arg(QString::fromLatin1(claims.toBase64(QByteArray::Base64UrlEncoding |
                                                                   QByteArray::OmitTrailingEquals))));
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void FakeYouTubeService::respond(QTcpSocket* socket, Connection& connection)
{
    const Request& request = connection.request;
    const QString path = request.url.path();
    if (path == QStringLiteral("/token") && request.method == "POST") {
        const QUrlQuery form(QString::fromUtf8(request.body));
        const QString grant = form.queryItemValue(QStringLiteral("grant_type"));
        if (form.queryItemValue(QStringLiteral("client_id")) != configuration().clientId) {
            reply(socket, 401, R"({"error":"invalid_client"})");
        } else if (grant == QStringLiteral("authorization_code")) {
            const QString verifier = form.queryItemValue(QStringLiteral("code_verifier"));
            const bool verified =
                !mCode.isEmpty() && form.queryItemValue(QStringLiteral("code")) == mCode &&
                spindrel::YouTubeAuthorizer::codeChallengeForVerifier(verifier) == mChallenge;
            mCode.clear();
            if (verified)
                reply(socket, 200, tokenResponse(true));
            else
                reply(socket, 400,
                      R"({"error":"invalid_grant","error_description":"Bad code or verifier."})");
        } else if (grant == QStringLiteral("refresh_token") &&
                   form.queryItemValue(QStringLiteral("refresh_token")) == refreshToken) {
            reply(socket, 200, tokenResponse(false));
        } else {
            reply(socket, 400, R"({"error":"invalid_grant","error_description":"Token has been revoked."})");
        }
    } else if (path == QStringLiteral("/youtube/v3/videoCategories")) {
        if (refuseCategoriesStatus != 0)
            reply(socket, refuseCategoriesStatus,
                  errorJson(refuseCategoriesStatus, QStringLiteral("The request cannot be completed.")));
        else
            reply(socket, 200, categoriesJson);
    } else if (path == QStringLiteral("/upload/youtube/v3/videos") && request.method == "POST") {
        if (!authorized(request)) {
            reply(socket, 401, errorJson(401, QStringLiteral("Login Required")));
        } else if (refuseUploadStatus != 0) {
            reply(socket, refuseUploadStatus,
                  errorJson(refuseUploadStatus, QStringLiteral("Uploads are refused.")));
        } else {
            uploadMetadata = QJsonDocument::fromJson(request.body).object();
            uploadContentType = request.headers.value("x-upload-content-type");
            mExpectedLength = request.headers.value("x-upload-content-length").toLongLong();
            movie.clear();
            reply(socket, 200, QByteArray(),
                  {{"Location", url(QStringLiteral("/upload/session/1")).toEncoded()}});
        }
    } else if (path == QStringLiteral("/upload/session/1") && request.method == "PUT") {
        if (!connection.movieUpload) {
            // How much arrived: the client comes back after a break.
            if (uploadComplete) {
                reply(socket, 200, R"({"id":"fake-video-1"})");
            } else if (movie.isEmpty()) {
                reply(socket, 308, QByteArray());
            } else {
                reply(socket, 308, QByteArray(),
                      {{"Range", "bytes=0-" + QByteArray::number(movie.size() - 1)}});
            }
        } else if (movie.size() == mExpectedLength) {
            uploadComplete = true;
            QJsonObject video = uploadMetadata;
            video.insert(QStringLiteral("id"), QStringLiteral("fake-video-1"));
            reply(socket, 201, QJsonDocument(video).toJson(QJsonDocument::Compact));
        } else {
            reply(socket, 308, QByteArray(), {{"Range", "bytes=0-" + QByteArray::number(movie.size() - 1)}});
        }
    } else {
        reply(socket, 404, errorJson(404, QStringLiteral("Not Found")));
    }
}

void FakeYouTubeService::reply(QTcpSocket* socket, int status, const QByteArray& body,
                               const QList<QPair<QByteArray, QByteArray>>& headers)
{
    QByteArray response = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reason(status) + "\r\n";
    for (const auto& header : headers)
        response += header.first + ": " + header.second + "\r\n";
    if (!body.isEmpty())
        response += "Content-Type: application/json; charset=UTF-8\r\n";
    response += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    socket->write(response);
}
