#include "sharing/YouTubeWindowController.h"

#include "foundation/Log.h"
#include "sharing/ProgressIndicator.h"
#include "sharing/Reachability.h"
#include "sharing/TapeMovie.h"
#include "sharing/YouTubeAuthorizer.h"
#include "sharing/YouTubeService.h"
#include "sharing/YouTubeUploadTicket.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QMimeDatabase>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPlainTextEdit>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QVBoxLayout>

namespace spindrel {

namespace {

const QString keywordSeparator = QStringLiteral(", ");
// Pauses before fetching the categories again when the window has no say.
const std::vector<int> categoryRetryDelays{5000, 10000, 20000, 40000, 60000};

QString regionCode()
{
    const QString code = QLocale::territoryToCode(QLocale::system().territory());
    return code.size() == 2 ? code : QStringLiteral("US");
}

} // namespace

YouTubeWindowController* YouTubeWindowController::sharedInstance()
{
    static QPointer<YouTubeWindowController> shared;
    if (!shared) {
        shared = new YouTubeWindowController(YouTubeService::youTubeService());
        // Widgets must go before the application object does.
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, shared, &QObject::deleteLater);
    }
    return shared;
}

YouTubeWindowController::YouTubeWindowController(std::shared_ptr<YouTubeService> service, QWidget* parent)
    : QWidget(parent, Qt::Dialog), mService(std::move(service)),
      mOpenUrl([](const QUrl& url) { return QDesktopServices::openUrl(url); }),
      mCategoryRetryTimer(new QTimer(this))
{
    setWindowTitle(tr("YouTube"));
    mCategoryRetryTimer->setSingleShot(true);
    connect(mCategoryRetryTimer, &QTimer::timeout, this, &YouTubeWindowController::fetchStandardCategories);
    mContentLayout = new QVBoxLayout(this);
    buildSettingsView();
    buildProgressView();
    buildCompleteView();
    connect(this, &YouTubeWindowController::tapeChanged, this, &YouTubeWindowController::refreshControls);
    connectToService();
}

YouTubeWindowController::~YouTubeWindowController()
{
    // The export's last call must not find a half-destroyed window.
    mMovie.reset();
    if (mVideoUploadTicket)
        mVideoUploadTicket->cancel();
}

void YouTubeWindowController::connectToService()
{
    mCheckingPasswordProgressIndicator->hide();
    mLoginFailedLabel->hide();

    YouTubeAuthorizer& authorizer = mService->authorizer();
    connect(&authorizer, &YouTubeAuthorizer::signInFinished, this, &YouTubeWindowController::signInFinished);
    // A refreshed token must not undo what the user typed: only the sign-in controls follow it.
    connect(&authorizer, &YouTubeAuthorizer::authorizationChanged, this,
            &YouTubeWindowController::refreshSignInControls);
    const auto tellSignInTrouble = [this](const QString& error) {
        mLoginFailedLabel->setText(error);
        mLoginFailedLabel->show();
    };
    connect(&authorizer, &YouTubeAuthorizer::refreshRetrying, this,
            [this, tellSignInTrouble](const QString& error) {
                tellSignInTrouble(error);
                // An upload waits for the renewal as much as for the network itself.
                if (mVideoUploadTicket) {
                    mUploadProgressTextField->setText(tr("Waiting for the network\u2026"));
                    mUploadDetailLabel->setText(error);
                    mUploadDetailLabel->show();
                }
            });
    connect(&authorizer, &YouTubeAuthorizer::signInRevoked, this, tellSignInTrouble);
    // A renewal that went through ends the trouble it was retried for.
    connect(&authorizer, &YouTubeAuthorizer::authorizationChanged, this, [this] {
        if (isSignedIn())
            mLoginFailedLabel->hide();
    });
    authorizer.loadStoredAuthorization();

    switchToView(mUploadSettingsView);
    fetchStandardCategories();
    refreshControls();

    mYoutubeReachability = Reachability::reachabilityWithHostName(mService->hostName());
    if (mYoutubeReachability) {
        connect(mYoutubeReachability.get(), &Reachability::reachabilityChanged, this,
                [this](Reachability* reachability) {
                    if (reachability->currentReachabilityStatus() != Reachability::NotReachable)
                        networkMayHaveReturned();
                });
        mYoutubeReachability->startNotifier();
    }
}

void YouTubeWindowController::networkMayHaveReturned()
{
    if (mVideoUploadTicket && mVideoUploadTicket->isWaitingForNetwork())
        mVideoUploadTicket->retryNow();
    mCategoryRetries = 0;
    mCategoryRetryTimer->stop();
    fetchStandardCategories();
}

void YouTubeWindowController::setTape(TapePtr tape)
{
    mTape = std::move(tape);
    Q_EMIT tapeChanged();
}

