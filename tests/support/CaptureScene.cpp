#include "tests/support/CaptureScene.h"

#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/SampleBuffer.h"
#include "tests/support/TestMain.h"

#include <QPainter>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace support {

QImage quarters(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    QPainter painter(&picture);
    const QRect quarter(QPoint(0, 0), size / 2);
    painter.fillRect(quarter, QColor(200, 30, 30));
    painter.fillRect(quarter.translated(quarter.width(), 0), QColor(30, 200, 30));
    painter.fillRect(quarter.translated(0, quarter.height()), QColor(30, 30, 200));
    painter.fillRect(quarter.translated(quarter.width(), quarter.height()), QColor(90, 90, 90));
    return picture;
}

QString wrongQuarter(const QImage& seen, const QImage& expected)
{
    for (const QPoint eighths : { QPoint(1, 1), QPoint(7, 1), QPoint(1, 7), QPoint(7, 7) }) {
        const auto at = [eighths](const QImage& image) {
            return image.pixelColor(
                image.width() * eighths.x() / 8, image.height() * eighths.y() / 8);
        };
        const QColor is = at(seen);
        const QColor should = at(expected);
        const int off = std::max({ qAbs(is.red() - should.red()), qAbs(is.green() - should.green()),
            qAbs(is.blue() - should.blue()) });
        if (off > 12) {
            return u"%1 instead of %2"_s.arg(is.name(), should.name());
        }
    }
    return {};
}

CameraWish smallCamera(const QString& encoding)
{
    return { .size = { 640, 480 }, .encoding = encoding };
}

FrameWatcher::FrameWatcher(std::function<void()> act)
    : m_act(std::move(act))
{
}

void FrameWatcher::didOutputSampleBuffer(const platform::SampleBuffer& frame)
{
    {
        const std::lock_guard lock(m_mutex);
        m_sequences.append(frame.sequence());
        m_pixels = frame.pixels();
    }
    if (m_act) {
        m_act();
    }
}

qsizetype FrameWatcher::count() const
{
    const std::lock_guard lock(m_mutex);
    return m_sequences.size();
}

QList<quint64> FrameWatcher::sequences() const
{
    const std::lock_guard lock(m_mutex);
    return m_sequences;
}

QImage FrameWatcher::pixels() const
{
    const std::lock_guard lock(m_mutex);
    return m_pixels;
}

void FrameWatcher::forget()
{
    const std::lock_guard lock(m_mutex);
    m_sequences.clear();
    m_pixels = {};
}

CaptureScene::CaptureScene(const QString& camera, std::function<void()> act)
    : watcher(std::make_shared<FrameWatcher>(std::move(act)))
{
    session->addInput(
        platform::CaptureDeviceInput::create(platform::CaptureDevice::deviceWithUniqueID(camera)));
    output->setSampleBufferDelegate(watcher, queue);
    session->addOutput(output);
    session->setInterruptionObserver([this] { interruptions.append(session->interruption()); });
}

bool CaptureScene::start() const
{
    const qsizetype before = watcher->count();
    session->startRunning();
    return QTest::qWaitFor([this, before] { return watcher->count() > before; }, patience);
}

} // namespace support
