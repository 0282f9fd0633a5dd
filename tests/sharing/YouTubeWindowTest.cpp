#include "QtPrinters.h"
#include "sharing/FakeYouTubeService.h"
#include "sharing/MediaTools.h"
#include "sharing/ProgressIndicator.h"
#include "sharing/Reachability.h"
#include "sharing/SharingServices.h"
#include "sharing/TokenStore.h"
#include "sharing/YouTubeAuthorizer.h"
#include "sharing/YouTubeUploadTicket.h"
#include "sharing/YouTubeWindowController.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
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

class YouTubeWindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QCoreApplication::setOrganizationName(QStringLiteral("SpindrelTests"));
        QCoreApplication::setApplicationName(QStringLiteral("sharing"));
        QSettings().remove(QString::fromLatin1(YouTubeWindowController::skipVideoUploadKey));
        // Exported movies land here, where the test can see whether they are kept.
        mOldTemp = qgetenv("TMPDIR");
        qputenv("TMPDIR", QFile::encodeName(mDir.path()));

        YouTubeService::Configuration configuration = mFake.configuration();
        configure(configuration);
        mService = std::make_shared<YouTubeService>(configuration, std::make_unique<MemoryTokenStore>());
        signIn();
        mWindow = std::make_unique<YouTubeWindowController>(mService);
        mWindow->setRetryDelays({10, 10, 10});
        mWindow->setUrlOpener([this](const QUrl& url) {
            mOpened << url;
            return true;
        });

        const QString path = mDir.filePath(QStringLiteral("kitchen.m4a"));
        ASSERT_TRUE(mediatools::makeTape(path, 2.0));
        mTape = std::make_shared<Tape>(path);
        mTape->setTitle(QStringLiteral("Kitchen session"));
        mTape->setNotes(QStringLiteral("Two takes"));
        mWindow->setTape(mTape);
        mWindow->showWindow();
    }
    void TearDown() override
    {
        QSettings().remove(QString::fromLatin1(YouTubeWindowController::skipVideoUploadKey));
        if (mOldTemp.isEmpty())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", mOldTemp);
    }
    virtual void configure(YouTubeService::Configuration&) {}

    // Tells the window what a change of the network tells it.
    static void networkReturns(YouTubeWindowController& window)
    {
        ASSERT_TRUE(window.reachability());
        Reachability::reachabilityCallback(window.reachability());
    }

    // The upload sheet saying it waits for the network.
    bool waitForNetworkWait()
    {
        return QTest::qWaitFor(
            [&] {
                return mWindow->uploadProgressTextField()->text() ==
                       QStringLiteral("Waiting for the network\u2026");
            },
            60000);
    }

    // The exported movies still on disk.
    QStringList movies() const
    {
        QStringList paths;
        for (const QString& name : QDir(mDir.path()).entryList({QStringLiteral("*.mov")}, QDir::Files))
            paths << mDir.filePath(name);
        return paths;
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
    QByteArray mOldTemp;
};

TEST_F(YouTubeWindowTest, ControlsFollowTheTapeAndTheSignIn)
{
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadSettingsView());
    EXPECT_EQ(mWindow->titleField()->text(), QStringLiteral("Kitchen session"));
    EXPECT_EQ(mWindow->descriptionTextView()->toPlainText(),
              QStringLiteral("Two takes\n\nCreated with Spindrel (https://spindrel.example)"));
    EXPECT_EQ(mWindow->loginButton()->text(), QStringLiteral("Sign Out"));
    EXPECT_TRUE(mWindow->uploadButton()->isEnabled());
    EXPECT_EQ(mWindow->signedInUserName(), QStringLiteral("listener@example.com"));
    // Memory is all this store has, and the window says so.
    EXPECT_TRUE(mWindow->keyringNoticeLabel()->isVisibleTo(mWindow.get()));

    // Assignable categories in order, by label or else by term.
    ASSERT_TRUE(QTest::qWaitFor([&] { return mWindow->categoryPopUp()->count() == 3; }, 15000));
    EXPECT_EQ(mWindow->categoryPopUp()->itemText(1), QStringLiteral("Music"));
    EXPECT_EQ(mWindow->categoryPopUp()->itemData(1).toString(), QStringLiteral("10"));

    auto quiet = std::make_shared<Tape>(mTape->filename());
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
    box->buttons().front()->click();
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadSettingsView());
    QTest::qWait(200);
    EXPECT_TRUE(mFake.requestsTo(QStringLiteral("/upload/youtube/v3/videos")).isEmpty());

    // A refused upload alerts with the service's reason, then returns to the settings too.
    mWindow->keywordsTokenField()->setText(QStringLiteral("spindrel"));
    mFake.refuseUploadStatus = 403;
    mWindow->performUpload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return alert() && alert()->isVisible(); }, 60000));
    // The movie stays, and the alert says where.
    ASSERT_EQ(movies().size(), 1);
    EXPECT_EQ(alert()->text(),
              QStringLiteral("YouTube refused the request: Uploads are refused.\n\nThe movie is kept at %1.")
                  .arg(QDir::toNativeSeparators(movies().front())));
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadProgressView());
    alert()->buttons().front()->click();
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadSettingsView());
}

