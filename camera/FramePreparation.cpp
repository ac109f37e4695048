#include "camera/FramePreparation.h"

#include "platform/camera/SampleBuffer.h"
#include "platform/graphics/ImageFilter.h"
#include "platform/services/UserDefaults.h"

using namespace Qt::StringLiterals;

namespace vellumcap {

QImage imageFromSampleBuffer(const platform::SampleBuffer& sampleBuffer)
{
    return sampleBuffer.pixels();
}

bool isVideoMirrored()
{
    return platform::UserDefaults::standard().integerForKey(u"pref-mirror-video"_s) == 1;
}

QImage preparedImage(const QImage& frame,
    const QList<std::shared_ptr<platform::ImageFilter>>& filters, bool mirrored)
{
    using platform::Mirroring;
    return platform::filtered(frame, filters, mirrored ? Mirroring::LeftRight : Mirroring::Off);
}

} // namespace vellumcap
