#include "platform/barcode/isolation/DecoderPool.h"

#include "platform/services/Dispatch.h"
#include "platform/services/Log.h"

#include <algorithm>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform::decoder {
namespace {

using Clock = RateLimit::Clock;

constexpr int failuresAtOnce = 5;
constexpr int linesAtOnce = 5;
constexpr auto lineInterval = std::chrono::seconds(10);

int cores()
{
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

} // namespace

Pool& Pool::shared()
{
    static Pool pool({ .executable = installedDecoder(), .decoders = cores() });
    [[maybe_unused]] static const bool ends = [] {
        // A job that waits for a decoder would delay the end of the program.
        beforeGlobalQueuesFinish([] { pool.finish(); });
        return true;
    }();
    return pool;
}

Pool::Pool(Settings settings)
    : m_settings(std::move(settings))
    , m_cancelled(::eventfd(0, EFD_CLOEXEC))
    , m_failures(m_settings.failureInterval, failuresAtOnce)
    , m_lines(lineInterval, linesAtOnce)
{
}

Pool::~Pool()
{
    finish();
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_atWork == 0; });
}

std::optional<Detection> Pool::detect(const QImage& grey, std::optional<LiveFrame> frame)
{
    auto turn = takeTurn();
    if (!turn) {
        return std::nullopt;
    }
    std::unique_ptr<Process> process = std::move(*turn);
    if (process == nullptr) {
        process = started(frame ? Urgency::Live : Urgency::Still);
    }
    std::optional<Detection> detection;
    if (process != nullptr) {
        const auto limit = frame ? m_settings.liveLimit : m_settings.stillLimit;
        auto result = process->detect(grey, frame, deadlineIn(limit));
        if (result) {
            detection = *std::move(result);
        } else {
            process.reset();
            report(result.error(), u"; its picture counts as having no code"_s);
        }
    }
    endTurn(std::move(process));
    return detection;
}

std::optional<std::unique_ptr<Process>> Pool::takeTurn()
{
    std::unique_ptr<Process> process;
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_finished || m_atWork < m_settings.decoders; });
        if (m_finished) {
            return std::nullopt;
        }
        ++m_atWork;
        if (!m_idle.empty()) {
            process = std::move(m_idle.back());
            m_idle.pop_back();
        }
    }
    if (process != nullptr) {
        if (const Result<void> checked = process->checkIdle(); !checked) {
            process.reset();
            report(checked.error(), u" while it had nothing to do"_s);
        }
    }
    return process;
}

void Pool::endTurn(std::unique_ptr<Process> process)
{
    {
        const std::lock_guard lock(m_mutex);
        --m_atWork;
        if (process != nullptr && !m_finished) {
            m_idle.push_back(std::move(process));
        }
    }
    m_changed.notify_all();
}

std::unique_ptr<Process> Pool::started(Urgency urgency)
{
    if (!mayStart(urgency)) {
        return nullptr;
    }
    auto process = Process::start(m_settings.executable, deadlineIn(startLimit));
    if (!process) {
        report(process.error(), {});
        return nullptr;
    }
    return *std::move(process);
}

bool Pool::mayStart(Urgency urgency)
{
    std::unique_lock lock(m_mutex);
    // A live frame is soon followed by another; a still picture is searched only once.
    if (urgency == Urgency::Still) {
        m_changed.wait_until(
            lock, m_failures.next(), [this] { return m_finished || m_cannotStart; });
    }
    return !m_finished && !m_cannotStart && m_failures.next() <= Clock::now();
}

void Pool::finish()
{
    std::vector<std::unique_ptr<Process>> idle;
    {
        const std::lock_guard lock(m_mutex);
        m_finished = true;
        idle.swap(m_idle);
    }
    m_changed.notify_all();
    const quint64 event = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_cancelled.get(), &event, sizeof event);
}

Deadline Pool::deadlineIn(std::chrono::milliseconds limit) const
{
    return { Clock::now() + limit, m_cancelled.get() };
}

void Pool::report(const Error& error, const QString& circumstance)
{
    const auto now = Clock::now();
    QString line;
    {
        const std::lock_guard lock(m_mutex);
        m_failures.count(now);
        m_cannotStart = m_cannotStart || error.code == static_cast<int>(ErrorCode::Unusable);
        if (m_finished) {
            return;
        }
        if (m_lines.next() > now) {
            ++m_unreported;
            return;
        }
        m_lines.count(now);
        line = u"The decoder %1%2"_s.arg(error.localizedDescription, circumstance);
        if (const int unreported = std::exchange(m_unreported, 0); unreported > 0) {
            line += u" (and %1 failures before)"_s.arg(unreported);
        }
    }
    log(line);
}

} // namespace platform::decoder
