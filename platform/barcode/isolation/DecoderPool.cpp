#include "platform/barcode/isolation/DecoderPool.h"

#include "platform/services/Dispatch.h"
#include "platform/services/Log.h"

#include <algorithm>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>

using Qt::StringLiterals::operator""_s;

namespace platform::decoder {
namespace {

using Clock = RateLimit::Clock;

constexpr int failuresAtOnce = 5;
constexpr int linesAtOnce = 5;
constexpr auto lineInterval = std::chrono::seconds(10);

int cores()
{
    return std::max(1, int(std::thread::hardware_concurrency()));
}

} // namespace

Pool& Pool::shared()
{
    static Pool pool({ .executable = installedDecoder(), .decoders = cores() });
    [[maybe_unused]] static const bool ends = [] {
        // A job that waits for a decoder would hold the program's end up.
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
        auto answer = process->detect(grey, frame, patience(limit));
        if (answer.failure) {
            process.reset();
            report(*answer.failure, u"; its picture counts as having no code"_s);
        }
        detection = std::move(answer.detection);
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
        if (const auto failure = process->failureWhileIdle()) {
            process.reset();
            report(*failure, u" while it had nothing to do"_s);
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
    auto result = Process::start(m_settings.executable, patience(startLimit));
    if (auto* process = std::get_if<std::unique_ptr<Process>>(&result)) {
        return std::move(*process);
    }
    report(std::get<Process::Failure>(result), {});
    return nullptr;
}

bool Pool::mayStart(Urgency urgency)
{
    std::unique_lock lock(m_mutex);
    // The next frame comes soon; a still picture has but one chance.
    if (urgency == Urgency::Still) {
        m_changed.wait_until(lock, m_failures.next(), [this] { return m_finished || m_hopeless; });
    }
    return !m_finished && !m_hopeless && m_failures.next() <= Clock::now();
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

Patience Pool::patience(std::chrono::milliseconds limit) const
{
    return { Clock::now() + limit, m_cancelled.get() };
}

void Pool::report(const Process::Failure& failure, const QString& circumstance)
{
    const auto now = Clock::now();
    QString line;
    {
        const std::lock_guard lock(m_mutex);
        m_failures.count(now);
        m_hopeless = m_hopeless || failure.hope == Process::Failure::Hope::Never;
        if (m_finished) {
            return;
        }
        if (m_lines.next() > now) {
            ++m_unreported;
            return;
        }
        m_lines.count(now);
        line = u"The decoder %1%2"_s.arg(failure.reason, circumstance);
        if (const int unreported = std::exchange(m_unreported, 0); unreported > 0) {
            line += u" (and %1 failures before)"_s.arg(unreported);
        }
    }
    log(line);
}

} // namespace platform::decoder
