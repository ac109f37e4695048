#include "platform/barcode/isolation/DecoderProcess.h"

#include "platform/barcode/isolation/DecoderLimits.h"
#include "platform/barcode/isolation/DecoderMessages.h"
#include "platform/barcode/isolation/DecoderService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using Qt::StringLiterals::operator""_s;

namespace platform::decoder {
namespace {

// Descriptors are moved up before a child gets them, so that none lies where another must go.
constexpr int aboveTheShared = 16;

QString errorText(int error)
{
    return qt_error_string(error);
}

/// What the child is told of this process's environment: nothing that is secret.
class Environment {
public:
    Environment()
    {
        for (const char* name : { "LD_LIBRARY_PATH", "ASAN_OPTIONS", "LSAN_OPTIONS",
                 "UBSAN_OPTIONS", "TSAN_OPTIONS" }) {
            if (const QByteArray value = qgetenv(name); !value.isEmpty()) {
                m_entries.push_back(QByteArray(name) + '=' + value);
            }
        }
        for (QByteArray& entry : m_entries) {
            m_pointers.push_back(entry.data());
        }
        m_pointers.push_back(nullptr);
    }

    char** data() { return m_pointers.data(); }

private:
    std::vector<QByteArray> m_entries;
    std::vector<char*> m_pointers;
};

/// A session of its own, without this one's terminal, signals as at boot, and only the given
/// descriptors.
class Spawn {
public:
    Spawn()
    {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(
            &m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        posix_spawn_file_actions_init(&m_actions);
        // What the libraries print may come out of a picture. A sanitizer's report must be seen.
        const int firstKept = isSanitized ? STDERR_FILENO : STDERR_FILENO + 1;
        for (int descriptor = STDIN_FILENO; descriptor < firstKept; ++descriptor) {
            posix_spawn_file_actions_addopen(&m_actions, descriptor, "/dev/null", O_RDWR, 0);
        }
    }
    ~Spawn()
    {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    Spawn(const Spawn&) = delete;
    Spawn& operator=(const Spawn&) = delete;

    void give(const FileDescriptor& descriptor, int as)
    {
        posix_spawn_file_actions_adddup2(&m_actions, descriptor.get(), as);
    }

    /// Zero or an errno.
    int run(const QByteArray& path, pid_t& pid)
    {
        Environment environment;
        QByteArray name = path;
        std::array<char*, 2> arguments{ name.data(), nullptr };
        return posix_spawn(&pid, path.constData(), &m_actions, &m_attributes, arguments.data(),
            environment.data());
    }

private:
    posix_spawnattr_t m_attributes;
    posix_spawn_file_actions_t m_actions;
};

FileDescriptor movedUp(const FileDescriptor& descriptor)
{
    return FileDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, aboveTheShared));
}

// A decoder reads from its end of a pipe, to which nobody ever writes.
Channel::Ends lifelineEnds()
{
    int ends[2] = { -1, -1 };
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return {};
    }
    return { FileDescriptor(ends[1]), FileDescriptor(ends[0]) };
}

QString describedStatus(int status)
{
    if (WIFSIGNALED(status)) {
        const char* name = sigdescr_np(WTERMSIG(status));
        return u"was ended by signal %1 (%2)"_s.arg(WTERMSIG(status))
            .arg(QString::fromLatin1(name != nullptr ? name : "unknown"));
    }
    return u"left with status %1"_s.arg(WEXITSTATUS(status));
}

Process::Failure failure(const QString& reason)
{
    return { reason, Process::Failure::Hope::TryAgain };
}

// A grey picture whose rows lie as the decoder is told, and whose sizes the messages can carry.
bool canBeSent(const QImage& grey)
{
    return !grey.isNull() && std::max(grey.width(), grey.height()) <= largestSide
        && grey.sizeInBytes() <= largestPicture;
}

} // namespace

