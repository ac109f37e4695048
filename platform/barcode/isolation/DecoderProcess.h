#pragma once

#include "platform/barcode/Detector.h"
#include "platform/barcode/isolation/DecoderChannel.h"
#include "platform/barcode/isolation/SharedPixels.h"

#include <QString>

#include <memory>
#include <optional>
#include <sys/types.h>
#include <variant>

namespace platform::decoder {

/// A decoder, as the program sees it: a child process that is believed nothing. It is killed and
/// reaped with this object. One thread at a time; which one does not matter.
class Process {
public:
    struct Failure {
        QString reason; ///< what the log is to say of the decoder
        enum class Hope { TryAgain, Never } hope = Hope::TryAgain;
    };
    using Started = std::variant<std::unique_ptr<Process>, Failure>;

    /// Starts `executable` and waits until it has locked itself in.
    static Started start(const QString& executable, const Patience& patience);

    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    struct Answer {
        std::optional<Detection> detection;
        std::optional<Failure> failure; ///< with one, this decoder is of no more use
    };
    /// Has a picture of Format_Grayscale8 searched.
    Answer detect(const QImage& grey, std::optional<LiveFrame> frame, const Patience& patience);

    /// Whether it still waits for pictures; else why not.
    std::optional<Failure> failureWhileIdle();

private:
    Process(pid_t pid, Channel channel, FileDescriptor lifeline);

    Answer answer(quint64 number, const Patience& patience);
    QString endingReason(); ///< ends the process
    int reap(); ///< the status of waitpid()

    pid_t m_pid;
    Channel m_channel;
    FileDescriptor m_lifeline;
    SharedPixels m_pixels;
    quint64 m_requests = 0;
};

/// The decoder that came with this program: beside it in a build folder, in the libexec folder
/// where it is installed.
QString installedDecoder();

} // namespace platform::decoder
