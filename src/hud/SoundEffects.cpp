#include "hud/SoundEffects.h"

namespace spindrel {

namespace {

const std::array<QString, SoundEffects::count>& names()
{
    static const std::array<QString, SoundEffects::count> table = {
        QStringLiteral("TapeSpeeding"),     QStringLiteral("ButtonPress"),
        QStringLiteral("ButtonClear"),      QStringLiteral("ButtonHitExtent"),
        QStringLiteral("DrawerOpenStereo"), QStringLiteral("DrawerCloseStereo"),
        QStringLiteral("PausePress"),       QStringLiteral("PauseRelease"),
        QStringLiteral("TossTape2"),
    };
    return table;
}

} // namespace

const std::array<SoundEffect, SoundEffects::count>& SoundEffects::all()
{
    static const std::array<SoundEffect, count> effects = [] {
        std::array<SoundEffect, count> table{};
        for (int index = 0; index < count; ++index)
            table[std::size_t(index)] = SoundEffect(index);
        return table;
    }();
    return effects;
}

QString SoundEffects::name(SoundEffect effect)
{
    return names()[std::size_t(effect)];
}

std::optional<SoundEffect> SoundEffects::effectForName(const QString& name)
{
    for (int index = 0; index < count; ++index) {
        if (names()[std::size_t(index)] == name)
            return SoundEffect(index);
    }
    return std::nullopt;
}

QString SoundEffects::resourcePath(SoundEffect effect)
{
    return QStringLiteral(":/sounds/") + name(effect) + QStringLiteral(".wav");
}

QUrl SoundEffects::resourceUrl(SoundEffect effect)
{
    return QUrl(QStringLiteral("qrc") + resourcePath(effect));
}

} // namespace spindrel
