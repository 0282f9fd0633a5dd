#include "app/AudioCommandSupport.h"

#include "audio/VORLAudioHardware.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTimer>
#include <atomic>
#include <cmath>
#include <csignal>

namespace spindrel::audiocommands {

namespace {
std::atomic<bool> gInterrupted{false};

extern "C" void noteInterrupt(int)
{
    gInterrupted.store(true);
}
} // namespace

std::optional<QList<unsigned>> parseChannels(const QString& text)
{
    QList<unsigned> channels;
    for (const QString& part : text.split(QLatin1Char(','))) {
        bool ok = false;
        const unsigned channel = part.trimmed().toUInt(&ok);
        if (!ok)
            return std::nullopt;
        channels.append(channel);
    }
    if (channels.isEmpty() || channels.size() > 2)
        return std::nullopt;
    return channels;
}

VORLAudioDevice deviceForUID(const QString& uid, unsigned direction)
{
    if (!uid.isEmpty())
        return VORLAudioDevice(uid);
    return direction == VORLAudioDevice::Input ? VORLAudioHardware::defaultInputDevice()
                                               : VORLAudioHardware::defaultOutputDevice();
}

void onInterrupt(std::function<void()> interrupted)
{
    // The handler only sets a flag; the event loop looks at it.
    gInterrupted.store(false);
    std::signal(SIGINT, noteInterrupt);
    auto* timer = new QTimer(QCoreApplication::instance());
    timer->setInterval(50);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, interrupted = std::move(interrupted)] {
        if (gInterrupted.exchange(false)) {
            timer->stop();
            interrupted();
        }
    });
    timer->start();
}

QString formatMilliseconds(double milliseconds)
{
    const qint64 total = std::llround(std::max(milliseconds, 0.0));
    return QStringLiteral("%1:%2.%3")
        .arg(total / 60000)
        .arg(total / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(total % 1000, 3, 10, QLatin1Char('0'));
}

} // namespace spindrel::audiocommands
