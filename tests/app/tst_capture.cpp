#include "app/Capture.h"
#include "platform/services/AssertionFailure.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"
#include "tests/support/Program.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUndoStack>

using support::Data;
using support::Program;
using support::Start;
using vellumcap::Capture;

class CaptureTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void storesTheRecordAndItsPicture();
    void decidesTheLinkFlagWhenStoring_data();
    void decidesTheLinkFlagWhenStoring();
    void givesEachCaptureAKeyOfItsOwn();
    void listsNewestFirst();
    void listsEqualMomentsInTheOrderOfTheStore();
    void keepsARecordWhosePictureCannotBeWritten();
    void drawsTransparentPicturesOnPaper();
    void deletesTheRecordWithItsPicture();
    void deletesARecordWhosePictureIsGone();
    void deletionIsUndoneWithItsPicture();
    void savesEveryPendingChange();
    void refusesAMissingContext();
    void observersOfScalarViewsSeeTheAttribute();
    void keepsCapturesOverRestarts();
};

void CaptureTest::storesTheRecordAndItsPicture()
{
    Program program(Start::NotLaunched);
    const QDateTime before = QDateTime::currentDateTimeUtc();
    Capture::storeCapture(support::plainPicture(), QStringLiteral("text"));

    const auto captures = Capture::getCaptures();
    QVERIFY(captures);
    QCOMPARE(captures->size(), 1);
    const Capture& capture = *captures->front();
    QCOMPARE(capture.captureValue(), QStringLiteral("text"));
    QCOMPARE(capture.captureTypeValue(), 1);
    QVERIFY(!capture.notes());
    QVERIFY(capture.dateCaptured() >= before.addMSecs(-1));
    QVERIFY(capture.dateCaptured() <= QDateTime::currentDateTimeUtc());

    const QRegularExpression uuid(QStringLiteral("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"));
    QVERIFY2(
        uuid.match(capture.captureImageKey()).hasMatch(), qPrintable(capture.captureImageKey()));
    QCOMPARE(capture.getImageUrl(),
        Program::dataFolder() + u'/' + capture.captureImageKey() + QStringLiteral(".jpg"));
    QCOMPARE(Program::pictures(), { capture.captureImageKey() + QStringLiteral(".jpg") });
    const QImage picture = capture.getImage().load();
    QCOMPARE(picture.size(), support::plainPicture().size());
    QFile file(capture.getImageUrl());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.read(3).toHex(), QByteArray("ffd8ff"));
}

void CaptureTest::decidesTheLinkFlagWhenStoring_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("link");
    QTest::newRow("web address") << QStringLiteral("https://example.org/path?query=1") << true;
    QTest::newRow("bare host") << QStringLiteral("example.org") << false;
    QTest::newRow("sentence") << QStringLiteral("a sentence with spaces") << false;
    QTest::newRow("empty") << QString() << false;
}

void CaptureTest::decidesTheLinkFlagWhenStoring()
{
    QFETCH(QString, text);
    QFETCH(bool, link);
    Program program(Start::NotLaunched);
    Capture::storeCapture(support::plainPicture(), text);
    QCOMPARE(Capture::getCaptures()->front()->isURLValue(), link);
    QCOMPARE(Capture::getCaptures()->front()->captureValue(), text);
}

void CaptureTest::givesEachCaptureAKeyOfItsOwn()
{
    Program program(Start::NotLaunched);
    Capture::storeCapture(support::plainPicture(), QStringLiteral("same"));
    Capture::storeCapture(support::plainPicture(), QStringLiteral("same"));
    const auto captures = *Capture::getCaptures();
    QCOMPARE(captures.size(), 2);
    QVERIFY(captures[0]->captureImageKey() != captures[1]->captureImageKey());
    QCOMPARE(Program::pictures().size(), 2);
}

