#include "tests/support/CameraRig.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>
#include <QPainter>

using Qt::StringLiterals::operator""_s;

using support::CameraRig;

/// Judges the rig by an ordinary program that watches, before others trust it.
class CameraRigTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void sendsWhatItShows_data();
    void sendsWhatItShows();
    void freezesAndThaws();
    void sendsWhatWasAgreedOn_data();
    void sendsWhatWasAgreedOn();
    void changesItsFormat();
    void changesItsFormatWhileItIsWatched_data();
    void changesItsFormatWhileItIsWatched();
    void lies();
    void refuses();
    void comesAndGoes();
};

namespace {

/// A reader of GStreamer's that writes its frames as BGRx to its standard output.
void watch(QProcess& reader, const QString& name, const QStringList& between)
{
    CameraRig::start(reader, u"gst-launch-1.0"_s,
        QStringList{ u"-q"_s, u"pipewiresrc"_s, u"always-copy=true"_s, u"target-object="_s + name }
            + between
            + QStringList{ u"!"_s, u"videoconvert"_s, u"!"_s, u"video/x-raw,format=BGRx"_s, u"!"_s,
                u"fdsink"_s, u"fd=1"_s });
}

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
        QTest::newRow(raw) << QStringList{ u"!"_s,
            u"video/x-raw,format=%1,width=640,height=480,framerate=30/1"_s.arg(
                QString::fromLatin1(raw)) };
    }
    QTest::newRow("JPEG") << QStringList{ u"!"_s,
        u"image/jpeg,width=640,height=480,framerate=30/1"_s, u"!"_s, u"jpegdec"_s };
}

void CameraRigTest::sendsWhatItShows()
{
    QFETCH(QStringList, between);
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .size = { 640, 480 },
        .encoding = QString::fromLatin1(QTest::currentDataTag()) });
    const QColor color(180, 90, 40);
    camera->show(support::plainPicture(QSize(640, 480), color));
    QProcess reader;
    watch(reader, u"cam.a"_s, between);
    QTRY_VERIFY_WITH_TIMEOUT(reader.bytesAvailable() >= 640 * 480 * 4, 20000);
    const QColor seen = colorOf(reader);
    QVERIFY2(isNear(seen, color), qPrintable(seen.name()));
    QCOMPARE(camera->links(), 1);
    reader.kill();
    reader.waitForFinished();
    QTRY_COMPARE(camera->links(), 0);
}

void CameraRigTest::freezesAndThaws()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .size = { 64, 48 },
        .encoding = u"BGRx"_s });
    QProcess reader;
    watch(reader, u"cam.a"_s, {});
    QTRY_VERIFY_WITH_TIMEOUT(reader.bytesAvailable() > 0, 20000);
    camera->freeze();
    // What was on its way arrives, late where the machine is slow.
    constexpr qint64 onItsWay = 20 * 64 * 48 * 4;
    qint64 received = 0;
    while (received < onItsWay && reader.waitForReadyRead(300)) {
        received += reader.readAllStandardOutput().size();
    }
    QVERIFY(received < onItsWay);
    QCOMPARE(camera->links(), 1);
    camera->thaw();
    QVERIFY(reader.waitForReadyRead(20000));
    reader.kill();
    reader.waitForFinished();
}

void CameraRigTest::sendsWhatWasAgreedOn_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QSize>("size");
    QTest::newRow("the preferred format") << "BGRx" << QSize(64, 48);
    QTest::newRow("another size") << "BGRx" << QSize(32, 24);
    QTest::newRow("another encoding") << "YUY2" << QSize(80, 60);
}

void CameraRigTest::sendsWhatWasAgreedOn()
{
    QFETCH(const QString, encoding);
    QFETCH(const QSize, size);
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .size = { 64, 48 },
        .encoding = u"BGRx"_s,
        .furtherModes = { u"BGRx:32x24@30"_s, u"YUY2:80x60@30"_s } });
    const QColor left(180, 90, 40);
    const QColor right(40, 90, 180);
    QImage picture = support::plainPicture(size, left);
    QPainter(&picture).fillRect(size.width() / 2, 0, size.width() / 2, size.height(), right);
    camera->show(picture);
    QProcess reader;
    watch(reader, u"cam.a"_s,
        { u"!"_s,
            u"video/x-raw,format=%1,width=%2,height=%3,framerate=30/1"_s.arg(encoding)
                .arg(size.width())
                .arg(size.height()) });
    QTRY_VERIFY_WITH_TIMEOUT(reader.bytesAvailable() >= size.width() * 4, 20000);
    const QColor first = colorOf(reader);
    QVERIFY2(isNear(first, left), qPrintable(first.name()));
    reader.read((size.width() - 2) * 4);
    const QColor last = colorOf(reader);
    QVERIFY2(isNear(last, right), qPrintable(last.name()));
    reader.kill();
    reader.waitForFinished();
}

