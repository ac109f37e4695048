// Threads: std
#include "platform/barcode/isolation/DecoderLimits.h"
#include "platform/barcode/isolation/DecoderMessages.h"
#include "platform/barcode/isolation/DecoderPool.h"
#include "tests/platform/barcode/Misdeed.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>

#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;
using platform::Detection;
using platform::LiveFrame;
using platform::Symbology;
using platform::decoder::isSanitized;
using platform::decoder::Pool;
using support::drawnCode;

namespace {

// A good picture can exceed this limit on a busy machine, so the tests try it again.
constexpr auto hangLimit = 1500ms * platform::decoder::slowness;
constexpr auto noLimit = 10min;

QString sibling(const char* program)
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(QString::fromLatin1(program));
}

Pool::Settings honest(int decoders = 1)
{
    return { .executable = sibling("vellumcap-decoder"), .decoders = decoders };
}

Pool::Settings misbehaving(std::chrono::milliseconds limit = noLimit)
{
    return { .executable = sibling("misbehaving_decoder"),
        .decoders = 1,
        .stillLimit = limit,
        .liveLimit = limit };
}

Pool::Settings limitedBy(std::chrono::milliseconds failureInterval)
{
    auto settings = misbehaving();
    settings.failureInterval = failureInterval;
    return settings;
}

QImage pictureThat(Misdeed misdeed)
{
    QImage picture(40, 30, QImage::Format_Grayscale8);
    picture.fill(static_cast<uint>(misdeed));
    return picture;
}

QImage codeFor(const QString& text)
{
    return drawnCode(Symbology::Qr, text).convertToFormat(QImage::Format_Grayscale8);
}

QString textOf(const std::optional<Detection>& detection)
{
    return detection && !detection->codes.isEmpty()
        ? detection->codes.first().payloadStringValue.value_or(u"(no text)"_s)
        : QString();
}

QString outcome(Pool& pool, Misdeed misdeed)
{
    return textOf(pool.detect(pictureThat(misdeed), std::nullopt));
}

const auto wellBehaved = u"well behaved"_s;

/// The fields of /proc/PID/stat from the state on. Empty when there is no such process.
QList<QByteArray> statusFields(pid_t pid)
{
    QFile file(u"/proc/%1/stat"_s.arg(pid));
    if (!file.open(QFile::ReadOnly)) {
        return {};
    }
    const QByteArray line = file.readAll();
    return line.mid(line.lastIndexOf(')') + 2).split(' ');
}

QList<pid_t> childProcesses(pid_t parent = ::getpid())
{
    QList<pid_t> children;
    for (const QString& name : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        const pid_t pid = name.toInt();
        const auto fields = pid > 0 ? statusFields(pid) : QList<QByteArray>();
        if (fields.size() > 1 && fields.at(1).toInt() == parent) {
            children.append(pid);
        }
    }
    return children;
}

/// Waits for the only decoder.
pid_t theDecoder()
{
    return QTest::qWaitFor([] { return childProcesses().size() == 1; }, support::patience)
        ? childProcesses().first()
        : -1;
}

/// Waits until the process has used more processor time than any picture of these tests takes.
bool waitUntilItHangs(pid_t pid)
{
    const auto ticks = [pid] {
        const auto fields = statusFields(pid);
        return fields.value(11).toInt() + fields.value(12).toInt(); // in user and kernel mode
    };
    constexpr int enough = 20;
    return QTest::qWaitFor(
        [&, begin = ticks()] { return ticks() >= begin + enough; }, support::patience);
}

bool hasEnded(pid_t pid)
{
    const QByteArray state = statusFields(pid).value(0);
    return state.isEmpty() || state == "Z" || state == "X";
}

void expectLog(const char* pattern)
{
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QString::fromLatin1(pattern)));
}

constexpr auto killed = "^The decoder was ended by signal 9 \\(Killed\\); its picture counts as "
                        "having no code$";
constexpr auto late = "^The decoder gave no answer in time; its picture counts as having no code$";

void failFiveTimes(Pool& pool)
{
    for (int frame = 0; frame < 5; ++frame) {
        expectLog("^The decoder left with status 3; its picture counts as having no code$");
        pool.detect(pictureThat(Misdeed::Leave), LiveFrame());
    }
}

} // namespace

class DecoderPoolTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup();
    void readsLikeTheDetectorInThisProcess_data();
    void readsLikeTheDetectorInThisProcess();
    void readsPicturesOfEverySize();
    void readsLiveFrames();
    void keepsItsDecoder();
    void keepsADecoderThatAnotherThreadStarted();
    void servesManyThreads();
    void outlivesAKilledDecoder();
    void outlivesADecoderKilledAtWork();
    void outlivesAStoppedDecoder();
    void outlivesADecoderWithoutMemory();
    void outlivesADecoderWithoutTime();
    void outlivesEveryFault_data();
    void outlivesEveryFault();
    void takesOneAnswerAndNoDescriptor();
    void cannotReachOutOfTheSandbox_data();
    void cannotReachOutOfTheSandbox();
    void endsADecoderThatMakesAForbiddenCall_data();
    void endsADecoderThatMakesAForbiddenCall();
    void confinesTheRealDecoder();
    void limitsRestartsAfterFailures();
    void letsAStillPictureWait();
    void reportsAMissingDecoder();
    void reportsADecoderThatDoesNotStart();
    void givesUpOnAnotherProgram_data();
    void givesUpOnAnotherProgram();
    void finishesAtOnce();
    void endsWithTheProgram();
};

void DecoderPoolTest::cleanup()
{
    QVERIFY2(childProcesses().isEmpty(), "a decoder has outlived its pool, or was not reaped");
}

void DecoderPoolTest::readsLikeTheDetectorInThisProcess_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::addColumn<bool>("hasText");
    const auto row
        =
            [](const char* name, Symbology symbology, const auto& content, bool hasText) {
                QTest::newRow(name)
                    << drawnCode(symbology, content).convertToFormat(QImage::Format_Grayscale8)
                    << hasText;
            };

    row("plain", Symbology::Qr, u"https://example.org/"_s, true);
    row("umlauts", Symbology::Qr, u"Grüße aus Köln"_s, true);
    row("Japanese", Symbology::Qr, u"日本語のテキスト"_s, true);
    row("accents", Symbology::Aztec, u"un café naïf"_s, true);
    row("beyond the basic plane", Symbology::Qr, u"Hi \U0001F600!"_s, true);
    row("null character", Symbology::Qr, QString(u"a"_s + QChar(0) + u'b'), true);
    row("controls", Symbology::Qr, u"a\u001Db\r\n\u0004"_s, true);
    row("long", Symbology::Qr, QString(2000, u'x'), true);
    row("long digits", Symbology::Qr, QString(5000, u'7'), true);
    row("Latin bytes", Symbology::Qr, QByteArray("caf\xE9"), true);
    row("no text", Symbology::Qr, QByteArray("\x78\x9C\xC5\x99\x5B\x8F\x9A\x40\x14", 9), false);
    row("Code 128", Symbology::Code128, u"Code 128"_s, true);
    row("EAN-13", Symbology::Ean13, u"4006381333931"_s, true);
}

void DecoderPoolTest::readsLikeTheDetectorInThisProcess()
{
    QFETCH(QImage, picture);
    QFETCH(bool, hasText);
    Pool pool(honest());

    const auto here = platform::detectCodes(picture, std::nullopt);
    const auto there = pool.detect(picture, std::nullopt);

    QVERIFY(here && there);
    QCOMPARE(there->codes.size(), here->codes.size());
    QCOMPARE(there->codes.size(), 1);
    const auto& code = there->codes.first();
    QCOMPARE(code.payloadStringValue, here->codes.first().payloadStringValue);
    QCOMPARE(code.payloadStringValue.has_value(), hasText);
    QCOMPARE(code.symbology, here->codes.first().symbology);
    QCOMPARE(code.corners, here->codes.first().corners);
    QCOMPARE(there->located, here->located);
}

