#include "sharing/SecretServiceTokenStore.h"

#include "foundation/Log.h"

#include <libsecret/secret.h>

namespace spindrel {

namespace {

const SecretSchema* schema()
{
    static const SecretSchema tokenSchema = {
        "org.spindrel.Spindrel.Token",
        SECRET_SCHEMA_NONE,
        {{"item", SECRET_SCHEMA_ATTRIBUTE_STRING}, {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
        0,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr};
    return &tokenSchema;
}

QString takeMessage(GError* error)
{
    const QString message = error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
    if (error)
        g_error_free(error);
    return message;
}

} // namespace

std::optional<QByteArray> SecretServiceTokenStore::load(const QString& itemName)
{
    if (!mPersistent)
        return mFallback.load(itemName);
    const QByteArray item = itemName.toUtf8();
    GError* error = nullptr;
    gchar* secret = secret_password_lookup_sync(schema(), nullptr, &error, "item", item.constData(), nullptr);
    if (error) {
        logError(logSourceName(__FILE__), takeMessage(error));
        mPersistent = false;
        return mFallback.load(itemName);
    }
    if (!secret)
        return std::nullopt;
    const QByteArray value(secret);
    secret_password_free(secret);
    return value;
}

bool SecretServiceTokenStore::save(const QString& itemName, const QByteArray& secret)
{
    if (mPersistent) {
        const QByteArray item = itemName.toUtf8();
        GError* error = nullptr;
        secret_password_store_sync(schema(), SECRET_COLLECTION_DEFAULT, item.constData(), secret.constData(),
                                   nullptr, &error, "item", item.constData(), nullptr);
        if (!error)
            return true;
        logError(logSourceName(__FILE__), takeMessage(error));
        mPersistent = false;
    }
    mFallback.save(itemName, secret);
    return false;
}

void SecretServiceTokenStore::remove(const QString& itemName)
{
    mFallback.remove(itemName);
    if (!mPersistent)
        return;
    const QByteArray item = itemName.toUtf8();
    GError* error = nullptr;
    secret_password_clear_sync(schema(), nullptr, &error, "item", item.constData(), nullptr);
    if (error)
        logError(logSourceName(__FILE__), takeMessage(error));
}

} // namespace spindrel
