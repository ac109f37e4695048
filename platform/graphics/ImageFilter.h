#pragma once

#include <QImage>
#include <QList>
#include <QString>

#include <atomic>
#include <memory>

namespace platform {

/// One step of tone adjustment with one value, which may be set while pictures are being filtered.
/// Thread-safe, except for the name.
class ImageFilter {
public:
    enum class Kind {
        ExposureAdjust, ///< multiplies linear light by 2^value (value: photographic stops, EV)
        ColorControls, ///< contrast: (v - 0.5) * value + 0.5 on encoded values
    };

    explicit ImageFilter(Kind kind);

    const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    Kind kind() const { return m_kind; }
    double value() const { return m_value; }
    void setValue(double value) { m_value = value; }

    /// The result for an encoded (IEC 61966-2-1, sRGB) component, from 0 (black) to 1 (white).
    /// Input and result may lie outside that range.
    double applied(double component) const;

private:
    Kind m_kind;
    QString m_name;
    std::atomic<double> m_value;
};

enum class Mirroring { Off, LeftRight };

/// `bitmap` (Format_RGB32) after the filters, in this order, and mirroring; each component is
/// rounded once, at the end. The result uses the bitmap pool.
QImage filtered(
    const QImage& bitmap, const QList<std::shared_ptr<ImageFilter>>& filters, Mirroring mirroring);

} // namespace platform
