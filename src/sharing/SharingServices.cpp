#include "sharing/SharingServices.h"

#include <QAction>
#include <QMenu>

namespace spindrel {

namespace {

void forEachTape(const QVariantList& items, const SharingServices::TapeAction& action)
{
    for (const QVariant& item : items) {
        if (item.canConvert<TapePtr>()) {
            if (const TapePtr tape = item.value<TapePtr>())
                action(tape);
        }
    }
}

} // namespace

QVariantList SharingServices::shareItemsForTapes(const QList<TapePtr>& tapes)
{
    QVariantList items;
    for (const TapePtr& tape : tapes) {
        if (!tape)
            continue;
        items << QVariant::fromValue(tape) << tape->title();
    }
    return items;
}

SharingService SharingServices::createYouTubeServiceForItems(const QVariantList&, TapeAction sendToYouTube)
{
    return {QObject::tr("YouTube"), QIcon(QStringLiteral(":/icons/YouTubeShare.svg")),
            [sendToYouTube](const QVariantList& items) { forEachTape(items, sendToYouTube); }};
}

SharingService SharingServices::createiTunesServiceForItems(const QVariantList&, TapeAction sendToiTunes)
{
    return {QObject::tr("Music Library"),
            QIcon::fromTheme(QStringLiteral("multimedia-player"),
                             QIcon::fromTheme(QStringLiteral("audio-x-generic"))),
            [sendToiTunes](const QVariantList& items) { forEachTape(items, sendToiTunes); }};
}

std::vector<SharingService> SharingServices::createCustomServicesForItems(const QVariantList& items,
                                                                          TapeAction sendToYouTube,
                                                                          TapeAction sendToiTunes)
{
    return {createYouTubeServiceForItems(items, std::move(sendToYouTube)),
            createiTunesServiceForItems(items, std::move(sendToiTunes))};
}

std::vector<SharingService> SharingServices::platformServicesForItems(const QVariantList&)
{
    return {};
}

void SharingServices::createSharingSubmenuForMenu(QMenu* submenu, const QList<TapePtr>& tapes,
                                                  TapeAction sendToYouTube, TapeAction sendToiTunes)
{
    submenu->clear();
    const QVariantList items = shareItemsForTapes(tapes);
    std::vector<SharingService> services = platformServicesForItems(items);
    for (SharingService& service : createCustomServicesForItems(items, sendToYouTube, sendToiTunes))
        services.push_back(std::move(service));
    for (const SharingService& service : services) {
        QAction* item = submenu->addAction(service.image, service.title);
        // Enabled here once and for all: the deck's menu validation does not look at these.
        item->setEnabled(true);
        item->setData(QVariantMap{{QStringLiteral("service"), QVariant::fromValue(service)},
                                  {QStringLiteral("sharedata"), items}});
        QObject::connect(item, &QAction::triggered, item, [item] { sharingServiceSelected(item); });
    }
}

void SharingServices::sharingServiceSelected(QAction* item)
{
    const QVariantMap data = item->data().toMap();
    const SharingService service = data.value(QStringLiteral("service")).value<SharingService>();
    if (service.perform)
        service.perform(data.value(QStringLiteral("sharedata")).toList());
}

} // namespace spindrel
