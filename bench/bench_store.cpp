#include "app/Resources.h"
#include "platform/services/DurableFile.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/PersistentStoreCoordinator.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUuid>
#include <QXmlStreamReader>

#include <benchmark/benchmark.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using platform::FetchRequest;
using platform::ManagedObject;
using platform::ManagedObjectContext;
using platform::ManagedObjectModel;
using platform::PersistentStoreCoordinator;
using platform::Result;
using platform::writeDurably;

namespace {

std::unique_ptr<ManagedObjectModel> captureModel()
{
    vellumcap::loadResources();
    return ManagedObjectModel::fromFile(u":/Vellumcap.model"_s);
}

std::shared_ptr<ManagedObject> insertCapture(ManagedObjectContext& context, int number)
{
    static std::mt19937 random(1);
    auto capture = context.insertObject(u"Capture");
    const QString start = u"https://example.org/item/%1?q="_s.arg(number);
    capture->setValue(0, QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    capture->setValue(1, 1);
    capture->setValue(2, start + QString(static_cast<qsizetype>(random() % 51), u'x'));
    capture->setValue(
        3, QDateTime::fromMSecsSinceEpoch(1'700'000'000'000 + number * 60'000LL, Qt::UTC));
    capture->setValue(4, true);
    return capture;
}

struct OpenStore {
    explicit OpenStore(const QString& path)
        : model(captureModel())
        , coordinator(*model)
        , opened(coordinator.addXmlStore(path))
        , context(coordinator)
    {
    }

    std::unique_ptr<ManagedObjectModel> model;
    PersistentStoreCoordinator coordinator;
    Result<void> opened;
    ManagedObjectContext context;
};

void makeStore(const QString& path, int count)
{
    OpenStore store(path);
    for (int number = 0; number < count; ++number) {
        insertCapture(store.context, number);
    }
    if (!store.opened || !store.context.save()) {
        qFatal("the store cannot be made");
    }
}

/// The path of a store with that many captures. Created once, in another process, so that the
/// memory for it is not counted.
QString storeOf(int count)
{
    static const QTemporaryDir folder;
    QString path = folder.filePath(u"%1/store"_s.arg(count));
    if (QFile::exists(path)) {
        return path;
    }
    QDir(folder.path()).mkpath(QString::number(count));
    const pid_t child = ::fork();
    if (child == 0) {
        makeStore(path, count);
        ::_exit(0);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child || status != 0) {
        qFatal("the store cannot be made");
    }
    return path;
}

/// A field of /proc/self/status that is given in kB, in MB.
double processMegabytes(const QByteArray& field)
{
    QFile status(u"/proc/self/status"_s);
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith(field)) {
                return line.mid(field.size()).replace("kB", "").trimmed().toDouble() / 1024;
            }
        }
    }
    return 0;
}

void reportMemory(benchmark::State& state)
{
    state.counters["resident_MB"] = processMegabytes("VmRSS:");
    state.counters["peak_MB"] = processMegabytes("VmHWM:");
}

int count(const benchmark::State& state)
{
    return static_cast<int>(state.range(0));
}

void openStore(benchmark::State& state)
{
    const QString path = storeOf(count(state));
    for ([[maybe_unused]] const auto _ : state) {
        auto store = std::make_unique<OpenStore>(path);
        state.PauseTiming();
        if (!store->opened) {
            state.SkipWithError("the store does not open");
        }
        reportMemory(state);
        store.reset();
        state.ResumeTiming();
    }
}

void readWithStreamReader(benchmark::State& state)
{
    const QString path = storeOf(count(state));
    for ([[maybe_unused]] const auto _ : state) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            state.SkipWithError("the file does not open");
        }
        QXmlStreamReader reader(&file);
        while (!reader.atEnd()) {
            benchmark::DoNotOptimize(reader.readNext());
        }
    }
}

void insertAndSave(benchmark::State& state)
{
    OpenStore store(storeOf(count(state)));
    int number = count(state);
    for ([[maybe_unused]] const auto _ : state) {
        const auto capture = insertCapture(store.context, number++);
        if (!store.context.save()) {
            state.SkipWithError("the store cannot be saved");
        }
        state.PauseTiming();
        store.context.deleteObject(*capture); // for a file of the same size next time
        state.ResumeTiming();
    }
    reportMemory(state);
}

void writeSameBytes(benchmark::State& state)
{
    QFile file(storeOf(count(state)));
    if (!file.open(QIODevice::ReadOnly)) {
        state.SkipWithError("the file does not open");
    }
    const QByteArray bytes = file.readAll();
    const std::array<QByteArrayView, 1> parts{ bytes };
    for ([[maybe_unused]] const auto _ : state) {
        if (!writeDurably(file.fileName() + u".copy"_s, parts)) {
            state.SkipWithError("the file cannot be written");
        }
    }
    state.counters["file_MB"] = static_cast<double>(bytes.size()) / 1e6;
}

void executeSorted(benchmark::State& state)
{
    const OpenStore store(storeOf(count(state)));
    const FetchRequest request{ u"Capture"_s, { { u"dateCaptured"_s, false } } };
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(store.context.execute(request));
    }
    reportMemory(state);
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(100)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(openStore)->Apply(sizes);
BENCHMARK(readWithStreamReader)->Apply(sizes);
BENCHMARK(executeSorted)->Apply(sizes);
BENCHMARK(writeSameBytes)->Apply(sizes);
BENCHMARK(insertAndSave)->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
