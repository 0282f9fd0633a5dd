#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <memory>

namespace spindrel {

/// Turns SIGTERM, SIGINT and SIGHUP (a logout, Ctrl-C, a closed terminal) into a signal on the
/// event loop, so the application can put everything away, a recording included, before it ends.
/// One at a time per process.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void terminationRequested(int signalNumber);

private:
    void readSignal();

    std::unique_ptr<QSocketNotifier> mNotifier;
};

} // namespace spindrel
