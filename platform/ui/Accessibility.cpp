#include "platform/ui/Accessibility.h"

#include "platform/ui/CollectionView.h"
#include "platform/ui/CollectionViewItem.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/ImageWell.h"
#include "platform/ui/ThumbnailView.h"

#include <QAccessibleWidget>
#include <QLabel>

namespace platform {

namespace {

/// The collection view of a header or a cell; null for other widgets.
CollectionView* collectionOf(const QWidget* widget)
{
    const QWidget* viewport = widget->parentWidget();
    return viewport != nullptr ? qobject_cast<CollectionView*>(viewport->parentWidget()) : nullptr;
}

/// A collection view: a list of the headers and cells that are visible.
class AccessibleCollection : public QAccessibleWidget {
public:
    explicit AccessibleCollection(CollectionView* view)
        : QAccessibleWidget(view, QAccessible::List)
        , m_view(*view)
    {
    }

    int childCount() const override { return static_cast<int>(m_view.visibleViews().size()); }
    QAccessibleInterface* child(int index) const override
    {
        return QAccessible::queryAccessibleInterface(m_view.visibleViews().value(index));
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return static_cast<int>(
            m_view.visibleViews().indexOf(qobject_cast<QWidget*>(child->object())));
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        for (QWidget* view : m_view.visibleViews()) {
            if (view->rect().contains(view->mapFromGlobal(QPoint(x, y)))) {
                return QAccessible::queryAccessibleInterface(view);
            }
        }
        return nullptr;
    }
    QAccessibleInterface* focusChild() const override
    {
        if (!m_view.hasFocus()) {
            return nullptr;
        }
        for (const IndexPath& path : m_view.selectionIndexPaths()) {
            if (CollectionViewItem* item = m_view.itemAtIndexPath(path)) {
                return QAccessible::queryAccessibleInterface(item);
            }
        }
        return QAccessible::queryAccessibleInterface(&m_view);
    }

private:
    CollectionView& m_view;
};

/// A header or a cell: a child of the collection view, without children of its own.
class AccessibleElement : public QAccessibleWidget {
public:
    using QAccessibleWidget::QAccessibleWidget;

    QAccessibleInterface* parent() const override
    {
        CollectionView* view = collectionOf(widget());
        return view != nullptr ? QAccessible::queryAccessibleInterface(view)
                               : QAccessibleWidget::parent();
    }
    int childCount() const override { return 0; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
};

class AccessibleHeader : public AccessibleElement {
public:
    explicit AccessibleHeader(QWidget* header)
        : AccessibleElement(header, QAccessible::Heading)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Name || !widget()->accessibleName().isEmpty()) {
            return AccessibleElement::text(kind);
        }
        const auto* label = qobject_cast<QLabel*>(widget());
        label = label != nullptr ? label : widget()->findChild<QLabel*>();
        return label != nullptr ? label->text() : QString();
    }
};

class AccessibleItem : public AccessibleElement {
public:
    explicit AccessibleItem(CollectionViewItem* item)
        : AccessibleElement(item, QAccessible::ListItem)
        , m_item(*item)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Name) {
            return AccessibleElement::text(kind);
        }
        const auto path = indexPath();
        const QString name
            = path ? collectionOf(&m_item)->dataSource()->accessibleNameOfItem(*path) : QString();
        return name.isEmpty() ? m_item.textField->text() : name;
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = AccessibleElement::state();
        state.selectable = true;
        state.focusable = true;
        state.selected = m_item.isSelected();
        const CollectionView* view = collectionOf(&m_item);
        state.focused = m_item.isSelected() && view != nullptr && view->hasFocus();
        return state;
    }

    QStringList actionNames() const override { return { pressAction() }; }
    void doAction(const QString& name) override
    {
        const auto path = indexPath();
        if (name == pressAction() && path) {
            collectionOf(&m_item)->selectItem(*path);
        }
    }

private:
    /// Nothing for a cell that is not in use.
    std::optional<IndexPath> indexPath() const
    {
        const CollectionView* view = collectionOf(&m_item);
        return view != nullptr ? view->indexPathForItem(&m_item) : std::nullopt;
    }

    CollectionViewItem& m_item;
};

/// An image well: a button that opens the file dialog.
class AccessibleWell : public QAccessibleWidget {
public:
    explicit AccessibleWell(ImageWell* well)
        : QAccessibleWidget(well, QAccessible::Button)
        , m_well(*well)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        const QString refusal = m_well.refusal();
        return kind == QAccessible::Description && !refusal.isEmpty()
            ? refusal
            : QAccessibleWidget::text(kind);
    }
    QStringList actionNames() const override { return { pressAction(), setFocusAction() }; }
    void doAction(const QString& name) override
    {
        if (name == pressAction()) {
            m_well.chooseFile();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

private:
    ImageWell& m_well;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object)
{
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr) {
        return nullptr;
    }
    if (auto* view = qobject_cast<CollectionView*>(widget)) {
        return new AccessibleCollection(view);
    }
    if (auto* item = qobject_cast<CollectionViewItem*>(widget)) {
        return new AccessibleItem(item);
    }
    if (auto* well = qobject_cast<ImageWell*>(widget)) {
        return new AccessibleWell(well);
    }
    if (qobject_cast<ImageView*>(widget) != nullptr
        || qobject_cast<ThumbnailView*>(widget) != nullptr) {
        return new QAccessibleWidget(widget, QAccessible::Graphic);
    }
    CollectionView* view = collectionOf(widget);
    if (view != nullptr && view->viewport() == widget->parentWidget()) {
        return new AccessibleHeader(widget);
    }
    return nullptr;
}

} // namespace

void installAccessibility()
{
    QAccessible::installFactory(makeInterface);
}

} // namespace platform
