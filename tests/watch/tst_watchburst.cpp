#include "platform/services/StandardFolders.h"
#include "platform/services/UserDefaults.h"
#include "tests/support/Controls.h"
#include "tests/support/Pictures.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"
#include "watch/WatchWindow.h"

#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QTimer>

using namespace Qt::StringLiterals;

using platform::UserDefaults;
using support::CameraRig;
using support::Program;

namespace {

QString codeText(int number)
{
    return u"code %1"_s.arg(number);
}

/// Measures the longest time in which the event loop handled no timer event.
class Latency : public QObject {
public:
    Latency()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_clock.start();
        connect(&m_timer, &QTimer::timeout, this,
            [this] { m_worst = std::max(m_worst, m_clock.restart() - interval); });
        m_timer.start(interval);
    }
    qint64 worst() const { return m_worst; } ///< ms

private:
    static constexpr int interval = 5; // ms
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_worst = 0;
};

} // namespace

/// Shows two hundred codes in quick succession. Each is stored and passed to a script.
class WatchBurst : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void losesNothing();
};

void WatchBurst::losesNothing()
{
    constexpr int codes = 200;
    const QDir scripts(
        platform::StandardFolders::applicationScripts(platform::StandardFolders::Creation::Yes));
    const QString told = scripts.filePath(u"told.txt"_s);
    support::writeFile(scripts.filePath(u"record.scpt"_s),
        u"function scanned_code(text)\n"
        "  local file = assert(io.open('%1', 'a'))\n"
        "  file:write(text .. '\\n')\n"
        "  file:close()\n"
        "end\n"_s.arg(told)
            .toUtf8());
    UserDefaults::standard().setBool(u"watch-saveCapture"_s, true);
    UserDefaults::standard().setBool(u"watch-runAppleScript"_s, true);
    CameraRig rig;
    auto wish = support::cameraNamed(u"a"_s);
    wish.rate = 60;
    const auto camera = support::plugIn(rig, wish);
    Program program;
    program.journal().watch(QVariantMap{ { u"ScriptName"_s, u"record.scpt"_s } });
    auto& window = *program.journal().watchWindow();
    QTRY_COMPARE(
        support::control<QComboBox>(window, "appleScriptMenu")->currentText(), u"record.scpt"_s);
    const auto isTold = [&told](const QString& text) {
        QFile file(told);
        return file.open(QFile::ReadOnly) && file.readAll().contains(text.toUtf8() + '\n');
    };
    const Latency latency;
    QElapsedTimer clock;
    clock.start();

    // Each is replaced when the window and the script have its text.
    for (int number = 0; number < codes; ++number) {
        camera->show(support::paper(codeText(number)));
        QTRY_COMPARE(support::shownText(window), codeText(number));
        QTRY_VERIFY(isTold(codeText(number)));
    }
    qInfo("%d codes in %.1f s; the event loop was busy for %lld ms at most", codes,
        static_cast<double>(clock.elapsed()) / 1000, static_cast<long long>(latency.worst()));

    QStringList stored;
    for (const auto& capture : program.journal().captures()) {
        stored.prepend(capture->captureValue());
    }
    QStringList expected;
    for (int number = 0; number < codes; ++number) {
        expected.append(codeText(number));
    }
    // A reset may clear a code that is still in view, which is then handled again.
    stored.removeDuplicates();
    QCOMPARE(stored, expected);
    QCOMPARE(Program::pictures().size(), program.journal().captures().size());
    const auto toldCodes = [&told] {
        QFile file(told);
        QStringList lines = file.open(QFile::ReadOnly)
            ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
            : QStringList();
        lines.removeDuplicates();
        lines.sort();
        return lines;
    };
    expected.sort();
    QTRY_COMPARE(toldCodes(), expected);
}

VELLUMCAP_TEST(WatchBurst)
#include "tst_watchburst.moc"
