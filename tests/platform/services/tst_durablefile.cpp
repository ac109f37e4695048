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

using namespace Qt::StringLiterals;

using platform::posixErrorDomain;
using platform::removeUnfinishedFiles;
using platform::Result;
using platform::writeDurably;
using support::fileBytes;

class TestDurableFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesTheConcatenationOfTheParts();
    void writesMorePartsThanOneCallTakes();
    void keepsTheFilePrivate();
    void takesTheLongestName();
    void reportsPathsThatCannotBeWritten_data();
    void reportsPathsThatCannotBeWritten();
    void keepsTheOldFileAtTheSizeLimit();
    void keepsTheOldFileOnAFullDisk();
    void removesUnfinishedFilesOnly();

private:
    QStringList names() const
    {
        return QDir(m_folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    static Result<void> write(const QString& path, const QByteArray& bytes)
    {
        const std::array<QByteArrayView, 1> parts{ bytes };
        return writeDurably(path, parts);
    }

    QTemporaryDir m_folder;
};

void TestDurableFile::writesTheConcatenationOfTheParts()
{
    const QString path = m_folder.filePath(u"parts"_s);
    const std::array<QByteArrayView, 4> parts{ "one ", "", "two ", "three" };
    QVERIFY(writeDurably(path, parts));
    QCOMPARE(fileBytes(path), "one two three");
    QVERIFY(writeDurably(path, {}));
    QCOMPARE(fileBytes(path), "");
    QCOMPARE(names(), QStringList{ u"parts"_s });
}

void TestDurableFile::writesMorePartsThanOneCallTakes()
{
    const QString path = m_folder.filePath(u"many"_s);
    std::vector<QByteArray> bytes;
    QByteArray whole;
    for (int index = 0; index < 3000; ++index) {
        bytes.emplace_back(index % 7 * 100, static_cast<char>('a' + index % 26));
        whole += bytes.back();
    }
    const std::vector<QByteArrayView> parts(bytes.begin(), bytes.end());
    QVERIFY(writeDurably(path, parts));
    QCOMPARE(fileBytes(path), whole);
}

void TestDurableFile::keepsTheFilePrivate()
{
    const QString path = m_folder.filePath(u"private"_s);
    QVERIFY(write(path, "secret"));
    struct stat status { };
    QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
}

void TestDurableFile::takesTheLongestName()
{
    const QString path = m_folder.filePath(QString(255, u'n'));
    QVERIFY(write(path, "long"));
    QCOMPARE(fileBytes(path), "long");
    QVERIFY(QFile::remove(path));
}

void TestDurableFile::reportsPathsThatCannotBeWritten_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");
    QTest::newRow("a folder at the path") << u"folder"_s << EISDIR;
    QTest::newRow("no folder") << u"none/file"_s << ENOENT;
    QTest::newRow("a file for a folder") << u"plain/file"_s << ENOTDIR;
    QTest::newRow("no name") << QString() << EISDIR;
    QTest::newRow("too long a name") << QString(256, u'n') << ENAMETOOLONG;
}

void TestDurableFile::reportsPathsThatCannotBeWritten()
{
    QFETCH(const QString, name);
    QFETCH(const int, code);
    QDir(m_folder.path()).mkpath(u"folder"_s);
    support::setFileBytes(m_folder.filePath(u"plain"_s), "plain");
    const QStringList before = names();

    const QString path = m_folder.path() + u'/' + name;
    const Result<void> result = write(path, "bytes");
    QVERIFY(!result);
    QCOMPARE(result.error().domain, QLatin1StringView(posixErrorDomain));
    QCOMPARE(result.error().code, code);
    QVERIFY(result.error().localizedDescription.contains(path));
    QVERIFY(!result.error().failureReason.isEmpty());
    QCOMPARE(names(), before);
    QCOMPARE(fileBytes(m_folder.filePath(u"plain"_s)), "plain");
}

void TestDurableFile::keepsTheOldFileAtTheSizeLimit()
{
    const QString path = m_folder.filePath(u"limited"_s);
    QVERIFY(write(path, "old"));
    const QStringList before = names();

    rlimit old{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit low{ 5000, old.rlim_max };
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &low), 0);
    const Result<void> result = write(path, QByteArray(10'000, 'n'));
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, oldHandler);

    QVERIFY(!result);
    QCOMPARE(result.error().code, EFBIG);
    QCOMPARE(fileBytes(path), "old");
    QCOMPARE(names(), before);
}

void TestDurableFile::keepsTheOldFileOnAFullDisk()
{
    const QByteArray disk = QFile::encodeName(m_folder.filePath(u"disk"_s));
    QCOMPARE(::mkdir(disk.constData(), 0700), 0);
    if (::mount("tmpfs", disk.constData(), "tmpfs", 0, "size=64k") != 0) {
        ::rmdir(disk.constData());
        QSKIP("mounting a small file system is not permitted here");
    }
    const auto unmount = qScopeGuard([&] {
        ::umount(disk.constData());
        ::rmdir(disk.constData());
    });
    const QString path = QFile::decodeName(disk) + u"/file"_s;
    QVERIFY(write(path, "old"));
    const Result<void> result = write(path, QByteArray(200'000, 'n'));
    QVERIFY(!result);
    QCOMPARE(result.error().code, ENOSPC);
    QVERIFY(result.error().failureReason.contains(u"full"_s));
    QCOMPARE(fileBytes(path), "old");
    QCOMPARE(QDir(QFile::decodeName(disk)).entryList(QDir::Files | QDir::Hidden),
        QStringList{ u"file"_s });
    QVERIFY(write(path, "new"));
    QCOMPARE(fileBytes(path), "new");
}

void TestDurableFile::removesUnfinishedFilesOnly()
{
    const QTemporaryDir folder;
    const auto make
        = [&](const QString& name) { support::setFileBytes(folder.filePath(name), "bytes"); };
    make(u".unfinished-0123456789abcdef"_s);
    make(u".unfinished-notes"_s);
    make(u"unfinished-0123456789abcdef"_s);
    make(u"store"_s);
    QDir(folder.path()).mkpath(u".unfinished-0123456789abcdee"_s);
    removeUnfinishedFiles(folder.path());
    const QStringList left
        = QDir(folder.path())
              .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    QCOMPARE(left,
        (QStringList{ u".unfinished-0123456789abcdee"_s, u".unfinished-notes"_s, u"store"_s,
            u"unfinished-0123456789abcdef"_s }));
}

VELLUMCAP_TEST(TestDurableFile)
#include "tst_durablefile.moc"
