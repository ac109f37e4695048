#include "platform/ui/CollectionLayout.h"
#include "platform/ui/CollectionView.h"
#include "platform/ui/CollectionViewItem.h"
#include "tests/support/TestMain.h"

#include <QAccessible>
#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <memory>

using namespace Qt::StringLiterals;

using platform::CollectionLayout;
using platform::CollectionView;
using platform::CollectionViewDataSource;
using platform::CollectionViewDelegate;
using platform::CollectionViewItem;
using platform::IndexPath;

namespace {

const QString cellIdentifier = u"cell"_s;
const QString headerIdentifier = u"header"_s;

class Cell : public CollectionViewItem {
public:
    Cell()
    {
        auto* column = new QVBoxLayout(this);
        textField = new QLabel;
        column->addWidget(textField);
        details = new QLabel;
        column->addWidget(details);
    }
    void viewDidLoad() override { ++loads; }
    void prepareForReuse() override { ++reuses; }

    QLabel* details = nullptr;
    int loads = 0;
    int reuses = 0;
};

class Source : public CollectionViewDataSource, public CollectionViewDelegate {
public:
    int numberOfSectionsInCollectionView() const override
    {
        return static_cast<int>(counts.size());
    }
    int numberOfItemsInSection(int section) const override { return counts[section]; }
    CollectionViewItem* itemForRepresentedObjectAtIndexPath(
        CollectionView& view, IndexPath path) override
    {
        ++binds;
        CollectionViewItem* item = view.makeItem(cellIdentifier, path);
        item->textField->setText(nameOf(path));
        return item;
    }
    QWidget* viewForSupplementaryElementOfKind(CollectionView& view, IndexPath path) override
    {
        auto* label = static_cast<QLabel*>(view.makeSupplementaryView(headerIdentifier));
        label->setText(u"day %1"_s.arg(path.section));
        return label;
    }
    void didSelectItemsAtIndexPaths(const QSet<IndexPath>& paths) override
    {
        selections.append(paths);
        if (onSelect) {
            onSelect();
        }
    }
    QSizeF referenceSizeForHeaderInSection(int) const override { return { 180, 24 }; }
    QString accessibleNameOfItem(IndexPath path) const override
    {
        return path == IndexPath{ 0, 1 } ? u"spoken"_s : QString();
    }

    static QString nameOf(IndexPath path) { return u"%1/%2"_s.arg(path.section).arg(path.item); }

    QList<int> counts;
    int binds = 0;
    QList<QSet<IndexPath>> selections;
    std::function<void()> onSelect;
};

/// A view of three columns, with rows of 100 pixels every 110.
class Fixture {
public:
    explicit Fixture(QList<int> counts)
    {
        source.counts = std::move(counts);
        view.registerItem(cellIdentifier, [this] {
            ++made;
            return new Cell;
        });
        view.registerSupplementaryView(headerIdentifier, [] { return new QLabel; });
        view.setItemSize({ 100, 100 });
        view.setSpacing(10);
        view.setDataSource(&source);
        view.setDelegate(&source);
        view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        view.resize(360, 500);
        view.show();
        view.activateWindow();
        view.setFocus();
        active = QTest::qWaitForWindowActive(&view, support::patience);
    }

    QList<CollectionViewItem*> existing() const { return view.findChildren<CollectionViewItem*>(); }
    IndexPath selected() const
    {
        const QList<IndexPath> paths = view.selectionIndexPaths().values();
        return paths.size() == 1 ? paths.first() : IndexPath{ -1, -1 };
    }
    /// The places of the visible cells, in reading order.
    QList<IndexPath> visiblePaths() const
    {
        QList<IndexPath> paths;
        for (const QWidget* shown : view.visibleViews()) {
            if (const auto* cell = qobject_cast<const CollectionViewItem*>(shown)) {
                paths.append(view.indexPathForItem(cell).value());
            }
        }
        return paths;
    }
    void click(IndexPath path) { QTest::mouseClick(view.itemAtIndexPath(path), Qt::LeftButton); }

    Source source;
    CollectionView view;
    int made = 0;
    bool active = false;
};

QList<int> equalSections(int sections, int items)
{
    return QList<int>(sections, items);
}

QAccessibleInterface& accessible(QObject* object)
{
    return *QAccessible::queryAccessibleInterface(object);
}

} // namespace

class CollectionViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyVisibleCellsExist();
    void cellsAreReused();
    void cellsFillTheWidth_data();
    void cellsFillTheWidth();
    void layoutFindsItems();
    void headersSpanTheWidth();
    void keysMoveTheSelection_data();
    void keysMoveTheSelection();
    void pageKeysMoveByAPage();
    void firstKeySelectsTheFirstItem();
    void spaceSendsTheSelectionAgain();
    void otherKeysArePassedOn();
    void clickSelects();
    void clickOnNothingDeselects();
    void programSelects();
    void selectingScrollsIntoView();
    void scrollsByPixelsAndRows();
    void reloadDropsTheSelection();
    void reloadKeepsTheScrollPosition();
    void delegateMayReload();
    void dataSourceMayAskForReload();
    void showsNothingWithoutData();
    void newDataSourceIsReadByItself();
    void resizeKeepsTheTopItem();
    void selectedTextIsReadable();
    void layerIsBehindEverything();
    void mirrored();
    void accessibleList();
    void accessibleFocusFollowsTheSelection();
};

void CollectionViewTest::onlyVisibleCellsExist()
{
    Fixture fixture(equalSections(1000, 100));
    // 500 pixels show at most 6 rows of 110, 3 cells each.
    QVERIFY(fixture.existing().size() <= 18);
    QVERIFY(fixture.visiblePaths().size() >= 12);
    fixture.view.verticalScrollBar()->setValue(1'234'567);
    QVERIFY(fixture.existing().size() <= 18);
    const auto paths = fixture.visiblePaths();
    QVERIFY(paths.size() >= 12);
    QVERIFY(std::is_sorted(paths.begin(), paths.end()));
    for (const IndexPath& path : paths) {
        const CollectionViewItem* cell = fixture.view.itemAtIndexPath(path);
        QVERIFY(cell->isVisible());
        QVERIFY(cell->geometry().intersects(fixture.view.viewport()->rect()));
        QCOMPARE(cell->textField->text(), Source::nameOf(path));
    }
    QCOMPARE(fixture.view.itemAtIndexPath({ 0, 0 }), nullptr);
}

void CollectionViewTest::cellsAreReused()
{
    Fixture fixture(equalSections(50, 20));
    QScrollBar& bar = *fixture.view.verticalScrollBar();
    for (int y = 0; y < bar.maximum(); y += 37) {
        bar.setValue(y);
    }
    QVERIFY(fixture.source.binds > 900);
    QVERIFY(fixture.made <= 18);
    int reuses = 0;
    for (const CollectionViewItem* item : fixture.existing()) {
        const auto* cell = static_cast<const Cell*>(item);
        QCOMPARE(cell->loads, 1);
        reuses += cell->reuses;
    }
    QCOMPARE(reuses, fixture.source.binds - fixture.made);
}

void CollectionViewTest::cellsFillTheWidth_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("itemWidth");
    QTest::newRow("narrower than a cell") << 90 << 1 << 70;
    QTest::newRow("one") << 120 << 1 << 100;
    QTest::newRow("almost two") << 229 << 1 << 209;
    QTest::newRow("two") << 230 << 2 << 100;
    QTest::newRow("three, stretched") << 400 << 3 << 120;
}

void CollectionViewTest::cellsFillTheWidth()
{
    QFETCH(const int, width);
    CollectionLayout layout;
    layout.leastItemSize = { 100, 100 };
    layout.spacing = 10;
    layout.setSections({ { 10, 0 } });
    layout.setWidth(width);
    QTEST(layout.columns(), "columns");
    for (int item = 0; item < 10; ++item) {
        QTEST(layout.itemRect({ 0, item }).width(), "itemWidth");
        QCOMPARE(layout.itemRect({ 0, item }).height(), 100);
    }
}

