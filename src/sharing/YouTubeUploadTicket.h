#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <vector>

class QNetworkReply;
class QNetworkRequest;
class QTimer;

namespace spindrel {

class YouTubeService;

/// One video upload by the resumable protocol: a session is opened with the video's metadata,
/// then the bytes are sent; when the connection breaks, stalls or the service is in trouble, the
/// upload waits (after a growing pause, or at once on retryNow()), asks the session how much
/// arrived and sends the rest. It fails only when the outage outlasts the configured limit or
/// the service refuses. Cancelling stops it without a finished signal.
class YouTubeUploadTicket : public QObject
{
    Q_OBJECT

public:
    struct Metadata
    {
        QString title;
        QString description;
        QStringList keywords;
        QString categoryId;
        bool isPrivate = false;
    };

    YouTubeUploadTicket(YouTubeService& service, QByteArray movie, QString mimeType, Metadata metadata,
                        QObject* parent = nullptr);
    ~YouTubeUploadTicket() override;

    void start();
    void cancel();
    bool isCancelled() const { return mCancelled; }
    /// Pauses before each retry in turn; when they run out the last one repeats.
    void setRetryDelays(std::vector<int> milliseconds) { mRetryDelays = std::move(milliseconds); }
    /// How long an outage (no progress, no answer) may last before the upload fails.
    void setOutageLimit(int milliseconds) { mOutageLimitMs = milliseconds; }
    /// Between tries after a failure: the network is back, so try now rather than after the pause.
    void retryNow();
    bool isWaitingForNetwork() const;
    /// The new video's identifier once the upload has finished.
    const QString& videoId() const { return mVideoId; }
    qint64 totalBytes() const { return mMovie.size(); }

    /// The video resource sent when the session opens: snippet and status.
    static QByteArray metadataJson(const Metadata& metadata);

Q_SIGNALS:
    void progress(qint64 bytesSent, qint64 bytesTotal);
    /// A try failed in transit or on a server error; the next follows. `reason` in plain words.
    void waitingForNetwork(const QString& reason);
    /// Empty on success, else why the upload failed.
    void finished(const QString& error);

private:
    enum class Step { Open, Send, Ask };

    void run(Step step);
    void send(Step step);
    void opened(QNetworkReply* reply);
    void answered(QNetworkReply* reply, Step step);
    /// Handles what every step shares; true when the reply was dealt with.
    bool handleCommon(QNetworkReply* reply, Step retryWith);
    void retryLater(Step step, const QString& reason);
    void madeProgress();
    void succeed(const QByteArray& body);
    void fail(const QString& error);
    QNetworkRequest request(const QUrl& url) const;
    QString errorText(QNetworkReply* reply, const QByteArray& body) const;
    QString transientText(QNetworkReply* reply) const;

    YouTubeService& mService;
    QByteArray mMovie;
    QString mMimeType;
    Metadata mMetadata;
    QUrl mSessionUrl;
    qint64 mOffset = 0;
    qint64 mConfirmed = -1;
    std::vector<int> mRetryDelays{1000, 2000, 4000, 8000, 16000, 32000, 60000};
    size_t mRetries = 0;
    int mOutageLimitMs;
    QElapsedTimer mOutage;
    Step mPendingStep = Step::Open;
    bool mReauthorized = false;
    bool mCancelled = false;
    bool mDone = false;
    QString mVideoId;
    QPointer<QNetworkReply> mReply;
    QTimer* mRetryTimer = nullptr;
};

} // namespace spindrel
