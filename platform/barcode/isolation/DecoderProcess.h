#pragma once

#include "platform/barcode/Detector.h"
#include "platform/barcode/isolation/DecoderChannel.h"
#include "platform/barcode/isolation/SharedPixels.h"
#include "platform/services/Result.h"

#include <QString>

#include <memory>
#include <optional>
#include <sys/types.h>

namespace platform::decoder {

/// Codes of the errors of decoders, whose domain is "decoder" and whose description completes the
/// sentence "The decoder …".
enum class ErrorCode {
    Failed = 1, ///< another decoder may succeed
    Unusable = 2, ///< `executable` cannot serve, and never will
};

/// A decoder process that this program has started. None of its messages is trusted. The
/// destructor kills and reaps the process. One thread at a time, not always the same.
class Process {
public:
    /// Starts `executable` and waits until it is in its sandbox.
    static Result<std::unique_ptr<Process>> start(
        const QString& executable, const Deadline& deadline);

    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Calls detectCodes() in the decoder for a picture of Format_Grayscale8. After an error the
    /// process can no longer be used.
    Result<std::optional<Detection>> detect(
        const QImage& grey, std::optional<LiveFrame> frame, const Deadline& deadline);

    /// Fails when the process has ended or sent a message without a request. To be called between
    /// requests.
    Result<void> checkIdle();

private:
    Process(pid_t pid, Channel channel, FileDescriptor lifeline);

    Result<std::optional<Detection>> receiveReply(quint64 number, const Deadline& deadline);
    Error endError(); ///< kills the process; says how it ended
    int reap(); ///< kills the process; returns the status of waitpid()

    pid_t m_pid;
    Channel m_channel;
    FileDescriptor m_lifeline;
    SharedPixels m_pixels;
    quint64 m_requests = 0;
};

/// Path of the decoder of this program: in the program's own folder, as in a build folder, or else
/// in the libexec folder.
QString installedDecoder();

} // namespace platform::decoder
