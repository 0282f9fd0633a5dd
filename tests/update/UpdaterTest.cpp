#include "update/Updater.h"

#include <QApplication>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

// Serves one feed over HTTP on 127.0.0.1, as a release site would.
class FeedServer : public QTcpServer
{
public:
    FeedServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection())
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    if (!(mRequest += socket->readAll()).contains("\r\n\r\n"))
                        return;
                    mRequest.clear();
                    ++requests;
                    socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " +
                                  QByteArray::number(feed.size()) + "\r\n\r\n" + feed);
                    socket->disconnectFromHost();
                });
        });
    }
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(serverPort())); }

    QByteArray feed;
    int requests = 0;

private:
    QByteArray mRequest;
};

QByteArray feedWithVersions(std::initializer_list<const char*> versions)
{
    QByteArray items;
    for (const char* version : versions)
        items += QByteArray("<item><title>Spindrel ") + version +
                 "</title><link>https://example.org/spindrel/download</link><description>&lt;p&gt;Hot keys "
                 "work on Wayland&lt;/p&gt;</description><enclosure url=\"https://example.org/s.tar.xz\" "
                 "sparkle:version=\"" +
                 version + "\"/></item>";
    return "<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>" +
           items + "</channel></rss>";
}

QMessageBox* visibleBox(const QString& name)
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* box = qobject_cast<QMessageBox*>(widget);
            box && box->isVisible() && box->objectName() == name)
            return box;
    return nullptr;
}

class UpdaterTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Updater::isAvailable())
            GTEST_SKIP() << "built without the update check";
        ASSERT_TRUE(server.isListening());
        updater.setFeedURL(server.url());
        updater.setCurrentVersion(QStringLiteral("0.1.0"));
    }
    void TearDown() override
    {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (qobject_cast<QMessageBox*>(widget))
                widget->close();
        QTest::qWait(0);
    }

    FeedServer server;
    Updater updater;
};

TEST_F(UpdaterTest, ANewerReleaseIsReportedWithWhatIsNewAndWhereToGetIt)
{
    server.feed = feedWithVersions({"0.1.0", "0.2.0"});
    QSignalSpy found(&updater, &Updater::updateFound);
    updater.checkForUpdatesInBackground();
    ASSERT_TRUE(found.wait(5000));
    EXPECT_EQ(found.first().first().value<AppcastItem>().versionString, QStringLiteral("0.2.0"));

    QMessageBox* box = visibleBox(QStringLiteral("updateFound"));
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(
        box->informativeText().contains(QStringLiteral("Spindrel 0.2.0 is now available—you have 0.1.0.")));
    EXPECT_TRUE(box->informativeText().contains(QStringLiteral("Hot keys work on Wayland")));
    EXPECT_TRUE(box->informativeText().contains(QStringLiteral("https://example.org/spindrel/download")));
}

TEST_F(UpdaterTest, TheSameVersionOrAFailureKeepsTheBackgroundCheckQuiet)
{
    server.feed = feedWithVersions({"0.0.9", "0.1.0"});
    QSignalSpy found(&updater, &Updater::updateFound);
    QSignalSpy none(&updater, &Updater::noUpdateFound);
    updater.checkForUpdatesInBackground();
    ASSERT_TRUE(none.wait(5000));
    EXPECT_EQ(found.count(), 0);
    EXPECT_EQ(server.requests, 1);
    EXPECT_EQ(visibleBox(QStringLiteral("upToDate")), nullptr);

    // Asked for by the user, the same answer is said out loud.
    updater.checkForUpdates();
    ASSERT_TRUE(none.wait(5000));
    EXPECT_NE(visibleBox(QStringLiteral("upToDate")), nullptr);

    // A failed check is shown only when the user asked.
    server.close();
    QSignalSpy failed(&updater, &Updater::checkFailed);
    updater.checkForUpdatesInBackground();
    ASSERT_TRUE(failed.wait(5000));
    EXPECT_EQ(visibleBox(QStringLiteral("updateError")), nullptr);
    updater.checkForUpdates();
    ASSERT_TRUE(failed.wait(5000));
    EXPECT_NE(visibleBox(QStringLiteral("updateError")), nullptr);
}

TEST_F(UpdaterTest, TheStartCheckFollowsCheckAtStartup)
{
    server.feed = feedWithVersions({"0.1.0"});
    QSignalSpy none(&updater, &Updater::noUpdateFound);
    updater.checkAtStartupIfEnabled(false);
    EXPECT_FALSE(updater.isChecking());
    updater.checkAtStartupIfEnabled(QVariant());
    EXPECT_TRUE(updater.isChecking()) << "unset, the updater's own default is to check";
    ASSERT_TRUE(none.wait(5000));
    updater.checkAtStartupIfEnabled(true);
    ASSERT_TRUE(none.wait(5000));
    EXPECT_EQ(server.requests, 2);
}

} // namespace