TEST_F(YouTubeWindowTest, TapeIsRenderedAndArrivesWithItsDetails)
{
    ASSERT_TRUE(QTest::qWaitFor([&] { return mWindow->categoryPopUp()->count() == 3; }, 15000));
    mWindow->categoryPopUp()->setCurrentIndex(1);
    mWindow->privateCheckbox()->setChecked(true);
    mWindow->keywordsTokenField()->setText(QStringLiteral("spindrel, kitchen"));

    mWindow->performUpload();
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadProgressView());
    EXPECT_EQ(mWindow->uploadProgressTextField()->text(), QStringLiteral("Creating video from tape\u2026"));
    EXPECT_EQ(mWindow->uploadProgressIndicator()->maxValue(), 1.0);

    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return mWindow->uploadProgressTextField()->text().startsWith(QStringLiteral("Uploading")); },
        60000));
    EXPECT_EQ(mWindow->uploadProgressTextField()->text(), QStringLiteral("Uploading to YouTube\u2026"));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return mWindow->currentView() == mWindow->uploadCompleteView(); }, 30000));
    EXPECT_EQ(mWindow->uploadProgressIndicator()->doubleValue(), 0.0);
    EXPECT_EQ(mWindow->videoUploadTicket(), nullptr);
    EXPECT_TRUE(movies().isEmpty()); // uploaded, so no longer needed

    ASSERT_TRUE(mFake.uploadComplete);
    EXPECT_EQ(mFake.movie.mid(4, 4), "ftyp");
    EXPECT_EQ(mFake.uploadContentType, "video/quicktime");
    const QJsonObject snippet = mFake.uploadMetadata.value(QStringLiteral("snippet")).toObject();
    EXPECT_EQ(snippet.value(QStringLiteral("title")).toString(), QStringLiteral("Kitchen session"));
    EXPECT_EQ(snippet.value(QStringLiteral("description")).toString(),
              mWindow->descriptionTextView()->toPlainText());
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
    ASSERT_TRUE(QTest::qWaitFor([&] { return !mOpened.isEmpty(); }, 60000));
    const QString movie = mOpened.front().toLocalFile();
    EXPECT_TRUE(movie.endsWith(QStringLiteral(".mov")));
    EXPECT_TRUE(QFile::exists(movie));
    QFile::remove(movie);
    EXPECT_TRUE(mFake.requestsTo(QStringLiteral("/upload/youtube/v3/videos")).isEmpty());
}