void CameraRigTest::changesItsFormat()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .size = { 64, 48 },
        .encoding = u"BGRx"_s });
    const auto readSize = [](int width) {
        return QStringList{ u"!"_s, u"video/x-raw,width=%1"_s.arg(width) };
    };
    QProcess before;
    watch(before, u"cam.a"_s, readSize(64));
    QTRY_VERIFY_WITH_TIMEOUT(before.bytesAvailable() > 0, 20000);
    before.kill();
    before.waitForFinished();
    QTRY_COMPARE(camera->links(), 0);
    camera->setModes({ u"BGRx:32x24@30"_s });
    QProcess after;
    watch(after, u"cam.a"_s, readSize(32));
    QTRY_VERIFY_WITH_TIMEOUT(after.bytesAvailable() > 0, 20000);
    after.kill();
    after.waitForFinished();
}

void CameraRigTest::changesItsFormatWhileItIsWatched_data()
{
    QTest::addColumn<bool>("stays");
    QTest::newRow("goes and returns") << false;
    QTest::newRow("stays") << true;
}

void CameraRigTest::changesItsFormatWhileItIsWatched()
{
    QFETCH(const bool, stays);
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .size = { 64, 48 },
        .encoding = u"BGRx"_s });
    const auto numbers = [] {
        QStringList result;
        const auto nodes = CameraRig::output(u"pw-cli"_s, { u"ls"_s, u"cam.a"_s });
        for (const QByteArray& line : nodes.split('\n')) {
            if (line.contains("object.serial")) {
                result.append(QString::fromLatin1(line.trimmed()));
            }
        }
        return result;
    };
    const auto readSize = [](int width) {
        return QStringList{ u"!"_s, u"video/x-raw,width=%1"_s.arg(width) };
    };
    const QStringList before = numbers();
    QCOMPARE(before.size(), 1);
    QProcess first;
    watch(first, u"cam.a"_s, readSize(64));
    QTRY_VERIFY_WITH_TIMEOUT(first.bytesAvailable() > 0, 20000);
    const QString mode = u"BGRx:32x24@30"_s;
    if (stays) {
        camera->renegotiate({ mode });
    } else {
        camera->setModes({ mode });
    }
    QCOMPARE(numbers() == before, stays);
    first.kill();
    first.waitForFinished();
    QProcess second;
    watch(second, u"cam.a"_s, readSize(32));
    QTRY_VERIFY_WITH_TIMEOUT(second.bytesAvailable() > 0, 20000);
    second.kill();
    second.waitForFinished();
}

void CameraRigTest::lies()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .size = { 64, 48 },
        .encoding = u"GRAY8"_s });
    QProcess reader;
    CameraRig::start(reader, u"gst-launch-1.0"_s,
        { u"-q"_s, u"pipewiresrc"_s, u"always-copy=true"_s, u"target-object=cam.a"_s, u"!"_s,
            u"video/x-raw,format=GRAY8,width=64,height=48,framerate=30/1"_s, u"!"_s, u"fdsink"_s,
            u"fd=1"_s });
    qint64 count = 0; // of the bytes that came last: some frames, each of which is written at once
    connect(&reader, &QProcess::readyReadStandardOutput, this,
        [&] { count = reader.readAllStandardOutput().size(); });
    const auto sendsFramesOf = [&count](qint64 size) { return count > 0 && count % size == 0; };
    QTRY_VERIFY_WITH_TIMEOUT(sendsFramesOf(64 * 48), 20000);
    camera->lie(u"GRAY8:40x26@30"_s);
    QTRY_VERIFY_WITH_TIMEOUT(sendsFramesOf(40 * 26), 20000);
    reader.kill();
    reader.waitForFinished();
}

void CameraRigTest::refuses()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = u"cam.a"_s, .description = u"Camera A"_s });
    camera->refuse();
    QProcess reader;
    watch(reader, u"cam.a"_s, {});
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 1, 20000);
    QVERIFY(!reader.waitForReadyRead(300));
    reader.kill();
    reader.waitForFinished();
}

void CameraRigTest::comesAndGoes()
{
    QElapsedTimer timer;
    timer.start();
    CameraRig rig;
    qInfo("Ready within %lld ms", timer.elapsed());
    const auto listed = [] { return CameraRig::output(u"pw-cli"_s, { u"ls"_s, u"Node"_s }); };
    QVERIFY(!listed().contains("cam.a"));
    const auto camera = rig.addCamera({ .name = u"cam.a"_s, .description = u"Camera A"_s });
    QVERIFY(listed().contains("cam.a"));
    camera->unplug();
    QTRY_VERIFY(!listed().contains("cam.a"));
}

VELLUMCAP_TEST(CameraRigTest)
#include "tst_camerarig.moc"
