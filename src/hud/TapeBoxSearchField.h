#pragma once

#include <QLineEdit>

namespace spindrel {

/// The tape box's search field: a dark rounded field with a magnifier and a clear button.
/// Each edit is a search; Escape clears the field and passes the key on to the window.
class TapeBoxSearchField : public QLineEdit
{
    Q_OBJECT

public:
    explicit TapeBoxSearchField(QWidget* parent = nullptr);

    QSize sizeHint() const override { return {220, 24}; }

Q_SIGNALS:
    /// The text to filter the library by (the deck's search action).
    void search(const QString& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace spindrel
