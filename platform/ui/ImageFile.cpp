#include "platform/ui/ImageFile.h"

#include "platform/ui/PictureReading.h"

namespace platform {

QImage ImageFile::load() const
{
    return isNull() ? QImage() : readPicture(path).image;
}

} // namespace platform
