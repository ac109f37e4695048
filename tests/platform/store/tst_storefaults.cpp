#include "platform/store/StoreError.h"
#include "tests/support/Sandbox.h"
#include "tests/support/StoreFixture.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <random>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using platform::Result;
using platform::StoreErrorCode;
using support::fileBytes;
using support::insertCapture;
using support::OpenStore;
using support::Sandbox;
using support::setFileBytes;
using support::Value;

namespace {

constexpr auto writerArgument = "--writer";
constexpr int refusedStatus = 3;
constexpr int failedStatus = 4;

/// The main function of the writer process: inserts and saves until it is killed. Prints each text
/// after its save has returned.
int writeForEver(const char* path)
{
    OpenStore store(QFile::decodeName(path));
    if (!store.opened) {
        return refusedStatus;
    }
    for (int count = 0;; ++count) {
        const QString text = u"%1/%2"_s.arg(::getpid()).arg(count);
        insertCapture(store.context, text);
        if (!store.context.save()) {
            return failedStatus;
        }
        const QByteArray line = text.toUtf8() + '\n';
        if (::write(STDOUT_FILENO, line.constData(), static_cast<std::size_t>(line.size()))
            != line.size()) {
            return failedStatus;
        }
    }
}

std::vector<QString> sorted(std::vector<QString> texts)
{
    std::sort(texts.begin(), texts.end());
    return texts;
}

std::vector<QString> wholeLines(const QByteArray& output)
{
    QStringList lines = QString::fromUtf8(output).split(u'\n');
    lines.removeLast(); // the rest after the last line feed
    return { lines.begin(), lines.end() };
}

} // namespace

class TestStoreFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void survivesKillsAtAnyMoment();
    void refusesASecondProcess();
    void refusesASecondCoordinator();
    void removesUnfinishedFilesUnderTheLockOnly();
    void keepsChangesWhenTheDiskIsFull();
    void keepsChangesAtTheSizeLimit();
    void keepsChangesWhenTheFolderIsMissing();
    void reportsAFileForAFolder();
    void reportsAMissingFolder();
    void reportsAFolderOrPipeAtThePath();

private:
    void start(QProcess& writer) const
    {
        writer.start(
            QCoreApplication::applicationFilePath(), { QLatin1StringView(writerArgument), m_path });
    }
    qsizetype unfinishedFiles() const
    {
        return QDir(m_folder->path())
            .entryList({ u".unfinished*"_s }, QDir::Files | QDir::Hidden)
            .size();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

void TestStoreFaults::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(u"Vellumcap.storedata"_s);
}

void TestStoreFaults::survivesKillsAtAnyMoment()
{
    constexpr int wantedRounds = 200;
    constexpr int leastRounds = 40; // for a slow, instrumented build
    std::vector<QString> known;
    {
        OpenStore store(m_path);
        for (int index = 0; index < 2000; ++index) { // so that a write takes some time
            known.push_back(u"before/%1"_s.arg(index));
            insertCapture(store.context, known.back());
        }
        QVERIFY(store.context.save());
    }
    std::mt19937 random(static_cast<unsigned>(QCoreApplication::applicationPid()));
    int rounds = 0;
    int midWrite = 0;
    std::size_t reportedSaves = 0;
    QElapsedTimer clock;
    clock.start();
    for (; rounds < wantedRounds && (rounds < leastRounds || clock.elapsed() < 40'000); ++rounds) {
        QProcess writer;
        start(writer);
        QVERIFY(writer.waitForStarted());
        if (rounds % 8 != 0) { // otherwise it is killed while it starts or opens the store
            QVERIFY(writer.waitForReadyRead());
        }
        QThread::usleep(random() % 15'000);
        writer.kill();
        QVERIFY(writer.waitForFinished());
        QCOMPARE(writer.exitStatus(), QProcess::CrashExit);
        midWrite += unfinishedFiles() > 0 ? 1 : 0;

        const std::vector<QString> reported = wholeLines(writer.readAllStandardOutput());
        reportedSaves += reported.size();
        known.insert(known.end(), reported.begin(), reported.end());
        const OpenStore store(m_path);
        QVERIFY2(store.opened, qPrintable(store.failure()));
        QCOMPARE(unfinishedFiles(), 0);
        const std::vector<QString> found = store.texts();
        const std::vector<QString> foundSorted = sorted(found);
        const std::vector<QString> knownSorted = sorted(known);
        QVERIFY(std::includes(
            foundSorted.begin(), foundSorted.end(), knownSorted.begin(), knownSorted.end()));
        // One save may have ended without being reported.
        QVERIFY(found.size() <= known.size() + 1);
        known = found;
    }
    qInfo("%d kills, %d of them during a write; %zu saves had returned", rounds, midWrite,
        reportedSaves);
    QVERIFY(midWrite > 0);
    QVERIFY(reportedSaves > 0);
}

void TestStoreFaults::refusesASecondProcess()
{
    QProcess first;
    start(first);
    QVERIFY(first.waitForReadyRead());
    {
        const OpenStore here(m_path);
        QVERIFY(!here.opened);
        QCOMPARE(here.opened.error().code, static_cast<int>(StoreErrorCode::InUse));
        QVERIFY(here.opened.error().localizedDescription.contains(m_folder->path()));
    }
    QProcess second;
    start(second);
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), refusedStatus);
    QVERIFY(first.waitForReadyRead()); // it still saves
    first.kill();
    QVERIFY(first.waitForFinished());

    const std::vector<QString> reported = wholeLines(first.readAllStandardOutput());
    const OpenStore store(m_path);
    QVERIFY(store.opened);
    const std::vector<QString> found = store.texts();
    QVERIFY(found.size() >= reported.size() && reported.size() >= 2);
    QVERIFY(std::equal(reported.begin(), reported.end(), found.begin()));
}

