#include "sharing/YouTubeUploadTicket.h"

#include "sharing/YouTubeAuthorizer.h"
#include "sharing/YouTubeService.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTimer>

namespace spindrel {

namespace {

int statusOf(QNetworkReply* reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

// A broken connection, a gateway or a server in trouble: worth asking again later.
bool isTransient(QNetworkReply* reply)
{
    const int status = statusOf(reply);
    if (status == 500 || status == 502 || status == 503 || status == 504)
        return true;
    return status == 0 && reply->error() != QNetworkReply::NoError;
}

} // namespace

YouTubeUploadTicket::YouTubeUploadTicket(YouTubeService& service, QByteArray movie, QString mimeType,
                                         Metadata metadata, QObject* parent)
    : QObject(parent), mService(service), mMovie(std::move(movie)), mMimeType(std::move(mimeType)),
      mMetadata(std::move(metadata)), mRetryTimer(new QTimer(this))
{
    mRetryTimer->setSingleShot(true);
}

YouTubeUploadTicket::~YouTubeUploadTicket()
{
    cancel();
}

QByteArray YouTubeUploadTicket::metadataJson(const Metadata& metadata)
{
    QJsonObject snippet{{QStringLiteral("title"), metadata.title},
                        {QStringLiteral("description"), metadata.description},
                        {QStringLiteral("tags"), QJsonArray::fromStringList(metadata.keywords)}};
    if (!metadata.categoryId.isEmpty())
        snippet.insert(QStringLiteral("categoryId"), metadata.categoryId);
    const QJsonObject status{{QStringLiteral("privacyStatus"),
                              metadata.isPrivate ? QStringLiteral("private") : QStringLiteral("public")}};
    return QJsonDocument(
               QJsonObject{{QStringLiteral("snippet"), snippet}, {QStringLiteral("status"), status}})
        .toJson(QJsonDocument::Compact);
}

void YouTubeUploadTicket::start()
{
    run(Step::Open);
}

void YouTubeUploadTicket::cancel()
{
    mCancelled = true;
    mRetryTimer->stop();
    if (mReply) {
        mReply->disconnect(this);
        mReply->abort();
        mReply->deleteLater();
    }
}

QNetworkRequest YouTubeUploadTicket::request(const QUrl& url) const
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::UserAgentHeader, QString::fromLatin1(YouTubeService::userAgent));
    request.setRawHeader("Authorization", mService.authorizer().authorizationHeaderValue());
    // 308 here means "resume", not a redirect to follow.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    return request;
}

void YouTubeUploadTicket::run(Step step)
{
    if (mCancelled || mDone)
        return;
    mService.authorizer().authorize(
        [this, step, guard = QPointer<YouTubeUploadTicket>(this)](const std::optional<QString>& error) {
            if (!guard || mCancelled)
                return;
            if (error)
                fail(*error);
            else
                send(step);
        });
}

void YouTubeUploadTicket::send(Step step)
{
    QNetworkAccessManager& network = mService.network();
    const QByteArray total = QByteArray::number(mMovie.size());
    switch (step) {
    case Step::Open: {
        QNetworkRequest open = request(mService.resumableUploadUrl());
        open.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json; charset=UTF-8"));
        open.setRawHeader("X-Upload-Content-Length", total);
        open.setRawHeader("X-Upload-Content-Type", mMimeType.toUtf8());
        mReply = network.post(open, metadataJson(mMetadata));
        connect(mReply, &QNetworkReply::finished, this, [this, reply = mReply.data()] { opened(reply); });
        break;
    }
    case Step::Send: {
        QNetworkRequest put = request(mSessionUrl);
        put.setHeader(QNetworkRequest::ContentTypeHeader, mMimeType);
        if (mOffset > 0)
            put.setRawHeader("Content-Range", "bytes " + QByteArray::number(mOffset) + '-' +
                                                  QByteArray::number(mMovie.size() - 1) + '/' + total);
        // The rest of the movie without a copy: the ticket keeps the bytes alive meanwhile.
        const QByteArray rest =
            QByteArray::fromRawData(mMovie.constData() + mOffset, qsizetype(mMovie.size() - mOffset));
        mReply = network.put(put, rest);
        const qint64 offset = mOffset;
        connect(mReply, &QNetworkReply::uploadProgress, this,
                [this, offset](qint64 sent, qint64) { Q_EMIT progress(offset + sent, mMovie.size()); });
        connect(mReply, &QNetworkReply::finished, this,
                [this, reply = mReply.data()] { answered(reply, Step::Send); });
        break;
    }
    case Step::Ask: {
        QNetworkRequest ask = request(mSessionUrl);
        ask.setRawHeader("Content-Range", "bytes */" + total);
        mReply = network.put(ask, QByteArray());
        connect(mReply, &QNetworkReply::finished, this,
                [this, reply = mReply.data()] { answered(reply, Step::Ask); });
        break;
    }
    }
}

