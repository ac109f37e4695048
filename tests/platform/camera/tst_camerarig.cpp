#include "tests/support/CameraRig.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>
#include <QPainter>

using namespace Qt::StringLiterals;

using support::CameraReader;
using support::CameraRig;

/// Checks the rig with an ordinary program that reads its cameras.
class CameraRigTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void sendsWhatItShows_data();
    void sendsWhatItShows();
    void freezesAndThaws();
    void sendsTheNegotiatedFormat_data();
    void sendsTheNegotiatedFormat();
    void changesItsFormat();
    void changesItsFormatWhileBeingRead_data();
    void changesItsFormatWhileBeingRead();
    void sendsAnotherFormatThanNegotiated();
    void refusesReaders();
    void isListedUntilUnplugged();
};

namespace {

/// The last elements of a reader that writes its frames as BGRx to its standard output.
QStringList toOutput(const QStringList& first = {})
{
    return first + QStringList{ u"videoconvert"_s, u"video/x-raw,format=BGRx"_s, u"fdsink fd=1"_s };
}

QStringList ofWidth(int width)
{
    return toOutput({ u"video/x-raw,width=%1"_s.arg(width) });
}

const support::CameraWish tinyCamera{ .size = { 64, 48 }, .encoding = u"BGRx"_s };

QColor colorOf(QProcess& reader)
{
    if (reader.bytesAvailable() < 4) {
        return {};
    }
    const QByteArray pixel = reader.read(4);
    const auto level = [&pixel](int at) { return static_cast<uchar>(pixel[at]); };
    return { level(2), level(1), level(0) };
}

bool isNear(const QColor& left, const QColor& right)
{
    return qAbs(left.red() - right.red()) < 12 && qAbs(left.green() - right.green()) < 12
        && qAbs(left.blue() - right.blue()) < 12;
}

} // namespace

void CameraRigTest::sendsWhatItShows_data()
{
    QTest::addColumn<QStringList>("between");
    for (const char* raw : { "BGRx", "BGRA", "RGBx", "RGB", "YUY2", "UYVY", "NV12", "I420" }) {
        QTest::newRow(raw) << QStringList{
            u"video/x-raw,format=%1,width=640,height=480,framerate=30/1"_s.arg(
                QString::fromLatin1(raw))
        };
    }
    QTest::newRow("JPEG") << QStringList{ u"image/jpeg,width=640,height=480,framerate=30/1"_s,
        u"jpegdec"_s };
}

void CameraRigTest::sendsWhatItShows()
{
    QFETCH(QStringList, between);
    CameraRig rig;
    const auto camera = rig.addCamera(
        { .size = { 640, 480 }, .encoding = QString::fromLatin1(QTest::currentDataTag()) });
    const QColor color(180, 90, 40);
    camera->show(support::plainPicture(QSize(640, 480), color));
    CameraReader reader(u"cam.a"_s, toOutput(between));
    QTRY_VERIFY(reader.process().bytesAvailable() >= 640 * 480 * 4);
    const QColor seen = colorOf(reader.process());
    QVERIFY2(isNear(seen, color), qPrintable(seen.name()));
    QCOMPARE(camera->links(), 1);
    reader.stop();
    QTRY_COMPARE(camera->links(), 0);
}

void CameraRigTest::freezesAndThaws()
{
    CameraRig rig;
    const auto camera = rig.addCamera(tinyCamera);
    CameraReader reader(u"cam.a"_s, toOutput());
    QTRY_VERIFY(reader.process().bytesAvailable() > 0);
    camera->freeze();
    // Frames that were under way still arrive, late on a slow machine.
    constexpr qint64 underWay = 20 * 64 * 48 * 4;
    qint64 received = 0;
    while (received < underWay && reader.process().waitForReadyRead(300)) {
        received += reader.process().readAllStandardOutput().size();
    }
    QVERIFY(received < underWay);
    QCOMPARE(camera->links(), 1);
    camera->thaw();
    QVERIFY(reader.process().waitForReadyRead(support::patience));
}

void CameraRigTest::sendsTheNegotiatedFormat_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QSize>("size");
    QTest::newRow("the preferred format") << "BGRx" << QSize(64, 48);
    QTest::newRow("another size") << "BGRx" << QSize(32, 24);
    QTest::newRow("another encoding") << "YUY2" << QSize(80, 60);
}

