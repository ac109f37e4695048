#include "platform/ui/Appearance.h"
#include "platform/ui/CollectionView.h"
#include "platform/ui/CollectionViewItem.h"
#include "platform/ui/ThumbnailView.h"

#include <QApplication>
#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

using platform::CollectionView;
using platform::CollectionViewDataSource;
using platform::CollectionViewDelegate;
using platform::CollectionViewItem;
using platform::IndexPath;
using platform::ThumbnailView;

namespace {

const QString identifier = u"cell"_s;

class Cell : public CollectionViewItem {
public:
    Cell()
    {
        auto* column = new QVBoxLayout(this);
        imageView = new ThumbnailView;
        textField = new QLabel;
        textField->setTextFormat(Qt::PlainText);
        column->addWidget(imageView, 1);
        column->addWidget(textField);
    }
};

/// Days of a hundred captures each, without picture files.
class Source : public CollectionViewDataSource, public CollectionViewDelegate {
public:
    explicit Source(int items)
        : m_items(items)
    {
    }
    int numberOfSectionsInCollectionView() const override { return m_items / 100; }
    int numberOfItemsInSection(int) const override { return 100; }
    CollectionViewItem* itemForRepresentedObjectAtIndexPath(
        CollectionView& view, IndexPath path) override
    {
        CollectionViewItem* item = view.makeItem(identifier, path);
        item->imageView->setImage({ u"/nowhere/%1.jpg"_s.arg(path.item) });
        item->textField->setText(u"https://example.org/%1"_s.arg(path.item));
        return item;
    }
    QWidget* viewForSupplementaryElementOfKind(CollectionView& view, IndexPath path) override
    {
        auto* label = static_cast<QLabel*>(view.makeSupplementaryView(identifier));
        label->setText(u"Day %1"_s.arg(path.section));
        return label;
    }
    void didSelectItemsAtIndexPaths(const QSet<IndexPath>&) override { }
    QSizeF referenceSizeForHeaderInSection(int) const override { return { 180, 28 }; }

private:
    int m_items;
};

class Shown {
public:
    explicit Shown(int items)
        : m_source(items)
    {
        view.registerItem(identifier, [] { return new Cell; });
        view.registerSupplementaryView(identifier, [] { return new QLabel; });
        view.setDataSource(&m_source);
        view.setDelegate(&m_source);
        view.resize(1000, 800);
        view.show();
        QCoreApplication::processEvents();
    }

private:
    Source m_source;

public:
    CollectionView view;
};

void reloadData(benchmark::State& state)
{
    Shown shown(static_cast<int>(state.range(0)));
    while (state.KeepRunning()) {
        shown.view.reloadData();
    }
}

/// Creates and paints the cells of a whole page.
void scrollAPage(benchmark::State& state)
{
    Shown shown(static_cast<int>(state.range(0)));
    QScrollBar& bar = *shown.view.verticalScrollBar();
    while (state.KeepRunning()) {
        bar.setValue(bar.value() < bar.maximum() ? bar.value() + bar.pageStep() : 0);
        shown.view.repaint();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

/// Scrolls by three pixels, like a touchpad.
void scrollALittle(benchmark::State& state)
{
    Shown shown(static_cast<int>(state.range(0)));
    QScrollBar& bar = *shown.view.verticalScrollBar();
    while (state.KeepRunning()) {
        bar.setValue(bar.value() < bar.maximum() ? bar.value() + 3 : 0);
        QCoreApplication::processEvents();
    }
}

} // namespace

BENCHMARK(reloadData)->Arg(100)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(scrollAPage)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(scrollALittle)->Arg(100'000)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    const platform::Appearance appearance; // its style sheet is part of the cost
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
