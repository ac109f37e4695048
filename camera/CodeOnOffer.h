#pragma once

#include <QImage>
#include <QString>

#include <atomic>
#include <mutex>
#include <optional>

namespace vellumcap {

/// A code, and the prepared picture it was found in.
struct AcceptedCode {
    QString text;
    QImage picture;
};

/// What a window shares with the detections that run for it on worker threads: the code on offer
/// and the picture it was found in. Each property is read and written whole, from any thread.
class CodeOnOffer {
public:
    /// 0 while no code is on offer, 1 once one has been found.
    qint32 captureState() const { return m_captureState; }
    void setCaptureState(qint32 state) { m_captureState = state; }

    /// The text of the last code offered; absent until the first.
    std::optional<QString> captureData() const;
    void setCaptureData(const QString& text);

    /// The picture in which the code was found; null while none is on offer.
    QImage capturedImage() const;
    void setCapturedImage(const QImage& picture);

    /// Offers a code unless it is the one offered last; true when it is offered. Test and update
    /// are deliberately not one step: two detections that end together may both be accepted, and
    /// the later one stays.
    bool accept(const QString& text, const QImage& picture);

private:
    std::atomic<qint32> m_captureState = 0;
    mutable std::mutex m_mutex; // guards what follows
    std::optional<QString> m_captureData;
    QImage m_capturedImage;
};

} // namespace vellumcap