void CaptureTest::listsNewestFirst()
{
    Program program(Start::NotLaunched);
    const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    program.keep(QStringLiteral("middle"), noon);
    program.keep(QStringLiteral("newest"), noon.addMSecs(1));
    program.keep(QStringLiteral("oldest"), noon.addYears(-1));
    QStringList texts;
    const auto captures = *Capture::getCaptures();
    for (const auto& capture : captures) {
        texts.append(capture->captureValue());
    }
    QCOMPARE(texts,
        (QStringList{
            QStringLiteral("newest"), QStringLiteral("middle"), QStringLiteral("oldest") }));
}

void CaptureTest::listsEqualMomentsInTheOrderOfTheStore()
{
    Program program(Start::NotLaunched);
    const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    for (int i = 0; i < 5; ++i) {
        program.keep(QString::number(i), noon);
    }
    QString order;
    const auto captures = *Capture::getCaptures();
    for (const auto& capture : captures) {
        order += capture->captureValue();
    }
    QCOMPARE(order, QStringLiteral("01234"));
}

void CaptureTest::keepsARecordWhosePictureCannotBeWritten()
{
    Program program(Start::NotLaunched);
    Capture::storeCapture(QImage(), QStringLiteral("no picture"));
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QVERIFY(Program::pictures().isEmpty());
    QVERIFY(Capture::getCaptures()->front()->getImage().load().isNull());
}

void CaptureTest::drawsTransparentPicturesOnPaper()
{
    Program program(Start::NotLaunched);
    QImage transparent(8, 8, QImage::Format_ARGB32);
    transparent.fill(Qt::transparent);
    Capture::storeCapture(transparent, QStringLiteral("t"));
    const QImage stored = Capture::getCaptures()->front()->getImage().load();
    QVERIFY(qGray(stored.pixel(4, 4)) > 250);
}

