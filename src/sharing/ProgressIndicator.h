#pragma once

#include <QProgressBar>

namespace spindrel {

/// A progress bar over a range of doubles (a fraction, or a byte count beyond what an int
/// holds), shown on a fixed scale of steps.
class ProgressIndicator : public QProgressBar
{
    Q_OBJECT

public:
    explicit ProgressIndicator(QWidget* parent = nullptr);

    void setIndeterminate(bool indeterminate);
    bool isIndeterminate() const { return mIndeterminate; }
    void setMinValue(double minimum);
    void setMaxValue(double maximum);
    void setDoubleValue(double value);
    double minValue() const { return mMinimum; }
    double maxValue() const { return mMaximum; }
    double doubleValue() const { return mValue; }

private:
    void updateBar();

    bool mIndeterminate = false;
    double mMinimum = 0.0;
    double mMaximum = 1.0;
    double mValue = 0.0;
};

} // namespace spindrel
