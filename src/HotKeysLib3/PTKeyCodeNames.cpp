#include "HotKeysLib3/PTKeyCodeNames.h"

#include "HotKeysLib3/PTKeyCodeTranslator.h"
#include "foundation/Log.h"

#include <QFile>
#include <memory>
#include <plist/plist.h>

namespace spindrel {

namespace {

constexpr int currentVersion = 2;

using PlistPtr = std::unique_ptr<void, decltype(&plist_free)>;

QString stringNode(plist_t node)
{
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return {};
    char* value = nullptr;
    plist_get_string_val(node, &value);
    QString text = QString::fromUtf8(value);
    free(value);
    return text;
}

int64_t integerNode(plist_t node, int64_t fallback)
{
    if (!node || plist_get_node_type(node) != PLIST_UINT)
        return fallback;
    uint64_t value = 0;
    plist_get_uint_val(node, &value);
    return static_cast<int64_t>(value);
}

bool booleanNode(plist_t node)
{
    if (!node || plist_get_node_type(node) != PLIST_BOOLEAN)
        return false;
    uint8_t value = 0;
    plist_get_bool_val(node, &value);
    return value != 0;
}

PlistPtr parse(const QByteArray& data)
{
    plist_t root = nullptr;
    plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &root);
    return PlistPtr(root, &plist_free);
}

} // namespace

const PTKeyCodeNames& PTKeyCodeNames::shared()
{
    static const PTKeyCodeNames names = fromFile(QStringLiteral(":/HotKeysLib3/PTKeyCodes.plist"));
    return names;
}

PTKeyCodeNames PTKeyCodeNames::fromFile(const QString& path)
{
    PTKeyCodeNames names;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        logError(logSourceName(__FILE__), QStringLiteral("cannot read key code names from ") + path);
        return names;
    }
    const PlistPtr root = parse(file.readAll());
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        logError(logSourceName(__FILE__), QStringLiteral("key code names are not a dictionary: ") + path);
        return names;
    }
    names.mVersion = static_cast<int>(integerNode(plist_dict_get_item(root.get(), "version"), 0));
    const QByteArray versionKey = QByteArray::number(names.mVersion);
    plist_t map = plist_dict_get_item(root.get(), versionKey.constData());
    if (!map || plist_get_node_type(map) != PLIST_DICT)
        return names;
    names.mCurrentFormat = names.mVersion >= currentVersion;
    names.mHexadecimalCodes = booleanNode(plist_dict_get_item(map, "hexadecimalCodes"));

    if (plist_t unmapped = plist_dict_get_item(map, "unmappedKeys");
        unmapped && plist_get_node_type(unmapped) == PLIST_DICT) {
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(unmapped, &it);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(unmapped, it, &key, &value);
            if (!key)
                break;
            bool ok = false;
            const int32_t code = QString::fromUtf8(key).toInt(&ok, names.mHexadecimalCodes ? 16 : 10);
            if (ok)
                names.mUnmappedKeys.insert(code, stringNode(value));
            free(key);
        }
        free(it);
    }
    if (plist_t pad = plist_dict_get_item(map, "padKeys"); pad && plist_get_node_type(pad) == PLIST_ARRAY) {
        for (uint32_t i = 0; i < plist_array_get_size(pad); ++i)
            names.mPadKeys.insert(static_cast<int32_t>(integerNode(plist_array_get_item(pad, i), -1)));
    }
    names.mPadKeyString = stringNode(plist_dict_get_item(map, "padKeyString"));
    return names;
}

QString PTKeyCodeNames::stringForKeyCode(int32_t keyCode, const PTKeyCodeTranslator& translator) const
{
    if (const auto fixed = mUnmappedKeys.constFind(keyCode); fixed != mUnmappedKeys.cend())
        return *fixed;
    if (!mCurrentFormat)
        return mHexadecimalCodes ? QString::number(keyCode, 16).toUpper() : QString::number(keyCode);
    const QString character = translator.translateKeyCode(keyCode).toUpper();
    if (mPadKeys.contains(keyCode))
        return mPadKeyString + QLatin1Char(' ') + character;
    return character;
}

} // namespace spindrel
