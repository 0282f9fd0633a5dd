#include "sharing/FakeYouTubeService.h"
#include "sharing/MediaTools.h"
#include "sharing/ProgressIndicator.h"
#include "sharing/QtPrinters.h"
#include "sharing/SharingServices.h"
#include "sharing/TokenStore.h"
#include "sharing/YouTubeAuthorizer.h"
#include "sharing/YouTubeUploadTicket.h"
#include "sharing/YouTubeWindowController.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

bool waitFor(const std::function<bool()>& condition, int milliseconds)
{
    for (int waited = 0; waited < milliseconds; waited += 10) {
        if (condition())
            return true;
        QTest::qWait(10);
    }
    return condition();
}

class YouTubeWindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QCoreApplication::setOrganizationName(QStringLiteral("SpindrelTests"));
        QCoreApplication::setApplicationName(QStringLiteral("sharing"));
        QSettings().remove(QString::fromLatin1(YouTubeWindowController::skipVideoUploadKey));

        mService =
            std::make_shared<YouTubeService>(mFake.configuration(), std::make_unique<MemoryTokenStore>());
        signIn();
        mWindow = std::make_unique<YouTubeWindowController>(mService);
        mWindow->setUploadRetryDelays({10, 10, 10});
        mWindow->setUrlOpener([this](const QUrl& url) {
            mOpened << url;
            return true;
        });

        const QString path = mDir.filePath(QStringLiteral("kitchen.m4a"));
        ASSERT_TRUE(mediatools::makeTape(path, 2.0));
        mTape = std::make_shared<Tape>(path);
        mTape->setCommitsWhenReleased(false);
        mTape->setTitle(QStringLiteral("Kitchen session"));
        mTape->setNotes(QStringLiteral("Two takes"));
        mWindow->setTape(mTape);
        mWindow->showWindow();
    }
    void TearDown() override
    {
        QSettings().remove(QString::fromLatin1(YouTubeWindowController::skipVideoUploadKey));
    }

    // Signed in as if through the browser: the fake knows the access token.
    void signIn()
    {
        mFake.lastAccessToken = QStringLiteral("access-window");
        YouTubeAuthorizer::Token token;
        token.accessToken = mFake.lastAccessToken;
        token.refreshToken = mFake.refreshToken;
        token.expiry = QDateTime::currentDateTimeUtc().addSecs(3600);
        token.email = mFake.email;
        mService->authorizer().setToken(token);
    }

    QMessageBox* alert() const { return mWindow->findChild<QMessageBox*>(); }

    QTemporaryDir mDir;
    FakeYouTubeService mFake;
    std::shared_ptr<YouTubeService> mService;
    std::unique_ptr<YouTubeWindowController> mWindow;
    TapePtr mTape;
    QList<QUrl> mOpened;
};

TEST_F(YouTubeWindowTest, ControlsFollowTheTapeAndTheSignIn)
{
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadSettingsView());
    EXPECT_EQ(mWindow->titleField()->text(), QStringLiteral("Kitchen session"));
    EXPECT_EQ(mWindow->descriptionTextView()->toPlainText(),
              QStringLiteral("Two takes\n\nCreated with Spindrel (https://spindrel.example)"));
    EXPECT_EQ(mWindow->keywordsTokenField()->text(), QStringLiteral("spindrel"));
    EXPECT_EQ(mWindow->loginButton()->text(), QStringLiteral("Sign Out"));
    EXPECT_TRUE(mWindow->uploadButton()->isEnabled());
    EXPECT_EQ(mWindow->signedInUserName(), QStringLiteral("listener@example.com"));
    // Memory is all this store has, and the window says so.
    EXPECT_TRUE(mWindow->keyringNoticeLabel()->isVisibleTo(mWindow.get()));

    // Assignable categories in order, by label or else by term.
    ASSERT_TRUE(waitFor([&] { return mWindow->categoryPopUp()->count() == 3; }, 5000));
    EXPECT_EQ(mWindow->categoryPopUp()->itemText(0), QStringLiteral("Film & Animation"));
    EXPECT_EQ(mWindow->categoryPopUp()->itemText(1), QStringLiteral("Music"));
    EXPECT_EQ(mWindow->categoryPopUp()->itemData(1).toString(), QStringLiteral("10"));
    EXPECT_EQ(mWindow->categoryPopUp()->itemText(2), QStringLiteral("22"));

    auto quiet = std::make_shared<Tape>(mTape->filename());
    quiet->setCommitsWhenReleased(false);
    quiet->setNotes(QString());
    mWindow->setTape(quiet);
    EXPECT_EQ(mWindow->descriptionTextView()->toPlainText(),
              QStringLiteral("Created with Spindrel (https://spindrel.example)"));

    mWindow->signInOrOut();
    EXPECT_EQ(mWindow->loginButton()->text(), QStringLiteral("Sign In"));
    EXPECT_FALSE(mWindow->uploadButton()->isEnabled());
    EXPECT_FALSE(mWindow->isSignedIn());
}

