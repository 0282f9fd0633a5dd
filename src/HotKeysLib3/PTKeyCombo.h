#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <cstdint>

namespace spindrel {

class PTKeyCodeTranslator;

/// A key and its modifiers as the preferences store them: the original platform's virtual key code
/// and its hot-key modifier mask (Command 256, Shift 512, Option 2048, Control 4096, function 32768).
/// Here Command is Ctrl, Option is Alt and Control is Super.
class PTKeyCombo
{
public:
    static constexpr uint32_t cmdKey = 256;
    static constexpr uint32_t shiftKey = 512;
    static constexpr uint32_t optionKey = 2048;
    static constexpr uint32_t controlKey = 4096;
    static constexpr uint32_t functionKey = 32768;

    /// The clear combination: key code -1, no modifiers.
    PTKeyCombo() = default;
    PTKeyCombo(int32_t keyCode, uint32_t modifiers);

    static PTKeyCombo keyComboWithKeyCode(int32_t keyCode, uint32_t modifiers);
    static PTKeyCombo clearKeyCombo() { return {}; }
    /// A dictionary with "keyCode" and "modifiers"; anything else gives the clear combination.
    static PTKeyCombo fromPlistRepresentation(const QVariant& plist);
    QVariantMap plistRepresentation() const;

    int32_t keyCode() const { return mKeyCode; }
    uint32_t modifiers() const { return mModifiers; }

    /// A key with at least one modifier: a bare key can never be a hot key.
    bool isValidHotKeyCombo() const { return mKeyCode >= 0 && mModifiers > 0; }
    bool isClearCombo() const { return mKeyCode == -1 && mModifiers == 0; }

    /// The key's own text in the current keyboard layout ("7", "F5", "Pad 7").
    QString keyCodeString() const;
    QString keyCodeString(const PTKeyCodeTranslator& translator) const;
    /// The combination in the key names of this desktop ("Ctrl+Shift+7"), or "(None)" when not a
    /// valid hot key.
    QString platformDescription() const;
    QString platformDescription(const PTKeyCodeTranslator& translator) const;
    /// A key's name as Linux shortcuts spell it ("Tab", "Up", "Esc"), for the few keys the key
    /// table names by a glyph; other names are returned as they are.
    static QString linuxKeyName(const QString& name);

    bool operator==(const PTKeyCombo& other) const = default;

private:
    int32_t mKeyCode = -1;
    uint32_t mModifiers = 0;
};

} // namespace spindrel

Q_DECLARE_METATYPE(spindrel::PTKeyCombo)
