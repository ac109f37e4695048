#include "platform/services/DurableFile.h"
#include "tests/support/StoreFixture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

using platform::Error;
using platform::posixErrorDomain;
using platform::removeUnfinishedFiles;
using platform::writeDurably;
using support::fileBytes;

class TestDurableFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesTheConcatenationOfTheParts();
    void writesMorePartsThanOneCallTakes();
    void keepsTheFilePrivate();
    void takesTheLongestName();
    void reportsWhatIsInTheWay_data();
    void reportsWhatIsInTheWay();
    void keepsTheOldFileAtTheSizeLimit();
    void keepsTheOldFileOnAFullDisk();
    void removesUnfinishedFilesOnly();

private:
    QStringList names() const
    {
        return QDir(m_folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    static std::optional<Error> write(const QString& path, const QByteArray& bytes)
    {
        const std::array<QByteArrayView, 1> parts{ bytes };
        return writeDurably(path, parts);
    }

    QTemporaryDir m_folder;
};

void TestDurableFile::writesTheConcatenationOfTheParts()
{
    const QString path = m_folder.filePath(QStringLiteral("parts"));
    const std::array<QByteArrayView, 4> parts{ "one ", "", "two ", "three" };
    QVERIFY(!writeDurably(path, parts));
    QCOMPARE(fileBytes(path), "one two three");
    QVERIFY(!writeDurably(path, {}));
    QCOMPARE(fileBytes(path), "");
    QCOMPARE(names(), QStringList{ QStringLiteral("parts") });
}

void TestDurableFile::writesMorePartsThanOneCallTakes()
{
    const QString path = m_folder.filePath(QStringLiteral("many"));
    std::vector<QByteArray> bytes;
    QByteArray whole;
    for (int index = 0; index < 3000; ++index) {
        bytes.emplace_back(index % 7 * 100, static_cast<char>('a' + index % 26));
        whole += bytes.back();
    }
    const std::vector<QByteArrayView> parts(bytes.begin(), bytes.end());
    QVERIFY(!writeDurably(path, parts));
    QCOMPARE(fileBytes(path), whole);
}

void TestDurableFile::keepsTheFilePrivate()
{
    const QString path = m_folder.filePath(QStringLiteral("private"));
    QVERIFY(!write(path, "secret"));
    struct stat status { };
    QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
}

void TestDurableFile::takesTheLongestName()
{
    const QString path = m_folder.filePath(QString(255, u'n'));
    QVERIFY(!write(path, "long"));
    QCOMPARE(fileBytes(path), "long");
    QVERIFY(QFile::remove(path));
}

void TestDurableFile::reportsWhatIsInTheWay_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");
    QTest::newRow("a folder at the path") << QStringLiteral("folder") << EISDIR;
    QTest::newRow("no folder") << QStringLiteral("none/file") << ENOENT;
    QTest::newRow("a file for a folder") << QStringLiteral("plain/file") << ENOTDIR;
    QTest::newRow("no name") << QString() << EISDIR;
    QTest::newRow("too long a name") << QString(256, u'n') << ENAMETOOLONG;
}

void TestDurableFile::reportsWhatIsInTheWay()
{
    QFETCH(const QString, name);
    QFETCH(const int, code);
    QDir(m_folder.path()).mkpath(QStringLiteral("folder"));
    support::setFileBytes(m_folder.filePath(QStringLiteral("plain")), "plain");
    const QStringList before = names();

    const QString path = m_folder.path() + u'/' + name;
    const std::optional<Error> error = write(path, "bytes");
    QVERIFY(error);
    QCOMPARE(error->domain, QLatin1StringView(posixErrorDomain));
    QCOMPARE(error->code, code);
    QVERIFY(error->localizedDescription.contains(path));
    QVERIFY(!error->failureReason.isEmpty());
    QCOMPARE(names(), before);
    QCOMPARE(fileBytes(m_folder.filePath(QStringLiteral("plain"))), "plain");
}

void TestDurableFile::keepsTheOldFileAtTheSizeLimit()
{
    const QString path = m_folder.filePath(QStringLiteral("limited"));
    QVERIFY(!write(path, "old"));
    const QStringList before = names();

    rlimit old{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit low{ 5000, old.rlim_max };
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &low), 0);
    const std::optional<Error> error = write(path, QByteArray(10'000, 'n'));
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, oldHandler);

    QVERIFY(error);
    QCOMPARE(error->code, EFBIG);
    QCOMPARE(fileBytes(path), "old");
    QCOMPARE(names(), before);
}

void TestDurableFile::keepsTheOldFileOnAFullDisk()
{
    const QByteArray disk = QFile::encodeName(m_folder.filePath(QStringLiteral("disk")));
    QCOMPARE(::mkdir(disk.constData(), 0700), 0);
    if (::mount("tmpfs", disk.constData(), "tmpfs", 0, "size=64k") != 0) {
        ::rmdir(disk.constData());
        QSKIP("mounting a small file system is not permitted here");
    }
    const auto unmount = qScopeGuard([&] {
        ::umount(disk.constData());
        ::rmdir(disk.constData());
    });
    const QString path = QFile::decodeName(disk) + QStringLiteral("/file");
    QVERIFY(!write(path, "old"));
    const std::optional<Error> error = write(path, QByteArray(200'000, 'n'));
    QVERIFY(error);
    QCOMPARE(error->code, ENOSPC);
    QVERIFY(error->failureReason.contains(QStringLiteral("full")));
    QCOMPARE(fileBytes(path), "old");
    QCOMPARE(QDir(QFile::decodeName(disk)).entryList(QDir::Files | QDir::Hidden),
        QStringList{ QStringLiteral("file") });
    QVERIFY(!write(path, "new"));
    QCOMPARE(fileBytes(path), "new");
}

void TestDurableFile::removesUnfinishedFilesOnly()
{
    const QTemporaryDir folder;
    const auto make
        = [&](const QString& name) { support::setFileBytes(folder.filePath(name), "bytes"); };
    make(QStringLiteral(".unfinished-0123456789abcdef"));
    make(QStringLiteral(".unfinished-notes"));
    make(QStringLiteral("unfinished-0123456789abcdef"));
    make(QStringLiteral("store"));
    QDir(folder.path()).mkpath(QStringLiteral(".unfinished-0123456789abcdee"));
    removeUnfinishedFiles(folder.path());
    const QStringList left
        = QDir(folder.path())
              .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    QCOMPARE(left,
        (QStringList{ QStringLiteral(".unfinished-0123456789abcdee"),
            QStringLiteral(".unfinished-notes"), QStringLiteral("store"),
            QStringLiteral("unfinished-0123456789abcdef") }));
}

VELLUMCAP_TEST_MAIN(TestDurableFile)
#include "tst_durablefile.moc"