void CollectionViewTest::layoutFindsItems()
{
    CollectionLayout layout;
    layout.leastItemSize = { 100, 100 };
    layout.spacing = 10;
    layout.setSections({ { 5, 24 }, { 0, 24 }, { 0, 0 }, { 7, 24 } });
    layout.setWidth(350);
    int y = 0;
    for (const IndexPath path : { IndexPath{ 0, 0 }, { 0, 4 }, { 3, 0 }, { 3, 6 } }) {
        const QRect place = layout.itemRect(path);
        QVERIFY(place.top() > y);
        y = place.top();
        QCOMPARE(layout.itemAt(place.topLeft()), path);
        QCOMPARE(layout.itemAt(place.bottomRight()), path);
        QCOMPARE(layout.itemAt(place.topLeft() - QPoint(1, 0)).has_value(), false);
        const auto sections = layout.sectionsBetween(place.top(), place.bottom() + 1);
        QCOMPARE(sections.first, path.section);
        QCOMPARE(sections.end, path.section + 1);
    }
    QCOMPARE(layout.itemAt({ 50, layout.contentHeight() + 50 }).has_value(), false);
    QCOMPARE(layout.itemRect({ 3, 6 }).bottom() + 1 + 10, layout.contentHeight());
    QCOMPARE(layout.lastItem(), (IndexPath{ 3, 6 }));
}

void CollectionViewTest::headersSpanTheWidth()
{
    Fixture fixture(equalSections(3, 2));
    const auto headers = fixture.view.findChildren<QLabel*>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(headers.size(), 0); // they are children of the viewport
    const auto inside
        = fixture.view.viewport()->findChildren<QLabel*>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(inside.size(), 3);
    for (const QLabel* header : inside) {
        QCOMPARE(header->width(), fixture.view.viewport()->width());
        QCOMPARE(header->height(), 24);
        QVERIFY(header->isVisible());
    }
    fixture.view.resize(480, 500);
    QTRY_COMPARE(inside.first()->width(), fixture.view.viewport()->width());
}

void CollectionViewTest::keysMoveTheSelection_data()
{
    QTest::addColumn<IndexPath>("from");
    QTest::addColumn<QList<int>>("keys");
    QTest::addColumn<IndexPath>("to");
    const auto row = [](const char* name, IndexPath from, const QList<int>& keys, IndexPath to) {
        QTest::newRow(name) << from << keys << to;
    };
    // Rows: 0 1 2 | 3 4 || 0 1 || (empty) || 0 1 2 | 3 4 5 | 6
    row("right", { 0, 0 }, { Qt::Key_Right }, { 0, 1 });
    row("right to the next row", { 0, 2 }, { Qt::Key_Right }, { 0, 3 });
    row("right to the next section", { 0, 4 }, { Qt::Key_Right }, { 1, 0 });
    row("right over an empty section", { 1, 1 }, { Qt::Key_Right }, { 3, 0 });
    row("right at the end", { 3, 6 }, { Qt::Key_Right }, { 3, 6 });
    row("left", { 0, 1 }, { Qt::Key_Left }, { 0, 0 });
    row("left over an empty section", { 3, 0 }, { Qt::Key_Left }, { 1, 1 });
    row("left at the start", { 0, 0 }, { Qt::Key_Left }, { 0, 0 });
    row("down", { 0, 1 }, { Qt::Key_Down }, { 0, 4 });
    row("down to a shorter row", { 0, 2 }, { Qt::Key_Down }, { 0, 4 });
    row("down past a shorter row", { 0, 2 }, { Qt::Key_Down, Qt::Key_Down, Qt::Key_Down },
        { 3, 2 });
    row("down across sections", { 0, 3 }, { Qt::Key_Down }, { 1, 0 });
    row("down at the end", { 3, 6 }, { Qt::Key_Down }, { 3, 6 });
    row("down in the last row but one", { 3, 5 }, { Qt::Key_Down }, { 3, 6 });
    row("up", { 3, 4 }, { Qt::Key_Up }, { 3, 1 });
    row("up across sections", { 3, 1 }, { Qt::Key_Up }, { 1, 1 });
    row("up at the top", { 0, 1 }, { Qt::Key_Up }, { 0, 1 });
    row("home", { 3, 3 }, { Qt::Key_Home }, { 0, 0 });
    row("end", { 0, 0 }, { Qt::Key_End }, { 3, 6 });
}

