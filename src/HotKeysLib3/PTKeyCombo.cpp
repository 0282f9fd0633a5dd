#include "HotKeysLib3/PTKeyCombo.h"

#include "HotKeysLib3/PTKeyCodeNames.h"
#include "HotKeysLib3/PTKeyCodeTranslator.h"

#include <QCoreApplication>
#include <QHash>

namespace spindrel {

namespace {

const QString keyCodeKey = QStringLiteral("keyCode");
const QString modifiersKey = QStringLiteral("modifiers");

QString noneText()
{
    return QCoreApplication::translate("PTKeyCombo", "(None)");
}

} // namespace

PTKeyCombo::PTKeyCombo(int32_t keyCode, uint32_t modifiers)
    : mKeyCode(keyCode < 0 ? -1 : keyCode), mModifiers(modifiers)
{
}

PTKeyCombo PTKeyCombo::keyComboWithKeyCode(int32_t keyCode, uint32_t modifiers)
{
    return PTKeyCombo(keyCode, modifiers);
}

PTKeyCombo PTKeyCombo::fromPlistRepresentation(const QVariant& plist)
{
    const QVariantMap map = plist.toMap();
    if (map.isEmpty())
        return clearKeyCombo();
    const int32_t keyCode = map.contains(keyCodeKey) ? map.value(keyCodeKey).toInt() : -1;
    return PTKeyCombo(keyCode, map.value(modifiersKey).toUInt());
}

QVariantMap PTKeyCombo::plistRepresentation() const
{
    return {{keyCodeKey, mKeyCode}, {modifiersKey, mModifiers}};
}

QString PTKeyCombo::keyCodeString() const
{
    return keyCodeString(*PTKeyCodeTranslator::currentTranslator());
}

QString PTKeyCombo::keyCodeString(const PTKeyCodeTranslator& translator) const
{
    if (mKeyCode < 0)
        return {};
    return PTKeyCodeNames::shared().stringForKeyCode(mKeyCode, translator);
}

QString PTKeyCombo::platformDescription() const
{
    return platformDescription(*PTKeyCodeTranslator::currentTranslator());
}

QString PTKeyCombo::platformDescription(const PTKeyCodeTranslator& translator) const
{
    if (!isValidHotKeyCombo())
        return noneText();
    QStringList parts;
    if (mModifiers & cmdKey)
        parts << QCoreApplication::translate("PTKeyCombo", "Ctrl");
    if (mModifiers & optionKey)
        parts << QCoreApplication::translate("PTKeyCombo", "Alt");
    if (mModifiers & controlKey)
        parts << QCoreApplication::translate("PTKeyCombo", "Super");
    if (mModifiers & shiftKey)
        parts << QCoreApplication::translate("PTKeyCombo", "Shift");
    parts << linuxKeyName(keyCodeString(translator));
    return parts.join(QLatin1Char('+'));
}

QString PTKeyCombo::linuxKeyName(const QString& name)
{
    // The key table names some keys by the glyphs of another desktop's menus; here they are
    // spelt out as the Linux desktop's shortcuts spell them.
    static const QHash<QString, const char*> words = {
        {QStringLiteral("←"), QT_TRANSLATE_NOOP("PTKeyCombo", "Left")},
        {QStringLiteral("↑"), QT_TRANSLATE_NOOP("PTKeyCombo", "Up")},
        {QStringLiteral("→"), QT_TRANSLATE_NOOP("PTKeyCombo", "Right")},
        {QStringLiteral("↓"), QT_TRANSLATE_NOOP("PTKeyCombo", "Down")},
        {QStringLiteral("↖"), QT_TRANSLATE_NOOP("PTKeyCombo", "Home")},
        {QStringLiteral("↘"), QT_TRANSLATE_NOOP("PTKeyCombo", "End")},
        {QStringLiteral("↩"), QT_TRANSLATE_NOOP("PTKeyCombo", "Return")},
        {QStringLiteral("⇞"), QT_TRANSLATE_NOOP("PTKeyCombo", "PgUp")},
        {QStringLiteral("⇟"), QT_TRANSLATE_NOOP("PTKeyCombo", "PgDown")},
        {QStringLiteral("⇥"), QT_TRANSLATE_NOOP("PTKeyCombo", "Tab")},
        {QStringLiteral("⌤"), QT_TRANSLATE_NOOP("PTKeyCombo", "Enter")},
        {QStringLiteral("⌦"), QT_TRANSLATE_NOOP("PTKeyCombo", "Del")},
        {QStringLiteral("⌧"), QT_TRANSLATE_NOOP("PTKeyCombo", "Clear")},
        {QStringLiteral("⌫"), QT_TRANSLATE_NOOP("PTKeyCombo", "Backspace")},
        {QStringLiteral("⎋"), QT_TRANSLATE_NOOP("PTKeyCombo", "Esc")},
    };
    const auto word = words.constFind(name);
    return word == words.cend() ? name : QCoreApplication::translate("PTKeyCombo", *word);
}

} // namespace spindrel
