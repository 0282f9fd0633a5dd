#include "hud/SoundEffects.h"

namespace spindrel {

const std::array<QString, SoundEffects::count>& SoundEffects::names()
{
    static const std::array<QString, count> table = {
        QStringLiteral("TapeSpeeding"),     QStringLiteral("ButtonPress"),
        QStringLiteral("ButtonClear"),      QStringLiteral("ButtonHitExtent"),
        QStringLiteral("DrawerOpenStereo"), QStringLiteral("DrawerCloseStereo"),
        QStringLiteral("PausePress"),       QStringLiteral("PauseRelease"),
        QStringLiteral("TossTape2"),
    };
    return table;
}

QString SoundEffects::nameForIndex(int index)
{
    if (index < 0 || index >= count)
        return {};
    return names()[static_cast<std::size_t>(index)];
}

int SoundEffects::indexForName(const QString& name)
{
    for (int i = 0; i < count; ++i) {
        if (names()[static_cast<std::size_t>(i)] == name)
            return i;
    }
    return -1;
}

QString SoundEffects::resourcePath(int index)
{
    const QString name = nameForIndex(index);
    if (name.isNull())
        return {};
    return QStringLiteral(":/sounds/") + name + QStringLiteral(".wav");
}

QUrl SoundEffects::resourceUrl(int index)
{
    const QString path = resourcePath(index);
    return path.isNull() ? QUrl() : QUrl(QStringLiteral("qrc") + path);
}

} // namespace spindrel