void DecoderPoolTest::readsPicturesOfEverySize()
{
    Pool pool(honest());
    const QImage code = codeFor(u"any size"_s);
    // Growing and shrinking, within the memory that is kept and beyond it.
    for (const QSize size : { QSize(161, 163), QSize(1921, 1081), QSize(301, 201),
             QSize(9001, 4001), QSize(300, 200), QSize(1, 1), QSize(1023, 1025) }) {
        const bool hasRoom = size.width() > code.width() && size.height() > code.height();
        QImage picture(size, QImage::Format_Grayscale8);
        picture.fill(0xff);
        for (int y = 0; hasRoom && y < code.height(); ++y) {
            std::copy_n(code.constScanLine(y), code.width(), picture.scanLine(y));
        }
        const auto detection = pool.detect(picture, std::nullopt);
        QVERIFY(detection);
        QCOMPARE(textOf(detection), hasRoom ? u"any size"_s : QString());
    }
}

void DecoderPoolTest::readsLiveFrames()
{
    Pool pool(honest());
    const QImage frame = codeFor(u"live"_s);
    QRect located;
    QString text;
    for (quint64 number = 0; number < 20 && text.isEmpty(); ++number) {
        const auto detection = pool.detect(frame, LiveFrame{ number, located });
        QVERIFY(detection);
        located = detection->located;
        QVERIFY(located.isEmpty() || frame.rect().contains(located));
        text = textOf(detection);
    }
    QCOMPARE(text, u"live"_s);
}

void DecoderPoolTest::keepsItsDecoder()
{
    Pool pool(honest(4));
    QVERIFY(childProcesses().isEmpty());
    pool.detect(codeFor(u"first"_s), std::nullopt);
    const pid_t decoder = theDecoder();
    for (int i = 0; i < 10; ++i) {
        const QString text = QString::number(i);
        QCOMPARE(textOf(pool.detect(codeFor(text), std::nullopt)), text);
    }
    QCOMPARE(childProcesses(), QList<pid_t>{ decoder });
}

void DecoderPoolTest::keepsADecoderThatAnotherThreadStarted()
{
    Pool pool(honest());
    std::thread([&pool] { pool.detect(codeFor(u"there"_s), std::nullopt); }).join();
    const pid_t decoder = theDecoder();

    QCOMPARE(textOf(pool.detect(codeFor(u"here"_s), std::nullopt)), u"here"_s);
    QCOMPARE(childProcesses(), QList<pid_t>{ decoder });
}

void DecoderPoolTest::servesManyThreads()
{
    constexpr int threadCount = 8;
    constexpr int picturesEach = 25;
    constexpr int decoders = 3;
    Pool pool(honest(decoders));
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            for (int number = 0; number < picturesEach; ++number) {
                const QString text = u"%1 of %2"_s.arg(number).arg(thread);
                right += textOf(pool.detect(codeFor(text), std::nullopt)) == text ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(right.load(), threadCount * picturesEach);
    QVERIFY(!childProcesses().isEmpty());
    QVERIFY(childProcesses().size() <= decoders);
}

void DecoderPoolTest::outlivesAKilledDecoder()
{
    Pool pool(honest());
    pool.detect(codeFor(u"before"_s), std::nullopt);
    const pid_t first = theDecoder();
    ::kill(first, SIGKILL);
    QTRY_VERIFY(hasEnded(first));

    expectLog("^The decoder was ended by signal 9 \\(Killed\\) while it had nothing to do$");
    QCOMPARE(textOf(pool.detect(codeFor(u"after"_s), std::nullopt)), u"after"_s);
    QVERIFY(theDecoder() != first);
}

void DecoderPoolTest::outlivesADecoderKilledAtWork()
{
    Pool pool(misbehaving());
    QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
    const pid_t first = theDecoder();
    expectLog(killed);
    std::optional<Detection> detection = Detection();
    std::thread thread([&] { detection = pool.detect(pictureThat(Misdeed::Hang), std::nullopt); });
    const bool isAtWork = waitUntilItHangs(first);
    ::kill(first, SIGKILL);
    thread.join();

    QVERIFY(isAtWork);
    QVERIFY(!detection);
    QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
    QVERIFY(theDecoder() != first);
}

void DecoderPoolTest::outlivesAStoppedDecoder()
{
    auto settings = honest();
    settings.stillLimit = hangLimit;
    Pool pool(settings);
    QTRY_COMPARE(textOf(pool.detect(codeFor(u"one"_s), std::nullopt)), u"one"_s);
    const pid_t first = theDecoder();
    ::kill(first, SIGSTOP);
    QTRY_COMPARE(statusFields(first).value(0), "T");

    expectLog(late);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!pool.detect(codeFor(u"two"_s), std::nullopt));
    QVERIFY(clock.elapsed() >= std::chrono::milliseconds(hangLimit).count() - 1);
    QVERIFY(hasEnded(first));
    QTRY_COMPARE(textOf(pool.detect(codeFor(u"three"_s), std::nullopt)), u"three"_s);
}

