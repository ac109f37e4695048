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

/// The decoders of this program: started when they are needed, kept, and replaced when they die,
/// hang or talk nonsense, which the log tells. Any thread.
class Pool {
public:
    struct Settings {
        QString executable;
        int decoders = 1;
        std::chrono::milliseconds stillLimit = decoder::stillLimit;
        std::chrono::milliseconds liveLimit = decoder::liveLimit;
        /// For which each failure is paid, after the first few: until then no decoder is started.
        std::chrono::milliseconds failureInterval{ 1000 };
    };

    /// The one that the program uses, with as many decoders as cores.
    static Pool& shared();

    explicit Pool(Settings settings);
    ~Pool();
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    /// detectCodes() in a decoder, for which it waits when all are at work. No value, too, when
    /// the decoder failed over the picture, or there is none.
    std::optional<Detection> detect(const QImage& grey, std::optional<LiveFrame> frame);

    /// Ends the decoders and all waiting for them; pictures have no codes afterwards.
    void finish();

private:
    enum class Urgency { Still, Live };

    /// Waits for a turn, and gives the decoder for it, null when one is to be started. None when
    /// the pool has finished.
    std::optional<std::unique_ptr<Process>> takeTurn();
    void endTurn(std::unique_ptr<Process> process);
    std::unique_ptr<Process> started(Urgency urgency); ///< null when there is none
    bool mayStart(Urgency urgency);
    Patience patience(std::chrono::milliseconds limit) const;
    void report(const Process::Failure& failure, const QString& circumstance);

    const Settings m_settings;
    const FileDescriptor m_cancelled; ///< becomes readable with finish()

    std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    std::vector<std::unique_ptr<Process>> m_idle;
    int m_atWork = 0;
    bool m_finished = false;
    bool m_hopeless = false; ///< no decoder will ever start
    RateLimit m_failures; ///< decoders that die at once must not be started without end
    RateLimit m_lines; ///< of the log
    int m_unreported = 0; ///< failures since the last line
};

} // namespace platform::decoder
