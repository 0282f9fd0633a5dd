#include "deck/DeckPreferences.h"

namespace spindrel {

DeckPreferences::~DeckPreferences() = default;

bool DeckPreferences::boolForKey(const QString& key) const
{
    return defaultsValue(key).toBool();
}

QString DeckPreferences::stringForKey(const QString& key) const
{
    return defaultsValue(key).toString();
}

double DeckPreferences::doubleForKey(const QString& key) const
{
    return defaultsValue(key).toDouble();
}

QMetaObject::Connection DeckPreferences::observe(const QString& key, QObject* context,
                                                 std::function<void()> handler)
{
    auto connection =
        connect(this, &DeckPreferences::defaultsChanged, context, [key, handler](const QString& changedKey) {
            if (changedKey == key)
                handler();
        });
    handler();
    return connection;
}

} // namespace spindrel