TEST_F(YouTubeWindowTest, CategoriesThatCannotBeFetchedSayWhyAndComeBackByThemselves)
{
    ASSERT_TRUE(QTest::qWaitFor([&] { return mWindow->categoryPopUp()->count() == 3; }, 30000));
    EXPECT_FALSE(mWindow->categoryStatusLabel()->isVisibleTo(mWindow.get()));

    // A service that never answers: the sheet says so when the request times out, and the list
    // comes by itself once the service answers again.
    mFake.fault = FakeYouTubeService::Fault::Stall;
    mFake.faultPath = QStringLiteral("/youtube/v3/videoCategories");
    FaultClock clock(mFake);
    YouTubeWindowController stalled(mService);
    stalled.setRetryDelays({200});
    QLabel* status = stalled.categoryStatusLabel();
    ASSERT_TRUE(QTest::qWaitFor([&] { return status->isVisibleTo(&stalled); }, 30000));
    reportDelay("stalled category list to its explanation", clock.elapsed());
    EXPECT_EQ(status->text(), QStringLiteral("YouTube could not be reached: no answer within 1 s"));
    EXPECT_EQ(stalled.categoryPopUp()->count(), 0);
    mFake.recover();
    ASSERT_TRUE(QTest::qWaitFor([&] { return stalled.categoryPopUp()->count() == 3; }, 30000));
    EXPECT_FALSE(status->isVisibleTo(&stalled));

    // A refusal is explained and not asked again on a timer; the network coming back asks again.
    mFake.refuseCategoriesStatus = 403;
    YouTubeWindowController refused(mService);
    refused.setRetryDelays({10});
    ASSERT_TRUE(QTest::qWaitFor([&] { return refused.categoryStatusLabel()->isVisibleTo(&refused); }, 30000));
    EXPECT_EQ(refused.categoryStatusLabel()->text(),
              QStringLiteral("YouTube refused the request: The request cannot be completed."));
    const qsizetype asked = mFake.requestsTo(QStringLiteral("/youtube/v3/videoCategories")).size();
    QTest::qWait(300);
    EXPECT_EQ(mFake.requestsTo(QStringLiteral("/youtube/v3/videoCategories")).size(), asked);
    mFake.refuseCategoriesStatus = 0;
    networkReturns(refused);
    ASSERT_TRUE(QTest::qWaitFor([&] { return refused.categoryPopUp()->count() == 3; }, 30000));
    EXPECT_FALSE(refused.categoryStatusLabel()->isVisibleTo(&refused));
}

TEST_F(YouTubeWindowTest, UploadWaitsThroughAnOutageKeepsTheMovieAndResumesWithTheNetwork)
{
    // Ten minutes between tries: only the network coming back can resume it within the test.
    mWindow->setRetryDelays({10 * 60 * 1000});
    mFake.fault = FakeYouTubeService::Fault::Drop;
    mFake.faultPath = QStringLiteral("/upload/session/");
    FaultClock clock(mFake);
    mWindow->performUpload();
    ASSERT_TRUE(waitForNetworkWait());
    reportDelay("dropped upload to 'Waiting for the network...'", clock.elapsed());
    EXPECT_TRUE(mWindow->uploadDetailLabel()->isVisibleTo(mWindow.get()));
    EXPECT_TRUE(
        mWindow->uploadDetailLabel()->text().startsWith(QStringLiteral("YouTube could not be reached: ")));
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadProgressView());
    EXPECT_EQ(alert(), nullptr);
    const QStringList kept = movies();
    ASSERT_EQ(kept.size(), 1);
    const qint64 movieSize = QFileInfo(kept.front()).size();

    mFake.recover();
    networkReturns(*mWindow);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return mWindow->currentView() == mWindow->uploadCompleteView(); }, 30000));
    EXPECT_EQ(alert(), nullptr);
    ASSERT_TRUE(mFake.uploadComplete);
    EXPECT_EQ(mFake.movie.size(), movieSize);
    EXPECT_GE(mFake.connectionsBroken, 1);
    EXPECT_FALSE(QFile::exists(kept.front()));
}

TEST_F(YouTubeWindowTest, CancellingAWaitingUploadDeletesItsMovieAndItsLateEndChangesNothing)
{
    mWindow->setRetryDelays({10 * 60 * 1000});
    mFake.fault = FakeYouTubeService::Fault::Stall;
    mFake.faultPath = QStringLiteral("/upload/");
    mWindow->performUpload();
    ASSERT_TRUE(waitForNetworkWait());
    EXPECT_EQ(mWindow->uploadDetailLabel()->text(),
              QStringLiteral("YouTube could not be reached: no answer within 1 s"));
    ASSERT_EQ(movies().size(), 1);
    YouTubeUploadTicket* old = mWindow->videoUploadTicket();
    ASSERT_TRUE(old);
    mWindow->cancelUpload();
    EXPECT_FALSE(mWindow->isVisible());
    EXPECT_EQ(mWindow->videoUploadTicket(), nullptr);
    EXPECT_TRUE(movies().isEmpty());
    // The cancelled ticket finishing after all is no longer the window's business.
    Q_EMIT old->finished(QString());
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadProgressView());
}

