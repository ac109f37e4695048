#pragma once

#include <QImage>
#include <QString>

#include <atomic>
#include <mutex>
#include <optional>

namespace vellumcap {

/// A code, and the prepared picture in which it was found.
struct AcceptedCode {
    QString text;
    QImage picture;
};

/// The code that a window offers to the user, and the picture in which it was found. The window
/// shares it with its detections on worker threads. Each accessor is atomic. Any thread.
class CodeOnOffer {
public:
    /// 0: no code is on offer; 1: a code was found.
    qint32 captureState() const { return m_captureState; }
    void setCaptureState(qint32 state) { m_captureState = state; }

    /// The text of the last code offered; absent before the first.
    std::optional<QString> captureData() const;
    void setCaptureData(const QString& text);

    /// The picture in which the code was found; null while none is on offer.
    QImage capturedImage() const;
    void setCapturedImage(const QImage& picture);

    /// Offers a code unless its text is captureData(); returns whether it is offered. Test and
    /// update are deliberately not one atomic step: two detections that end together may both be
    /// accepted, and the later one stays.
    bool accept(const QString& text, const QImage& picture);

private:
    std::atomic<qint32> m_captureState = 0;
    mutable std::mutex m_mutex; // guards the members below
    std::optional<QString> m_captureData;
    QImage m_capturedImage;
};

} // namespace vellumcap
