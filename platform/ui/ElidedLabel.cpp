#include "platform/ui/ElidedLabel.h"

#include <QPainter>
#include <QTextLayout>

namespace platform {

namespace {

/// More than fits into any label. Laying out a longer text would only take time.
constexpr qsizetype longestLaidOutText = 1000;

/// Replaces line ends, tabs and other control characters by spaces.
QString drawableText(const QString& text)
{
    QString drawable = text.left(longestLaidOutText);
    for (QChar& c : drawable) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator
            || c == QChar::ParagraphSeparator) {
            c = u' ';
        }
    }
    return drawable;
}

} // namespace

ElidedLabel::ElidedLabel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::setLines(int lines)
{
    m_lines = lines;
    updateGeometry();
    update();
}

QSize ElidedLabel::sizeHint() const
{
    return { fontMetrics().averageCharWidth() * 24, minimumSizeHint().height() };
}

QSize ElidedLabel::minimumSizeHint() const
{
    return { fontMetrics().averageCharWidth() * 4, fontMetrics().lineSpacing() * m_lines };
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    const QString text = drawableText(this->text());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(text, font(), this);
    layout.setTextOption(option);
    layout.beginLayout();
    QList<QTextLine> fitting;
    QTextLine line = layout.createLine();
    while (line.isValid() && fitting.size() < m_lines) {
        line.setLineWidth(width());
        fitting.append(line);
        line = layout.createLine();
    }
    layout.endLayout();
    const bool overflows = line.isValid();
    const int spacing = fontMetrics().lineSpacing();
    int top = (alignment() & Qt::AlignTop) != 0
        ? 0
        : (height() - static_cast<int>(fitting.size()) * spacing) / 2;
    for (qsizetype i = 0; i < fitting.size(); ++i, top += spacing) {
        const QTextLine& shown = fitting[i];
        const bool last = i == m_lines - 1;
        const QString part = last && overflows
            ? fontMetrics().elidedText(text.mid(shown.textStart()), Qt::ElideRight, width())
            : text.mid(shown.textStart(), shown.textLength());
        painter.drawText(QRect(0, top, width(), spacing),
            static_cast<int>((alignment() & Qt::AlignHorizontal_Mask) | Qt::AlignVCenter), part);
    }
}

} // namespace platform
