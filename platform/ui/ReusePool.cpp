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
    const auto make = m_makers.value(kind);
    if (!make) {
        return {};
    }
    QWidget* view = make();
    view->setParent(m_parent);
    m_kinds.insert(view, kind);
    return { view, true };
}

void ReusePool::giveBack(QWidget* view)
{
    const auto kind = m_kinds.constFind(view);
    if (kind == m_kinds.cend()) {
        view->hide();
        view->deleteLater();
        return;
    }
    m_idle[*kind].append(view);
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
