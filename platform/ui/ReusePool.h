#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <functional>

class QWidget;

namespace platform {

/// The views of a collection by kind: makes them, takes them back and hands them out again.
/// Views belong to their parent, the pool only knows them. Main thread.
class ReusePool {
public:
    struct Taken {
        QWidget* view = nullptr; ///< null when nothing makes views of that kind
        bool isNew = false;
    };

    explicit ReusePool(QWidget* parent)
        : m_parent(parent)
    {
    }

    void setMaker(const QString& kind, std::function<QWidget*()> make);
    Taken take(const QString& kind);
    /// Takes back; a view that the pool did not make is deleted. It stays on the screen until
    /// hideIdle(), as most are needed again at once.
    void giveBack(QWidget* view);
    void hideIdle();

private:
    QWidget* m_parent;
    QHash<QString, std::function<QWidget*()>> m_makers;
    QHash<const QWidget*, QString> m_kinds;
    QHash<QString, QList<QWidget*>> m_idle;
};

} // namespace platform
