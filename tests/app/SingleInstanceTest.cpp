#include "app/SingleInstance.h"

#include "LaunchedDeckTest.h"
#include "PrivateSessionBus.h"
#include "tapes/TapeLibraryArrayController.h"
#include "tapes/TapeTestFiles.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

/// A deck served on a session bus of its own, as a launch from the desktop would start it, and
/// later launches of the real program on that bus.
class SingleInstanceTest : public test::LaunchedDeckTest
{
protected:
    void SetUp() override
    {
        if (!mBus.isRunning())
            GTEST_SKIP() << "dbus-daemon is not installed";
        launchDeck();
        mDeckBus = mBus.connect(QStringLiteral("deck"));
        ASSERT_TRUE(mInstance.registerOnBus(mDeckBus));
        mApp->serveLaterLaunches(mInstance);
    }

    /// Starts the program in this session, with the test's home and settings; the deck in this
    /// process keeps answering while it runs.
    void launch(QProcess& process, const QStringList& arguments, const QString& busAddress)
    {
        QDir().mkpath(mFolder.filePath(QStringLiteral("home")));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
        environment.insert(QStringLiteral("HOME"), mFolder.filePath(QStringLiteral("home")));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                           mFolder.filePath(QStringLiteral("home/config")));
        environment.insert(QStringLiteral("XDG_DATA_HOME"), mFolder.filePath(QStringLiteral("home/data")));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(mFolder.path());
        process.start(QStringLiteral(SPINDREL_BINARY), arguments);
        ASSERT_TRUE(process.waitForStarted(30000));
    }

    static bool endsByItself(QProcess& process)
    {
        return QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 60000);
    }

    QStringList namesOnBus() { return mDeckBus.interface()->registeredServiceNames().value(); }

    test::PrivateSessionBus mBus;
    QDBusConnection mDeckBus{QString()};
    SingleInstance mInstance;
};

TEST_F(SingleInstanceTest, ASecondLaunchHandsItsFileToTheRunningDeckAndEnds)
{
    const QString outside = mFolder.filePath(QStringLiteral("Handed take.m4a"));
    ASSERT_TRUE(test::makeTapeFile(outside));
    WindowController* deck = mApp->windowController();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !deck->library().isScanning(); }, 30000));
    const qsizetype before = deck->library().content().size();

    // Named relative to its own working directory, which the running deck does not share.
    QProcess second;
    launch(second, {QStringLiteral("Handed take.m4a")}, mBus.address());
    ASSERT_TRUE(endsByItself(second)) << "the second launch opened a deck of its own";
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();

    ASSERT_TRUE(QTest::qWaitFor([&] { return deck->library().content().size() == before + 1; }, 30000));
    QStringList names;
    for (const TapePtr& tape : deck->library().content())
        names << QFileInfo(tape->filename()).fileName();
    EXPECT_TRUE(names.contains(QStringLiteral("Handed take.m4a"))) << names.join(u',').toStdString();
    EXPECT_TRUE(QFileInfo::exists(library() + QStringLiteral("/Handed take.m4a")));
    EXPECT_TRUE(QFileInfo::exists(outside)) << "an import copies";
}

TEST_F(SingleInstanceTest, APlainSecondLaunchRaisesTheDeckWithoutASecondPlayer)
{
    QWidget* window = mApp->windowController()->window();
    window->hide();
    ASSERT_FALSE(window->isVisible());

    QProcess second;
    launch(second, {}, mBus.address());
    ASSERT_TRUE(endsByItself(second)) << "the second launch opened a deck of its own";
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->isVisible(); }, 30000));

    // The second process took no media player name, nor any other, on its way out.
    const QStringList names = namesOnBus();
    EXPECT_EQ(names.filter(QStringLiteral("org.mpris.")), QStringList()) << names.join(u',').toStdString();
    EXPECT_EQ(names.filter(QString::fromLatin1(SingleInstance::serviceName)),
              QStringList{QString::fromLatin1(SingleInstance::serviceName)});
}

TEST_F(SingleInstanceTest, WithoutASessionBusALaunchOpensItsOwnDeck)
{
    // The deck's first start puts the welcome tape into the library folder under the launch's home.
    const QString welcome = mFolder.filePath(QStringLiteral("home/Music/Spindrel/sp-welcome.m4a"));
    QProcess launchWithoutBus;
    launch(launchWithoutBus, {},
           QStringLiteral("unix:path=") + mFolder.filePath(QStringLiteral("no-bus-here")));
    EXPECT_TRUE(QTest::qWaitFor([&] { return QFileInfo::exists(welcome); }, 60000))
        << launchWithoutBus.readAllStandardError().toStdString();
    EXPECT_EQ(launchWithoutBus.state(), QProcess::Running);
    launchWithoutBus.terminate();
    EXPECT_TRUE(endsByItself(launchWithoutBus));
}

} // namespace
