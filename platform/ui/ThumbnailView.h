#pragma once

#include "platform/ui/ImageFile.h"
#include "platform/ui/ScalablePicture.h"

#include <QWidget>

namespace platform {

/// The small picture in a cell of a list. The picture is requested from ThumbnailLoader when the
/// view is first painted; the request is cancelled when the view is hidden or gets another
/// picture. Main thread.
class ThumbnailView : public QWidget {
    Q_OBJECT
public:
    explicit ThumbnailView(QWidget* parent = nullptr);
    ~ThumbnailView() override;

    void setImage(const ImageFile& file); ///< empty until it is read, or if it cannot be read

    bool isLoaded() const; ///< the picture has been read
    const QImage& picture() const { return m_picture.image(); } ///< reduced for the screen

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
    int m_side = 0; ///< side of the requested square in pixels of the screen; 0 before a request
    quint64 m_ticket = 0;
};

} // namespace platform