void YouTubeWindowController::showWindow()
{
    setWindowModality(Qt::ApplicationModal);
    switchToView(mUploadSettingsView);
    show();
    raise();
    activateWindow();
}

void YouTubeWindowController::closeWindow()
{
    hide();
    setWindowModality(Qt::NonModal);
}

void YouTubeWindowController::dismissPanel()
{
    closeWindow();
}

void YouTubeWindowController::cancelUpload()
{
    if (mVideoUploadTicket) {
        mVideoUploadTicket->cancel();
        mVideoUploadTicket->deleteLater();
        mVideoUploadTicket = nullptr;
        // The user gave up on this upload: its movie is no longer wanted.
        QFile::remove(std::exchange(mUploadMoviePath, QString()));
    }
    // A running export goes on, but what it makes is no longer wanted.
    ++mExportGeneration;
    closeWindow();
}

void YouTubeWindowController::closeEvent(QCloseEvent* event)
{
    event->ignore();
    cancelUpload();
}

YouTubeUploadTicket* YouTubeWindowController::videoUploadTicket() const
{
    return mVideoUploadTicket;
}

bool YouTubeWindowController::isSignedIn() const
{
    return mService->authorizer().isSignedIn();
}

QString YouTubeWindowController::signedInUserName() const
{
    return mService->authorizer().userEmail();
}

QString YouTubeWindowController::descriptionForNotes(const QString& notes, const QString& webAddress)
{
    QString description = notes;
    if (!description.isEmpty())
        description += QStringLiteral("\n\n");
    description += tr("Created with Spindrel");
    if (!webAddress.isEmpty())
        description += QStringLiteral(" (%1)").arg(webAddress);
    return description;
}

QStringList YouTubeWindowController::keywords() const
{
    QStringList tokens;
    for (const QString& token : mKeywordsTokenField->text().split(QLatin1Char(','))) {
        if (!token.trimmed().isEmpty())
            tokens << token.trimmed();
    }
    return tokens;
}

void YouTubeWindowController::refreshSignInControls()
{
    const bool signedIn = isSignedIn();
    mLoginButton->setText(signedIn ? tr("Sign Out") : tr("Sign In"));
    mUploadButton->setEnabled(signedIn);
    mSignedInLabel->setText(signedIn ? tr("Signed in as %1").arg(signedInUserName()) : QString());
    mKeyringNoticeLabel->setVisible(signedIn && !mService->authorizer().storesPersistently());
}

void YouTubeWindowController::refreshControls()
{
    refreshSignInControls();

    mTitleField->setText(mTape ? mTape->title() : QString());
    mKeywordsTokenField->setText(QStringList{QStringLiteral("spindrel")}.join(keywordSeparator));
    mDescriptionTextView->setPlainText(
        descriptionForNotes(mTape ? mTape->notes() : QString(), mService->configuration().productWebAddress));
}

bool YouTubeWindowController::canUpload() const
{
    return !mTitleField->text().trimmed().isEmpty() &&
           !mDescriptionTextView->toPlainText().trimmed().isEmpty() && !keywords().isEmpty();
}

void YouTubeWindowController::switchToView(QWidget* view)
{
    if (view == mCurrentView)
        return;
    if (mCurrentView) {
        mContentLayout->removeWidget(mCurrentView);
        mCurrentView->hide();
    }
    mContentLayout->addWidget(view);
    view->show();
    mCurrentView = view;

    // The content takes the new view's size; the top edge stays where it was.
    const QMargins margins = mContentLayout->contentsMargins();
    const QSize content = view->sizeHint().expandedTo(view->minimumSizeHint()) +
                          QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
    const QRect target(geometry().topLeft(), QSize(std::max(width(), content.width()), content.height()));
    if (!isVisible()) {
        setGeometry(target);
        return;
    }
    auto* animation = new QPropertyAnimation(this, "geometry", this);
    animation->setDuration(200);
    animation->setEndValue(target);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void YouTubeWindowController::showAlert(const QString& title, const QString& text,
                                        std::function<void()> dismissed)
{
    auto* alert = new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::Ok, this);
    alert->setWindowModality(Qt::WindowModal);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    if (dismissed)
        connect(alert, &QMessageBox::finished, this, [dismissed](int) { dismissed(); });
    alert->open();
}

void YouTubeWindowController::signInOrOut()
{
    YouTubeAuthorizer& authorizer = mService->authorizer();
    if (isSignedIn() || authorizer.isSigningIn()) {
        authorizer.signOut();
        mCheckingPasswordProgressIndicator->hide();
        refreshControls();
        return;
    }
    mLoginFailedLabel->hide();
    mCheckingPasswordProgressIndicator->setIndeterminate(true);
    mCheckingPasswordProgressIndicator->show();
    mLoginButton->setText(tr("Cancel Sign In"));
    authorizer.signIn();
}

