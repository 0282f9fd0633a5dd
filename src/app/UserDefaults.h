#pragma once

#include <QObject>
#include <QSettings>
#include <QVariant>
#include <memory>

namespace spindrel {

/// The user's settings: values stored in the settings file over defaults registered at start.
/// Every change of a key's value is announced by changed(key).
class UserDefaults : public QObject
{
    Q_OBJECT

public:
    /// The application's defaults, in the settings file of its organisation and name.
    static UserDefaults& standardUserDefaults();

    /// Defaults over a settings file of their own (tests, other profiles).
    explicit UserDefaults(std::unique_ptr<QSettings> settings, QObject* parent = nullptr);
    ~UserDefaults() override;

    /// The stored value, else the registered default, else an invalid variant.
    QVariant objectForKey(const QString& key) const;
    void setObject(const QVariant& value, const QString& key);
    /// Forgets the stored value; the registered default shows again.
    void removeObjectForKey(const QString& key);
    bool hasStoredValue(const QString& key) const;

    /// Adds defaults (later registrations of a key win); stored values stay in front of them.
    void registerDefaults(const QVariantMap& defaults);
    const QVariantMap& registeredDefaults() const { return mRegistered; }

    bool boolForKey(const QString& key) const;
    QString stringForKey(const QString& key) const;
    double doubleForKey(const QString& key) const;
    qint64 integerForKey(const QString& key) const;
    /// A list of integers; a stored single number reads as a list of one.
    QList<int> integerArrayForKey(const QString& key) const;
    QVariantMap dictionaryForKey(const QString& key) const;

    /// Writes pending changes to the settings file.
    void synchronize();

Q_SIGNALS:
    void changed(const QString& key);

private:
    std::unique_ptr<QSettings> mSettings;
    QVariantMap mRegistered;
};

} // namespace spindrel
