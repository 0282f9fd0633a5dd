#include "sharing/SecretServiceTokenStore.h"

#include "PrivateSessionBus.h"
#include "QtPrinters.h"
#include "foundation/Log.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

const QString itemName = QStringLiteral("Spindrel: YouTube");
const QByteArray secret =
    R"({"refresh_token":"1//very-secret-refresh-token","email":"listener@example.com"})";

bool anyFileHolds(const QString& folder, const QByteArray& bytes)
{
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.open(QIODevice::ReadOnly) && file.readAll().contains(bytes))
            return true;
    }
    return false;
}

TEST(SecretServiceTokenStore, WithoutAKeyringTheSecretStaysInMemoryOnly)
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/spindrel-test-bus");
    QStringList logged;
    const LogSink previous = setLogSink([&](const QString& line) { logged << line; });
    SecretServiceTokenStore store;
    EXPECT_FALSE(store.save(itemName, secret));
    EXPECT_FALSE(store.isPersistent());
    EXPECT_EQ(store.load(itemName), std::optional<QByteArray>(secret));
    store.remove(itemName);
    EXPECT_FALSE(store.load(itemName).has_value());
    setLogSink(previous);
    EXPECT_FALSE(logged.isEmpty()) << "the missing keyring is reported";
}

// A private session bus with a keyring daemon of its own, in a scratch home.
class PrivateKeyring : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!mBus.isRunning() ||
            QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon")).isEmpty())
            GTEST_SKIP() << "dbus-daemon or gnome-keyring-daemon is not installed";
        const QString runtime = mHome.filePath(QStringLiteral("run"));
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), mHome.path());
        environment.insert(QStringLiteral("XDG_DATA_HOME"), mHome.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), mBus.address());
        mKeyring.setProcessEnvironment(environment);
        mKeyring.start(QStringLiteral("gnome-keyring-daemon"),
                       {QStringLiteral("--foreground"), QStringLiteral("--unlock"),
                        QStringLiteral("--components=secrets")});
        ASSERT_TRUE(mKeyring.waitForStarted());
        mKeyring.write("test-password");
        mKeyring.waitForBytesWritten();
        mKeyring.closeWriteChannel();
        qputenv("DBUS_SESSION_BUS_ADDRESS", mBus.address().toUtf8());
        // The keyring answers once it has claimed its name on the bus.
        const QDBusConnection probe = mBus.connect(QStringLiteral("probe"));
        if (!QTest::qWaitFor(
                [&] {
                    return probe.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.secrets"));
                },
                20000))
            GTEST_SKIP() << "the private keyring did not come up";
    }
    void TearDown() override
    {
        mKeyring.terminate();
        if (!mKeyring.waitForFinished(5000))
            mKeyring.kill();
    }

    QTemporaryDir mHome;
    test::PrivateSessionBus mBus;
    QProcess mKeyring;
};

TEST_F(PrivateKeyring, SecretIsKeptEncryptedAndOutlivesTheStore)
{
    {
        SecretServiceTokenStore store;
        ASSERT_TRUE(store.save(itemName, secret));
        EXPECT_TRUE(store.isPersistent());
    }
    SecretServiceTokenStore later;
    EXPECT_EQ(later.load(itemName), std::optional<QByteArray>(secret));
    EXPECT_FALSE(anyFileHolds(mHome.path(), "very-secret-refresh-token"));
    later.remove(itemName);
    EXPECT_FALSE(SecretServiceTokenStore().load(itemName).has_value());
}

} // namespace
