// soak_scanning [MINUTES]: runs the program on the offscreen platform, by default for ten minutes,
// and scans one code after the other with a 1080p30 camera. Exits with 1 when a code is not
// offered, when frames arrive out of order, when memory grows by more than 5 %, or when a thread or
// a link is left behind. A slow examination may offer an earlier code again; that is counted and
// skipped.

#include "camera/CaptureWindow.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoDataOutput.h"
#include "platform/camera/SampleBuffer.h"
#include "platform/camera/SampleBufferDelegate.h"
#include "platform/services/Dispatch.h"
#include "platform/ui/Application.h"
#include "platform/ui/ImageView.h"
#include "tests/support/CameraRig.h"
#include "tests/support/Controls.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/Pictures.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Threads.h"

#include <QElapsedTimer>
#include <QFile>
#include <QPainter>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <future>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using platform::CaptureDevice;

constexpr QSize frameSize(1920, 1080);
constexpr int savedEvery = 10; // codes
constexpr int patience = 20000; // milliseconds
constexpr double growthAllowed = 0.05;

// The number of a picture is written along its upper edge as bits: black squares are ones.
constexpr int markBits = 20;
constexpr int markSide = 24;

QRect mark(int bit)
{
    return { 8 + bit * markSide, 8, markSide, markSide };
}

int markedNumber(const QImage& picture)
{
    int number = 0;
    for (int bit = 0; bit < markBits; ++bit) {
        number |= qGray(picture.pixel(mark(bit).center())) < 128 ? 1 << bit : 0;
    }
    return number;
}

QImage paperWith(int number)
{
    QImage paper = support::plainPicture(frameSize, QColor(225, 225, 225));
    const QImage code = support::drawnCode(platform::Symbology::Qr, u"code %1"_s.arg(number), 8);
    // At varying places.
    const int x = 100 + number * 137 % (frameSize.width() - code.width() - 200);
    const int y = 100 + number * 61 % (frameSize.height() - code.height() - 200);
    QPainter painter(&paper);
    painter.drawImage(x, y, code);
    for (int bit = 0; bit < markBits; ++bit) {
        painter.fillRect(mark(bit), (number >> bit & 1) != 0 ? Qt::black : Qt::white);
    }
    return paper;
}

/// Checks the order of the frames of a session by their sequence numbers and their pictures, at an
/// output of its own besides that of the window.
class FrameOrder : public platform::SampleBufferDelegate {
public:
    /// The sequence numbers start again at one. Main thread, while the session is stopped.
    void expectRun(platform::SerialQueue& queue)
    {
        std::promise<void> handled;
        queue.async([&handled] { handled.set_value(); });
        handled.get_future().wait();
        ++m_runs;
    }

    void didOutputSampleBuffer(const platform::SampleBuffer& frame) override
    {
        const int run = m_runs;
        const int number = markedNumber(frame.pixels());
        if ((run == m_lastRun && frame.sequence() <= m_lastSequence) || number < m_lastNumber) {
            std::printf("frame %llu of run %d with picture %d after frame %llu of run %d with "
                        "picture %d\n",
                frame.sequence(), run, number, m_lastSequence, m_lastRun, m_lastNumber.load());
            ++m_outOfOrder;
        }
        m_lastRun = run;
        m_lastSequence = frame.sequence();
        m_lastNumber = number;
        ++m_frames;
    }

    int frames() const { return m_frames; }
    int outOfOrder() const { return m_outOfOrder; }
    int lastNumber() const { return m_lastNumber; }

private:
    std::atomic<int> m_runs = 1;
    std::atomic<int> m_frames = 0;
    std::atomic<int> m_outOfOrder = 0;
    std::atomic<int> m_lastNumber = 0;
    int m_lastRun = 1; // this and the following: on the queue only
    quint64 m_lastSequence = 0;
};

double residentMegabytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QFile::ReadOnly)) {
        return 0;
    }
    const double pages = file.readAll().split(' ').value(1).toDouble();
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

qsizetype threads()
{
    return support::threadNames().size();
}

bool fail(const char* what, double figure)
{
    std::printf("FAILED: %s (%.1f)\n", what, figure);
    return false;
}

class Soak {
public:
    explicit Soak(int minutes)
        : m_milliseconds(static_cast<qint64>(minutes) * 60 * 1000)
    {
    }

    bool run();

private:
    bool scan(vellumcap::CaptureWindow& window);
    bool offer(vellumcap::CaptureWindow& window);
    void resume(vellumcap::CaptureWindow& window, bool saving = false);
    void checkOrder(vellumcap::CaptureWindow& window);
    void report(const char* when) const;

    const qint64 m_milliseconds;
    QElapsedTimer m_clock;
    support::CameraRig m_rig;
    std::unique_ptr<support::RigCamera> m_camera;
    int m_number = 0;
    int m_late = 0; // earlier codes that were offered again
    std::shared_ptr<platform::SerialQueue> m_queue
        = std::make_shared<platform::SerialQueue>("order");
    std::shared_ptr<FrameOrder> m_order = std::make_shared<FrameOrder>();
};

