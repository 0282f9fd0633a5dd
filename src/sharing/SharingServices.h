#pragma once

#include "tapes/Tape.h"

#include <QIcon>
#include <QList>
#include <QString>
#include <QVariant>
#include <functional>
#include <vector>

class QAction;
class QMenu;

namespace spindrel {

/// One way of sharing tapes, as the share menu lists it.
struct SharingService
{
    QString title;
    QIcon image;
    /// Called with the share items: each tape followed by its title.
    std::function<void(const QVariantList& items)> perform;
};

/// The share menu's services. The deck owns the menus and says what sending a tape to YouTube or
/// to the music library means; these build the services and the menu from that.
class SharingServices
{
public:
    using TapeAction = std::function<void(const TapePtr& tape)>;

    /// The share items of some tapes: each tape (a TapePtr in a QVariant) followed by its title.
    static QVariantList shareItemsForTapes(const QList<TapePtr>& tapes);

    /// "YouTube", image "YouTubeShare": `sendToYouTube` for every tape among the items.
    static SharingService createYouTubeServiceForItems(const QVariantList& items, TapeAction sendToYouTube);
    /// "Music Library", the music player's icon: `sendToiTunes` for every tape among the items.
    static SharingService createiTunesServiceForItems(const QVariantList& items, TapeAction sendToiTunes);
    /// YouTube first, then iTunes.
    static std::vector<SharingService> createCustomServicesForItems(const QVariantList& items,
                                                                    TapeAction sendToYouTube,
                                                                    TapeAction sendToiTunes);
    /// What the desktop itself offers for the items: nothing on Linux desktops, which have no
    /// sharing service of their own.
    static std::vector<SharingService> platformServicesForItems(const QVariantList& items);

    /// Empties `submenu` and lists the platform's services
    /// and then the custom ones for `tapes`. Each item carries {"service", "sharedata"}.
    static void createSharingSubmenuForMenu(QMenu* submenu, const QList<TapePtr>& tapes,
                                            TapeAction sendToYouTube, TapeAction sendToiTunes);
    /// Performs the service of a share menu item with the data it carries.
    static void sharingServiceSelected(QAction* item);
};

} // namespace spindrel
