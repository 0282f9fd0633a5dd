#include "sharing/SecretServiceTokenStore.h"

#include "foundation/Log.h"
#include "sharing/QtPrinters.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
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
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty() ||
            QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon")).isEmpty())
            GTEST_SKIP() << "dbus-daemon or gnome-keyring-daemon is not installed";
        ASSERT_TRUE(mHome.isValid());
        const QString runtime = mHome.filePath(QStringLiteral("run"));
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), mHome.path());
        environment.insert(QStringLiteral("XDG_DATA_HOME"), mHome.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);

        const QString address = QStringLiteral("unix:path=%1/bus").arg(runtime);
        mBus.setProcessEnvironment(environment);
        mBus.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                   QStringLiteral("--address=") + address});
        ASSERT_TRUE(mBus.waitForStarted());
        for (int i = 0; i < 100 && !QFile::exists(runtime + QStringLiteral("/bus")); ++i)
            QThread::msleep(20);
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
        mKeyring.setProcessEnvironment(environment);
        mKeyring.start(QStringLiteral("gnome-keyring-daemon"),
                       {QStringLiteral("--foreground"), QStringLiteral("--unlock"),
                        QStringLiteral("--components=secrets")});
        ASSERT_TRUE(mKeyring.waitForStarted());
        mKeyring.write("test-password");
        mKeyring.waitForBytesWritten();
        mKeyring.closeWriteChannel();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        // The keyring answers once it has claimed its name on the bus.
        for (int i = 0; i < 100; ++i) {
            QProcess probe;
            probe.setProcessEnvironment(environment);
            probe.start(
                QStringLiteral("dbus-send"),
                QStringLiteral("--session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "
                               "org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets")
                    .split(u' '));
            probe.waitForFinished();
            if (probe.readAllStandardOutput().contains("boolean true"))
                return;
            QThread::msleep(50);
        }
        GTEST_SKIP() << "the private keyring did not come up";
    }
    void TearDown() override
    {
        for (QProcess* process : {&mKeyring, &mBus}) {
            if (process->state() != QProcess::NotRunning) {
                process->terminate();
                if (!process->waitForFinished(2000))
                    process->kill();
            }
        }
    }

    QTemporaryDir mHome;
    QProcess mBus;
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