TEST_F(YouTubeWindowTest, EmptyFieldOrRefusedUploadAlertsAndReturnsToTheSettings)
{
    mWindow->keywordsTokenField()->clear();
    EXPECT_FALSE(mWindow->canUpload());
    mWindow->performUpload();
    QMessageBox* box = alert();
    ASSERT_TRUE(box);
    EXPECT_EQ(box->text(), QStringLiteral("All fields must be filled out to upload your video."));
    EXPECT_EQ(box->windowTitle(), QStringLiteral("Fields Missing"));
    box->buttons().front()->click();
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadSettingsView());
    QTest::qWait(200);
    EXPECT_TRUE(mFake.requestsTo(QStringLiteral("/upload/youtube/v3/videos")).isEmpty());

    // A refused upload alerts with the service's reason, then returns to the settings too.
    mWindow->keywordsTokenField()->setText(QStringLiteral("spindrel"));
    mFake.refuseUploadStatus = 403;
    mWindow->performUpload();
    ASSERT_TRUE(waitFor([&] { return alert() && alert()->isVisible(); }, 60000));
    EXPECT_EQ(alert()->text(), QStringLiteral("Uploads are refused."));
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadProgressView());
    alert()->buttons().front()->click();
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadSettingsView());
}

TEST_F(YouTubeWindowTest, TapeIsRenderedAndArrivesWithItsDetails)
{
    ASSERT_TRUE(waitFor([&] { return mWindow->categoryPopUp()->count() == 3; }, 5000));
    mWindow->categoryPopUp()->setCurrentIndex(1);
    mWindow->privateCheckbox()->setChecked(true);
    mWindow->keywordsTokenField()->setText(QStringLiteral("spindrel, kitchen"));
    mFake.breakAfterBytes = 20000;

    mWindow->performUpload();
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadProgressView());
    EXPECT_EQ(mWindow->uploadProgressTextField()->text(), QStringLiteral("Creating video from tape\u2026"));
    EXPECT_EQ(mWindow->uploadProgressIndicator()->maxValue(), 1.0);

    ASSERT_TRUE(waitFor(
        [&] { return mWindow->uploadProgressTextField()->text().startsWith(QStringLiteral("Uploading")); },
        60000));
    EXPECT_EQ(mWindow->uploadProgressTextField()->text(), QStringLiteral("Uploading to YouTube\u2026"));
    ASSERT_TRUE(waitFor([&] { return mWindow->currentView() == mWindow->uploadCompleteView(); }, 30000));
    EXPECT_EQ(mWindow->uploadProgressIndicator()->doubleValue(), 0.0);
    EXPECT_EQ(mWindow->videoUploadTicket(), nullptr);

    ASSERT_TRUE(mFake.uploadComplete);
    EXPECT_GE(mFake.connectionsBroken, 1);
    EXPECT_EQ(mFake.movie.mid(4, 4), "ftyp");
    EXPECT_EQ(mFake.uploadContentType, "video/quicktime");
    const QJsonObject snippet = mFake.uploadMetadata.value(QStringLiteral("snippet")).toObject();
    EXPECT_EQ(snippet.value(QStringLiteral("title")).toString(), QStringLiteral("Kitchen session"));
    EXPECT_EQ(snippet.value(QStringLiteral("tags")).toArray(),
              QJsonArray({QStringLiteral("spindrel"), QStringLiteral("kitchen")}));
    EXPECT_EQ(snippet.value(QStringLiteral("categoryId")).toString(), QStringLiteral("10"));
    EXPECT_EQ(mFake.uploadMetadata.value(QStringLiteral("status"))
                  .toObject()
                  .value(QStringLiteral("privacyStatus")),
              QStringLiteral("private"));

    mWindow->visitMyVideos();
    ASSERT_EQ(mOpened.size(), 1);
    EXPECT_EQ(mOpened.front(), mFake.configuration().myVideosUrl);
    mWindow->dismissPanel();
    EXPECT_FALSE(mWindow->isVisible());
}

