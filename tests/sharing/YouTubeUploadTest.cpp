#include "QtPrinters.h"
#include "sharing/FakeYouTubeService.h"
#include "sharing/TokenStore.h"
#include "sharing/YouTubeAuthorizer.h"
#include "sharing/YouTubeCategoryList.h"
#include "sharing/YouTubeUploadTicket.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <QUrlQuery>
#include <algorithm>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

QByteArray randomMovie(qsizetype size)
{
    QByteArray movie(size, '\0');
    QRandomGenerator generator(7);
    for (char& byte : movie)
        byte = char(generator.bounded(256));
    return movie;
}

class YouTubeServiceTest : public ::testing::Test
{
protected:
    YouTubeServiceTest()
    {
        auto store = std::make_unique<MemoryTokenStore>();
        mStore = store.get();
        mService = std::make_unique<YouTubeService>(mFake.configuration(), std::move(store));
        // The "browser": checks what the sign-in page is asked, then lets the user agree.
        mService->authorizer().setBrowserOpener([this](const QUrl& url) {
            mBrowserUrl = url;
            const QUrlQuery query(url);
            const QString code = mFake.issueCode(query.queryItemValue(QStringLiteral("code_challenge")));
            QUrl back(query.queryItemValue(QStringLiteral("redirect_uri"), QUrl::FullyDecoded));
            back.setQuery(QStringLiteral("state=%1&code=%2&scope=x")
                              .arg(mForgeState ? QStringLiteral("forged")
                                               : query.queryItemValue(QStringLiteral("state")),
                                   code));
            QMetaObject::invokeMethod(
                &mBrowser, [this, back] { mBrowser.get(QNetworkRequest(back)); }, Qt::QueuedConnection);
            return true;
        });
    }

    void signIn()
    {
        QSignalSpy finished(&mService->authorizer(), &YouTubeAuthorizer::signInFinished);
        mService->authorizer().signIn();
        ASSERT_TRUE(finished.wait(5000));
        ASSERT_EQ(finished.at(0).at(0).toString(), QString());
    }

    // Whether a movie PUT carried this Content-Range.
    bool sentRange(const QByteArray& range) const
    {
        const auto puts = mFake.requestsTo(QStringLiteral("/upload/session/1"));
        return std::ranges::any_of(
            puts, [&](const auto& put) { return put.headers.value("content-range") == range; });
    }

    FakeYouTubeService mFake;
    MemoryTokenStore* mStore = nullptr;
    std::unique_ptr<YouTubeService> mService;
    QNetworkAccessManager mBrowser;
    QUrl mBrowserUrl;
    bool mForgeState = false;
};

TEST_F(YouTubeServiceTest, SignInGoesThroughTheBrowserWithPKCEAndAState)
{
    // An answer that comes back with another state is refused before any code is exchanged.
    mForgeState = true;
    QSignalSpy forged(&mService->authorizer(), &YouTubeAuthorizer::signInFinished);
    mService->authorizer().signIn();
    ASSERT_TRUE(forged.wait(5000));
    EXPECT_FALSE(forged.at(0).at(0).toString().isEmpty());
    EXPECT_FALSE(mService->authorizer().canAuthorize());
    EXPECT_TRUE(mFake.requestsTo(QStringLiteral("/token")).isEmpty());

    mForgeState = false;
    signIn();
    const QUrlQuery asked(mBrowserUrl);
    EXPECT_EQ(mBrowserUrl.path(), QStringLiteral("/auth"));
    EXPECT_EQ(asked.queryItemValue(QStringLiteral("client_id")), mFake.configuration().clientId);
    EXPECT_EQ(asked.queryItemValue(QStringLiteral("code_challenge_method")), QStringLiteral("S256"));
    EXPECT_GE(asked.queryItemValue(QStringLiteral("state")).size(), 16);
    const QUrl redirect(asked.queryItemValue(QStringLiteral("redirect_uri"), QUrl::FullyDecoded));
    EXPECT_EQ(redirect.host(), QStringLiteral("127.0.0.1"));
    EXPECT_GT(redirect.port(), 0);

    // The fake accepted the code only with the verifier matching the challenge.
    const auto exchanges = mFake.requestsTo(QStringLiteral("/token"));
    ASSERT_EQ(exchanges.size(), 1);
    const QUrlQuery form(QString::fromUtf8(exchanges.front().body));
    EXPECT_EQ(form.queryItemValue(QStringLiteral("redirect_uri"), QUrl::FullyDecoded), redirect.toString());

    YouTubeAuthorizer& authorizer = mService->authorizer();
    EXPECT_TRUE(authorizer.isSignedIn());
    EXPECT_EQ(authorizer.userEmail(), QStringLiteral("listener@example.com"));
    EXPECT_FALSE(authorizer.isSigningIn()); // the redirect listener is gone

    const auto stored = mStore->load(QString::fromLatin1(YouTubeService::keychainItemName));
    ASSERT_TRUE(stored.has_value());
    const auto token = YouTubeAuthorizer::Token::fromJson(*stored);
    ASSERT_TRUE(token.has_value());
    EXPECT_EQ(token->refreshToken, mFake.refreshToken);

    authorizer.signOut();
    EXPECT_FALSE(authorizer.isSignedIn());
    EXPECT_FALSE(mStore->load(QString::fromLatin1(YouTubeService::keychainItemName)).has_value());
}

