#include "tests/support/CameraRig.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>
#include <QPainter>

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
    CameraRig::start(reader, QStringLiteral("gst-launch-1.0"),
        QStringList{ QStringLiteral("-q"), QStringLiteral("pipewiresrc"),
            QStringLiteral("always-copy=true"), QStringLiteral("target-object=") + name }
            + between
            + QStringList{ QStringLiteral("!"), QStringLiteral("videoconvert"), QStringLiteral("!"),
                QStringLiteral("video/x-raw,format=BGRx"), QStringLiteral("!"),
                QStringLiteral("fdsink"), QStringLiteral("fd=1") });
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
        QTest::newRow(raw) << QStringList{ QStringLiteral("!"),
            QStringLiteral("video/x-raw,format=%1,width=640,height=480,framerate=30/1")
                .arg(QString::fromLatin1(raw)) };
    }
    QTest::newRow("JPEG") << QStringList{ QStringLiteral("!"),
        QStringLiteral("image/jpeg,width=640,height=480,framerate=30/1"), QStringLiteral("!"),
        QStringLiteral("jpegdec") };
}

void CameraRigTest::sendsWhatItShows()
{
    QFETCH(QStringList, between);
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = QStringLiteral("cam.a"),
        .description = QStringLiteral("Camera A"),
        .size = { 640, 480 },
        .encoding = QString::fromLatin1(QTest::currentDataTag()) });
    const QColor color(180, 90, 40);
    camera->show(support::plainPicture(QSize(640, 480), color));
    QProcess reader;
    watch(reader, QStringLiteral("cam.a"), between);
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
    const auto camera = rig.addCamera({ .name = QStringLiteral("cam.a"),
        .description = QStringLiteral("Camera A"),
        .size = { 64, 48 },
        .encoding = QStringLiteral("BGRx") });
    QProcess reader;
    watch(reader, QStringLiteral("cam.a"), {});
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
    const auto camera = rig.addCamera({ .name = QStringLiteral("cam.a"),
        .description = QStringLiteral("Camera A"),
        .size = { 64, 48 },
        .encoding = QStringLiteral("BGRx"),
        .furtherModes = { QStringLiteral("BGRx:32x24@30"), QStringLiteral("YUY2:80x60@30") } });
    const QColor left(180, 90, 40);
    const QColor right(40, 90, 180);
    QImage picture = support::plainPicture(size, left);
    QPainter(&picture).fillRect(size.width() / 2, 0, size.width() / 2, size.height(), right);
    camera->show(picture);
    QProcess reader;
    watch(reader, QStringLiteral("cam.a"),
        { QStringLiteral("!"),
            QStringLiteral("video/x-raw,format=%1,width=%2,height=%3,framerate=30/1")
                .arg(encoding)
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
    const auto camera = rig.addCamera({ .name = QStringLiteral("cam.a"),
        .description = QStringLiteral("Camera A"),
        .size = { 64, 48 },
        .encoding = QStringLiteral("BGRx") });
    const auto readSize = [](int width) {
        return QStringList{ QStringLiteral("!"),
            QStringLiteral("video/x-raw,width=%1").arg(width) };
    };
    QProcess before;
    watch(before, QStringLiteral("cam.a"), readSize(64));
    QTRY_VERIFY_WITH_TIMEOUT(before.bytesAvailable() > 0, 20000);
    before.kill();
    before.waitForFinished();
    QTRY_COMPARE(camera->links(), 0);
    camera->setModes({ QStringLiteral("BGRx:32x24@30") });
    QProcess after;
    watch(after, QStringLiteral("cam.a"), readSize(32));
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
    const auto camera = rig.addCamera({ .name = QStringLiteral("cam.a"),
        .description = QStringLiteral("Camera A"),
        .size = { 64, 48 },
        .encoding = QStringLiteral("BGRx") });
    const auto numbers = [] {
        QStringList result;
        const auto nodes = CameraRig::output(
            QStringLiteral("pw-cli"), { QStringLiteral("ls"), QStringLiteral("cam.a") });
        for (const QByteArray& line : nodes.split('\n')) {
            if (line.contains("object.serial")) {
                result.append(QString::fromLatin1(line.trimmed()));
            }
        }
        return result;
    };
    const auto readSize = [](int width) {
        return QStringList{ QStringLiteral("!"),
            QStringLiteral("video/x-raw,width=%1").arg(width) };
    };
    const QStringList before = numbers();
    QCOMPARE(before.size(), 1);
    QProcess first;
    watch(first, QStringLiteral("cam.a"), readSize(64));
    QTRY_VERIFY_WITH_TIMEOUT(first.bytesAvailable() > 0, 20000);
    const QString mode = QStringLiteral("BGRx:32x24@30");
    if (stays) {
        camera->renegotiate({ mode });
    } else {
        camera->setModes({ mode });
    }
    QCOMPARE(numbers() == before, stays);
    first.kill();
    first.waitForFinished();
    QProcess second;
    watch(second, QStringLiteral("cam.a"), readSize(32));
    QTRY_VERIFY_WITH_TIMEOUT(second.bytesAvailable() > 0, 20000);
    second.kill();
    second.waitForFinished();
}

void CameraRigTest::lies()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .name = QStringLiteral("cam.a"),
        .description = QStringLiteral("Camera A"),
        .size = { 64, 48 },
        .encoding = QStringLiteral("GRAY8") });
    QProcess reader;
    CameraRig::start(reader, QStringLiteral("gst-launch-1.0"),
        { QStringLiteral("-q"), QStringLiteral("pipewiresrc"), QStringLiteral("always-copy=true"),
            QStringLiteral("target-object=cam.a"), QStringLiteral("!"),
            QStringLiteral("video/x-raw,format=GRAY8,width=64,height=48,framerate=30/1"),
            QStringLiteral("!"), QStringLiteral("fdsink"), QStringLiteral("fd=1") });
    qint64 count = 0; // of the bytes that came last: some frames, each of which is written at once
    connect(&reader, &QProcess::readyReadStandardOutput, this,
        [&] { count = reader.readAllStandardOutput().size(); });
    const auto sendsFramesOf = [&count](qint64 size) { return count > 0 && count % size == 0; };
    QTRY_VERIFY_WITH_TIMEOUT(sendsFramesOf(64 * 48), 20000);
    camera->lie(QStringLiteral("GRAY8:40x26@30"));
    QTRY_VERIFY_WITH_TIMEOUT(sendsFramesOf(40 * 26), 20000);
    reader.kill();
    reader.waitForFinished();
}

void CameraRigTest::refuses()
{
    CameraRig rig;
    const auto camera = rig.addCamera(
        { .name = QStringLiteral("cam.a"), .description = QStringLiteral("Camera A") });
    camera->refuse();
    QProcess reader;
    watch(reader, QStringLiteral("cam.a"), {});
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
    const auto listed = [] {
        return CameraRig::output(
            QStringLiteral("pw-cli"), { QStringLiteral("ls"), QStringLiteral("Node") });
    };
    QVERIFY(!listed().contains("cam.a"));
    const auto camera = rig.addCamera(
        { .name = QStringLiteral("cam.a"), .description = QStringLiteral("Camera A") });
    QVERIFY(listed().contains("cam.a"));
    camera->unplug();
    QTRY_VERIFY(!listed().contains("cam.a"));
}

VELLUMCAP_TEST_MAIN(CameraRigTest)
#include "tst_camerarig.moc"