void YouTubeWindowController::signInFinished(const QString& error)
{
    mCheckingPasswordProgressIndicator->hide();
    if (!error.isEmpty()) {
        mLoginFailedLabel->setText(error);
        mLoginFailedLabel->show();
    }
    refreshControls();
    // Categories may need the sign-in when no API key is configured.
    if (error.isEmpty())
        fetchStandardCategories();
}

void YouTubeWindowController::visitMyVideos()
{
    mOpenUrl(mService->configuration().myVideosUrl);
}

void YouTubeWindowController::needAnAccount()
{
    mOpenUrl(mService->configuration().signUpUrl);
}

void YouTubeWindowController::fetchStandardCategories()
{
    if (mEntriesFetchTicket) {
        // One fetch at a time; the one asked for now follows it, as what it depends on (the
        // sign-in, the region) may have changed since that one went out.
        mFetchCategoriesAgain = true;
        return;
    }
    mFetchCategoriesAgain = false;
    mCategoryRetryTimer->stop();
    const QNetworkRequest request = mService->request(mService->categoriesUrl(regionCode()));
    const auto send = [this, request] {
        QNetworkRequest authorized = request;
        if (mService->authorizer().canAuthorize())
            authorized.setRawHeader("Authorization", mService->authorizer().authorizationHeaderValue());
        QNetworkReply* reply = mService->network().get(authorized);
        // The fetch's comment, for anyone tracing the requests.
        reply->setObjectName(QStringLiteral("YouTube categories"));
        mEntriesFetchTicket = reply;
        connect(reply, &QNetworkReply::finished, this, [this, reply] {
            reply->deleteLater();
            // Done now, not when the reply is deleted: a fetch asked for from here on must go out.
            if (mEntriesFetchTicket == reply)
                mEntriesFetchTicket.clear();
            if (mFetchCategoriesAgain) {
                fetchStandardCategories();
                return;
            }
            const QByteArray body = reply->isOpen() ? reply->readAll() : QByteArray();
            const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
            const YouTubeCategoryList::Result result = YouTubeCategoryList::parse(
                body, reply->error() == QNetworkReply::NoError ? QString() : reply->errorString());
            QString explanation;
            bool retryByTimer = false;
            if (YouTubeService::failedInTransit(reply)) {
                explanation = YouTubeService::unreachableText(
                    YouTubeService::transitErrorText(reply, mService->configuration().requestTimeoutMs));
                retryByTimer = true;
            } else if (status >= 400) {
                explanation = YouTubeService::refusedText(YouTubeService::refusalReason(reply, body));
                // A server in trouble may be back soon; a refusal stands until something changes.
                retryByTimer = status >= 500;
            } else if (result.failure) {
                explanation = tr("YouTube sent no categories to choose from.");
            }
            categoriesArrived(result, explanation, retryByTimer);
        });
    };
    if (!mService->authorizer().canAuthorize()) {
        send();
        return;
    }
    mService->authorizer().authorize(
        [send, guard = QPointer<YouTubeWindowController>(this)](const std::optional<QString>&) {
            if (guard)
                send();
        });
}

void YouTubeWindowController::categoriesArrived(const YouTubeCategoryList::Result& result,
                                                const QString& explanation, bool retryByTimer)
{
    if (result.failure) {
        logLine(*result.failure);
        mCategoryStatusLabel->setText(explanation);
        mCategoryStatusLabel->setVisible(!explanation.isEmpty());
        if (retryByTimer) {
            const std::vector<int>& delays = mRetryDelays.empty() ? categoryRetryDelays : mRetryDelays;
            mCategoryRetryTimer->start(delays[std::min(mCategoryRetries++, delays.size() - 1)]);
        }
        return;
    }
    mCategoryRetries = 0;
    mCategoryStatusLabel->clear();
    mCategoryStatusLabel->hide();
    const QString chosen = mCategoryPopUp->currentData().toString();
    mCategoryPopUp->clear();
    for (const YouTubeCategoryList::Category& category : result.categories)
        mCategoryPopUp->addItem(category.title, category.term);
    const int again = mCategoryPopUp->findData(chosen);
    if (again >= 0)
        mCategoryPopUp->setCurrentIndex(again);
}

