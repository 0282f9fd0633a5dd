#pragma once

#include "HotKeysLib3/PTHotKeyBackend.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QList>
#include <QVariantMap>
#include <map>

namespace spindrel {

/// One entry of the GlobalShortcuts portal's a(sa{sv}) lists: an action id and its properties.
struct PTPortalShortcut
{
    QString identifier;
    QVariantMap properties;
};
using PTPortalShortcutList = QList<PTPortalShortcut>;

QDBusArgument& operator<<(QDBusArgument& argument, const PTPortalShortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, PTPortalShortcut& shortcut);

/// Hot keys through the XDG desktop portal's GlobalShortcuts interface (Wayland desktops). The
/// desktop has the last word on the keys: ours are only the preferred triggers, and every change
/// binds the whole set again in a fresh session.
class PTPortalHotKeyBackend : public PTHotKeyBackend
{
    Q_OBJECT
public:
    explicit PTPortalHotKeyBackend(const QDBusConnection& bus = QDBusConnection::sessionBus());
    ~PTPortalHotKeyBackend() override;

    QString name() const override { return QStringLiteral("GlobalShortcuts portal"); }
    Availability availability() const override { return mAvailability; }
    bool registerHotKey(uint32_t id, const QString& identifier, const QString& name,
                        const PTKeyCombo& keyCombo) override;
    void unregisterHotKey(uint32_t id) override;

    /// The portal's trigger text for a combination ("CTRL+SHIFT+7").
    static QString preferredTrigger(const PTKeyCombo& keyCombo);
    /// The portal session in use, empty until the desktop has opened one.
    QString sessionHandle() const { return mSessionHandle; }

Q_SIGNALS:
    /// The desktop answered a bind request (response 0 is success).
    void shortcutsBound(uint response);

private Q_SLOTS:
    void createSessionResponse(uint response, const QVariantMap& results);
    void bindShortcutsResponse(uint response, const QVariantMap& results);
    void shortcutActivated(const QDBusObjectPath& session, const QString& identifier, qulonglong timestamp,
                           const QVariantMap& options);
    void shortcutDeactivated(const QDBusObjectPath& session, const QString& identifier, qulonglong timestamp,
                             const QVariantMap& options);

private:
    struct Registration
    {
        QString identifier;
        QString name;
        PTKeyCombo keyCombo;
    };

    void setAvailability(Availability availability);
    void scheduleBind();
    void bind();
    void closeSession();
    QString nextToken();
    QString requestPath(const QString& token) const;
    bool subscribeResponse(const QString& path, const char* slot);
    void unsubscribeResponse(const QString& path, const char* slot);
    void announceShortcut(const QDBusObjectPath& session, const QString& identifier, bool pressed);

    QDBusConnection mBus;
    Availability mAvailability = Availability::Pending;
    std::map<uint32_t, Registration> mRegistrations;
    bool mBindScheduled = false;
    QString mSessionHandle;
    QString mCreateRequest;
    QString mBindRequest;
    uint mTokenCount = 0;
};

} // namespace spindrel

Q_DECLARE_METATYPE(spindrel::PTPortalShortcut)
Q_DECLARE_METATYPE(spindrel::PTPortalShortcutList)