bool YouTubeUploadTicket::handleCommon(QNetworkReply* reply, Step retryWith)
{
    const int status = statusOf(reply);
    if (status == 401 && !mReauthorized) {
        // The access token lapsed on the way: once more with a fresh one.
        mReauthorized = true;
        mService.authorizer().invalidateAccessToken();
        run(retryWith == Step::Send ? Step::Ask : retryWith);
        return true;
    }
    if (status == 404 && retryWith != Step::Open) {
        // The session has expired: start over with a new one.
        mOffset = 0;
        mConfirmed = -1;
        mSessionUrl.clear();
        retryLater(Step::Open);
        return true;
    }
    if (isTransient(reply)) {
        retryLater(retryWith == Step::Send ? Step::Ask : retryWith);
        return true;
    }
    return false;
}

void YouTubeUploadTicket::opened(QNetworkReply* reply)
{
    reply->deleteLater();
    const QByteArray body = reply->readAll();
    if (handleCommon(reply, Step::Open))
        return;
    const QUrl session = QUrl(QString::fromUtf8(reply->rawHeader("Location")));
    if (statusOf(reply) != 200 || !session.isValid() || session.isEmpty()) {
        fail(errorText(reply, body));
        return;
    }
    mSessionUrl = reply->url().resolved(session);
    mOffset = 0;
    run(Step::Send);
}

// The answer to the bytes sent (step Send) or to asking how many arrived (step Ask): done, or a
// 308 naming where to go on from, or a failure retried as that step.
void YouTubeUploadTicket::answered(QNetworkReply* reply, Step step)
{
    reply->deleteLater();
    const QByteArray body = reply->readAll();
    const int status = statusOf(reply);
    if (status == 200 || status == 201) {
        succeed(body);
        return;
    }
    if (status == 308) {
        // "Range: bytes=0-N" names what arrived; without it nothing did.
        const QRegularExpressionMatch range = QRegularExpression(QStringLiteral("bytes=0-(\\d+)"))
                                                  .match(QString::fromLatin1(reply->rawHeader("Range")));
        const qint64 received = range.hasMatch() ? range.captured(1).toLongLong() + 1 : 0;
        if (received > mConfirmed)
            mRetries = 0; // progress since the last break: the pauses start short again
        mConfirmed = received;
        mOffset = std::min<qint64>(received, mMovie.size());
        run(Step::Send);
        return;
    }
    if (handleCommon(reply, step))
        return;
    fail(errorText(reply, body));
}

void YouTubeUploadTicket::retryLater(Step step)
{
    if (mRetries >= mRetryDelays.size()) {
        fail(tr("The connection to YouTube failed too often."));
        return;
    }
    const int delay = mRetryDelays[mRetries++];
    mRetryTimer->disconnect();
    connect(mRetryTimer, &QTimer::timeout, this, [this, step] { run(step); });
    mRetryTimer->start(delay);
}

void YouTubeUploadTicket::succeed(const QByteArray& body)
{
    mDone = true;
    mVideoId = QJsonDocument::fromJson(body).object().value(QStringLiteral("id")).toString();
    Q_EMIT progress(mMovie.size(), mMovie.size());
    Q_EMIT finished(QString());
}

void YouTubeUploadTicket::fail(const QString& error)
{
    mDone = true;
    Q_EMIT finished(error.isEmpty() ? tr("The upload failed.") : error);
}

QString YouTubeUploadTicket::errorText(QNetworkReply* reply, const QByteArray& body)
{
    const QString message = QJsonDocument::fromJson(body)
                                .object()
                                .value(QStringLiteral("error"))
                                .toObject()
                                .value(QStringLiteral("message"))
                                .toString();
    if (!message.isEmpty())
        return message;
    const int status = statusOf(reply);
    if (status != 0)
        return tr("YouTube answered %1 %2.")
            .arg(status)
            .arg(reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
    return reply->errorString();
}

} // namespace spindrel
