#include "platform/ui/TextField.h"

#include <QAbstractTextDocumentLayout>
#include <QTextDocument>

#include <algorithm>

namespace platform {

TextField::TextField(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setTabChangesFocus(true);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QPlainTextEdit::textChanged, this, &TextField::fitHeight);
}

QString TextField::stringValue() const
{
    // toPlainText() would turn no-break spaces into spaces.
    QString text = document()->toRawText();
    text.replace(QChar::ParagraphSeparator, u'\n');
    text.replace(QChar::LineSeparator, u'\n');
    return text;
}

void TextField::setStringValue(const QString& text)
{
    if (text.size() <= longestShownText) {
        setPlainText(text);
    } else {
        setPlainText(text.left(longestShownText) + QChar(0x2026));
    }
    document()->setModified(false);
}

bool TextField::isEditing() const
{
    return document()->isModified();
}

void TextField::endEditing()
{
    if (isEditing()) {
        document()->setModified(false);
        Q_EMIT editingEnded();
    }
}

void TextField::setMinimumLines(int lines)
{
    m_minimumLines = lines;
    fitHeight();
}

void TextField::setMaximumLines(int lines)
{
    m_maximumLines = lines;
    fitHeight();
}

int TextField::heightOfLines(int lines) const
{
    const int margins = qRound(2 * document()->documentMargin()) + contentsMargins().top()
        + contentsMargins().bottom() + viewportMargins().top() + viewportMargins().bottom();
    return lines * fontMetrics().lineSpacing() + margins;
}

QSize TextField::sizeHint() const
{
    // The layout of a plain text document counts lines, not pixels.
    const int lines = qRound(document()->documentLayout()->documentSize().height());
    return { QPlainTextEdit::sizeHint().width(),
        heightOfLines(std::clamp(lines, m_minimumLines, m_maximumLines)) };
}

QSize TextField::minimumSizeHint() const
{
    return { fontMetrics().averageCharWidth() * 8, heightOfLines(m_minimumLines) };
}

void TextField::fitHeight()
{
    updateGeometry();
}

void TextField::focusOutEvent(QFocusEvent* event)
{
    QPlainTextEdit::focusOutEvent(event);
    if (event->reason() != Qt::PopupFocusReason) {
        endEditing();
    }
}

void TextField::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    if (event->oldSize().width() != event->size().width()) {
        fitHeight();
    }
}

} // namespace platform