void DecoderPoolTest::outlivesADecoderWithoutMemory()
{
    Pool pool(honest());
    pool.detect(codeFor(u"before"_s), std::nullopt);
    const pid_t first = theDecoder();
    const rlimit tiny{ 4096, 4096 };
    QCOMPARE(::prlimit(first, RLIMIT_AS, &tiny, nullptr), 0);

    // A thread of the sanitizer may reach the limit before the picture is sent.
    constexpr auto circumstance = isSanitized
        ? "(; its picture counts as having no code| while it had nothing to do)$"
        : "; its picture counts as having no code$";
    expectLog(QByteArray("^The decoder (left with status [1-9]\\d*|was ended by signal \\d+ .*)")
        + circumstance);
    QImage large(4000, 3000, QImage::Format_Grayscale8);
    large.fill(0xff);
    QVERIFY(!pool.detect(large, std::nullopt) || isSanitized);
    QCOMPARE(textOf(pool.detect(codeFor(u"after"_s), std::nullopt)), u"after"_s);
    QVERIFY(theDecoder() != first);
}

void DecoderPoolTest::outlivesADecoderWithoutTime()
{
    Pool pool(misbehaving());
    QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
    const rlimit second{ 1, 1 };
    QCOMPARE(::prlimit(theDecoder(), RLIMIT_CPU, &second, nullptr), 0);

    expectLog("^The decoder was ended by signal \\d+ .*; its picture counts");
    QCOMPARE(outcome(pool, Misdeed::Hang), QString());
    QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
}

void DecoderPoolTest::outlivesEveryFault_data()
{
    QTest::addColumn<Misdeed>("misdeed");
    QTest::addColumn<QByteArray>("reason");

    QTest::newRow("hangs") << Misdeed::Hang << QByteArray("gave no answer in time");
    QTest::newRow("hangs without a channel")
        << Misdeed::HangSilently << QByteArray("was ended by signal 9 .*");
    QTest::newRow("leaves") << Misdeed::Leave << QByteArray("left with status 3");
    if (!isSanitized) { // sanitizers handle these signals
        QTest::newRow("aborts") << Misdeed::Abort << QByteArray("was ended by signal 6 .*");
        QTest::newRow("crashes") << Misdeed::Crash << QByteArray("was ended by signal 11 .*");
    }
    const QByteArray nonsense("gave an answer that makes no sense");
    QTest::newRow("sends noise") << Misdeed::SendNoise << nonsense;
    QTest::newRow("answers another request") << Misdeed::SendAnotherNumber << nonsense;
    QTest::newRow("sends too much")
        << Misdeed::SendTooMuch << QByteArray("was ended by signal 9 .*");
}

void DecoderPoolTest::outlivesEveryFault()
{
    QFETCH(Misdeed, misdeed);
    QFETCH(QByteArray, reason);
    Pool pool(misbehaving(hangLimit));
    QTRY_COMPARE(outcome(pool, Misdeed::None), wellBehaved);

    expectLog("^The decoder " + reason + "; its picture counts as having no code$");
    QVERIFY(!pool.detect(pictureThat(misdeed), std::nullopt));
    QTRY_COMPARE(outcome(pool, Misdeed::None), wellBehaved);
}

void DecoderPoolTest::takesOneAnswerAndNoDescriptor()
{
    Pool pool(misbehaving(hangLimit));
    QTRY_COMPARE(outcome(pool, Misdeed::None), wellBehaved);
    const auto openDescriptors
        = [] { return QDir(u"/proc/self/fd"_s).entryList(QDir::System | QDir::Files); };
    const auto before = openDescriptors().size();
    QVERIFY(before > 0);

    QCOMPARE(outcome(pool, Misdeed::SendTwice), u"first"_s);
    QCOMPARE(openDescriptors().size(), before);
    expectLog("^The decoder spoke without being asked while it had nothing to do$");
    QTRY_COMPARE(statusFields(theDecoder()).value(0), "S"); // it has sent both replies
    QTRY_COMPARE(outcome(pool, Misdeed::None), wellBehaved);
}

