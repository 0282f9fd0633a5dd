#pragma once

#include <QFrame>

class QPlainTextEdit;
class QPushButton;

namespace spindrel {

/// The card laid over the cassette to edit a tape's notes: a text area and a "Done" button.
class TapeNotesEditor : public QFrame
{
    Q_OBJECT

public:
    explicit TapeNotesEditor(QWidget* parent = nullptr);

    QString text() const;
    void setText(const QString& text);
    void focusText();

Q_SIGNALS:
    /// The user is done (the button, Ctrl+Return, or Escape, which keeps the text too: notes can
    /// be long, and a slip of the finger should not lose them).
    void doneEditing();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QPlainTextEdit* mText;
    QPushButton* mDone;
};

} // namespace spindrel
