#include "platform/ui/SymbolIcon.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

namespace platform {

namespace {

QColor symbolColor(QIcon::Mode mode)
{
    const QPalette palette = QGuiApplication::palette();
    switch (mode) {
    case QIcon::Disabled:
        return palette.color(QPalette::Disabled, QPalette::WindowText);
    case QIcon::Selected:
        return palette.color(QPalette::Active, QPalette::HighlightedText);
    case QIcon::Normal:
    case QIcon::Active:
        break;
    }
    return palette.color(QPalette::Active, QPalette::WindowText);
}

class SymbolIconEngine : public QIconEngine {
public:
    explicit SymbolIconEngine(const QString& svgPath)
        : m_path(svgPath)
    {
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const qreal scale = painter->device()->devicePixelRatio();
        painter->drawPixmap(rect, drawn(rect.size() * scale, mode));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        return drawn(size, mode);
    }

    QPixmap scaledPixmap(
        const QSize& size, QIcon::Mode mode, QIcon::State /*state*/, qreal scale) override
    {
        QPixmap pixmap = drawn(size, mode);
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }

    QIconEngine* clone() const override { return new SymbolIconEngine(m_path); }

private:
    QPixmap drawn(const QSize& size, QIcon::Mode mode) const
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        QSvgRenderer(m_path).render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), symbolColor(mode));
        return pixmap;
    }

    QString m_path;
};

} // namespace

QIcon symbolIcon(const QString& svgPath)
{
    Q_ASSERT(QFile::exists(svgPath));
    return QIcon(new SymbolIconEngine(svgPath));
}

} // namespace platform
