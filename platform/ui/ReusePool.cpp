#include "platform/ui/ReusePool.h"

#include <QWidget>

#include <utility>

namespace platform {

void ReusePool::setMaker(const QString& kind, std::function<QWidget*()> make)
{
    m_makers[kind] = std::move(make);
}

ReusePool::Taken ReusePool::take(const QString& kind)
{
    QList<QWidget*>& idle = m_idle[kind];
    if (!idle.isEmpty()) {
        return { idle.takeLast(), false };
    }
    Q_ASSERT(m_makers.contains(kind));
    QWidget* view = m_makers[kind]();
    view->setParent(m_parent);
    m_kinds.insert(view, kind);
    return { view, true };
}

void ReusePool::giveBack(QWidget* view)
{
    Q_ASSERT(m_kinds.contains(view));
    m_idle[m_kinds.value(view)].append(view);
}

void ReusePool::hideIdle()
{
    for (const QList<QWidget*>& views : std::as_const(m_idle)) {
        for (QWidget* view : views) {
            view->hide();
        }
    }
}

} // namespace platform
