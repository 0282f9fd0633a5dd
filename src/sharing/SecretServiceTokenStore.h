#pragma once

#include "sharing/TokenStore.h"

namespace spindrel {

/// Secrets in the desktop's keyring through the Secret Service (libsecret). When no keyring is
/// reachable the secret stays in memory for this run, and isPersistent() turns false.
class SecretServiceTokenStore : public TokenStore
{
public:
    std::optional<QByteArray> load(const QString& itemName) override;
    bool save(const QString& itemName, const QByteArray& secret) override;
    void remove(const QString& itemName) override;
    bool isPersistent() const override { return mPersistent; }

private:
    MemoryTokenStore mFallback;
    bool mPersistent = true;
};

} // namespace spindrel
