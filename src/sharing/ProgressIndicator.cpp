#include "sharing/ProgressIndicator.h"

#include <algorithm>

namespace spindrel {

namespace {
constexpr int steps = 10000;
}

ProgressIndicator::ProgressIndicator(QWidget* parent) : QProgressBar(parent)
{
    setRange(0, steps);
    setTextVisible(false);
}

void ProgressIndicator::setIndeterminate(bool indeterminate)
{
    mIndeterminate = indeterminate;
    updateBar();
}

void ProgressIndicator::setMinValue(double minimum)
{
    mMinimum = minimum;
    updateBar();
}

void ProgressIndicator::setMaxValue(double maximum)
{
    mMaximum = maximum;
    updateBar();
}

void ProgressIndicator::setDoubleValue(double value)
{
    mValue = value;
    updateBar();
}

void ProgressIndicator::updateBar()
{
    if (mIndeterminate) {
        setRange(0, 0);
        return;
    }
    setRange(0, steps);
    const double span = mMaximum - mMinimum;
    const double fraction = span > 0.0 ? std::clamp((mValue - mMinimum) / span, 0.0, 1.0) : 0.0;
    setValue(int(fraction * steps + 0.5));
}

} // namespace spindrel