TEST_F(YouTubeWindowTest, SignInRenewalTroubleIsExplainedAndARevokedOneAsksForANewSignIn)
{
    ASSERT_TRUE(QTest::qWaitFor([&] { return mWindow->categoryPopUp()->count() == 3; }, 30000));
    QLabel* label = mWindow->loginFailedLabel();

    // The token service in trouble: the sheet says so, and the word goes once the renewal is through.
    mService->authorizer().setRefreshRetryDelays({2000});
    lapseToken(mService->authorizer());
    mFake.fault = FakeYouTubeService::Fault::Unavailable;
    mFake.faultPath = QStringLiteral("/token");
    mFake.faultsLeft = 1;
    mWindow->fetchStandardCategories();
    ASSERT_TRUE(QTest::qWaitFor([&] { return label->isVisibleTo(mWindow.get()); }, 30000));
    EXPECT_EQ(
        label->text(),
        QStringLiteral("YouTube could not be reached: its sign-in service answered 503 Service Unavailable"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !label->isVisibleTo(mWindow.get()); }, 30000));
    EXPECT_TRUE(mWindow->isSignedIn());
    EXPECT_EQ(mService->authorizer().authorizationHeaderValue(), "Bearer " + mFake.lastAccessToken.toUtf8());

    // The grant withdrawn: the user is asked to sign in again.
    lapseToken(mService->authorizer());
    mFake.refreshToken = QStringLiteral("refresh-2");
    mWindow->fetchStandardCategories();
    ASSERT_TRUE(QTest::qWaitFor([&] { return label->isVisibleTo(mWindow.get()); }, 30000));
    EXPECT_TRUE(label->text().endsWith(QStringLiteral("Please sign in again.")))
        << label->text().toStdString();
    EXPECT_EQ(mWindow->loginButton()->text(), QStringLiteral("Sign In"));
    EXPECT_FALSE(mWindow->uploadButton()->isEnabled());
}

class YouTubeWindowShortOutageTest : public YouTubeWindowTest
{
protected:
    void configure(YouTubeService::Configuration& configuration) override
    {
        configuration.outageLimitMs = 2000;
    }
};

TEST_F(YouTubeWindowShortOutageTest, UploadThatCannotReachYouTubeInTimeSaysWhyAndWhereTheMovieIs)
{
    ASSERT_TRUE(QTest::qWaitFor([&] { return mWindow->categoryPopUp()->count() == 3; }, 30000));
    mWindow->setRetryDelays({100, 200});
    mFake.fault = FakeYouTubeService::Fault::Drop;
    mFake.faultPath = QStringLiteral("/upload/");
    FaultClock clock(mFake);
    mWindow->performUpload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return alert() && alert()->isVisible(); }, 60000));
    EXPECT_GE(clock.elapsed(), 2000) << "gave up before the outage outlasted the limit";
    EXPECT_GE(mFake.faultsMet, 3) << "it kept trying";
    EXPECT_EQ(mWindow->uploadProgressTextField()->text(), QStringLiteral("Waiting for the network\u2026"));
    const QStringList kept = movies();
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(alert()->windowTitle(), QStringLiteral("Upload Failed"));
    const QString text = alert()->text();
    EXPECT_TRUE(text.startsWith(QStringLiteral("YouTube could not be reached: "))) << text.toStdString();
    EXPECT_TRUE(text.endsWith(QStringLiteral("Spindrel waited 2 s for the network and stopped the upload.\n\n"
                                             "The movie is kept at %1.")
                                  .arg(QDir::toNativeSeparators(kept.front()))))
        << text.toStdString();
    alert()->buttons().front()->click();
    EXPECT_EQ(mWindow->currentView(), mWindow->uploadSettingsView());
    EXPECT_TRUE(QFile::exists(kept.front()));
}

TEST(SharingServices, SubmenuListsYouTubeThenITunesAndPerformsForEveryTape)
{
    auto first = std::make_shared<Tape>(QStringLiteral("/nonexistent/first.m4a"));
    auto second = std::make_shared<Tape>(QStringLiteral("/nonexistent/second.m4a"));
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