TEST_F(YouTubeWindowTest, SkipUploadDefaultOpensTheMovieHere)
{
    QSettings().setValue(QString::fromLatin1(YouTubeWindowController::skipVideoUploadKey), true);
    mWindow->performUpload();
    ASSERT_TRUE(waitFor([&] { return !mOpened.isEmpty(); }, 60000));
    const QString movie = mOpened.front().toLocalFile();
    EXPECT_TRUE(movie.endsWith(QStringLiteral(".mov")));
    EXPECT_TRUE(QFile::exists(movie));
    QFile::remove(movie);
    EXPECT_TRUE(mFake.requestsTo(QStringLiteral("/upload/youtube/v3/videos")).isEmpty());
}

TEST_F(YouTubeWindowTest, CompletionOfAnUploadNoLongerCurrentChangesNothing)
{
    const QString movie = mDir.filePath(QStringLiteral("small.mov"));
    ASSERT_TRUE(mediatools::makeTape(movie, 0.1));
    mWindow->switchToView(mWindow->uploadProgressView());
    mWindow->uploadVideoAtURL(movie);
    YouTubeUploadTicket* old = mWindow->videoUploadTicket();
    ASSERT_TRUE(old);
    mWindow->cancelUpload();
    EXPECT_FALSE(mWindow->isVisible());
    EXPECT_EQ(mWindow->videoUploadTicket(), nullptr);
    Q_EMIT old->finished(QString());
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadProgressView());
}

TEST(SharingServices, SubmenuListsYouTubeThenITunesAndPerformsForEveryTape)
{
    auto first = std::make_shared<Tape>(QStringLiteral("/nonexistent/first.m4a"));
    auto second = std::make_shared<Tape>(QStringLiteral("/nonexistent/second.m4a"));
    first->setCommitsWhenReleased(false);
    second->setCommitsWhenReleased(false);
    first->setTitle(QStringLiteral("First"));
    QList<TapePtr> toYouTube;
    QList<TapePtr> toITunes;
    QMenu menu;
    menu.addAction(QStringLiteral("stale"));
    SharingServices::createSharingSubmenuForMenu(
        &menu, {first, second}, [&](const TapePtr& tape) { toYouTube << tape; },
        [&](const TapePtr& tape) { toITunes << tape; });
    const QList<QAction*> items = menu.actions();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0]->text(), QStringLiteral("YouTube"));
    EXPECT_EQ(items[1]->text(), QStringLiteral("Music Library"));
    EXPECT_TRUE(items[0]->isEnabled());

    items[0]->trigger();
    EXPECT_EQ(toYouTube, (QList<TapePtr>{first, second}));
    EXPECT_TRUE(toITunes.isEmpty());
    SharingServices::sharingServiceSelected(items[1]);
    EXPECT_EQ(toITunes, (QList<TapePtr>{first, second}));
}

} // namespace
