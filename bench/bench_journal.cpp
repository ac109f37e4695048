// Measures the journal at growing sizes: storing a capture, listing all, refreshing the window.

#include "app/Capture.h"
#include "app/Resources.h"
#include "app/VellumcapAppDelegate.h"
#include "bench/Sandbox.h"
#include "journal/JournalWindow.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/ui/Application.h"

#include <QScrollBar>
#include <QUuid>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

using vellumcap::Capture;

namespace {

/// The program with a store of `count` captures, some dozens per day.
class Journal {
public:
    explicit Journal(qint64 count)
    {
        vellumcap::loadResources();
        bench::emptyDataFolder();
        platform::Application::shared().setDelegate(&m_delegate);
        auto* context = m_delegate.managedObjectContext();
        const QDateTime newest(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
        for (qint64 i = 0; i < count; ++i) {
            const auto capture = Capture::insertInManagedObjectContext(context);
            capture->setCaptureTypeValue(1);
            capture->setCaptureValue(
                u"https://example.org/item/%1?from=a-shelf-in-the-hall"_s.arg(i));
            capture->setDateCaptured(newest.addSecs((i - count) * 900));
            capture->setIsURLValue(true);
            capture->setCaptureImageKey(
                QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
        }
        Capture::saveCapture();
        m_delegate.openJournalWindow();
        QCoreApplication::processEvents();
    }

    vellumcap::JournalWindow& window() { return *m_delegate.journalWindow(); }
    platform::CollectionView* view()
    {
        return window().window()->findChild<platform::CollectionView*>(u"collectionView"_s);
    }

private:
    vellumcap::VellumcapAppDelegate m_delegate;
};

void reportMemory(benchmark::State& state)
{
    state.counters["resident_MB"] = bench::residentMegabytes();
}

void getCaptures(benchmark::State& state)
{
    const Journal journal(state.range(0));
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(Capture::getCaptures());
    }
    reportMemory(state);
}

void storeCapture(benchmark::State& state)
{
    const Journal journal(state.range(0));
    QImage picture(640, 480, QImage::Format_RGB32);
    picture.fill(Qt::gray);
    for ([[maybe_unused]] const auto _ : state) {
        Capture::storeCapture(picture, u"https://example.org/new"_s);
    }
    reportMemory(state);
}

void refreshLists(benchmark::State& state)
{
    Journal journal(state.range(0));
    for ([[maybe_unused]] const auto _ : state) {
        journal.window().refreshLists();
        QCoreApplication::sendPostedEvents();
        journal.view()->viewport()->repaint();
    }
    reportMemory(state);
}

void scrollOnePage(benchmark::State& state)
{
    Journal journal(state.range(0));
    auto* view = journal.view();
    auto* bar = view->verticalScrollBar();
    for ([[maybe_unused]] const auto _ : state) {
        bar->setValue(bar->value() >= bar->maximum() ? 0 : bar->value() + bar->pageStep());
        QCoreApplication::sendPostedEvents();
        view->viewport()->repaint();
    }
    reportMemory(state);
}

} // namespace

BENCHMARK(getCaptures)->Arg(100)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(refreshLists)->Arg(100)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(scrollOnePage)->Arg(100)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(storeCapture)->Arg(100)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    const bench::Sandbox sandbox;
    platform::Application application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
