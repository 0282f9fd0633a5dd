#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QSystemTrayIcon>
#include <memory>

class QMenu;

namespace spindrel {

/// The deck's icon in the desktop's status area, with a menu of transport commands. The menu is
/// made once and outlives the icon, so the pause item keeps its state while the icon is hidden.
class DeckStatusItem : public QObject
{
    Q_OBJECT

public:
    explicit DeckStatusItem(QObject* parent = nullptr);
    ~DeckStatusItem() override;

    /// Shows the icon; a second call keeps the one there is.
    void install();
    void remove();
    QSystemTrayIcon* icon() const { return mIcon; }
    QMenu* menu() const { return mMenu.get(); }

    /// "spstatus", or "spstatus-recording" while recording; kept for an icon installed later.
    void setImage(const QString& name);
    const QString& imageName() const { return mImageName; }
    /// Checks the menu's pause item.
    void setPaused(bool paused);

Q_SIGNALS:
    void recordTriggered();
    void pauseTriggered();
    void stopTriggered();
    void playTriggered();
    /// The icon was clicked or its menu asked for the deck.
    void showDeckTriggered();

private:
    void buildMenu();

    std::unique_ptr<QMenu> mMenu; // a tray icon's menu has no parent widget
    QPointer<QSystemTrayIcon> mIcon;
    QString mImageName;
    bool mPaused = false;
};

} // namespace spindrel
