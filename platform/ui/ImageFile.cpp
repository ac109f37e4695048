#include "platform/ui/ImageFile.h"

#include "platform/ui/PictureReading.h"

namespace platform {

QImage ImageFile::load() const
{
    return readPicture(path).image;
}

} // namespace platform