void Soak::report(const char* when) const
{
    std::printf("%-8s %6.1f s  %6d codes, %d late  %7d frames in order  %7.1f MB  %3d threads\n",
        when, static_cast<double>(m_clock.elapsed()) / 1000, m_number, m_late, m_order->frames(),
        residentMegabytes(), static_cast<int>(threads()));
    std::fflush(stdout);
}

bool Soak::run()
{
    support::CameraWish wish{ u"soak"_s, u"Camera"_s };
    wish.size = frameSize;
    m_camera = m_rig.addCamera(wish);
    const bool listed = QTest::qWaitFor(
        [] { return CaptureDevice::deviceWithUniqueID(u"soak"_s).has_value(); }, patience);
    if (!listed) {
        return fail("the camera is not listed", 0);
    }
    support::Program program;
    // A first, short scan starts the threads that live as long as the program.
    program.journal().scan();
    m_camera->show(paperWith(m_number));
    if (!offer(*program.journal().captureWindow())) {
        return false;
    }
    program.journal().captureWindow()->cancelCapture();
    const bool released = QTest::qWaitFor([this] { return m_camera->links() == 0; }, patience);
    if (!released) {
        return fail("links after the first scan", m_camera->links());
    }
    const auto before = threads();

    m_camera->show(
        support::plainPicture(frameSize, Qt::white)); // else the code would be offered again
    m_clock.start();
    program.journal().scan();
    const bool scanned = scan(*program.journal().captureWindow());
    program.journal().captureWindow()->cancelCapture();
    if (!scanned) {
        return false;
    }
    if (!QTest::qWaitFor([this] { return m_camera->links() == 0; }, patience)) {
        return fail("links after the scan", m_camera->links());
    }
    // A thread of Qt's own pool ends after it has been idle for half a minute.
    if (!QTest::qWaitFor([before] { return threads() <= before; }, 3 * patience)) {
        for (const QString& name : support::threadNames()) {
            std::printf("thread   %s\n", qPrintable(name));
        }
        return fail("threads left behind", static_cast<double>(threads() - before));
    }
    report("end");
    return true;
}

/// Waits until the code that is being shown is offered.
bool Soak::offer(vellumcap::CaptureWindow& window)
{
    const QString shown = u"code %1"_s.arg(m_number);
    for (;;) {
        const bool offered = QTest::qWaitFor(
            [&window] {
                return support::control<QWidget>(window, "capturedImageView")->isVisible();
            },
            patience);
        if (!offered) {
            return fail("not read: code", m_number);
        }
        if (window.captureData() == shown) {
            return true;
        }
        ++m_late;
        resume(window);
    }
}

void Soak::resume(vellumcap::CaptureWindow& window, bool saving)
{
    m_order->expectRun(*m_queue);
    if (saving) {
        window.saveCapture();
    } else {
        window.skipCapture();
    }
}

void Soak::checkOrder(vellumcap::CaptureWindow& window)
{
    const auto output = std::make_shared<platform::CaptureVideoDataOutput>();
    output->setSampleBufferDelegate(m_order, m_queue);
    window.mCaptureSession()->addOutput(output);
}

bool Soak::scan(vellumcap::CaptureWindow& window)
{
    checkOrder(window);
    double firstHalf = 0; // MB at most
    double secondHalf = 0;
    qint64 nextReport = 0;
    while (m_clock.elapsed() < m_milliseconds) {
        m_camera->show(paperWith(++m_number));
        if (!offer(window)) {
            return false;
        }
        if (m_order->outOfOrder() > 0) {
            return fail("frames out of order", m_order->outOfOrder());
        }
        resume(window, m_number % savedEvery == 0);
        double& most = m_clock.elapsed() < m_milliseconds / 2 ? firstHalf : secondHalf;
        most = std::max(most, residentMegabytes());
        if (m_clock.elapsed() >= nextReport) {
            report("soaking");
            nextReport += 30000;
        }
    }
    // Else the order was not checked.
    if (m_order->frames() < m_number || m_order->lastNumber() < m_number - 1) {
        return fail("frames seen", m_order->frames());
    }
    std::printf("memory: at most %.1f MB in the first half, %.1f MB in the second\n", firstHalf,
        secondHalf);
    return secondHalf <= firstHalf * (1 + growthAllowed) || fail("memory grew to MB", secondHalf);
}

} // namespace

int main(int argc, char** argv)
{
    const support::Sandbox sandbox;
    const platform::Application application(argc, argv);
    const int minutes = argc > 1 ? QByteArray(argv[1]).toInt() : 10;
    return Soak(std::max(1, minutes)).run() ? 0 : 1;
}
