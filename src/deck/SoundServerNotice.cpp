#include "deck/SoundServerNotice.h"

#include "deck/DeckInputMeter.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"

namespace spindrel {

SoundServerNotice::SoundServerNotice(WindowController& deck) : mDeck(deck)
{
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    connect(hardware, &VORLAudioHardware::serverStateDidChange, this,
            &SoundServerNotice::serverStateDidChange);
    serverStateDidChange(hardware->serverState());
}

QString SoundServerNotice::notRunningMessage()
{
    return tr("The sound server is not running. Spindrel will reconnect when it is back.");
}

QString SoundServerNotice::notRespondingMessage()
{
    return tr("The sound server is not responding. Spindrel will carry on when it answers again.");
}

void SoundServerNotice::serverStateDidChange(VORLAudioHardware::ServerState state)
{
    switch (state) {
    case VORLAudioHardware::ServerState::NotRunning:
        showMessage(notRunningMessage());
        break;
    case VORLAudioHardware::ServerState::NotResponding:
        showMessage(notRespondingMessage());
        break;
    case VORLAudioHardware::ServerState::Running:
        // Another failure shown since stays up; only our own message goes.
        mDeck.window()->dismissMessage(mShownMessage);
        mShownMessage.clear();
        // The device notice that comes with a returning server may have rebuilt it already.
        if (!mDeck.inputMeter().meter())
            mDeck.inputMeter().start();
        break;
    case VORLAudioHardware::ServerState::Unknown:
        break;
    }
}

void SoundServerNotice::showMessage(const QString& message)
{
    // A meter on a lost server would only freeze at its last level.
    mDeck.inputMeter().stop();
    if (mDeck.deckMessage() != message)
        mDeck.showDeckMessage(message);
    mShownMessage = message;
}

} // namespace spindrel
