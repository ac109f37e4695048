#include "platform/ui/TextField.h"

#include <QAbstractTextDocumentLayout>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QTextDocument>
#include <QtMath>

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
    // textChanged() is emitted before a new text is wrapped.
    connect(document()->documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged, this,
        &TextField::fitHeight);
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

int TextField::lineCount() const
{
    // The layout of a plain text document counts lines, not pixels.
    return qRound(document()->documentLayout()->documentSize().height());
}

int TextField::heightOfLines(int lines) const
{
    // The frame and the padding of the style.
    const int around = isVisible() ? height() - viewport()->height() : 2 * frameWidth();
    return lines * fontMetrics().lineSpacing() + qCeil(2 * document()->documentMargin()) + around;
}

QSize TextField::sizeHint() const
{
    return { QPlainTextEdit::sizeHint().width(),
        heightOfLines(std::clamp(lineCount(), m_minimumLines, m_maximumLines)) };
}

QSize TextField::minimumSizeHint() const
{
    return { fontMetrics().averageCharWidth() * 8, heightOfLines(m_minimumLines) };
}

void TextField::fitHeight()
{
    setVerticalScrollBarPolicy(
        lineCount() > m_maximumLines ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    updateGeometry();
}

void TextField::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (m_sendsAction && isReturn && plain) {
        Q_EMIT action();
    } else {
        QPlainTextEdit::keyPressEvent(event);
    }
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
    fitHeight(); // the width decides how the text wraps
    if (lineCount() <= m_maximumLines) {
        verticalScrollBar()->setValue(0); // all lines are visible
    }
}

/// Qt 6.4 reads the first format of an empty list when the clipboard is empty.
void TextField::insertFromMimeData(const QMimeData* source)
{
    if (!source->formats().isEmpty()) {
        QPlainTextEdit::insertFromMimeData(source);
    }
}

} // namespace platform
