#pragma once

#include "sharing/YouTubeCategoryList.h"
#include "tapes/Tape.h"

#include <QPointer>
#include <QWidget>
#include <functional>
#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTimer;
class QVBoxLayout;

namespace spindrel {

class ProgressIndicator;
class Reachability;
class TapeMovie;
class YouTubeService;
class YouTubeUploadTicket;

/// The window that sends a tape to YouTube: sign in, fill in title, description, keywords,
/// category and privacy, then the tape is rendered into a movie and uploaded. Three stages
/// share the window: the settings, the progress of export and upload, and the end.
class YouTubeWindowController : public QWidget
{
    Q_OBJECT

public:
    /// The user default that makes the rendered movie open here instead of going to YouTube.
    static constexpr const char* skipVideoUploadKey = "VORLSpindrelSkipVideoUpload";
    /// Opens an address outside the application (browser, movie player).
    using UrlOpener = std::function<bool(const QUrl& url)>;

    /// The application's one upload window, made on first use and kept until it quits.
    static YouTubeWindowController* sharedInstance();

    explicit YouTubeWindowController(std::shared_ptr<YouTubeService> service, QWidget* parent = nullptr);
    ~YouTubeWindowController() override;

    const TapePtr& tape() const { return mTape; }
    /// Every change refreshes the controls.
    void setTape(TapePtr tape);
    void setUrlOpener(UrlOpener opener) { mOpenUrl = std::move(opener); }
    /// Pauses between retries of the upload and of the category list; the last one repeats.
    void setRetryDelays(std::vector<int> milliseconds) { mRetryDelays = std::move(milliseconds); }

    void showWindow();
    void closeWindow();
    void dismissPanel();
    void cancelUpload();
    void signInOrOut();
    void performUpload();
    void visitMyVideos();
    void needAnAccount();

    bool isSignedIn() const;
    QString signedInUserName() const;
    /// Title, description and keywords are all filled in.
    bool canUpload() const;
    void refreshControls();
    void switchToView(QWidget* view);
    void fetchStandardCategories();
    void uploadVideoAtURL(const QString& path);

    /// "notes\n\nCreated with Spindrel (address)"; only the footer when the notes are empty.
    static QString descriptionForNotes(const QString& notes, const QString& webAddress);

    QWidget* uploadSettingsView() const { return mUploadSettingsView; }
    QWidget* uploadProgressView() const { return mUploadProgressView; }
    QWidget* uploadCompleteView() const { return mUploadCompleteView; }
    QWidget* currentView() const { return mCurrentView; }
    QLineEdit* titleField() const { return mTitleField; }
    QPlainTextEdit* descriptionTextView() const { return mDescriptionTextView; }
    QLineEdit* keywordsTokenField() const { return mKeywordsTokenField; }
    QComboBox* categoryPopUp() const { return mCategoryPopUp; }
    QCheckBox* privateCheckbox() const { return mPrivateCheckbox; }
    QPushButton* uploadButton() const { return mUploadButton; }
    QPushButton* loginButton() const { return mLoginButton; }
    QLabel* loginFailedLabel() const { return mLoginFailedLabel; }
    QLabel* keyringNoticeLabel() const { return mKeyringNoticeLabel; }
    QLabel* uploadProgressTextField() const { return mUploadProgressTextField; }
    /// Under the progress: why the upload waits, empty while it goes on.
    QLabel* uploadDetailLabel() const { return mUploadDetailLabel; }
    /// Under the category list: why it could not be fetched, hidden when it could.
    QLabel* categoryStatusLabel() const { return mCategoryStatusLabel; }
    /// The watcher of the service's host; its changes resume a waiting upload.
    Reachability* reachability() const { return mYoutubeReachability.get(); }
    ProgressIndicator* uploadProgressIndicator() const { return mUploadProgressIndicator; }
    YouTubeUploadTicket* videoUploadTicket() const;
    /// The movie file of the running upload; empty when none runs.
    const QString& uploadMoviePath() const { return mUploadMoviePath; }

Q_SIGNALS:
    void tapeChanged();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    /// Follows the sign-in, restores a stored one and starts fetching the categories.
    void connectToService();
    void refreshSignInControls();
    void buildSettingsView();
    void buildProgressView();
    void buildCompleteView();
    void showAlert(const QString& title, const QString& text, std::function<void()> dismissed = {});
    void signInFinished(const QString& error);
    void categoriesArrived(const YouTubeCategoryList::Result& result, const QString& explanation,
                           bool retryByTimer);
    void networkMayHaveReturned();
    void movieExported(const QString& path, bool abandoned);
    void uploadFinished(YouTubeUploadTicket* ticket, const QString& error);
    void failedUploadSheetDidEnd();
    QStringList keywords() const;

    std::shared_ptr<YouTubeService> mService;
    TapePtr mTape;
    UrlOpener mOpenUrl;
    std::vector<int> mRetryDelays;
    size_t mCategoryRetries = 0;
    QTimer* mCategoryRetryTimer = nullptr;
    /// The exported movie being uploaded: kept until the upload succeeds or is cancelled.
    QString mUploadMoviePath;

    QVBoxLayout* mContentLayout = nullptr;
    QWidget* mCurrentView = nullptr;
    QWidget* mUploadSettingsView = nullptr;
    QWidget* mUploadProgressView = nullptr;
    QWidget* mUploadCompleteView = nullptr;
    QLineEdit* mTitleField = nullptr;
    QPlainTextEdit* mDescriptionTextView = nullptr;
    QLineEdit* mKeywordsTokenField = nullptr;
    QComboBox* mCategoryPopUp = nullptr;
    QCheckBox* mPrivateCheckbox = nullptr;
    QPushButton* mUploadButton = nullptr;
    QPushButton* mLoginButton = nullptr;
    QLabel* mLoginFailedLabel = nullptr;
    QLabel* mSignedInLabel = nullptr;
    QLabel* mKeyringNoticeLabel = nullptr;
    ProgressIndicator* mCheckingPasswordProgressIndicator = nullptr;
    QLabel* mUploadProgressTextField = nullptr;
    QLabel* mUploadDetailLabel = nullptr;
    QLabel* mCategoryStatusLabel = nullptr;
    ProgressIndicator* mUploadProgressIndicator = nullptr;

    QPointer<YouTubeUploadTicket> mVideoUploadTicket;
    QPointer<QObject> mEntriesFetchTicket;
    bool mFetchCategoriesAgain = false; // a fetch was asked for while one was out
    std::unique_ptr<Reachability> mYoutubeReachability;
    std::unique_ptr<TapeMovie> mMovie;
    /// Bumped when an export is abandoned (cancel), so its late completion is ignored.
    int mExportGeneration = 0;
};

} // namespace spindrel