void CollectionViewTest::keysMoveTheSelection()
{
    QFETCH(const IndexPath, from);
    QFETCH(const QList<int>, keys);
    Fixture fixture({ 5, 2, 0, 7 });
    fixture.view.selectItem(from);
    fixture.source.selections.clear();
    for (const int key : keys) {
        QTest::keyClick(&fixture.view, Qt::Key(key));
    }
    QFETCH(const IndexPath, to);
    QCOMPARE(fixture.selected(), to);
    if (from == to) {
        QVERIFY(fixture.source.selections.isEmpty());
    } else {
        QCOMPARE(fixture.source.selections.last(), QSet<IndexPath>{ to });
    }
    QVERIFY(fixture.view.itemAtIndexPath(to) != nullptr);
    QVERIFY(fixture.view.itemAtIndexPath(to)->isSelected());
}

void CollectionViewTest::pageKeysMoveByAPage()
{
    Fixture fixture({ 300 });
    fixture.view.selectItem({ 0, 1 });
    QTest::keyClick(&fixture.view, Qt::Key_PageDown);
    QCOMPARE(fixture.selected(), (IndexPath{ 0, 13 })); // 4 rows of 110 in 500 pixels
    QTest::keyClick(&fixture.view, Qt::Key_PageUp);
    QCOMPARE(fixture.selected(), (IndexPath{ 0, 1 }));
    fixture.view.selectItem({ 0, 296 });
    QTest::keyClick(&fixture.view, Qt::Key_PageDown);
    QCOMPARE(fixture.selected(), (IndexPath{ 0, 299 }));
}

void CollectionViewTest::firstKeySelectsTheFirstItem()
{
    Fixture fixture({ 0, 4 });
    QTest::keyClick(&fixture.view, Qt::Key_Down);
    QCOMPARE(fixture.selected(), (IndexPath{ 1, 0 }));
    QCOMPARE(fixture.source.selections.size(), 1);
}

void CollectionViewTest::spaceSendsTheSelectionAgain()
{
    Fixture fixture({ 4 });
    fixture.view.selectItem({ 0, 2 });
    QTest::keyClick(&fixture.view, Qt::Key_Space);
    QTest::keyClick(&fixture.view, Qt::Key_Return);
    QCOMPARE(
        fixture.source.selections, QList<QSet<IndexPath>>(3, QSet<IndexPath>{ IndexPath{ 0, 2 } }));
}

void CollectionViewTest::otherKeysArePassedOn()
{
    Fixture fixture({ 4 });
    const auto passedOn = [&fixture](int key, Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        event.accept();
        QApplication::sendEvent(&fixture.view, &event);
        return !event.isAccepted();
    };
    QVERIFY(passedOn(Qt::Key_Escape, Qt::NoModifier));
    QVERIFY(passedOn(Qt::Key_Left, Qt::AltModifier));
    QVERIFY(!passedOn(Qt::Key_Left, Qt::KeypadModifier));
    fixture.source.counts = { 0 };
    fixture.view.reloadData();
    QVERIFY(passedOn(Qt::Key_Return, Qt::NoModifier));
}

void CollectionViewTest::clickSelects()
{
    Fixture fixture({ 5, 2 });
    fixture.click({ 0, 1 });
    fixture.click({ 1, 0 });
    QCOMPARE(fixture.selected(), (IndexPath{ 1, 0 }));
    QCOMPARE(fixture.source.selections,
        (QList<QSet<IndexPath>>{ { IndexPath{ 0, 1 } }, { IndexPath{ 1, 0 } } }));
    QVERIFY(fixture.view.itemAtIndexPath({ 1, 0 })->isSelected());
    QVERIFY(!fixture.view.itemAtIndexPath({ 0, 1 })->isSelected());
    QTest::mouseClick(fixture.view.itemAtIndexPath({ 0, 0 }), Qt::RightButton);
    QCOMPARE(fixture.selected(), (IndexPath{ 1, 0 }));
    // On the label inside the cell.
    QTest::mouseClick(fixture.view.itemAtIndexPath({ 0, 4 })->textField, Qt::LeftButton);
    QCOMPARE(fixture.selected(), (IndexPath{ 0, 4 }));
}

void CollectionViewTest::clickOnNothingDeselects()
{
    Fixture fixture({ 4 });
    const QPoint nowhere(180, 480);
    QTest::mouseClick(fixture.view.viewport(), Qt::LeftButton, {}, nowhere);
    QVERIFY(fixture.source.selections.isEmpty());
    fixture.click({ 0, 1 });
    QTest::mouseClick(fixture.view.viewport(), Qt::LeftButton, {}, nowhere);
    QVERIFY(fixture.view.selectionIndexPaths().isEmpty());
    QCOMPARE(fixture.source.selections.size(), 2);
    QVERIFY(fixture.source.selections.last().isEmpty());
    QVERIFY(!fixture.view.itemAtIndexPath({ 0, 1 })->isSelected());
}

