#include "PrivateSoundServer.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>
#include <csignal>
#include <sys/prctl.h>

namespace spindrel::test {

PrivateSoundServer::PrivateSoundServer()
{
    QDir(mDir.path()).mkpath(QStringLiteral("run"));
    QDir(mDir.path()).mkpath(QStringLiteral("state"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PULSE_RUNTIME_PATH"), mDir.filePath(QStringLiteral("run")));
    environment.insert(QStringLiteral("PULSE_STATE_PATH"), mDir.filePath(QStringLiteral("state")));
    mProcess.setProcessEnvironment(environment);
    mProcess.setProgram(QStringLiteral("pulseaudio"));
    QFile script(mDir.filePath(QStringLiteral("server.pa")));
    if (script.open(QIODevice::WriteOnly)) {
        script.write("load-module module-native-protocol-unix auth-anonymous=1 socket=" +
                     mDir.filePath(QStringLiteral("native")).toUtf8() +
                     "\n"
                     "load-module module-null-sink sink_name=spk\n"
                     "load-module module-null-sink sink_name=mic\n"
                     "load-module module-remap-source master=mic.monitor source_name=vmic\n"
                     "set-default-sink spk\n"
                     "set-default-source vmic\n");
    }
    mProcess.setArguments({QStringLiteral("--daemonize=no"), QStringLiteral("--exit-idle-time=-1"),
                           QStringLiteral("--system=false"), QStringLiteral("--use-pid-file=no"),
                           QStringLiteral("-n"), QStringLiteral("--file=") + script.fileName(),
                           QStringLiteral("--log-target=file:") + mDir.filePath(QStringLiteral("pa.log"))});
    mProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Should the test die, its server goes with it.
    mProcess.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

PrivateSoundServer::~PrivateSoundServer()
{
    if (isRunning()) {
        resume();
        kill();
    }
    if (mUsed)
        qputenv("PULSE_SERVER", mPreviousServer);
}

QString PrivateSoundServer::address() const
{
    return QStringLiteral("unix:") + mDir.filePath(QStringLiteral("native"));
}

void PrivateSoundServer::use()
{
    if (!mUsed)
        mPreviousServer = qgetenv("PULSE_SERVER");
    mUsed = true;
    qputenv("PULSE_SERVER", address().toUtf8());
}

bool PrivateSoundServer::start()
{
    if (isRunning())
        return true;
    mProcess.start();
    if (!mProcess.waitForStarted(10000))
        return false;
    mPid.store(mProcess.processId());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PULSE_SERVER"), address());
    const QDeadlineTimer deadline(20000);
    while (!deadline.hasExpired() && isRunning()) {
        QProcess pactl;
        pactl.setProcessEnvironment(environment);
        pactl.start(QStringLiteral("pactl"), {QStringLiteral("info")});
        if (pactl.waitForFinished(5000) && pactl.exitStatus() == QProcess::NormalExit &&
            pactl.exitCode() == 0)
            return true;
        QThread::msleep(50);
    }
    return false;
}

void PrivateSoundServer::kill()
{
    if (!isRunning())
        return;
    ::kill(pid_t(mPid.load()), SIGKILL);
    mProcess.waitForFinished(10000);
    mPid.store(0);
}

void PrivateSoundServer::pause()
{
    if (const qint64 pid = mPid.load())
        ::kill(pid_t(pid), SIGSTOP);
}

void PrivateSoundServer::resume()
{
    if (const qint64 pid = mPid.load())
        ::kill(pid_t(pid), SIGCONT);
}

HangGuard::HangGuard(PrivateSoundServer& server, int limitMs)
{
    mThread = std::thread([this, &server, limitMs] {
        std::unique_lock lock(mMutex);
        if (!mDone.wait_for(lock, std::chrono::milliseconds(limitMs), [this] { return mFinished; })) {
            mHung = true;
            server.resume();
        }
    });
}

HangGuard::~HangGuard()
{
    finish();
}

bool HangGuard::finish()
{
    {
        std::lock_guard lock(mMutex);
        mFinished = true;
    }
    mDone.notify_all();
    if (mThread.joinable())
        mThread.join();
    return mHung;
}

} // namespace spindrel::test
