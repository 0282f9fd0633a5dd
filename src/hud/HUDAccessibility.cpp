#include "hud/HUDAccessibility.h"

#include "hud/AccessibleChoiceGroup.h"
#include "hud/AccessibleHUDValue.h"
#include "hud/AccessibleTapeView.h"
#include "hud/AccessibleTransportKeys.h"
#include "hud/HUDView.h"
#include "hud/LevelView.h"
#include "hud/PositionView.h"
#include "hud/QualityView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/StereoView.h"
#include "hud/TapeView.h"
#include "hud/TimeView.h"
#include "hud/VolumeView.h"

#include <QAccessible>
#include <algorithm>
#include <cmath>

namespace spindrel {

namespace {

// The factory is asked with each class name up the object's inheritance chain; the exact
// name makes one interface per widget, however it is subclassed.
template <typename Widget> Widget* asExactly(const QString& className, QObject* object)
{
    return className == QLatin1String(Widget::staticMetaObject.className()) ? qobject_cast<Widget*>(object)
                                                                            : nullptr;
}

QString decibels(double value)
{
    return HUDView::tr("%1 dB").arg(std::lround(value));
}

QAccessibleInterface* qualityInterface(QualityView* view)
{
    const auto layer = [view](int index) -> const QualityView::Layer* {
        const auto& layers = view->layers();
        return index >= 0 && index < static_cast<int>(layers.size())
                   ? &layers[static_cast<std::size_t>(index)]
                   : nullptr;
    };
    AccessibleChoiceGroup::Choices choices;
    choices.name = QualityView::tr("Recording Quality");
    choices.names = [view] {
        QStringList names;
        for (const QualityView::Layer& each : view->layers())
            names << each.tapeQuality;
        return names;
    };
    choices.frame = [layer](int index) { return layer(index) ? layer(index)->frame : QRectF(); };
    choices.chosen = [view] { return view->selectedLayer(); };
    choices.choose = [view, layer](int index) {
        if (layer(index))
            view->setQuality(layer(index)->tapeQuality);
    };
    choices.locked = [view] { return view->recordingMode(); };
    return new AccessibleChoiceGroup(view, std::move(choices));
}

QAccessibleInterface* stereoInterface(StereoView* view)
{
    AccessibleChoiceGroup::Choices choices;
    choices.name = StereoView::tr("Channels");
    choices.names = [] { return QStringList{StereoView::tr("Stereo"), StereoView::tr("Mono")}; };
    choices.frame = [view](int index) { return view->layerFrame(index == 0 ? 0 : 1); };
    choices.chosen = [view] { return view->stereo() ? 0 : 1; };
    choices.choose = [view](int index) { view->chooseStereo(index == 0); };
    choices.locked = [view] { return view->recordingMode(); };
    return new AccessibleChoiceGroup(view, std::move(choices));
}

QAccessibleInterface* volumeInterface(VolumeView* view)
{
    AccessibleHUDValue::Reading reading;
    reading.name = VolumeView::tr("Volume");
    reading.value = [view] { return view->volume(); };
    reading.minimum = [] { return VolumeView::minimumVolume; };
    reading.maximum = [] { return 0.0; };
    reading.step = [] { return VolumeView::volumeStep; };
    reading.valueText = [view] { return decibels(view->volume()); };
    // The wedge has a column per step; a value between two takes the nearer.
    reading.setValue = [view](double volume) {
        view->setVolume(std::round(volume / VolumeView::volumeStep) * VolumeView::volumeStep);
    };
    return new AccessibleHUDValue(view, std::move(reading));
}

QAccessibleInterface* positionInterface(PositionView* view)
{
    AccessibleHUDValue::Reading reading;
    reading.name = PositionView::tr("Position");
    reading.value = [view] { return view->time(); };
    reading.minimum = [] { return 0.0; };
    reading.maximum = [view] { return view->maxTime(); };
    reading.step = [view] { return view->maxTime() / PositionView::segmentCount; };
    reading.valueText = [view] { return TimeView::timeString(view->time()); };
    reading.setValue = [view](double time) { view->setTime(time); };
    reading.locked = [view] { return view->recordingMode() || view->maxTime() <= 0.0; };
    return new AccessibleHUDValue(view, std::move(reading));
}

QAccessibleInterface* levelInterface(LevelView* view)
{
    AccessibleHUDValue::Reading reading;
    reading.role = QAccessible::ProgressBar;
    reading.name = LevelView::tr("Input Level");
    // The louder side, as a meter needle would show; the text gives both.
    reading.value = [view] {
        return std::max(view->levels().first, view->stereo() ? view->levels().second : -100.0);
    };
    reading.minimum = [] { return -60.0; };
    reading.maximum = [] { return 0.0; };
    reading.step = [] { return 10.0; };
    reading.valueText = [view] {
        if (!view->stereo())
            return decibels(view->levels().first);
        return LevelView::tr("left %1, right %2")
            .arg(decibels(view->levels().first), decibels(view->levels().second));
    };
    return new AccessibleHUDValue(view, std::move(reading));
}

QAccessibleInterface* timeInterface(TimeView* view)
{
    AccessibleHUDValue::Reading reading;
    reading.role = QAccessible::Clock;
    reading.name = TimeView::tr("Time");
    reading.value = [view] { return view->time(); };
    reading.minimum = [] { return 0.0; };
    reading.maximum = [view] { return std::max(view->time(), 0.0); };
    reading.step = [] { return 10.0; };
    reading.valueText = [view] { return TimeView::timeString(view->time()); };
    return new AccessibleHUDValue(view, std::move(reading));
}

QAccessibleInterface* factory(const QString& className, QObject* object)
{
    if (!object || !object->isWidgetType())
        return nullptr;
    if (auto* keys = asExactly<SegmentedTapeButtonView>(className, object))
        return new AccessibleTransportKeys(keys);
    if (auto* view = asExactly<QualityView>(className, object))
        return qualityInterface(view);
    if (auto* view = asExactly<StereoView>(className, object))
        return stereoInterface(view);
    if (auto* view = asExactly<VolumeView>(className, object))
        return volumeInterface(view);
    if (auto* view = asExactly<PositionView>(className, object))
        return positionInterface(view);
    if (auto* view = asExactly<LevelView>(className, object))
        return levelInterface(view);
    if (auto* view = asExactly<TimeView>(className, object))
        return timeInterface(view);
    if (auto* view = asExactly<TapeView>(className, object))
        return new AccessibleTapeView(view);
    if (auto* hud = asExactly<HUDView>(className, object))
        return new QAccessibleWidget(hud, QAccessible::Grouping, HUDView::tr("Display"));
    return nullptr;
}

} // namespace

void HUDAccessibility::install()
{
    static bool installed = false;
    if (installed)
        return;
    installed = true;
    QAccessible::installFactory(factory);
}

} // namespace spindrel
