#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <cstdint>

namespace spindrel {

class PTKeyCodeTranslator;

/// The "PTKeyCodes" map: fixed texts of the keys that type no character, the keypad's key codes
/// and the marker written before a keypad key's character.
class PTKeyCodeNames
{
public:
    /// The map in the library's resources.
    static const PTKeyCodeNames& shared();
    /// A map read from a property list (XML or binary); empty when the file cannot be read.
    static PTKeyCodeNames fromFile(const QString& path);

    /// The text of a key: its fixed name, or what the layout prints on it upper-cased, with the pad
    /// marker before keypad keys. Maps of an older version give unknown codes as numbers.
    QString stringForKeyCode(int32_t keyCode, const PTKeyCodeTranslator& translator) const;

    int version() const { return mVersion; }
    QString padKeyString() const { return mPadKeyString; }

private:
    int mVersion = 0;
    bool mCurrentFormat = false;
    bool mHexadecimalCodes = false;
    QHash<int32_t, QString> mUnmappedKeys;
    QSet<int32_t> mPadKeys;
    QString mPadKeyString;
};

} // namespace spindrel
