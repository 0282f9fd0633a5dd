#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace spindrel::test {

/// A PulseAudio of the test's own on a socket of its own, which the test may kill, stop and
/// start again. It carries a null sink "spk" and a source "vmic" fed by the sink "mic", like the
/// shared test server, and never touches that one. Once used(), this process's sound server
/// (PULSE_SERVER) is this one until the object goes.
class PrivateSoundServer
{
public:
    PrivateSoundServer();
    ~PrivateSoundServer();

    PrivateSoundServer(const PrivateSoundServer&) = delete;
    PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;

    /// Points this process (and the programs it starts) at this server, running or not.
    void use();
    /// Starts the server (unless it runs) and waits until it answers; false when it did not
    /// within 20 s.
    bool start();
    /// Ends it at once, as a crash would: its socket stays behind, refusing connections.
    void kill();
    /// SIGSTOP: the socket stays open and takes connections, but nothing answers.
    void pause();
    /// SIGCONT; may be called from any thread.
    void resume();
    bool isRunning() const { return mProcess.state() != QProcess::NotRunning; }
    QString address() const;

private:
    QTemporaryDir mDir;
    QProcess mProcess;
    QByteArray mPreviousServer;
    bool mUsed = false;
    std::atomic<qint64> mPid{0}; // while it runs
};

/// Watches over calls that must not hang on a stopped server: should the guard still be up after
/// `limitMs`, the server is resumed, which frees whatever waits on it, and the calls count as hung.
class HangGuard
{
public:
    HangGuard(PrivateSoundServer& server, int limitMs);
    ~HangGuard();
    /// Ends the watch; true when it had to step in.
    bool finish();

private:
    std::mutex mMutex;
    std::condition_variable mDone;
    bool mFinished = false;
    bool mHung = false;
    std::thread mThread;
};

} // namespace spindrel::test
