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

using namespace Qt::StringLiterals;

namespace platform::decoder {
namespace {

// Descriptors are duplicated to numbers from here on before a child gets them, so that none has
// the number that another must get.
constexpr int firstDuplicate = 16;

Error failure(const QString& reason, ErrorCode code = ErrorCode::Failed)
{
    return { u"decoder"_s, static_cast<int>(code), reason, {} };
}

/// The few variables of this process's environment that the child gets.
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

/// Starts a process in a session of its own, without a terminal, with default signal handling and
/// with only the given descriptors.
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
        // What the libraries print may come from a picture. A sanitizer's report must be seen.
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

    Result<pid_t> run(const QString& executable)
    {
        Environment environment;
        QByteArray path = QFile::encodeName(executable);
        std::array<char*, 2> arguments{ path.data(), nullptr };
        pid_t pid = 0;
        const int code = posix_spawn(&pid, path.constData(), &m_actions, &m_attributes,
            arguments.data(), environment.data());
        if (code != 0) {
            return failure(
                u"cannot be started from %1: %2"_s.arg(executable, qt_error_string(code)));
        }
        return pid;
    }

private:
    posix_spawnattr_t m_attributes;
    posix_spawn_file_actions_t m_actions;
};

FileDescriptor duplicate(const FileDescriptor& descriptor)
{
    return FileDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, firstDuplicate));
}

// The two ends of a pipe to which nothing is written: closing our end kills the decoder.
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

// Whether the picture is within the limits of messages and shared memory.
bool canBeSent(const QImage& grey)
{
    return !grey.isNull() && std::max(grey.width(), grey.height()) <= largestSide
        && grey.sizeInBytes() <= largestPicture;
}

} // namespace

Result<std::unique_ptr<Process>> Process::start(const QString& executable, const Deadline& deadline)
{
    Channel::Ends sockets = Channel::pair();
    Channel::Ends lifelines = lifelineEnds();
    FileDescriptor socket = duplicate(sockets.theirs);
    const FileDescriptor lifeline = duplicate(lifelines.theirs);
    if (!socket.isOpen() || !lifeline.isOpen()) {
        return failure(u"cannot be started: %1"_s.arg(qt_error_string(errno)));
    }
    Spawn spawn;
    spawn.give(socket, socketDescriptor);
    spawn.give(lifeline, lifelineDescriptor);
    const Result<pid_t> pid = spawn.run(executable);
    if (!pid) {
        return pid.error();
    }
    // After this only the decoder has the other end: the channel closes when the decoder ends.
    sockets.theirs.close();
    socket.close();
    std::unique_ptr<Process> process(
        new Process(*pid, Channel(std::move(sockets.ours)), std::move(lifelines.ours)));
    if (process->m_channel.wait(deadline) != Channel::Event::Readable) {
        return failure(u"did not begin to work in time"_s);
    }
    const auto message = process->m_channel.receive();
    if (!message) {
        return process->endError();
    }
    const auto greeting = readGreeting(message->bytes);
    if (!greeting) {
        return failure(u"is not the one that came with this program; start the "
                       "program again"_s,
            ErrorCode::Unusable);
    }
    if (greeting->refusal != 0) {
        return failure(u"cannot lock itself in: %1; no picture will be read"_s.arg(
                           qt_error_string(greeting->refusal)),
            ErrorCode::Unusable);
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

Result<std::optional<Detection>> Process::detect(
    const QImage& grey, std::optional<LiveFrame> frame, const Deadline& deadline)
{
    const auto outcome = canBeSent(grey) ? m_pixels.hold(grey) : SharedPixels::Outcome::Failed;
    if (outcome == SharedPixels::Outcome::Failed) {
        return failure(u"cannot be shown %1 × %2 pixels"_s.arg(grey.width()).arg(grey.height()));
    }
    const bool hasMoved = outcome == SharedPixels::Outcome::Moved;
    const Request request{ ++m_requests, grey.size(), grey.bytesPerLine(),
        hasMoved ? m_pixels.size() : 0, frame };
    const bool isSent = m_channel.send(written(request), m_pixels.newMemory());
    m_pixels.forgetDescriptor();
    if (!isSent) {
        return endError();
    }
    Result<std::optional<Detection>> result = receiveReply(request.number, deadline);
    if (result && result->has_value()) {
        (*result)->located &= grey.rect();
    }
    m_pixels.shrink();
    return result;
}

Result<std::optional<Detection>> Process::receiveReply(quint64 number, const Deadline& deadline)
{
    switch (m_channel.wait(deadline)) {
    case Channel::Event::TimedOut:
        return failure(u"gave no answer in time"_s);
    case Channel::Event::Cancelled:
        return failure(u"is needed no longer"_s);
    case Channel::Event::Readable:
        break;
    }
    const auto message = m_channel.receive();
    if (!message) {
        return endError();
    }
    auto reply = readReply(message->bytes);
    if (!reply || reply->number != number) {
        return failure(u"gave an answer that makes no sense"_s);
    }
    return std::move(reply->detection);
}

Result<void> Process::checkIdle()
{
    if (m_channel.wait({ std::chrono::steady_clock::now() }) == Channel::Event::TimedOut) {
        return {};
    }
    return m_channel.receive() ? failure(u"spoke without being asked"_s) : endError();
}

Error Process::endError()
{
    return failure(describedStatus(reap()));
}

int Process::reap()
{
    int status = 0;
    if (const pid_t pid = std::exchange(m_pid, 0); pid > 0) {
        ::kill(pid, SIGKILL); // does not change the status of a process that is ending already
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
