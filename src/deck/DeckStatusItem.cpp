#include "deck/DeckStatusItem.h"

#include <QAction>
#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

namespace spindrel {

namespace {
const char* const kActionProperty = "spindrelAction";
} // namespace

DeckStatusItem::DeckStatusItem(QObject* parent) : QObject(parent) {}

DeckStatusItem::~DeckStatusItem() = default;

void DeckStatusItem::buildMenu()
{
    mMenu = std::make_unique<QMenu>();
    mMenu->setObjectName(QStringLiteral("StatusItemMenu"));
    auto add = [this](const QString& title, const char* action, void (DeckStatusItem::*signal)()) {
        QAction* item = mMenu->addAction(title, this, signal);
        item->setProperty(kActionProperty, QString::fromLatin1(action));
        return item;
    };
    add(tr("Record"), "recordTape", &DeckStatusItem::recordTriggered);
    add(tr("Pause"), "pauseTape", &DeckStatusItem::pauseTriggered)->setCheckable(true);
    add(tr("Stop"), "stopTape", &DeckStatusItem::stopTriggered);
    add(tr("Play"), "playTape", &DeckStatusItem::playTriggered);
    mMenu->addSeparator();
    add(tr("Show Spindrel"), "activateApp", &DeckStatusItem::showDeckTriggered);
    mMenu->addSeparator();
    QAction* quit = mMenu->addAction(tr("Quit Spindrel"), qApp, &QApplication::closeAllWindows);
    quit->setProperty(kActionProperty, QStringLiteral("terminate"));
    setPaused(mPaused);
}

void DeckStatusItem::install()
{
    if (mIcon)
        return;
    if (!mMenu)
        buildMenu();
    mIcon = new QSystemTrayIcon(this);
    mIcon->setObjectName(QStringLiteral("SpindrelStatusItem"));
    mIcon->setToolTip(QStringLiteral("Spindrel"));
    mIcon->setContextMenu(mMenu.get());
    setImage(mImageName.isEmpty() ? QStringLiteral("spstatus") : mImageName);
    connect(mIcon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            Q_EMIT showDeckTriggered();
    });
    mIcon->show();
}

void DeckStatusItem::remove()
{
    if (!mIcon)
        return;
    mIcon->hide();
    delete mIcon;
}

void DeckStatusItem::setPaused(bool paused)
{
    mPaused = paused;
    if (!mMenu)
        return;
    for (QAction* item : mMenu->actions()) {
        if (item->property(kActionProperty).toString() == QLatin1String("pauseTape"))
            item->setChecked(paused);
    }
}

void DeckStatusItem::setImage(const QString& name)
{
    mImageName = name;
    if (!mIcon)
        return;
    // The highlighted image shows while the menu is open, where the panel supports it.
    QIcon icon(QStringLiteral(":/images/%1.svg").arg(name));
    icon.addFile(QStringLiteral(":/images/spstatus-hilite.svg"), QSize(), QIcon::Selected);
    mIcon->setIcon(icon);
    mIcon->setProperty("imageName", name);
}

} // namespace spindrel
