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

using namespace Qt::StringLiterals;

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
    Capture::storeCapture(support::plainPicture(), u"text"_s);

    const auto captures = Capture::getCaptures();
    QVERIFY(captures);
    QCOMPARE(captures->size(), 1);
    const Capture& capture = *captures->front();
    QCOMPARE(capture.captureValue(), u"text"_s);
    QCOMPARE(capture.captureTypeValue(), 1);
    QVERIFY(!capture.notes());
    QVERIFY(capture.dateCaptured() >= before.addMSecs(-1));
    QVERIFY(capture.dateCaptured() <= QDateTime::currentDateTimeUtc());

    const QRegularExpression uuid(u"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"_s);
    QVERIFY2(
        uuid.match(capture.captureImageKey()).hasMatch(), qPrintable(capture.captureImageKey()));
    QCOMPARE(capture.getImageUrl(),
        Program::dataFolder() + u'/' + capture.captureImageKey() + u".jpg"_s);
    QCOMPARE(Program::pictures(), { capture.captureImageKey() + u".jpg"_s });
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
    QTest::newRow("web address") << u"https://example.org/path?query=1"_s << true;
    QTest::newRow("bare host") << u"example.org"_s << false;
    QTest::newRow("sentence") << u"a sentence with spaces"_s << false;
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
    Capture::storeCapture(support::plainPicture(), u"same"_s);
    Capture::storeCapture(support::plainPicture(), u"same"_s);
    const auto captures = *Capture::getCaptures();
    QCOMPARE(captures.size(), 2);
    QVERIFY(captures[0]->captureImageKey() != captures[1]->captureImageKey());
    QCOMPARE(Program::pictures().size(), 2);
}

void CaptureTest::listsNewestFirst()
{
    Program program(Start::NotLaunched);
    const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    program.keep(u"middle"_s, noon);
    program.keep(u"newest"_s, noon.addMSecs(1));
    program.keep(u"oldest"_s, noon.addYears(-1));
    QStringList texts;
    const auto captures = *Capture::getCaptures();
    for (const auto& capture : captures) {
        texts.append(capture->captureValue());
    }
    QCOMPARE(texts, (QStringList{ u"newest"_s, u"middle"_s, u"oldest"_s }));
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
    QCOMPARE(order, u"01234"_s);
}

void CaptureTest::keepsARecordWhosePictureCannotBeWritten()
{
    Program program(Start::NotLaunched);
    Capture::storeCapture(QImage(), u"no picture"_s);
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QVERIFY(Program::pictures().isEmpty());
    QVERIFY(Capture::getCaptures()->front()->getImage().load().isNull());
}

void CaptureTest::drawsTransparentPicturesOnPaper()
{
    Program program(Start::NotLaunched);
    QImage transparent(8, 8, QImage::Format_ARGB32);
    transparent.fill(Qt::transparent);
    Capture::storeCapture(transparent, u"t"_s);
    const QImage stored = Capture::getCaptures()->front()->getImage().load();
    QVERIFY(qGray(stored.pixel(4, 4)) > 250);
}

void CaptureTest::deletesTheRecordWithItsPicture()
{
    Program program(Start::NotLaunched);
    const auto kept = program.keep(u"kept"_s);
    const auto gone = program.keep(u"gone"_s);
    Capture::deleteCapture(gone);
    QCOMPARE(Program::pictures(), { kept->captureImageKey() + u".jpg"_s });
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QCOMPARE(Capture::getCaptures()->front()->captureValue(), u"kept"_s);
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void CaptureTest::deletesARecordWhosePictureIsGone()
{
    Program program(Start::NotLaunched);
    const auto capture = program.keep(u"x"_s);
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
    const auto capture = program.keep(u"precious"_s);
    QFile file(capture->getImageUrl());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    file.close();

    QUndoStack& undo = program.delegate().managedObjectContext()->undoManager();
    Capture::deleteCapture(capture);
    QVERIFY(!QFileInfo::exists(capture->getImageUrl()));
    undo.undo();
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QCOMPARE(Capture::getCaptures()->front()->captureValue(), u"precious"_s);
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
    program.keep(u"a"_s)->setNotes(u"note a"_s);
    const auto other = program.keep(u"b"_s);
    other->setNotes(u"note b"_s);
    QVERIFY(program.delegate().managedObjectContext()->hasChanges());
    Capture::saveCapture();
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
        QCOMPARE(QString::fromLatin1(failure.fileName), u"_Capture"_s);
        QCOMPARE(failure.lineNumber, 12);
        QCOMPARE(failure.description, u"Invalid parameter not satisfying: moc_"_s);
    }
    try {
        Capture::entityInManagedObjectContext(nullptr);
        QFAIL("no assertion failed");
    } catch (const platform::AssertionFailure& failure) {
        QCOMPARE(QString::fromLatin1(failure.fileName), u"_Capture"_s);
        QCOMPARE(failure.lineNumber, 21);
        QCOMPARE(failure.description, u"Invalid parameter not satisfying: moc_"_s);
    }
    Program program(Start::NotLaunched);
    const auto* entity
        = Capture::entityInManagedObjectContext(program.delegate().managedObjectContext());
    QVERIFY(entity != nullptr);
    QCOMPARE(entity->name, Capture::entityName());
    QCOMPARE(Capture::entityName(), u"Capture"_s);
}

void CaptureTest::observersOfScalarViewsSeeTheAttribute()
{
    Program program(Start::NotLaunched);
    const auto capture = program.keep(u"x"_s);
    QCOMPARE(capture->keyPathsForValuesAffectingValueForKey(u"captureTypeValue"_s),
        std::set<QString>{ u"captureType"_s });
    QCOMPARE(capture->keyPathsForValuesAffectingValueForKey(u"isURLValue"_s),
        std::set<QString>{ u"isURL"_s });
    QVERIFY(capture->keyPathsForValuesAffectingValueForKey(u"notes"_s).empty());
    int types = 0;
    int links = 0;
    const auto first = capture->observe(u"captureTypeValue"_s, [&] { ++types; });
    const auto second = capture->observe(u"isURLValue"_s, [&] { ++links; });
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
    const QString text = u"line\r\nnext\ttab \u202e bidi "_s + QChar(u'\0') + QChar(u'\x1b')
        + QChar(0xd800) + u" & <b> 😀"_s;
    {
        Program program(Start::NotLaunched);
        Capture::storeCapture(support::plainPicture(), text);
        Capture::getCaptures()->front()->setNotes(u"mine"_s);
        Capture::saveCapture();
    }
    Program again(Start::NotLaunched, Data::Kept);
    const auto captures = *Capture::getCaptures();
    QCOMPARE(captures.size(), 1);
    QCOMPARE(captures.front()->captureValue(), text);
    QCOMPARE(captures.front()->notes(), u"mine"_s);
    QVERIFY(!captures.front()->getImage().load().isNull());
}

VELLUMCAP_TEST(CaptureTest)
#include "tst_capture.moc"