void DecoderPoolTest::cannotReachOutOfTheSandbox_data()
{
    QTest::addColumn<Misdeed>("misdeed");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("isSandboxed"); // not with sanitizers

    QTest::newRow("open a file") << Misdeed::OpenFile << u"refused"_s << true;
    QTest::newRow("make a file") << Misdeed::MakeFile << u"refused"_s << true;
    QTest::newRow("allocate memory") << Misdeed::AllocateMemory << u"refused"_s << true;
    QTest::newRow("write pixels") << Misdeed::WritePixels << u"refused"_s << false;
    QTest::newRow("environment") << Misdeed::LookAtEnvironment << u"nothing"_s << false;
    QTest::newRow("descriptors") << Misdeed::LookForDescriptors << u"nothing"_s << false;
}

void DecoderPoolTest::cannotReachOutOfTheSandbox()
{
    QFETCH(Misdeed, misdeed);
    QFETCH(QString, expected);
    QFETCH(bool, isSandboxed);
    if (isSandboxed && isSanitized) {
        QSKIP("Sanitizers need system calls that the sandbox forbids");
    }
    // The program may have inherited such a descriptor.
    const int inherited = ::dup(STDERR_FILENO);
    QVERIFY(inherited >= 0);
    {
        Pool pool(misbehaving());
        QCOMPARE(outcome(pool, misdeed), expected);
        QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
    }
    ::close(inherited);
}

void DecoderPoolTest::endsADecoderThatMakesAForbiddenCall_data()
{
    QTest::addColumn<Misdeed>("misdeed");

    QTest::newRow("socket") << Misdeed::OpenSocket;
    QTest::newRow("fork") << Misdeed::Fork;
    QTest::newRow("exec") << Misdeed::Exec;
    QTest::newRow("thread") << Misdeed::StartThread;
    QTest::newRow("signal") << Misdeed::SignalProgram;
    QTest::newRow("trace") << Misdeed::TraceProgram;
    QTest::newRow("code") << Misdeed::MapCode;
}

void DecoderPoolTest::endsADecoderThatMakesAForbiddenCall()
{
    QFETCH(Misdeed, misdeed);
    if (isSanitized) {
        QSKIP("Sanitizers need system calls that the sandbox forbids");
    }
    Pool pool(misbehaving());

    expectLog("^The decoder was ended by signal 31 \\(Bad system call\\); its picture counts");
    QVERIFY(!pool.detect(pictureThat(misdeed), std::nullopt));
    QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
}

void DecoderPoolTest::confinesTheRealDecoder()
{
    if (isSanitized) {
        QSKIP("Sanitizers need system calls that the sandbox forbids");
    }
    Pool pool(honest());
    pool.detect(codeFor(u"confined"_s), std::nullopt);

    QFile status(u"/proc/%1/status"_s.arg(theDecoder()));
    QVERIFY(status.open(QFile::ReadOnly));
    const QByteArray lines = status.readAll();
    QVERIFY(lines.contains("\nNoNewPrivs:\t1\n"));
    QVERIFY(lines.contains("\nSeccomp:\t2\n"));
    QVERIFY(lines.contains("\nThreads:\t1\n"));
}

void DecoderPoolTest::limitsRestartsAfterFailures()
{
    // After a few failures, live frames get no decoder for some time.
    Pool pool(limitedBy(1h));
    failFiveTimes(pool);
    for (int frame = 0; frame < 20; ++frame) {
        QVERIFY(!pool.detect(pictureThat(Misdeed::None), LiveFrame()));
    }
}

void DecoderPoolTest::letsAStillPictureWait()
{
    constexpr auto interval = 2s;
    Pool pool(limitedBy(interval));
    const auto begin = std::chrono::steady_clock::now();
    failFiveTimes(pool);
    QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
    QVERIFY(std::chrono::steady_clock::now() - begin >= interval);
    QVERIFY(pool.detect(pictureThat(Misdeed::None), LiveFrame()));
}

