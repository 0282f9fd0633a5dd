#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace spindrel {

/// Where a sign-in is kept between runs. Secrets never go to plain files: a store that cannot
/// keep them safely keeps them in memory only, and says so.
class TokenStore
{
public:
    virtual ~TokenStore() = default;

    /// The secret stored under `itemName`, if any.
    virtual std::optional<QByteArray> load(const QString& itemName) = 0;
    /// False when the secret could only be kept in memory.
    virtual bool save(const QString& itemName, const QByteArray& secret) = 0;
    virtual void remove(const QString& itemName) = 0;
    /// False once the store has found that it cannot keep anything beyond this run.
    virtual bool isPersistent() const = 0;
};

/// Keeps secrets for this run only.
class MemoryTokenStore : public TokenStore
{
public:
    std::optional<QByteArray> load(const QString& itemName) override;
    bool save(const QString& itemName, const QByteArray& secret) override;
    void remove(const QString& itemName) override;
    bool isPersistent() const override { return false; }

private:
    QString mItemName;
    std::optional<QByteArray> mSecret;
};

} // namespace spindrel
