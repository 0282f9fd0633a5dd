#pragma once

#include "sharing/YouTubeAuthorizer.h"
#include "sharing/YouTubeService.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QTcpServer>
#include <QUrl>

class QTcpSocket;

// For the record only: how long the user waits between a fault and the word about it.
void reportDelay(const char* what, qint64 milliseconds);

// The video service on loopback: a token endpoint, the category list and the resumable upload,
// speaking just enough HTTP/1.1 (persistent connections, bodies by Content-Length).
class FakeYouTubeService : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        QByteArray method;
        QUrl url;
        QMap<QByteArray, QByteArray> headers; // names in lower case
        QByteArray body;                      // not kept for movie bytes
    };

    FakeYouTubeService();
    ~FakeYouTubeService() override;

    spindrel::YouTubeService::Configuration configuration() const;
    QUrl url(const QString& path) const;

    // Sign-in: the code the "browser" hands back, the challenge it saw, the account's e-mail.
    QString issueCode(const QString& codeChallenge);
    QString email = QStringLiteral("listener@example.com");
    QString lastAccessToken;
    QString refreshToken = QStringLiteral("refresh-1");

    // The category list to serve, as JSON.
    QByteArray categoriesJson;
    // Answer to opening an upload session, when set (status and body) instead of a session.
    int refuseUploadStatus = 0;

    // Faults met for real on the wire by requests whose path starts with faultPath (every request
    // when empty): Stall reads the request and never answers (a movie upload is left unread),
    // Drop closes the connection (a movie upload once dropAfterBytes more of it arrived, at least
    // one), Unavailable answers 503. faultsLeft counts them down; -1 never runs out.
    enum class Fault { None, Stall, Drop, Unavailable };
    Fault fault = Fault::None;
    QString faultPath;
    int faultsLeft = -1;
    int faultsMet = 0;
    qint64 dropAfterBytes = 1;
    // Ends the fault; connections held by a stall are closed.
    void recover();

    // Answer to the category list, when set (status and body) instead of the list.
    int refuseCategoriesStatus = 0;

    // What arrived.
    QList<Request> requests;
    QJsonObject uploadMetadata;
    QByteArray uploadContentType;
    QByteArray movie;
    bool uploadComplete = false;
    int connectionsBroken = 0;

    QList<Request> requestsTo(const QString& path) const;

Q_SIGNALS:
    // A request met the fault.
    void faultMet();

private:
    struct Connection
    {
        QByteArray buffer;
        bool haveHeaders = false;
        Request request;
        qint64 remaining = 0;
        bool movieUpload = false;
        bool stalled = false;
        qint64 dropAt = -1; // the movie's size at which the connection breaks
        bool unavailable = false;
    };

    void accept();
    void readFrom(QTcpSocket* socket);
    void respond(QTcpSocket* socket, Connection& connection);
    void reply(QTcpSocket* socket, int status, const QByteArray& body,
               const QList<QPair<QByteArray, QByteArray>>& headers = {});
    QByteArray tokenResponse(bool withRefresh);
    bool authorized(const Request& request) const;
    bool meetsFault(const Request& request);

    QTcpServer mServer;
    QHash<QTcpSocket*, Connection> mConnections;
    QString mCode;
    QString mChallenge;
    qint64 mExpectedLength = 0;
    int mTokenSerial = 0;
};

// The access token's time is up, as after an hour away: the next request renews it.
inline void lapseToken(spindrel::YouTubeAuthorizer& authorizer)
{
    spindrel::YouTubeAuthorizer::Token lapsed = authorizer.token();
    lapsed.expiry = QDateTime::currentDateTimeUtc().addSecs(-10);
    authorizer.setToken(lapsed);
}

// Starts at the first request that meets the fake's fault.
class FaultClock
{
public:
    explicit FaultClock(FakeYouTubeService& fake)
    {
        QObject::connect(&fake, &FakeYouTubeService::faultMet, &fake, [this] {
            if (!mTimer.isValid())
                mTimer.start();
        });
    }
    qint64 elapsed() const { return mTimer.isValid() ? mTimer.elapsed() : -1; }

private:
    QElapsedTimer mTimer;
};
