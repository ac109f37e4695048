#include "platform/camera/CaptureDevice.h"

#include "platform/camera/CameraControls.h"
#include "platform/camera/FormatChoice.h"

#include <cerrno>
#include <cstring>

namespace platform {

struct CaptureDevice::State {
    QString uniqueID;
    QString localizedName;
    std::unique_ptr<CameraControls> locked; ///< between lock and unlock

    explicit State(const CameraNode& node)
        : uniqueID(node.name)
        , localizedName(node.description)
    {
    }

    std::optional<CameraNode> node() const { return CameraRegistry::shared().camera(uniqueID); }

    /// What `ask` says of the camera's settings; false when it has gone.
    template <typename Ask> bool answer(Ask ask) const
    {
        if (locked) {
            return ask(*locked);
        }
        const auto camera = node();
        return camera && ask(CameraControls(*camera));
    }
};

namespace {

QString encodingName(CameraFormat::Encoding encoding)
{
    constexpr const char* names[]{ "BGRx", "BGRA", "RGBx", "RGBA", "BGR", "RGB", "YUY2", "UYVY",
        "NV12", "I420", "GRAY8", "JPEG" };
    return QString::fromLatin1(names[static_cast<size_t>(encoding)]);
}

Error lockError(const QString& camera, int code)
{
    const QString reason = code == EBUSY ? QStringLiteral("Another program is setting it up.")
                                         : QString::fromLocal8Bit(strerrordesc_np(code));
    return { QString::fromLatin1(posixErrorDomain), code,
        QStringLiteral("The camera “%1” cannot be set up.").arg(camera), reason };
}

/// Of what never changes.
class SilentObservation : public CaptureDevice::Observation { };

} // namespace

CaptureDevice::CaptureDevice(std::shared_ptr<State> state)
    : m_state(std::move(state))
{
}

QList<CaptureDevice> CaptureDevice::devicesWithMediaType(MediaType type)
{
    QList<CaptureDevice> devices;
    if (type == MediaType::Video) {
        for (const CameraNode& node : CameraRegistry::shared().cameras()) {
            devices.append(CaptureDevice(std::make_shared<State>(node)));
        }
    }
    return devices;
}

std::optional<CaptureDevice> CaptureDevice::defaultDeviceWithMediaType(MediaType type)
{
    return type == MediaType::Video ? deviceWithUniqueID(CameraRegistry::shared().defaultCamera())
                                    : std::nullopt;
}

std::optional<CaptureDevice> CaptureDevice::deviceWithUniqueID(const QString& uniqueID)
{
    const auto node = CameraRegistry::shared().camera(uniqueID);
    return node ? std::optional(CaptureDevice(std::make_shared<State>(*node))) : std::nullopt;
}

const QString& CaptureDevice::uniqueID() const
{
    return m_state->uniqueID;
}

const QString& CaptureDevice::localizedName() const
{
    return m_state->localizedName;
}

bool CaptureDevice::isSuspended() const
{
    return m_state->answer([](const CameraControls& controls) { return controls.isCovered(); });
}

bool CaptureDevice::isInUseByAnotherApplication() const
{
    const auto node = m_state->node();
    if (!node || node->isInUse) {
        return node.has_value();
    }
    // While PipeWire takes pictures, for this program then, the device is busy with that.
    return !node->isRunning && CameraControls(*node).isBusy();
}

bool CaptureDevice::isFocusModeSupported(FocusMode mode) const
{
    return m_state->answer(
        [mode](const CameraControls& controls) { return controls.isSupported(mode); });
}

bool CaptureDevice::isExposureModeSupported(ExposureMode mode) const
{
    return m_state->answer(
        [mode](const CameraControls& controls) { return controls.isSupported(mode); });
}

bool CaptureDevice::isWhiteBalanceModeSupported(WhiteBalanceMode mode) const
{
    return m_state->answer(
        [mode](const CameraControls& controls) { return controls.isSupported(mode); });
}

bool CaptureDevice::lockForConfiguration(Error* error)
{
    if (m_state->locked) {
        return true;
    }
    int code = ENODEV;
    if (const auto node = m_state->node()) {
        auto controls = std::make_unique<CameraControls>(*node);
        code = controls->claimPriority();
        if (code == 0) {
            m_state->locked = std::move(controls);
            return true;
        }
    }
    if (error != nullptr) {
        *error = lockError(localizedName(), code);
    }
    return false;
}

void CaptureDevice::setFocusMode(FocusMode mode)
{
    if (m_state->locked) {
        m_state->locked->set(mode);
    }
}

void CaptureDevice::setExposureMode(ExposureMode mode)
{
    if (m_state->locked) {
        m_state->locked->set(mode);
    }
}

void CaptureDevice::setWhiteBalanceMode(WhiteBalanceMode mode)
{
    if (m_state->locked) {
        m_state->locked->set(mode);
    }
}

void CaptureDevice::unlockForConfiguration()
{
    m_state->locked.reset();
}

CaptureDeviceFormat CaptureDevice::activeFormat() const
{
    const auto node = m_state->node();
    const auto format = node ? chosenFormat(node->formats) : std::nullopt;
    if (!format) {
        return {};
    }
    return { encodingName(format->encoding), format->size,
        { { format->lowestRate, highestRate(*format) } } };
}

std::unique_ptr<CaptureDevice::Observation> CaptureDevice::observe(
    Adjustment adjustment, std::function<void(bool)> observer)
{
    const auto node = m_state->node();
    std::unique_ptr<Observation> observation;
    if (adjustment == Adjustment::Focus && node && !node->devicePath.isEmpty()) {
        observation = observeFocus(node->devicePath, std::move(observer));
    }
    return observation ? std::move(observation) : std::make_unique<SilentObservation>();
}

} // namespace platform