void TestStoreFaults::refusesASecondCoordinator()
{
    std::optional<OpenStore> first(m_path);
    QVERIFY(first->opened);
    {
        const OpenStore second(m_path);
        QVERIFY(!second.opened);
        QCOMPARE(second.opened.error().code, static_cast<int>(StoreErrorCode::InUse));
    }
    insertCapture(first->context);
    QVERIFY(first->context.save());
    first.reset();
    const OpenStore third(m_path);
    QVERIFY(third.opened);
    QCOMPARE(third.captures().size(), std::size_t{ 1 });
}

void TestStoreFaults::removesUnfinishedFilesUnderTheLockOnly()
{
    const QString stale = m_folder->filePath(u".unfinished-0123456789abcdef"_s);
    {
        const OpenStore first(m_path);
        setFileBytes(stale, "being written");
        const OpenStore second(m_path);
        QVERIFY(!second.opened);
        QVERIFY(QFile::exists(stale));
    }
    const OpenStore third(m_path);
    QVERIFY(third.opened);
    QVERIFY(!QFile::exists(stale));
}

void TestStoreFaults::keepsChangesWhenTheDiskIsFull()
{
    if (::mount("tmpfs", QFile::encodeName(m_folder->path()).constData(), "tmpfs", 0, "size=256k")
        != 0) {
        QSKIP("mounting a small file system is not permitted here");
    }
    const auto unmount = qScopeGuard(
        [&] { ::umount2(QFile::encodeName(m_folder->path()).constData(), MNT_DETACH); });
    {
        OpenStore store(m_path);
        QVERIFY(store.opened);
        insertCapture(store.context, u"saved"_s);
        QVERIFY(store.context.save());
        const QByteArray saved = fileBytes(m_path);

        const auto large = insertCapture(store.context, QString(400'000, u'x'));
        const Result<void> result = store.context.save();
        QVERIFY(!result);
        QCOMPARE(result.error().code, ENOSPC);
        QVERIFY(result.error().localizedDescription.contains(m_path));
        QVERIFY(store.context.hasChanges());
        QCOMPARE(fileBytes(m_path), saved);
        QCOMPARE(unfinishedFiles(), 0);

        large->setValue(Value, u"small"_s);
        QVERIFY(store.context.save());
        QVERIFY(!store.context.hasChanges());
    }
    const OpenStore store(m_path);
    QCOMPARE(store.texts(), (std::vector{ u"saved"_s, u"small"_s }));
}

void TestStoreFaults::keepsChangesAtTheSizeLimit()
{
    OpenStore store(m_path);
    const auto changed = insertCapture(store.context, u"old"_s);
    const auto deleted = insertCapture(store.context, u"deleted"_s);
    QVERIFY(store.context.save());
    const QByteArray saved = fileBytes(m_path);
    changed->setValue(Value, u"new"_s);
    store.context.deleteObject(*deleted);
    insertCapture(store.context, QString(9000, u'x'));

    rlimit old{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit low{ 4096, old.rlim_max };
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &low), 0);
    const Result<void> result = store.context.save();
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, oldHandler);

    QVERIFY(!result);
    QCOMPARE(result.error().code, EFBIG);
    QVERIFY(store.context.hasChanges());
    QCOMPARE(fileBytes(m_path), saved);
    QVERIFY(store.context.save());
    const QByteArray savedLater = fileBytes(m_path);
    QVERIFY(savedLater.contains(">new<") && savedLater.contains("xxxx"));
    QVERIFY(!savedLater.contains(">deleted<"));
}

void TestStoreFaults::keepsChangesWhenTheFolderIsMissing()
{
    const QString folder = m_folder->filePath(u"data"_s);
    QVERIFY(QDir(m_folder->path()).mkpath(folder));
    OpenStore store(folder + u"/store"_s);
    QVERIFY(store.opened);
    QVERIFY(QDir(folder).removeRecursively());
    insertCapture(store.context);
    const Result<void> result = store.context.save();
    QVERIFY(!result);
    QCOMPARE(result.error().code, ENOENT);
    QVERIFY(store.context.hasChanges());
    QVERIFY(QDir(m_folder->path()).mkpath(folder));
    QVERIFY(store.context.save());
}

void TestStoreFaults::reportsAFileForAFolder()
{
    setFileBytes(m_path, "a file");
    const OpenStore store(m_path + u"/store"_s);
    QVERIFY(!store.opened);
    QCOMPARE(store.opened.error().code, ENOTDIR);
    QVERIFY(store.opened.error().localizedDescription.contains(m_path));
    QCOMPARE(fileBytes(m_path), "a file");
}

void TestStoreFaults::reportsAMissingFolder()
{
    const OpenStore store(m_folder->filePath(u"none/store"_s));
    QVERIFY(!store.opened);
    QCOMPARE(store.opened.error().code, ENOENT);
}

void TestStoreFaults::reportsAFolderOrPipeAtThePath()
{
    QVERIFY(QDir().mkdir(m_path));
    {
        const OpenStore store(m_path);
        QVERIFY(!store.opened);
        QCOMPARE(store.opened.error().code, EISDIR);
        QVERIFY(store.opened.error().localizedDescription.contains(m_path));
    }
    QVERIFY(QDir().rmdir(m_path));
    QCOMPARE(::mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
    const OpenStore store(m_path);
    QVERIFY(!store.opened);
    QCOMPARE(store.opened.error().code, EISDIR);
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], writerArgument) == 0) {
        return writeForEver(argv[2]);
    }
    const Sandbox sandbox;
    const QCoreApplication application(argc, argv);
    TestStoreFaults cases;
    return QTest::qExec(&cases, argc, argv);
}
#include "tst_storefaults.moc"
