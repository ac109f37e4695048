#pragma once

#include "platform/barcode/Detector.h"
#include "platform/barcode/isolation/DecoderLimits.h"
#include "platform/barcode/isolation/DecoderProcess.h"
#include "platform/barcode/isolation/RateLimit.h"
#include "platform/services/FileDescriptor.h"

#include <QString>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace platform::decoder {

/// The decoder processes of this program. Starts them when they are needed, keeps them, and
/// replaces and logs those that crash, hang or send invalid messages. Any thread.
class Pool {
public:
    struct Settings {
        QString executable;
        int decoders = 1;
        std::chrono::milliseconds stillLimit = decoder::stillLimit;
        std::chrono::milliseconds liveLimit = decoder::liveLimit;
        /// After the first few failures, decoders are started at most once in this interval.
        std::chrono::milliseconds failureInterval{ 1000 };
    };

    /// The program's pool, with as many decoders as cores.
    static Pool& shared();

    explicit Pool(Settings settings);
    ~Pool();
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    /// Calls detectCodes() in a decoder; blocks while all decoders are busy. Nullopt when
    /// detectCodes() returned none, the decoder failed, or none could be started.
    std::optional<Detection> detect(const QImage& grey, std::optional<LiveFrame> frame);

    /// Ends the decoders and unblocks all callers. detect() returns nullopt afterwards.
    void finish();

private:
    enum class Urgency { Still, Live };

    /// Blocks until fewer than the maximum of decoders are busy. Returns an idle decoder, or null
    /// when one must be started, or nullopt when the pool has finished.
    std::optional<std::unique_ptr<Process>> takeTurn();
    void endTurn(std::unique_ptr<Process> process);
    std::unique_ptr<Process> started(Urgency urgency); ///< null on failure
    bool mayStart(Urgency urgency);
    Deadline deadlineIn(std::chrono::milliseconds limit) const;
    void report(const Error& error, const QString& circumstance);

    const Settings m_settings;
    const FileDescriptor m_cancelled; ///< becomes readable with finish()

    std::mutex m_mutex; // guards the following members
    std::condition_variable m_changed;
    std::vector<std::unique_ptr<Process>> m_idle;
    int m_atWork = 0;
    bool m_finished = false;
    bool m_cannotStart = false; ///< permanently
    RateLimit m_failures; ///< limits starts of decoders that fail
    RateLimit m_lines; ///< of the log
    int m_unreported = 0; ///< failures since the last line of the log
};

} // namespace platform::decoder
