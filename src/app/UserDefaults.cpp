#include "app/UserDefaults.h"

#include "foundation/IntegerList.h"

namespace spindrel {

UserDefaults& UserDefaults::standardUserDefaults()
{
    static UserDefaults* defaults = new UserDefaults(std::make_unique<QSettings>());
    return *defaults;
}

UserDefaults::UserDefaults(std::unique_ptr<QSettings> settings, QObject* parent)
    : QObject(parent), mSettings(std::move(settings))
{
}

UserDefaults::~UserDefaults() = default;

QVariant UserDefaults::objectForKey(const QString& key) const
{
    const QVariant stored = mSettings->value(key);
    if (!stored.isValid())
        return mRegistered.value(key);
    // The settings file gives scalars back as text: read them as the registered default's type.
    const QVariant registered = mRegistered.value(key);
    if (stored.typeId() == QMetaType::QString && registered.isValid() &&
        registered.typeId() != QMetaType::QString && !registered.canConvert<QVariantList>()) {
        QVariant converted = stored;
        if (converted.convert(registered.metaType()))
            return converted;
    }
    return stored;
}

void UserDefaults::setObject(const QVariant& value, const QString& key)
{
    if (!value.isValid()) {
        removeObjectForKey(key);
        return;
    }
    const QVariant before = objectForKey(key);
    mSettings->setValue(key, value);
    if (before != value)
        Q_EMIT changed(key);
}

void UserDefaults::removeObjectForKey(const QString& key)
{
    if (!mSettings->contains(key))
        return;
    const QVariant before = objectForKey(key);
    mSettings->remove(key);
    if (before != objectForKey(key))
        Q_EMIT changed(key);
}

bool UserDefaults::hasStoredValue(const QString& key) const
{
    return mSettings->contains(key);
}

void UserDefaults::registerDefaults(const QVariantMap& defaults)
{
    QStringList changedKeys;
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        if (!mSettings->contains(it.key()) && mRegistered.value(it.key()) != it.value())
            changedKeys.append(it.key());
        mRegistered.insert(it.key(), it.value());
    }
    for (const QString& key : std::as_const(changedKeys))
        Q_EMIT changed(key);
}

bool UserDefaults::boolForKey(const QString& key) const
{
    // Text reads as false when empty, "0" or "false".
    return objectForKey(key).toBool();
}

QString UserDefaults::stringForKey(const QString& key) const
{
    const QVariant value = objectForKey(key);
    return value.canConvert<QString>() ? value.toString() : QString();
}

double UserDefaults::doubleForKey(const QString& key) const
{
    return objectForKey(key).toDouble();
}

qint64 UserDefaults::integerForKey(const QString& key) const
{
    return objectForKey(key).toLongLong();
}

QList<int> UserDefaults::integerArrayForKey(const QString& key) const
{
    return integerList(objectForKey(key));
}

QVariantMap UserDefaults::dictionaryForKey(const QString& key) const
{
    return objectForKey(key).toMap();
}

void UserDefaults::synchronize()
{
    mSettings->sync();
}

} // namespace spindrel
