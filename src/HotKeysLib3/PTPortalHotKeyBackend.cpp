#include "HotKeysLib3/PTPortalHotKeyBackend.h"

#include "HotKeysLib3/PTKeyCodeTranslator.h"
#include "foundation/Log.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QTimer>

namespace spindrel {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");

QString source()
{
    return logSourceName(__FILE__);
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const PTPortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.identifier << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PTPortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.identifier >> shortcut.properties;
    argument.endStructure();
    return argument;
}

PTPortalHotKeyBackend::PTPortalHotKeyBackend(const QDBusConnection& bus) : mBus(bus)
{
    qDBusRegisterMetaType<PTPortalShortcut>();
    qDBusRegisterMetaType<PTPortalShortcutList>();
    // QtDBus finds slot argument types by name, and this one is only known by name once registered.
    qRegisterMetaType<QDBusObjectPath>();
    if (!mBus.isConnected()) {
        mAvailability = Availability::Unavailable;
        return;
    }
    mBus.connect(portalService, portalPath, shortcutsInterface, QStringLiteral("Activated"), this,
                 SLOT(shortcutActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    mBus.connect(portalService, portalPath, shortcutsInterface, QStringLiteral("Deactivated"), this,
                 SLOT(shortcutDeactivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));

    // The interface is there when its version property answers.
    QDBusMessage get = QDBusMessage::createMethodCall(
        portalService, portalPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << shortcutsInterface << QStringLiteral("version");
    auto* watcher = new QDBusPendingCallWatcher(mBus.asyncCall(get), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        setAvailability(reply.isError() ? Availability::Unavailable : Availability::Available);
    });
}

PTPortalHotKeyBackend::~PTPortalHotKeyBackend()
{
    closeSession();
}

void PTPortalHotKeyBackend::setAvailability(Availability availability)
{
    if (mAvailability == availability)
        return;
    mAvailability = availability;
    Q_EMIT availabilityChanged();
    if (mAvailability == Availability::Available && !mRegistrations.empty())
        scheduleBind();
}

bool PTPortalHotKeyBackend::registerHotKey(uint32_t id, const QString& identifier, const QString& name,
                                           const PTKeyCombo& keyCombo)
{
    if (mAvailability == Availability::Unavailable)
        return false;
    for (const auto& [registered, registration] : mRegistrations)
        if (registration.identifier == identifier || registration.keyCombo == keyCombo)
            return false;
    mRegistrations[id] = {identifier, name, keyCombo};
    scheduleBind();
    return true;
}

void PTPortalHotKeyBackend::unregisterHotKey(uint32_t id)
{
    if (mRegistrations.erase(id))
        scheduleBind();
}

QString PTPortalHotKeyBackend::preferredTrigger(const PTKeyCombo& keyCombo)
{
    QStringList parts;
    if (keyCombo.modifiers() & PTKeyCombo::cmdKey)
        parts << QStringLiteral("CTRL");
    if (keyCombo.modifiers() & PTKeyCombo::optionKey)
        parts << QStringLiteral("ALT");
    if (keyCombo.modifiers() & PTKeyCombo::controlKey)
        parts << QStringLiteral("LOGO");
    if (keyCombo.modifiers() & PTKeyCombo::shiftKey)
        parts << QStringLiteral("SHIFT");
    parts << PTKeyCodeTranslator::currentTranslator()->keysymNameForKeyCode(keyCombo.keyCode());
    return parts.join(QLatin1Char('+'));
}

void PTPortalHotKeyBackend::scheduleBind()
{
    // The deck registers its three hot keys one by one: bind them once, together.
    if (mBindScheduled)
        return;
    mBindScheduled = true;
    QTimer::singleShot(0, this, [this] {
        mBindScheduled = false;
        bind();
    });
}

QString PTPortalHotKeyBackend::nextToken()
{
    return QStringLiteral("spindrel%1").arg(++mTokenCount);
}

QString PTPortalHotKeyBackend::requestPath(const QString& token) const
{
    QString sender = mBus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return portalPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

bool PTPortalHotKeyBackend::subscribeResponse(const QString& path, const char* slot)
{
    return mBus.connect(portalService, path, requestInterface, QStringLiteral("Response"), this, slot);
}

void PTPortalHotKeyBackend::unsubscribeResponse(const QString& path, const char* slot)
{
    if (!path.isEmpty())
        mBus.disconnect(portalService, path, requestInterface, QStringLiteral("Response"), this, slot);
}

void PTPortalHotKeyBackend::closeSession()
{
    unsubscribeResponse(mCreateRequest, SLOT(createSessionResponse(uint, QVariantMap)));
    unsubscribeResponse(mBindRequest, SLOT(bindShortcutsResponse(uint, QVariantMap)));
    mCreateRequest.clear();
    mBindRequest.clear();
    if (mSessionHandle.isEmpty())
        return;
    mBus.asyncCall(QDBusMessage::createMethodCall(portalService, mSessionHandle, sessionInterface,
                                                  QStringLiteral("Close")));
    mSessionHandle.clear();
}

void PTPortalHotKeyBackend::bind()
{
    if (mAvailability != Availability::Available)
        return;
    closeSession();
    if (mRegistrations.empty())
        return;
    // Subscribe before asking, so that a quick answer cannot be missed.
    const QString token = nextToken();
    mCreateRequest = requestPath(token);
    subscribeResponse(mCreateRequest, SLOT(createSessionResponse(uint, QVariantMap)));
    QDBusMessage create = QDBusMessage::createMethodCall(portalService, portalPath, shortcutsInterface,
                                                         QStringLiteral("CreateSession"));
    create << QVariantMap{{QStringLiteral("handle_token"), token},
                          {QStringLiteral("session_handle_token"), nextToken()}};
    mBus.asyncCall(create);
}

void PTPortalHotKeyBackend::createSessionResponse(uint response, const QVariantMap& results)
{
    unsubscribeResponse(mCreateRequest, SLOT(createSessionResponse(uint, QVariantMap)));
    mCreateRequest.clear();
    if (response != 0) {
        logError(source(), QStringLiteral("the desktop refused a shortcuts session (%1)").arg(response));
        return;
    }
    const QVariant handle = results.value(QStringLiteral("session_handle"));
    mSessionHandle =
        handle.canConvert<QDBusObjectPath>() && handle.userType() == qMetaTypeId<QDBusObjectPath>()
            ? handle.value<QDBusObjectPath>().path()
            : handle.toString();

    PTPortalShortcutList shortcuts;
    for (const auto& [id, registration] : mRegistrations)
        shortcuts << PTPortalShortcut{
            registration.identifier,
            {{QStringLiteral("description"), registration.name},
             {QStringLiteral("preferred_trigger"), preferredTrigger(registration.keyCombo)}}};
    const QString token = nextToken();
    mBindRequest = requestPath(token);
    subscribeResponse(mBindRequest, SLOT(bindShortcutsResponse(uint, QVariantMap)));
    QDBusMessage bindCall = QDBusMessage::createMethodCall(portalService, portalPath, shortcutsInterface,
                                                           QStringLiteral("BindShortcuts"));
    bindCall << QVariant::fromValue(QDBusObjectPath(mSessionHandle)) << QVariant::fromValue(shortcuts)
             << QString() << QVariantMap{{QStringLiteral("handle_token"), token}};
    mBus.asyncCall(bindCall);
}

void PTPortalHotKeyBackend::bindShortcutsResponse(uint response, const QVariantMap&)
{
    unsubscribeResponse(mBindRequest, SLOT(bindShortcutsResponse(uint, QVariantMap)));
    mBindRequest.clear();
    if (response != 0)
        logError(source(), QStringLiteral("the desktop did not bind the hot keys (%1)").arg(response));
    Q_EMIT shortcutsBound(response);
}

void PTPortalHotKeyBackend::announceShortcut(const QDBusObjectPath& session, const QString& identifier,
                                             bool pressed)
{
    if (session.path() != mSessionHandle || mSessionHandle.isEmpty())
        return;
    for (const auto& [id, registration] : mRegistrations)
        if (registration.identifier == identifier) {
            Q_EMIT activated(id, pressed);
            return;
        }
}

void PTPortalHotKeyBackend::shortcutActivated(const QDBusObjectPath& session, const QString& identifier,
                                              qulonglong, const QVariantMap&)
{
    announceShortcut(session, identifier, true);
}

void PTPortalHotKeyBackend::shortcutDeactivated(const QDBusObjectPath& session, const QString& identifier,
                                                qulonglong, const QVariantMap&)
{
    announceShortcut(session, identifier, false);
}

} // namespace spindrel