Process::Started Process::start(const QString& executable, const Patience& patience)
{
    Channel::Ends sockets = Channel::pair();
    Channel::Ends lifelines = lifelineEnds();
    FileDescriptor socket = movedUp(sockets.theirs);
    const FileDescriptor lifeline = movedUp(lifelines.theirs);
    if (!socket.isOpen() || !lifeline.isOpen()) {
        return failure(u"cannot be started: %1"_s.arg(errorText(errno)));
    }
    Spawn spawn;
    spawn.give(socket, socketDescriptor);
    spawn.give(lifeline, lifelineDescriptor);
    pid_t pid = 0;
    if (const int error = spawn.run(QFile::encodeName(executable), pid); error != 0) {
        return failure(u"cannot be started from %1: %2"_s.arg(executable, errorText(error)));
    }
    // Once these are closed here, the decoder's end is the end of the channel.
    sockets.theirs.close();
    socket.close();
    std::unique_ptr<Process> process(
        new Process(pid, Channel(std::move(sockets.ours)), std::move(lifelines.ours)));
    if (process->m_channel.wait(patience) != Channel::Event::Readable) {
        return failure(u"did not begin to work in time"_s);
    }
    const auto message = process->m_channel.receive();
    if (!message) {
        return failure(process->endingReason());
    }
    const auto greeting = readGreeting(message->bytes);
    if (!greeting) {
        return Failure{ u"is not the one that came with this program; start the "
                        "program again"_s,
            Failure::Hope::Never };
    }
    if (greeting->refusal != 0) {
        return Failure{ u"cannot lock itself in: %1; no picture will be read"_s.arg(
                            errorText(greeting->refusal)),
            Failure::Hope::Never };
    }
    return process;
}

Process::Process(pid_t pid, Channel channel, FileDescriptor lifeline)
    : m_pid(pid)
    , m_channel(std::move(channel))
    , m_lifeline(std::move(lifeline))
{
}

Process::~Process()
{
    reap();
}

Process::Answer Process::detect(
    const QImage& grey, std::optional<LiveFrame> frame, const Patience& patience)
{
    const auto outcome = canBeSent(grey) ? m_pixels.hold(grey) : SharedPixels::Outcome::Failed;
    if (outcome == SharedPixels::Outcome::Failed) {
        return { std::nullopt,
            failure(u"cannot be shown %1 × %2 pixels"_s.arg(grey.width()).arg(grey.height())) };
    }
    const bool hasMoved = outcome == SharedPixels::Outcome::Moved;
    const Request request{ ++m_requests, grey.size(), grey.bytesPerLine(),
        hasMoved ? m_pixels.size() : 0, frame };
    const bool isSent = m_channel.send(written(request), m_pixels.newMemory());
    m_pixels.forgetDescriptor();
    if (!isSent) {
        return { std::nullopt, failure(endingReason()) };
    }
    Answer result = answer(request.number, patience);
    if (result.detection) {
        result.detection->located &= grey.rect();
    }
    m_pixels.shrink();
    return result;
}

Process::Answer Process::answer(quint64 number, const Patience& patience)
{
    switch (m_channel.wait(patience)) {
    case Channel::Event::TimedOut:
        return { std::nullopt, failure(u"gave no answer in time"_s) };
    case Channel::Event::Cancelled:
        return { std::nullopt, failure(u"is needed no longer"_s) };
    case Channel::Event::Readable:
        break;
    }
    const auto message = m_channel.receive();
    if (!message) {
        return { std::nullopt, failure(endingReason()) };
    }
    auto reply = readReply(message->bytes);
    if (!reply || reply->number != number) {
        return { std::nullopt, failure(u"gave an answer that makes no sense"_s) };
    }
    return { std::move(reply->detection), std::nullopt };
}

std::optional<Process::Failure> Process::failureWhileIdle()
{
    // It speaks when it is asked: anything now is its end, or nonsense.
    if (m_channel.wait({ std::chrono::steady_clock::now() }) == Channel::Event::TimedOut) {
        return std::nullopt;
    }
    return failure(m_channel.receive() ? u"spoke without being asked"_s : endingReason());
}

QString Process::endingReason()
{
    return describedStatus(reap());
}

int Process::reap()
{
    int status = 0;
    if (const pid_t pid = std::exchange(m_pid, 0); pid > 0) {
        ::kill(pid, SIGKILL); // changes nothing about how a process that is dying already ends
        withoutInterruption([&] { return ::waitpid(pid, &status, 0); });
    }
    return status;
}

QString installedDecoder()
{
    const QDir programs = QFileInfo(QFile::symLinkTarget(u"/proc/self/exe"_s)).dir();
    const QString beside = programs.filePath(u"vellumcap-decoder"_s);
    return QFileInfo::exists(beside) ? beside
                                     : QDir::cleanPath(programs.filePath(
                                         QStringLiteral(VELLUMCAP_LIBEXEC "/vellumcap-decoder")));
}

} // namespace platform::decoder
