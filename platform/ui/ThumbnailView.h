#pragma once

#include "platform/ui/ImageFile.h"
#include "platform/ui/ScalablePicture.h"

#include <QWidget>

namespace platform {

/// The small picture of a list's cell. Pictures are read and scaled off the main thread and kept
/// in a bounded cache that all thumbnails share; a picture is asked for when its view is first
/// painted, and no longer wanted when the view hides or gets another one. Main thread.
class ThumbnailView : public QWidget {
    Q_OBJECT
public:
    explicit ThumbnailView(QWidget* parent = nullptr);
    ~ThumbnailView() override;

    void setImage(const ImageFile& file); ///< empty until it is read; empty when it cannot be
    const ImageFile& image() const { return m_file; }
    bool isLoaded() const; ///< the picture is on the screen
    const QImage& picture() const { return m_picture.image(); } ///< as reduced for the screen

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void cancelRequest();
    void fetch();
    void receive(const QImage& image);

    ImageFile m_file;
    ScalablePicture m_picture;
    int m_side = 0; ///< the square that was asked for, in pixels of the screen; 0 is none yet
    quint64 m_ticket = 0;
};

} // namespace platform