void DecoderPoolTest::reportsAMissingDecoder()
{
    Pool pool({ .executable = u"/nowhere/decoder"_s, .decoders = 2 });

    expectLog("^The decoder cannot be started from /nowhere/decoder: No such file or directory$");
    QVERIFY(!pool.detect(codeFor(u"text"_s), std::nullopt));
}

void DecoderPoolTest::reportsADecoderThatDoesNotStart()
{
    Pool pool({ .executable = u"/bin/false"_s, .decoders = 1 });

    expectLog("^The decoder left with status 1$");
    QVERIFY(!pool.detect(pictureThat(Misdeed::None), std::nullopt));
}

void DecoderPoolTest::givesUpOnAnotherProgram_data()
{
    QTest::addColumn<QByteArray>("greeting");
    QTest::addColumn<QByteArray>("reason");

    QTest::newRow("of another version")
        << QByteArray("hello") << QByteArray("is not the one that came with this program; .*");
    QTest::newRow("that cannot lock itself in")
        << platform::decoder::written(platform::decoder::Greeting{ ENOSYS })
        << QByteArray("cannot lock itself in: Function not implemented; no picture will be read");
}

void DecoderPoolTest::givesUpOnAnotherProgram()
{
    QFETCH(QByteArray, greeting);
    QFETCH(QByteArray, reason);
    const QTemporaryDir folder;
    const QString started = folder.filePath(u"started"_s);
    const QString script = folder.filePath(u"decoder"_s);
    QByteArray octal;
    for (const char byte : greeting) {
        octal += '\\' + QByteArray::number(static_cast<uchar>(byte), 8).rightJustified(3, '0');
    }
    support::writeFile(script,
        "#!/bin/sh\necho >>" + QFile::encodeName(started) + "\nprintf '" + octal + "' >&3\n");
    QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner));
    Pool pool({ .executable = script, .decoders = 1 });

    expectLog("^The decoder " + reason + "$");
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!pool.detect(pictureThat(Misdeed::None), std::nullopt));
    }
    QCOMPARE(QFileInfo(started).size(), 1);
}

void DecoderPoolTest::finishesAtOnce()
{
    Pool pool(misbehaving());
    QCOMPARE(outcome(pool, Misdeed::None), wellBehaved);
    const pid_t decoder = theDecoder();
    constexpr int threadCount = 3;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i) { // one is being searched, two wait
        threads.emplace_back([&] { pool.detect(pictureThat(Misdeed::Hang), std::nullopt); });
    }
    const bool isAtWork = waitUntilItHangs(decoder);
    pool.finish();
    for (std::thread& thread : threads) {
        thread.join();
    }

    QVERIFY(isAtWork);
    QVERIFY(hasEnded(decoder));
    QVERIFY(!pool.detect(pictureThat(Misdeed::None), std::nullopt));
}

void DecoderPoolTest::endsWithTheProgram()
{
    QProcess program;
    program.start(QCoreApplication::applicationFilePath(), { u"--hang"_s });
    QVERIFY(program.waitForStarted());
    const auto parent = static_cast<pid_t>(program.processId());
    QTRY_VERIFY(!childProcesses(parent).isEmpty());
    const pid_t decoder = childProcesses(parent).first();
    QTRY_VERIFY(program.bytesAvailable() > 0); // it is in the sandbox
    QVERIFY(waitUntilItHangs(decoder));

    ::kill(parent, SIGKILL);
    QVERIFY(program.waitForFinished());
    QTRY_VERIFY(hasEnded(decoder));
}

int main(int argc, char** argv)
{
    const support::Sandbox sandbox;
    platform::Application application(argc, argv);
    if (application.arguments().contains(u"--hang"_s)) {
        Pool pool(misbehaving());
        outcome(pool, Misdeed::None);
        QTextStream(stdout) << "ready" << Qt::endl;
        outcome(pool, Misdeed::Hang);
        return 0;
    }
    DecoderPoolTest cases;
    return QTest::qExec(&cases, argc, argv);
}

#include "tst_decoderpool.moc"
