#pragma once

#include <QDialog>

class QLabel;

namespace spindrel {

/// The About box: the deck's icon, name, version and credits.
class AboutWindow : public QDialog
{
    Q_OBJECT

public:
    explicit AboutWindow(QWidget* parent = nullptr);

    QString versionString() const;

private:
    QLabel* mVersionLabel = nullptr;
};

} // namespace spindrel