void CollectionViewTest::programSelects()
{
    Fixture fixture({ 4 });
    fixture.view.selectItem({ 0, 9 });
    fixture.view.selectItem({ -1, 0 });
    QVERIFY(fixture.source.selections.isEmpty());
    fixture.view.selectItem({ 0, 3 });
    QCOMPARE(fixture.source.selections, (QList{ QSet{ IndexPath{ 0, 3 } } }));
}

void CollectionViewTest::selectingScrollsIntoView()
{
    Fixture fixture(equalSections(100, 7));
    const QRect visible = fixture.view.viewport()->rect();
    for (const IndexPath path : { IndexPath{ 70, 5 }, { 99, 6 }, { 3, 0 }, { 3, 4 }, { 0, 0 } }) {
        fixture.view.selectItem(path);
        const CollectionViewItem* cell = fixture.view.itemAtIndexPath(path);
        QVERIFY(cell != nullptr);
        QVERIFY(visible.contains(cell->geometry()));
        QVERIFY(cell->isSelected());
    }
    QCOMPARE(fixture.view.verticalScrollBar()->value(), 0); // the header of the first row too
}

void CollectionViewTest::scrollsByPixelsAndRows()
{
    Fixture fixture({ 300 });
    QScrollBar& bar = *fixture.view.verticalScrollBar();
    QCOMPARE(bar.singleStep(), 110);
    const auto wheel = [&fixture](QPoint pixels, QPoint angle) {
        const QPointF at = QRectF(fixture.view.viewport()->rect()).center();
        QWheelEvent event(at, fixture.view.viewport()->mapToGlobal(at), pixels, angle, Qt::NoButton,
            Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(fixture.view.viewport(), &event);
    };
    wheel({}, { 0, -120 });
    QCOMPARE(bar.value(), 110);
    wheel({ 0, -7 }, { 0, -56 });
    QCOMPARE(bar.value(), 117);
    QCOMPARE(fixture.view.itemAtIndexPath({ 0, 3 })->y(), 24 + 5 + 110 - 117);
    for (int part = 0; part < 120; part += 8) {
        wheel({}, { 0, 8 });
    }
    QCOMPARE(bar.value(), 7);
}

void CollectionViewTest::reloadDropsTheSelection()
{
    Fixture fixture({ 5 });
    fixture.click({ 0, 1 });
    fixture.source.selections.clear();
    fixture.view.reloadData();
    QVERIFY(fixture.view.selectionIndexPaths().isEmpty());
    QVERIFY(fixture.source.selections.isEmpty());
    for (const CollectionViewItem* cell : fixture.existing()) {
        QVERIFY(!cell->isSelected());
    }
}

void CollectionViewTest::reloadKeepsTheScrollPosition()
{
    Fixture fixture({ 300 });
    QScrollBar& bar = *fixture.view.verticalScrollBar();
    bar.setValue(3000);
    fixture.view.reloadData();
    QCOMPARE(bar.value(), 3000);
    fixture.source.counts = { 30 };
    fixture.view.reloadData();
    QCOMPARE(bar.value(), bar.maximum());
    QVERIFY(fixture.view.itemAtIndexPath({ 0, 29 }) != nullptr);
    fixture.source.counts = { 2 };
    fixture.view.reloadData();
    QCOMPARE(bar.value(), 0);
    QCOMPARE(fixture.visiblePaths(), (QList<IndexPath>{ { 0, 0 }, { 0, 1 } }));
    int shown = 0;
    for (const CollectionViewItem* cell : fixture.existing()) {
        shown += cell->isVisible() ? 1 : 0;
    }
    QCOMPARE(shown, 2);
}

void CollectionViewTest::delegateMayReload()
{
    Fixture fixture({ 9, 9 });
    fixture.source.onSelect = [&fixture] {
        fixture.source.counts = { 1 };
        fixture.view.reloadData();
    };
    fixture.click({ 1, 2 });
    QCOMPARE(fixture.visiblePaths(), QList<IndexPath>{ IndexPath() });
    QVERIFY(fixture.view.selectionIndexPaths().isEmpty());
    fixture.source.onSelect = [&fixture] { fixture.view.setDataSource(nullptr); };
    QTest::keyClick(&fixture.view, Qt::Key_Down);
    QVERIFY(fixture.visiblePaths().isEmpty());
    QVERIFY(fixture.view.selectionIndexPaths().isEmpty());
}

void CollectionViewTest::dataSourceMayAskForReload()
{
    class Restless : public Source {
    public:
        CollectionViewItem* itemForRepresentedObjectAtIndexPath(
            CollectionView& view, IndexPath path) override
        {
            if (counts.first() > 2) {
                counts = { 2 };
                view.reloadData();
            }
            return Source::itemForRepresentedObjectAtIndexPath(view, path);
        }
    };
    Fixture fixture({ 9 });
    Restless restless;
    restless.counts = { 9 };
    fixture.view.setDelegate(nullptr);
    fixture.view.setDataSource(&restless);
    QCoreApplication::processEvents();
    QTRY_COMPARE(fixture.visiblePaths().size(), 2);
    fixture.view.setDataSource(nullptr);
}

void CollectionViewTest::showsNothingWithoutData()
{
    Fixture fixture({ 5, 5 });
    fixture.view.setDataSource(nullptr);
    QVERIFY(fixture.view.visibleViews().isEmpty());
    for (const CollectionViewItem* cell : fixture.existing()) {
        QVERIFY(!cell->isVisible());
    }
    fixture.source.counts = {};
    fixture.view.setDataSource(&fixture.source);
    QVERIFY(fixture.view.visibleViews().isEmpty());
    fixture.source.counts = { 0, 0 };
    fixture.view.reloadData();
    QCOMPARE(fixture.view.visibleViews().size(), 2); // the headers
    QTest::keyClick(&fixture.view, Qt::Key_End);
    QTest::mouseClick(fixture.view.viewport(), Qt::LeftButton, {}, QPoint(50, 50));
    QVERIFY(fixture.source.selections.isEmpty());
}

void CollectionViewTest::newDataSourceIsReadByItself()
{
    Fixture fixture({ 5 });
    fixture.click({ 0, 3 });
    Source other;
    other.counts = { 2, 2 };
    fixture.view.setDataSource(&other);
    QVERIFY(fixture.view.selectionIndexPaths().isEmpty());
    QTRY_COMPARE(other.binds, 4);
    QCOMPARE(fixture.visiblePaths().size(), 4);
    fixture.view.setDataSource(nullptr);
}

void CollectionViewTest::resizeKeepsTheTopItem()
{
    Fixture fixture({ 300 });
    fixture.view.verticalScrollBar()->setValue(24 + 5 + 110 * 20);
    const auto top = fixture.visiblePaths().first();
    QCOMPARE(top, (IndexPath{ 0, 60 }));
    fixture.view.resize(800, 500);
    QVERIFY(fixture.view.itemAtIndexPath(top) != nullptr);
    QCOMPARE(fixture.visiblePaths().first().item, 56); // the row of 7 with 60
    QCOMPARE(fixture.view.itemAtIndexPath(top)->y(), 0);
}

void CollectionViewTest::selectedTextIsReadable()
{
    Fixture fixture({ 3 });
    const CollectionViewItem* cell = fixture.view.itemAtIndexPath({ 0, 1 });
    const QPalette::ColorRole usual = cell->textField->foregroundRole();
    QVERIFY(usual != QPalette::HighlightedText);
    fixture.click({ 0, 1 });
    QCOMPARE(cell->textField->foregroundRole(), QPalette::HighlightedText);
    QCOMPARE(static_cast<const Cell*>(cell)->details->foregroundRole(), QPalette::HighlightedText);
    const QImage picture = fixture.view.itemAtIndexPath({ 0, 1 })->grab().toImage();
    QCOMPARE(
        picture.pixelColor(12, picture.height() / 2), cell->palette().color(QPalette::Highlight));
    fixture.click({ 0, 2 });
    QCOMPARE(cell->textField->foregroundRole(), usual);
}

void CollectionViewTest::layerIsBehindEverything()
{
    Cell cell;
    cell.resize(80, 80);
    QCOMPARE(cell.layer(), nullptr);
    cell.setWantsLayer(true);
    cell.layer()->backgroundColor = Qt::red;
    QCOMPARE(cell.grab().toImage().pixelColor(1, 1), QColor(Qt::red));
    cell.setSelected(true);
    const QImage selected = cell.grab().toImage();
    QCOMPARE(selected.pixelColor(1, 1), QColor(Qt::red));
    QCOMPARE(selected.pixelColor(40, 12), cell.palette().color(QPalette::Highlight));
    cell.setWantsLayer(false);
    QCOMPARE(cell.layer(), nullptr);
}

void CollectionViewTest::mirrored()
{
    Fixture fixture({ 5 });
    const int left = fixture.view.itemAtIndexPath({ 0, 0 })->x();
    fixture.view.setLayoutDirection(Qt::RightToLeft);
    const CollectionViewItem* first = fixture.view.itemAtIndexPath({ 0, 0 });
    QCOMPARE(first->geometry().right(), fixture.view.viewport()->width() - 1 - left);
    QVERIFY(fixture.view.itemAtIndexPath({ 0, 1 })->x() < first->x());
    fixture.view.selectItem({ 0, 0 });
    QTest::keyClick(&fixture.view, Qt::Key_Left);
    QCOMPARE(fixture.selected(), (IndexPath{ 0, 1 }));
    QTest::keyClick(&fixture.view, Qt::Key_Right);
    QCOMPARE(fixture.selected(), (IndexPath{ 0, 0 }));
}

void CollectionViewTest::accessibleList()
{
    Fixture fixture({ 2, 1 });
    fixture.view.setAccessibleName(u"Captures"_s);
    QAccessibleInterface& list = accessible(&fixture.view);
    QCOMPARE(list.role(), QAccessible::List);
    QCOMPARE(list.text(QAccessible::Name), u"Captures"_s);
    QCOMPARE(list.childCount(), 5);

    QStringList names;
    for (int index = 0; index < list.childCount(); ++index) {
        QAccessibleInterface* child = list.child(index);
        names.append(child->text(QAccessible::Name));
        QCOMPARE(list.indexOfChild(child), index);
        QCOMPARE(child->parent(), &list);
        QCOMPARE(child->childCount(), 0);
        const QPoint middle = child->rect().center();
        QCOMPARE(list.childAt(middle.x(), middle.y()), child);
    }
    QCOMPARE(names, (QStringList{ u"day 0"_s, u"0/0"_s, u"spoken"_s, u"day 1"_s, u"1/0"_s }));
    QCOMPARE(list.child(0)->role(), QAccessible::Heading);

    QAccessibleInterface& item = *list.child(2);
    QCOMPARE(item.role(), QAccessible::ListItem);
    QVERIFY(item.state().selectable && item.state().focusable);
    QVERIFY(!item.state().selected && !item.state().focused);
    QVERIFY(
        item.actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    item.actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(fixture.selected(), (IndexPath{ 0, 1 }));
    QVERIFY(item.state().selected);
    QCOMPARE(item.state().focused, fixture.view.hasFocus() ? 1U : 0U);
    QCOMPARE(fixture.source.selections.size(), 1);
}

void CollectionViewTest::accessibleFocusFollowsTheSelection()
{
    Fixture fixture({ 5 });
    QVERIFY(fixture.active);
    QVERIFY(fixture.view.hasFocus());
    QAccessibleInterface& list = accessible(&fixture.view);
    QCOMPARE(list.focusChild(), &list);
    QTest::keyClick(&fixture.view, Qt::Key_Right);
    QTest::keyClick(&fixture.view, Qt::Key_Right);
    CollectionViewItem* cell = fixture.view.itemAtIndexPath({ 0, 1 });
    QVERIFY(accessible(cell).state().focused);
    QCOMPARE(list.focusChild(), &accessible(cell));
    QVERIFY(!accessible(fixture.view.itemAtIndexPath({ 0, 0 })).state().focused);
    fixture.view.clearFocus();
    QVERIFY(!accessible(cell).state().focused);
    QVERIFY(accessible(cell).state().selected);
}

VELLUMCAP_TEST(CollectionViewTest)
#include "tst_collectionview.moc"