void CaptureTest::deletesTheRecordWithItsPicture()
{
    Program program(Start::NotLaunched);
    const auto kept = program.keep(QStringLiteral("kept"));
    const auto gone = program.keep(QStringLiteral("gone"));
    Capture::deleteCapture(gone);
    QCOMPARE(Program::pictures(), { kept->captureImageKey() + QStringLiteral(".jpg") });
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QCOMPARE(Capture::getCaptures()->front()->captureValue(), QStringLiteral("kept"));
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void CaptureTest::deletesARecordWhosePictureIsGone()
{
    Program program(Start::NotLaunched);
    const auto capture = program.keep(QStringLiteral("x"));
    QVERIFY(QFile::remove(capture->getImageUrl()));
    Capture::deleteCapture(capture);
    QVERIFY(Capture::getCaptures()->empty());
    Capture::deleteCapture(capture);
    Capture::deleteCapture(nullptr);
    QVERIFY(Capture::getCaptures()->empty());
}

void CaptureTest::deletionIsUndoneWithItsPicture()
{
    Program program(Start::NotLaunched);
    const auto capture = program.keep(QStringLiteral("precious"));
    QFile file(capture->getImageUrl());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    file.close();

    QUndoStack& undo = program.delegate().managedObjectContext()->undoManager();
    Capture::deleteCapture(capture);
    QVERIFY(!QFileInfo::exists(capture->getImageUrl()));
    undo.undo();
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QCOMPARE(Capture::getCaptures()->front()->captureValue(), QStringLiteral("precious"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), bytes);
    file.close();
    undo.redo();
    QVERIFY(Capture::getCaptures()->empty());
    QVERIFY(!QFileInfo::exists(file.fileName()));
}

void CaptureTest::savesEveryPendingChange()
{
    Program program(Start::NotLaunched);
    program.keep(QStringLiteral("a"))->setNotes(QStringLiteral("note a"));
    const auto other = program.keep(QStringLiteral("b"));
    other->setNotes(QStringLiteral("note b"));
    QVERIFY(program.delegate().managedObjectContext()->hasChanges());
    Capture::saveCapture(nullptr);
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
    QFile store(Program::storePath());
    QVERIFY(store.open(QIODevice::ReadOnly));
    const QByteArray xml = store.readAll();
    QVERIFY(xml.contains("note a"));
    QVERIFY(xml.contains("note b"));
}

void CaptureTest::refusesAMissingContext()
{
    try {
        Capture::insertInManagedObjectContext(nullptr);
        QFAIL("no assertion failed");
    } catch (const platform::AssertionFailure& failure) {
        QCOMPARE(QString::fromLatin1(failure.fileName), QStringLiteral("_Capture"));
        QCOMPARE(failure.lineNumber, 12);
        QCOMPARE(failure.description, QStringLiteral("Invalid parameter not satisfying: moc_"));
    }
    try {
        Capture::entityInManagedObjectContext(nullptr);
        QFAIL("no assertion failed");
    } catch (const platform::AssertionFailure& failure) {
        QCOMPARE(QString::fromLatin1(failure.fileName), QStringLiteral("_Capture"));
        QCOMPARE(failure.lineNumber, 21);
        QCOMPARE(failure.description, QStringLiteral("Invalid parameter not satisfying: moc_"));
    }
    Program program(Start::NotLaunched);
    const auto* entity
        = Capture::entityInManagedObjectContext(program.delegate().managedObjectContext());
    QVERIFY(entity != nullptr);
    QCOMPARE(entity->name, Capture::entityName());
    QCOMPARE(Capture::entityName(), QStringLiteral("Capture"));
}

void CaptureTest::observersOfScalarViewsSeeTheAttribute()
{
    Program program(Start::NotLaunched);
    const auto capture = program.keep(QStringLiteral("x"));
    QCOMPARE(capture->keyPathsForValuesAffectingValueForKey(QStringLiteral("captureTypeValue")),
        std::set<QString>{ QStringLiteral("captureType") });
    QCOMPARE(capture->keyPathsForValuesAffectingValueForKey(QStringLiteral("isURLValue")),
        std::set<QString>{ QStringLiteral("isURL") });
    QVERIFY(capture->keyPathsForValuesAffectingValueForKey(QStringLiteral("notes")).empty());
    int types = 0;
    int links = 0;
    const auto first = capture->observe(QStringLiteral("captureTypeValue"), [&] { ++types; });
    const auto second = capture->observe(QStringLiteral("isURLValue"), [&] { ++links; });
    capture->setCaptureTypeValue(2);
    capture->setIsURLValue(true);
    QCOMPARE(types, 1);
    QCOMPARE(links, 1);
    capture->setPrimitiveCaptureTypeValue(3);
    capture->setPrimitiveIsURLValue(false);
    QCOMPARE(types, 1);
    QCOMPARE(links, 1);
    QCOMPARE(capture->captureTypeValue(), 3);
    QCOMPARE(capture->primitiveIsURLValue(), false);
}

void CaptureTest::keepsCapturesOverRestarts()
{
    const QString text = QStringLiteral("line\r\nnext\ttab \u202e bidi ") + QChar(u'\0')
        + QChar(u'\x1b') + QChar(0xd800) + QStringLiteral(" & <b> 😀");
    {
        Program program(Start::NotLaunched);
        Capture::storeCapture(support::plainPicture(), text);
        Capture::getCaptures()->front()->setNotes(QStringLiteral("mine"));
        Capture::saveCapture(nullptr);
    }
    Program again(Start::NotLaunched, Data::Kept);
    const auto captures = *Capture::getCaptures();
    QCOMPARE(captures.size(), 1);
    QCOMPARE(captures.front()->captureValue(), text);
    QCOMPARE(captures.front()->notes(), QStringLiteral("mine"));
    QVERIFY(!captures.front()->getImage().load().isNull());
}

VELLUMCAP_TEST_MAIN(CaptureTest)
#include "tst_capture.moc"
