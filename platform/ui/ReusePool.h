#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <functional>

class QWidget;

namespace platform {

/// Makes the views of a collection view and reuses them by kind. The parent widget owns the views.
/// Main thread.
class ReusePool {
public:
    struct Taken {
        QWidget* view = nullptr;
        bool isNew = false;
    };

    explicit ReusePool(QWidget* parent)
        : m_parent(parent)
    {
    }

    void setMaker(const QString& kind, std::function<QWidget*()> make);
    Taken take(const QString& kind); ///< the kind must have a maker
    /// Takes back a view of this pool. It stays visible until hideIdle(), since most views are
    /// taken again at once.
    void giveBack(QWidget* view);
    void hideIdle();

private:
    QWidget* m_parent;
    QHash<QString, std::function<QWidget*()>> m_makers;
    QHash<const QWidget*, QString> m_kinds;
    QHash<QString, QList<QWidget*>> m_idle;
};

} // namespace platform
