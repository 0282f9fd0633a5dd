#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>
#include <QVariantMap>

namespace spindrel {

class MprisService;

/// org.mpris.MediaPlayer2.Player: the transport of the deck for the loaded tape. The library is
/// the playlist: Next goes to the newer tape, Previous to the older one, as the deck's keys do.
class MprisPlayerAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(double MinimumRate READ rate)
    Q_PROPERTY(double MaximumRate READ rate)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(bool CanGoNext READ canControl)
    Q_PROPERTY(bool CanGoPrevious READ canControl)
    Q_PROPERTY(bool CanPlay READ hasTape)
    Q_PROPERTY(bool CanPause READ hasTape)
    Q_PROPERTY(bool CanSeek READ hasTape)
    Q_PROPERTY(bool CanControl READ canControl)
public:
    explicit MprisPlayerAdaptor(MprisService& service);

    QString playbackStatus() const;
    double rate() const { return 1.0; }
    // Speed belongs to the deck's cue and review keys; other rates are not offered.
    void setRate(double) {}
    QVariantMap metadata() const;
    double volume() const;
    void setVolume(double volume);
    qlonglong position() const;
    bool hasTape() const;
    bool canControl() const { return true; }

public Q_SLOTS:
    void Play();
    void Pause();
    void PlayPause();
    void Stop();
    void Next();
    void Previous();
    void Seek(qlonglong offset);
    void SetPosition(const QDBusObjectPath& trackId, qlonglong position);
    void OpenUri(const QString& uri);

Q_SIGNALS:
    void Seeked(qlonglong position);

private:
    void seekTo(qlonglong microseconds);

    MprisService& mService;
};

} // namespace spindrel