void YouTubeWindowController::performUpload()
{
    if (!canUpload()) {
        showAlert(tr("Fields Missing"), tr("All fields must be filled out to upload your video."));
        return;
    }
    if (!mTape)
        return;
    mMovie = std::make_unique<TapeMovie>(mTape);
    const QPointer<YouTubeWindowController> guard(this);
    const int generation = ++mExportGeneration;
    mMovie->setProgressUpdateBlock([guard](double progress) {
        QMetaObject::invokeMethod(
            guard,
            [guard, progress] {
                if (guard)
                    guard->mUploadProgressIndicator->setDoubleValue(progress);
            },
            Qt::QueuedConnection);
        return true;
    });
    const QString path = mMovie->filename();
    mMovie->performMovieExportWithCompletionBlock([guard, path,
                                                   generation](const std::optional<Error>& error) {
        if (error) {
            logLine(
                QStringLiteral("Movie export completed with Error: %1").arg(error->localizedDescription()));
            return;
        }
        QMetaObject::invokeMethod(
            guard,
            [guard, path, generation] {
                if (guard)
                    guard->movieExported(path, generation != guard->mExportGeneration);
            },
            Qt::QueuedConnection);
    });

    mUploadProgressTextField->setText(tr("Creating video from tape\u2026"));
    switchToView(mUploadProgressView);
    mUploadProgressIndicator->setIndeterminate(false);
    mUploadProgressIndicator->setMinValue(0.0);
    mUploadProgressIndicator->setMaxValue(1.0);
    mUploadProgressIndicator->setDoubleValue(0.0);
}

void YouTubeWindowController::movieExported(const QString& path, bool abandoned)
{
    if (abandoned) {
        QFile::remove(path);
        return;
    }
    if (QSettings().value(QString::fromLatin1(skipVideoUploadKey), false).toBool()) {
        mOpenUrl(QUrl::fromLocalFile(path));
        return;
    }
    // The file stays until the upload succeeds or is cancelled, so a failure loses nothing.
    uploadVideoAtURL(path);
}

void YouTubeWindowController::uploadVideoAtURL(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        showAlert(tr("Upload Failed"), file.errorString(), [this] { failedUploadSheetDidEnd(); });
        return;
    }
    const QByteArray movie = file.readAll();
    QString mimeType = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension).name();
    if (mimeType.isEmpty() || mimeType == QStringLiteral("application/octet-stream"))
        mimeType = QStringLiteral("video/mp4");

    YouTubeUploadTicket::Metadata metadata;
    metadata.title = mTitleField->text();
    metadata.description = mDescriptionTextView->toPlainText();
    metadata.categoryId = mCategoryPopUp->currentData().toString();
    metadata.keywords = keywords();
    metadata.isPrivate = mPrivateCheckbox->isChecked();

    auto* ticket = new YouTubeUploadTicket(*mService, movie, mimeType, metadata, this);
    if (!mRetryDelays.empty())
        ticket->setRetryDelays(mRetryDelays);
    mUploadMoviePath = path;
    connect(ticket, &YouTubeUploadTicket::waitingForNetwork, this, [this](const QString& reason) {
        mUploadProgressTextField->setText(tr("Waiting for the network\u2026"));
        mUploadDetailLabel->setText(reason);
        mUploadDetailLabel->show();
    });
    connect(ticket, &YouTubeUploadTicket::progress, this, [this](qint64 sent, qint64 total) {
        mUploadProgressTextField->setText(tr("Uploading to YouTube\u2026"));
        mUploadDetailLabel->clear();
        mUploadDetailLabel->hide();
        mUploadProgressIndicator->setMinValue(0.0);
        mUploadProgressIndicator->setMaxValue(double(total));
        mUploadProgressIndicator->setDoubleValue(double(sent));
    });
    connect(ticket, &YouTubeUploadTicket::finished, this,
            [this, ticket](const QString& error) { uploadFinished(ticket, error); });
    mVideoUploadTicket = ticket;
    ticket->start();
}

void YouTubeWindowController::uploadFinished(YouTubeUploadTicket* ticket, const QString& error)
{
    ticket->deleteLater();
    if (ticket != mVideoUploadTicket)
        return; // cancelled: its movie went with it
    mVideoUploadTicket = nullptr;
    const QString movie = std::exchange(mUploadMoviePath, QString());
    mUploadDetailLabel->clear();
    mUploadDetailLabel->hide();
    if (!error.isEmpty()) {
        QString text = error;
        if (QFile::exists(movie))
            text +=
                QStringLiteral("\n\n") + tr("The movie is kept at %1.").arg(QDir::toNativeSeparators(movie));
        showAlert(tr("Upload Failed"), text, [this] { failedUploadSheetDidEnd(); });
        return;
    }
    QFile::remove(movie);
    mUploadProgressIndicator->setDoubleValue(0.0);
    switchToView(mUploadCompleteView);
}

void YouTubeWindowController::failedUploadSheetDidEnd()
{
    switchToView(mUploadSettingsView);
}

} // namespace spindrel