void CameraRigTest::sendsTheNegotiatedFormat()
{
    QFETCH(const QString, encoding);
    QFETCH(const QSize, size);
    CameraRig rig;
    const auto camera = rig.addCamera({ .size = { 64, 48 },
        .encoding = u"BGRx"_s,
        .furtherModes = { u"BGRx:32x24@30"_s, u"YUY2:80x60@30"_s } });
    const QColor left(180, 90, 40);
    const QColor right(40, 90, 180);
    QImage picture = support::plainPicture(size, left);
    QPainter(&picture).fillRect(size.width() / 2, 0, size.width() / 2, size.height(), right);
    camera->show(picture);
    CameraReader reader(u"cam.a"_s,
        toOutput({ u"video/x-raw,format=%1,width=%2,height=%3,framerate=30/1"_s.arg(encoding)
                       .arg(size.width())
                       .arg(size.height()) }));
    QTRY_VERIFY(reader.process().bytesAvailable() >= size.width() * 4);
    const QColor first = colorOf(reader.process());
    QVERIFY2(isNear(first, left), qPrintable(first.name()));
    reader.process().read((size.width() - 2) * 4);
    const QColor last = colorOf(reader.process());
    QVERIFY2(isNear(last, right), qPrintable(last.name()));
}

void CameraRigTest::changesItsFormat()
{
    CameraRig rig;
    const auto camera = rig.addCamera(tinyCamera);
    CameraReader before(u"cam.a"_s, ofWidth(64));
    QTRY_VERIFY(before.process().bytesAvailable() > 0);
    before.stop();
    QTRY_COMPARE(camera->links(), 0);
    camera->setModes({ u"BGRx:32x24@30"_s });
    CameraReader after(u"cam.a"_s, ofWidth(32));
    QTRY_VERIFY(after.process().bytesAvailable() > 0);
}

void CameraRigTest::changesItsFormatWhileBeingRead_data()
{
    QTest::addColumn<bool>("keepsNode");
    QTest::newRow("new node") << false;
    QTest::newRow("same node") << true;
}

void CameraRigTest::changesItsFormatWhileBeingRead()
{
    QFETCH(const bool, keepsNode);
    CameraRig rig;
    const auto camera = rig.addCamera(tinyCamera);
    const auto serials = [] {
        QStringList result;
        const auto nodes = CameraRig::output(u"pw-cli"_s, { u"ls"_s, u"cam.a"_s });
        for (const QByteArray& line : nodes.split('\n')) {
            if (line.contains("object.serial")) {
                result.append(QString::fromLatin1(line.trimmed()));
            }
        }
        return result;
    };
    const QStringList before = serials();
    QCOMPARE(before.size(), 1);
    CameraReader first(u"cam.a"_s, ofWidth(64));
    QTRY_VERIFY(first.process().bytesAvailable() > 0);
    const QString mode = u"BGRx:32x24@30"_s;
    if (keepsNode) {
        camera->renegotiate({ mode });
    } else {
        camera->setModes({ mode });
    }
    QCOMPARE(serials() == before, keepsNode);
    first.stop();
    CameraReader second(u"cam.a"_s, ofWidth(32));
    QTRY_VERIFY(second.process().bytesAvailable() > 0);
}

void CameraRigTest::sendsAnotherFormatThanNegotiated()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .size = { 64, 48 }, .encoding = u"GRAY8"_s });
    qint64 count = 0; // of the bytes read last: some frames, each written at once
    CameraReader reader(u"cam.a"_s,
        { u"video/x-raw,format=GRAY8,width=64,height=48,framerate=30/1"_s, u"fdsink fd=1"_s });
    connect(&reader.process(), &QProcess::readyReadStandardOutput, this,
        [&] { count = reader.process().readAllStandardOutput().size(); });
    const auto sendsFramesOf = [&count](qint64 size) { return count > 0 && count % size == 0; };
    QTRY_VERIFY(sendsFramesOf(64 * 48));
    camera->lie(u"GRAY8:40x26@30"_s);
    QTRY_VERIFY(sendsFramesOf(40 * 26));
}

void CameraRigTest::refusesReaders()
{
    CameraRig rig;
    const auto camera = rig.addCamera({});
    camera->refuse();
    CameraReader reader(u"cam.a"_s, toOutput());
    QTRY_COMPARE(camera->links(), 1);
    QVERIFY(!reader.process().waitForReadyRead(300));
}

void CameraRigTest::isListedUntilUnplugged()
{
    QElapsedTimer timer;
    timer.start();
    CameraRig rig;
    qInfo("Ready within %lld ms", timer.elapsed());
    const auto listed = [] { return CameraRig::output(u"pw-cli"_s, { u"ls"_s, u"Node"_s }); };
    QVERIFY(!listed().contains("cam.a"));
    const auto camera = rig.addCamera({});
    QVERIFY(listed().contains("cam.a"));
    camera->unplug();
    QTRY_VERIFY(!listed().contains("cam.a"));
}

VELLUMCAP_TEST(CameraRigTest)
#include "tst_camerarig.moc"