TEST(YouTubeAuthorizerTest, CodeVerifierAndChallengeFollowS256)
{
    // RFC 7636, appendix B.
    EXPECT_EQ(YouTubeAuthorizer::codeChallengeForVerifier(
                  QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk")),
              QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"));
    const QString verifier = YouTubeAuthorizer::newCodeVerifier();
    EXPECT_GE(verifier.size(), 43);
    EXPECT_LE(verifier.size(), 128);
    EXPECT_NE(verifier, YouTubeAuthorizer::newCodeVerifier());
}

TEST_F(YouTubeServiceTest, LapsedAccessTokenIsRefreshedOnceForWaitingRequests)
{
    signIn();
    lapseToken(mService->authorizer());
    const qsizetype tokenRequestsBefore = mFake.requestsTo(QStringLiteral("/token")).size();

    int answered = 0;
    for (int i = 0; i < 2; ++i)
        mService->authorizer().authorize([&](const std::optional<QString>& error) {
            EXPECT_FALSE(error.has_value());
            ++answered;
        });
    EXPECT_TRUE(QTest::qWaitFor([&] { return answered == 2; }, 15000));
    EXPECT_EQ(mFake.requestsTo(QStringLiteral("/token")).size(), tokenRequestsBefore + 1);
    EXPECT_EQ(mService->authorizer().authorizationHeaderValue(), "Bearer " + mFake.lastAccessToken.toUtf8());
    EXPECT_EQ(mService->authorizer().token().refreshToken, mFake.refreshToken);
}

TEST_F(YouTubeServiceTest, MovieArrivesWholeAfterABrokenConnection)
{
    signIn();
    const QByteArray movie = randomMovie(3 * 1024 * 1024 + 17);
    mFake.fault = FakeYouTubeService::Fault::Drop;
    mFake.faultPath = QStringLiteral("/upload/session/");
    mFake.faultsLeft = 1;
    mFake.dropAfterBytes = 1024 * 1024;
    // What is sent is the window's test; here only how.
    YouTubeUploadTicket ticket(*mService, movie, QStringLiteral("video/quicktime"), {});
    ticket.setRetryDelays({10, 10, 10});
    QSignalSpy finished(&ticket, &YouTubeUploadTicket::finished);
    QSignalSpy progress(&ticket, &YouTubeUploadTicket::progress);
    ticket.start();
    ASSERT_TRUE(finished.wait(20000));
    EXPECT_EQ(finished.at(0).at(0).toString(), QString());
    EXPECT_EQ(ticket.videoId(), QStringLiteral("fake-video-1"));
    EXPECT_GE(mFake.connectionsBroken, 1);
    ASSERT_TRUE(mFake.uploadComplete);
    EXPECT_TRUE(mFake.movie == movie);

    // The client asked how much had arrived and sent only the rest.
    const QByteArray total = QByteArray::number(movie.size());
    EXPECT_TRUE(sentRange("bytes */" + total));
    EXPECT_TRUE(sentRange("bytes 1048576-" + QByteArray::number(movie.size() - 1) + '/' + total));
    ASSERT_FALSE(progress.isEmpty());
    EXPECT_EQ(progress.last(), QVariantList({movie.size(), movie.size()}));
}

TEST_F(YouTubeServiceTest, UploadWithoutSignInOrRefusedReportsWhyAndSendsNoMovie)
{
    YouTubeUploadTicket unsigned_(*mService, QByteArray(10, 'm'), QStringLiteral("video/mp4"), {});
    QSignalSpy failed(&unsigned_, &YouTubeUploadTicket::finished);
    unsigned_.start();
    ASSERT_EQ(failed.size(), 1);
    EXPECT_FALSE(failed.at(0).at(0).toString().isEmpty());
    EXPECT_TRUE(mFake.requests.isEmpty());

    signIn();
    mFake.refuseUploadStatus = 403;
    YouTubeUploadTicket ticket(*mService, QByteArray(1000, 'm'), QStringLiteral("video/mp4"), {});
    QSignalSpy finished(&ticket, &YouTubeUploadTicket::finished);
    ticket.start();
    ASSERT_TRUE(finished.wait(5000));
    EXPECT_EQ(finished.at(0).at(0).toString(),
              QStringLiteral("YouTube refused the request: Uploads are refused."));
    EXPECT_TRUE(mFake.movie.isEmpty());
}

TEST_F(YouTubeServiceTest, StalledUploadTimesOutWaitsAndGoesOnWhenTheServiceAnswersAgain)
{
    signIn();
    const QByteArray movie = randomMovie(3 * 1024 * 1024);
    mFake.fault = FakeYouTubeService::Fault::Stall;
    mFake.faultPath = QStringLiteral("/upload/session/");
    YouTubeUploadTicket ticket(*mService, movie, QStringLiteral("video/mp4"), {});
    ticket.setRetryDelays({200, 400});
    QSignalSpy waiting(&ticket, &YouTubeUploadTicket::waitingForNetwork);
    QSignalSpy finished(&ticket, &YouTubeUploadTicket::finished);
    FaultClock sinceFault(mFake);
    ticket.start();

    // The movie and then the question how much arrived both hang: each try ends on the timeout.
    ASSERT_TRUE(waiting.wait(30000));
    reportDelay("stalled upload to 'waiting for the network'", sinceFault.elapsed());
    EXPECT_EQ(waiting.at(0).at(0).toString(),
              QStringLiteral("YouTube could not be reached: no answer within 1 s"));
    EXPECT_TRUE(ticket.isWaitingForNetwork());
    ASSERT_TRUE(QTest::qWaitFor([&] { return waiting.size() >= 2; }, 30000));
    EXPECT_TRUE(finished.isEmpty());
    EXPECT_GE(mFake.faultsMet, 2);

    mFake.recover();
    ASSERT_TRUE(finished.wait(30000));
    EXPECT_EQ(finished.at(0).at(0).toString(), QString());
    ASSERT_TRUE(mFake.uploadComplete);
    EXPECT_TRUE(mFake.movie == movie);
    EXPECT_TRUE(sentRange("bytes */" + QByteArray::number(movie.size())));
}

TEST_F(YouTubeServiceTest, FailedRefreshIsRetriedAndARefusedOneAsksToSignInAgain)
{
    signIn();
    YouTubeAuthorizer& authorizer = mService->authorizer();
    authorizer.setRefreshRetryDelays({50, 100, 200, 400});
    const auto authorize = [&] {
        std::optional<std::optional<QString>> outcome;
        authorizer.authorize([&](const std::optional<QString>& error) { outcome = error; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return outcome.has_value(); }, 30000));
        return outcome;
    };
    QSignalSpy retrying(&authorizer, &YouTubeAuthorizer::refreshRetrying);
    QSignalSpy revoked(&authorizer, &YouTubeAuthorizer::signInRevoked);

    // A server in trouble, dropped connections and a stall are each tried again. (Qt itself sends
    // once more on a kept-alive connection that was closed, hence two faults each.)
    QStringList reasons;
    for (const auto fault : {FakeYouTubeService::Fault::Unavailable, FakeYouTubeService::Fault::Drop,
                             FakeYouTubeService::Fault::Stall}) {
        lapseToken(authorizer);
        mFake.fault = fault;
        mFake.faultPath = QStringLiteral("/token");
        mFake.faultsLeft = 2;
        const int retriesBefore = int(retrying.size());
        const auto outcome = authorize();
        ASSERT_TRUE(outcome.has_value());
        EXPECT_FALSE(outcome->has_value()) << outcome->value_or(QString()).toStdString();
        EXPECT_EQ(mFake.faultsLeft, 0);
        ASSERT_GT(retrying.size(), retriesBefore);
        reasons << retrying.last().at(0).toString();
        EXPECT_EQ(authorizer.authorizationHeaderValue(), "Bearer " + mFake.lastAccessToken.toUtf8());
    }
    EXPECT_EQ(
        reasons.value(0),
        QStringLiteral("YouTube could not be reached: its sign-in service answered 503 Service Unavailable"));
    EXPECT_TRUE(reasons.value(1).startsWith(QStringLiteral("YouTube could not be reached: ")));
    EXPECT_EQ(reasons.value(2), QStringLiteral("YouTube could not be reached: no answer within 1 s"));

    // When the tries run out the reason comes back, and the sign-in is kept for later.
    lapseToken(authorizer);
    mFake.fault = FakeYouTubeService::Fault::Unavailable;
    mFake.faultsLeft = -1;
    auto outcome = authorize();
    ASSERT_TRUE(outcome.has_value());
    ASSERT_TRUE(outcome->has_value());
    EXPECT_TRUE(outcome->value().startsWith(QStringLiteral("YouTube could not be reached: ")));
    EXPECT_TRUE(authorizer.canAuthorize());
    EXPECT_TRUE(revoked.isEmpty());

    // A refusal is final: no second try, and the user is asked to sign in again.
    mFake.recover();
    mFake.refreshToken = QStringLiteral("refresh-2");
    const int before = mFake.requestsTo(QStringLiteral("/token")).size();
    lapseToken(authorizer);
    outcome = authorize();
    ASSERT_TRUE(outcome.has_value());
    ASSERT_TRUE(outcome->has_value());
    EXPECT_TRUE(outcome->value().endsWith(QStringLiteral("Please sign in again.")))
        << outcome->value().toStdString();
    EXPECT_EQ(mFake.requestsTo(QStringLiteral("/token")).size(), before + 1);
    ASSERT_EQ(revoked.size(), 1);
    EXPECT_FALSE(authorizer.canAuthorize());
}

TEST(YouTubeCategoryList, AssignableCategoriesInOrderWithTheTermWhenNoLabelOrAFailure)
{
    const auto result = YouTubeCategoryList::parse(R"({"items":[
        {"id":"1","snippet":{"title":"Film & Animation","assignable":true}},
        {"id":"18","snippet":{"title":"Short Movies","assignable":false}},
        {"id":"22","snippet":{"assignable":true}},
        {"id":"10","snippet":{"title":"Music","assignable":true}}]})");
    EXPECT_FALSE(result.failure.has_value());
    using C = YouTubeCategoryList::Category;
    EXPECT_EQ(result.categories, (std::vector<C>{{QStringLiteral("Film & Animation"), QStringLiteral("1")},
                                                 {QStringLiteral("22"), QStringLiteral("22")},
                                                 {QStringLiteral("Music"), QStringLiteral("10")}}));
    // A failed fetch, a page that is no list, the service's refusal and a list with nothing to
    // assign are failures, not empty lists.
    for (const auto& failed :
         {YouTubeCategoryList::parse({}, QStringLiteral("Host unreachable")),
          YouTubeCategoryList::parse("<html>"),
          YouTubeCategoryList::parse(R"({"error":{"code":403,"message":"API key missing"}})"),
          YouTubeCategoryList::parse(R"({"items":[{"id":"18","snippet":{"assignable":false}}]})")}) {
        EXPECT_TRUE(failed.categories.empty());
        EXPECT_TRUE(failed.failure.has_value());
    }
}

TEST(YouTubeUploadTicket, PublicVideoUnlessPrivate)
{
    YouTubeUploadTicket::Metadata metadata;
    metadata.title = QStringLiteral("t");
    const QJsonObject open = QJsonDocument::fromJson(YouTubeUploadTicket::metadataJson(metadata)).object();
    EXPECT_EQ(open.value(QStringLiteral("status")).toObject().value(QStringLiteral("privacyStatus")),
              QStringLiteral("public"));
    EXPECT_FALSE(open.value(QStringLiteral("snippet")).toObject().contains(QStringLiteral("categoryId")));
}

} // namespace
