#pragma once

#include <QLabel>

namespace platform {

/// A label for untrusted text of any length: plain text, wrapped to at most `lines` lines and then
/// elided. text() is the whole text.
class ElidedLabel : public QLabel {
    Q_OBJECT
    Q_PROPERTY(int lines READ lines WRITE setLines)
public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    int lines() const { return m_lines; }
    void setLines(int lines);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_lines = 1;
};

} // namespace platform
