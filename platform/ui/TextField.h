#pragma once

#include <QPlainTextEdit>

namespace platform {

/// A field of wrapped plain text that grows with its text from `minimumLines` to `maximumLines` and
/// then scrolls. Tab moves the focus. Editing ends when an edited field loses the focus, or by
/// endEditing(). Main thread.
class TextField : public QPlainTextEdit {
    Q_OBJECT
    Q_PROPERTY(int minimumLines READ minimumLines WRITE setMinimumLines)
    Q_PROPERTY(int maximumLines READ maximumLines WRITE setMaximumLines)
    Q_PROPERTY(bool sendsAction READ sendsAction WRITE setSendsAction)
public:
    explicit TextField(QWidget* parent = nullptr);

    /// The text with "\n" as line end, otherwise as it was set or typed. Of a longer text than
    /// `longestShownText` only the beginning is set, with an ellipsis.
    QString stringValue() const;
    void setStringValue(const QString& text); ///< does not count as an edit
    static constexpr qsizetype longestShownText = 32768;

    bool isEditing() const; ///< the user has changed the text since it was set or editing ended
    void endEditing(); ///< emits editingEnded() if the field is being edited

    int minimumLines() const { return m_minimumLines; }
    void setMinimumLines(int lines);
    int maximumLines() const { return m_maximumLines; }
    void setMaximumLines(int lines);

    /// Whether Return emits action(). Shift+Return begins a new line in either case.
    bool sendsAction() const { return m_sendsAction; }
    void setSendsAction(bool sends) { m_sendsAction = sends; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void editingEnded();
    void action();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    int lineCount() const;
    int heightOfLines(int lines) const;
    void fitHeight();

    int m_minimumLines = 1;
    int m_maximumLines = 6;
    bool m_sendsAction = false;
};

} // namespace platform
