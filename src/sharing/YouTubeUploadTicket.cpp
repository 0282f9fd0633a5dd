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

// A broken or stalled connection, a gateway or a server in trouble: worth asking again later.
bool isTransient(QNetworkReply* reply)
{
    const int status = statusOf(reply);
    if (status == 500 || status == 502 || status == 503 || status == 504)
        return true;
    return YouTubeService::failedInTransit(reply);
}

QString durationText(int milliseconds)
{
    if (milliseconds >= 60 * 1000)
        return YouTubeUploadTicket::tr("%1 min").arg(milliseconds / (60 * 1000));
    return YouTubeUploadTicket::tr("%1 s").arg(std::max(1, milliseconds / 1000));
}

// A reply the transfer timeout aborted is closed and has nothing to read.
QByteArray bodyOf(QNetworkReply* reply)
{
    return reply->isOpen() ? reply->readAll() : QByteArray();
}

} // namespace

YouTubeUploadTicket::YouTubeUploadTicket(YouTubeService& service, QByteArray movie, QString mimeType,
                                         Metadata metadata, QObject* parent)
    : QObject(parent), mService(service), mMovie(std::move(movie)), mMimeType(std::move(mimeType)),
      mMetadata(std::move(metadata)), mOutageLimitMs(service.configuration().outageLimitMs),
      mRetryTimer(new QTimer(this))
{
    mRetryTimer->setSingleShot(true);
    connect(mRetryTimer, &QTimer::timeout, this, [this] { run(mPendingStep); });
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

void YouTubeUploadTicket::retryNow()
{
    if (!isWaitingForNetwork())
        return;
    mRetryTimer->stop();
    run(mPendingStep);
}

bool YouTubeUploadTicket::isWaitingForNetwork() const
{
    return mRetryTimer->isActive();
}

QNetworkRequest YouTubeUploadTicket::request(const QUrl& url) const
{
    QNetworkRequest request = mService.request(url);
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
            if (!error)
                send(step);
            else if (mService.authorizer().canAuthorize())
                retryLater(step, *error); // the sign-in holds; the token service was out of reach
            else
                fail(*error);
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
        retryLater(Step::Open, tr("YouTube let the upload session expire; starting again"));
        return true;
    }
    if (isTransient(reply)) {
        retryLater(retryWith == Step::Send ? Step::Ask : retryWith, transientText(reply));
        return true;
    }
    return false;
}

void YouTubeUploadTicket::opened(QNetworkReply* reply)
{
    reply->deleteLater();
    const QByteArray body = bodyOf(reply);
    if (handleCommon(reply, Step::Open))
        return;
    const QUrl session = QUrl(QString::fromUtf8(reply->rawHeader("Location")));
    if (statusOf(reply) != 200 || !session.isValid() || session.isEmpty()) {
        fail(errorText(reply, body));
        return;
    }
    mSessionUrl = reply->url().resolved(session);
    mOffset = 0;
    madeProgress();
    run(Step::Send);
}

// The answer to the bytes sent (step Send) or to asking how many arrived (step Ask): done, or a
// 308 naming where to go on from, or a failure retried as that step.
void YouTubeUploadTicket::answered(QNetworkReply* reply, Step step)
{
    reply->deleteLater();
    const QByteArray body = bodyOf(reply);
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
            madeProgress();
        mConfirmed = received;
        mOffset = std::min<qint64>(received, mMovie.size());
        Q_EMIT progress(mOffset, mMovie.size());
        run(Step::Send);
        return;
    }
    if (handleCommon(reply, step))
        return;
    fail(errorText(reply, body));
}

// Bytes arrived since the last break: the pauses start short again and the outage is over.
void YouTubeUploadTicket::madeProgress()
{
    mRetries = 0;
    mOutage.invalidate();
}

void YouTubeUploadTicket::retryLater(Step step, const QString& reason)
{
    if (!mOutage.isValid())
        mOutage.start();
    const qint64 remaining = mOutageLimitMs - mOutage.elapsed();
    if (remaining <= 0) {
        fail(tr("%1. Spindrel waited %2 for the network and stopped the upload.")
                 .arg(reason, durationText(mOutageLimitMs)));
        return;
    }
    Q_EMIT waitingForNetwork(reason);
    const int delay = mRetryDelays.empty() ? 1000 : mRetryDelays[std::min(mRetries, mRetryDelays.size() - 1)];
    ++mRetries;
    mPendingStep = step;
    // The last try comes when the limit is reached, not a long pause after it.
    mRetryTimer->start(int(std::min<qint64>(delay, remaining)));
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

QString YouTubeUploadTicket::transientText(QNetworkReply* reply) const
{
    const int status = statusOf(reply);
    return YouTubeService::unreachableText(
        status != 0 ? YouTubeService::answerText(reply)
                    : YouTubeService::transitErrorText(reply, mService.configuration().requestTimeoutMs));
}

QString YouTubeUploadTicket::errorText(QNetworkReply* reply, const QByteArray& body) const
{
    if (statusOf(reply) != 0)
        return YouTubeService::refusedText(YouTubeService::refusalReason(reply, body));
    return YouTubeService::unreachableText(
        YouTubeService::transitErrorText(reply, mService.configuration().requestTimeoutMs));
}

} // namespace spindrel
