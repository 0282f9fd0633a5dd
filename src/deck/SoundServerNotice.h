#pragma once

#include "audio/VORLAudioHardware.h"

#include <QObject>
#include <QString>

namespace spindrel {

class WindowController;

/// Says in the deck when the sound server is gone or does not answer, keeps the input meter
/// down meanwhile, and clears the message and brings the meter back once the server is there.
class SoundServerNotice : public QObject
{
    Q_OBJECT

public:
    /// Follows the server from now on, starting with how it is doing now.
    explicit SoundServerNotice(WindowController& deck);

    static QString notRunningMessage();
    static QString notRespondingMessage();

private:
    void serverStateDidChange(VORLAudioHardware::ServerState state);
    void showMessage(const QString& message);

    WindowController& mDeck;
    QString mShownMessage; // ours, while it may still be up
};

} // namespace spindrel
