#include "deck/MprisRootAdaptor.h"

#include "deck/DeckWindow.h"
#include "deck/MprisService.h"
#include "deck/WindowController.h"

namespace spindrel {

MprisRootAdaptor::MprisRootAdaptor(MprisService& service) : QDBusAbstractAdaptor(&service), mService(service)
{
}

QString MprisRootAdaptor::identity() const
{
    return QStringLiteral("Spindrel");
}

QString MprisRootAdaptor::desktopEntry() const
{
    return QStringLiteral("spindrel");
}

QStringList MprisRootAdaptor::supportedUriSchemes() const
{
    return {QStringLiteral("file")};
}

QStringList MprisRootAdaptor::supportedMimeTypes() const
{
    return {QStringLiteral("audio/mp4"), QStringLiteral("audio/x-m4a")};
}

void MprisRootAdaptor::Raise()
{
    mService.deck().activateApp();
}

void MprisRootAdaptor::Quit()
{
    // Closing the window is the orderly way out: every tape is committed first.
    mService.deck().window()->close();
}

} // namespace spindrel
