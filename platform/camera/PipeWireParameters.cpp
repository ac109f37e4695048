#include "platform/camera/PipeWireParameters.h"

#include <algorithm>
#include <spa/param/format-utils.h>
#include <spa/param/props.h>
#include <spa/param/video/raw.h>
#include <spa/pod/iter.h>
#include <span>

namespace platform {

namespace {

using Encoding = CameraFormat::Encoding;

struct EncodingName {
    uint32_t format;
    Encoding encoding;
};

constexpr EncodingName encodings[]{
    { SPA_VIDEO_FORMAT_BGRx, Encoding::BGRx },
    { SPA_VIDEO_FORMAT_BGRA, Encoding::BGRA },
    { SPA_VIDEO_FORMAT_RGBx, Encoding::RGBx },
    { SPA_VIDEO_FORMAT_RGBA, Encoding::RGBA },
    { SPA_VIDEO_FORMAT_BGR, Encoding::BGR },
    { SPA_VIDEO_FORMAT_RGB, Encoding::RGB },
    { SPA_VIDEO_FORMAT_YUY2, Encoding::YUY2 },
    { SPA_VIDEO_FORMAT_UYVY, Encoding::UYVY },
    { SPA_VIDEO_FORMAT_NV12, Encoding::NV12 },
    { SPA_VIDEO_FORMAT_I420, Encoding::I420 },
    { SPA_VIDEO_FORMAT_GRAY8, Encoding::GRAY8 },
};

constexpr QSize usualSizes[]{ { 1920, 1080 }, { 1280, 720 }, { 640, 480 } };

/// A property of a parameter: one value, or several, the first of which is the default.
template <typename Value> struct Values {
    std::span<const Value> all;
    uint32_t choice = SPA_CHOICE_None;

    bool isRange() const { return choice == SPA_CHOICE_Range || choice == SPA_CHOICE_Step; }
    /// Without the default, which a choice repeats.
    std::span<const Value> offered() const
    {
        return choice == SPA_CHOICE_None || all.size() < 2 ? all : all.subspan(1);
    }
    Value lowest() const { return all[1]; } // of a range
    Value highest() const { return all[2]; }
};

template <typename Value>
Values<Value> valuesOf(const spa_pod* parameter, uint32_t key, uint32_t type)
{
    const spa_pod_prop* property = spa_pod_find_prop(parameter, nullptr, key);
    if (property == nullptr) {
        return {};
    }
    uint32_t count = 0;
    uint32_t choice = SPA_CHOICE_None;
    const spa_pod* values = spa_pod_get_values(&property->value, &count, &choice);
    if (SPA_POD_TYPE(values) != type || SPA_POD_BODY_SIZE(values) < sizeof(Value)) {
        return {};
    }
    const bool isRange = choice == SPA_CHOICE_Range || choice == SPA_CHOICE_Step;
    if (isRange && count < 3) {
        return {};
    }
    return { { static_cast<const Value*>(SPA_POD_BODY_CONST(values)), count }, choice };
}

QList<Encoding> encodingsOf(const spa_pod* parameter)
{
    uint32_t type = 0;
    uint32_t subtype = 0;
    if (spa_format_parse(parameter, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video) {
        return {};
    }
    if (subtype == SPA_MEDIA_SUBTYPE_mjpg || subtype == SPA_MEDIA_SUBTYPE_jpeg) {
        return { Encoding::JPEG };
    }
    QList<Encoding> known;
    const auto formats = valuesOf<uint32_t>(parameter, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id);
    for (const uint32_t format : formats.offered()) {
        const auto* found = std::find_if(std::begin(encodings), std::end(encodings),
            [format](const EncodingName& each) { return each.format == format; });
        if (subtype == SPA_MEDIA_SUBTYPE_raw && found != std::end(encodings)) {
            known.append(found->encoding);
        }
    }
    return known;
}

QList<QSize> sizesOf(const spa_pod* parameter)
{
    const auto sizes
        = valuesOf<spa_rectangle>(parameter, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle);
    const auto toSize = [](const spa_rectangle& size) {
        return QSize(static_cast<int>(size.width), static_cast<int>(size.height));
    };
    QList<QSize> result;
    if (!sizes.isRange()) {
        for (const spa_rectangle& size : sizes.offered()) {
            result.append(toSize(size));
        }
        return result;
    }
    const QSize lowest = toSize(sizes.lowest());
    const QSize highest = toSize(sizes.highest());
    result = { lowest, highest };
    for (const QSize usual : usualSizes) {
        if (usual.boundedTo(highest) == usual && usual.expandedTo(lowest) == usual) {
            result.append(usual);
        }
    }
    return result;
}

double perSecond(const spa_fraction& rate)
{
    return rate.denom > 0 ? static_cast<double>(rate.num) / rate.denom : 0;
}

void setRates(CameraFormat& format, const spa_pod* parameter)
{
    const auto rates
        = valuesOf<spa_fraction>(parameter, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction);
    const auto offered = rates.offered();
    if (offered.empty()) {
        return;
    }
    const auto slower = [](const spa_fraction& left, const spa_fraction& right) {
        return perSecond(left) < perSecond(right);
    };
    // The third value of a step range is the step.
    const auto ends = rates.isRange() ? offered.first(2) : offered;
    const auto [lowest, highest] = std::minmax_element(ends.begin(), ends.end(), slower);
    format.rateNumerator = static_cast<int>(highest->num);
    format.rateDenominator = static_cast<int>(highest->denom);
    format.lowestRate = perSecond(*lowest);
}

} // namespace

QList<CameraFormat> cameraFormats(const spa_pod* parameter)
{
    QList<CameraFormat> formats;
    const QList<QSize> sizes = sizesOf(parameter);
    for (const Encoding encoding : encodingsOf(parameter)) {
        for (const QSize size : sizes) {
            CameraFormat format{ encoding, size };
            setRates(format, parameter);
            formats.append(format);
        }
    }
    return formats;
}

std::optional<CameraControl> cameraControl(const spa_pod* parameter)
{
    uint32_t key = 0;
    const spa_pod_prop* id = spa_pod_find_prop(parameter, nullptr, SPA_PROP_INFO_id);
    if (id == nullptr || spa_pod_get_id(&id->value, &key) < 0 || key <= SPA_PROP_START_CUSTOM) {
        return std::nullopt;
    }
    CameraControl control{ key - SPA_PROP_START_CUSTOM, {} };
    const spa_pod_prop* labels = spa_pod_find_prop(parameter, nullptr, SPA_PROP_INFO_labels);
    if (labels != nullptr && spa_pod_is_struct(&labels->value)) {
        const void* body = SPA_POD_BODY_CONST(&labels->value);
        const uint32_t size = SPA_POD_BODY_SIZE(&labels->value);
        for (const auto* each = static_cast<const spa_pod*>(body);
             spa_pod_is_inside(body, size, each);
             each = static_cast<const spa_pod*>(spa_pod_next(each))) {
            int choice = 0;
            if (spa_pod_get_int(each, &choice) == 0) {
                control.choices.append(choice);
            }
        }
    }
    return control;
}

} // namespace platform
