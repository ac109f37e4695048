#pragma once

#include <QPlainTextEdit>

namespace platform {

/// A field of plain text that wraps and grows with its text, from `minimumLines` to
/// `maximumLines`, then scrolls. Tab leaves it. Editing ends when an edited field loses the focus
/// or is asked to end. Main thread.
class TextField : public QPlainTextEdit {
    Q_OBJECT
    Q_PROPERTY(int minimumLines READ minimumLines WRITE setMinimumLines)
    Q_PROPERTY(int maximumLines READ maximumLines WRITE setMaximumLines)
    Q_PROPERTY(bool sendsAction READ sendsAction WRITE setSendsAction)
public:
    explicit TextField(QWidget* parent = nullptr);

    /// The text with "\n" as its line end, otherwise as it was set or typed. Of a text that was set
    /// and is longer than `longestShownText`, only the beginning is shown, with an ellipsis.
    QString stringValue() const;
    void setStringValue(const QString& text); ///< is no edit
    static constexpr qsizetype longestShownText = 32768;

    bool isEditing() const; ///< changed by the user since it was set, or since editing ended
    void endEditing(); ///< sends editingEnded() if the field is being edited

    int minimumLines() const { return m_minimumLines; }
    void setMinimumLines(int lines);
    int maximumLines() const { return m_maximumLines; }
    void setMaximumLines(int lines);

    /// Whether Return sends action() in place of beginning a line, which Shift+Return still does.
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

private:
    int lineCount() const;
    int heightOfLines(int lines) const;
    void fitHeight();

    int m_minimumLines = 1;
    int m_maximumLines = 6;
    bool m_sendsAction = false;
};

} // namespace platform
