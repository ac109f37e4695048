#pragma once

#include "app/Capture.h"

namespace vellumcap {

/// How a picture browser shows an item.
enum class ImageRepresentationType { ImageFile };

/// A capture as an item of a picture browser.
class CaptureImageBrowserItem {
public:
    explicit CaptureImageBrowserItem(std::shared_ptr<Capture> capture);

    const std::shared_ptr<Capture>& capture() const { return m_capture; }

    QString imageUID() const;
    ImageRepresentationType imageRepresentationType() const;
    platform::ImageFile imageRepresentation() const;
    QString imageTitle() const;
    QString imageSubtitle() const; ///< local time as "yyyy-MM-dd @ h:m a", minutes unpadded

private:
    std::shared_ptr<Capture> m_capture;
};

} // namespace vellumcap
