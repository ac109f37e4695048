#include "platform/camera/CaptureDevice.h"

#include "platform/camera/CameraControls.h"
#include "platform/camera/CameraRegistry.h"
#include "platform/camera/DriverCall.h"
#include "platform/camera/FormatChoice.h"

#include <chrono>
#include <utility>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

/// For all calls of one handle together, when the driver is slow each time.
constexpr auto handleTimeout = 2 * driverTimeout;

} // namespace

struct CaptureDevice::State {
    QString uniqueID;
    QString localizedName;
    std::shared_ptr<CameraControls> locked; ///< between lock and unlock; else null
    QString lockedPath;
    Clock::duration waited{}; ///< for the driver, in total

    explicit State(const CameraNode& node)
        : uniqueID(node.name)
        , localizedName(node.description)
    {
    }

    std::optional<CameraNode> node() const { return CameraRegistry::shared().camera(uniqueID); }

    /// The value of `call`, if the driver responds in time.
    template <typename Call>
    auto ask(const QString& devicePath, Call call) -> std::optional<std::invoke_result_t<Call>>
    {
        if (devicePath.isEmpty()) {
            return call();
        }
        if (waited >= handleTimeout) {
            return std::nullopt;
        }
        const auto start = Clock::now();
        auto result = askDriver(devicePath, std::move(call));
        waited += Clock::now() - start;
        return result;
    }

    /// The answer of `question` about the camera's settings; false when the camera is unplugged.
    template <typename Question> bool answer(Question question)
    {
        if (locked) {
            return ask(lockedPath, [controls = locked, question] {
                return question(*controls);
            }).value_or(false);
        }
        const auto camera = node();
        return camera && ask(camera->devicePath, [camera, question] {
            return question(CameraControls(*camera));
        }).value_or(false);
    }

    template <typename Mode> void set(Mode mode)
    {
        if (locked) {
            (void)ask(lockedPath, [controls = locked, mode] {
                controls->set(mode);
                return true;
            });
        }
    }
};

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
    // A node that runs for this program alone makes its device busy.
    return !node->isRunning
        && m_state->answer([](const CameraControls& controls) { return controls.isBusy(); });
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

bool CaptureDevice::lockForConfiguration()
{
    if (m_state->locked) {
        return true;
    }
    const auto node = m_state->node();
    if (!node) {
        return false;
    }
    m_state->lockedPath = node->devicePath;
    m_state->locked = m_state
                          ->ask(node->devicePath,
                              [node] {
                                  auto controls = std::make_shared<CameraControls>(*node);
                                  return controls->claimPriority() ? controls : nullptr;
                              })
                          .value_or(nullptr);
    return m_state->locked != nullptr;
}

void CaptureDevice::setFocusMode(FocusMode mode)
{
    m_state->set(mode);
}

void CaptureDevice::setExposureMode(ExposureMode mode)
{
    m_state->set(mode);
}

void CaptureDevice::setWhiteBalanceMode(WhiteBalanceMode mode)
{
    m_state->set(mode);
}

/// A call that has timed out closes the device when it returns.
void CaptureDevice::unlockForConfiguration()
{
    auto controls = std::exchange(m_state->locked, nullptr);
    if (controls && !m_state->lockedPath.isEmpty()) {
        (void)visitDriver(m_state->lockedPath, [controls = std::move(controls)] {});
    }
}

CaptureDeviceFormat CaptureDevice::activeFormat() const
{
    const auto node = m_state->node();
    const auto format = node ? chosenFormat(node->formats) : std::nullopt;
    if (!format) {
        return {};
    }
    return { { { format->lowestRate, format->highestRate() } } };
}

std::unique_ptr<AdjustmentObservation> CaptureDevice::observe(
    Adjustment adjustment, std::function<void(bool)> observer)
{
    const auto node = m_state->node();
    if (adjustment != Adjustment::Focus || !node || node->devicePath.isEmpty()) {
        return nullptr;
    }
    return AdjustmentObservation::ofFocus(node->devicePath, std::move(observer));
}

} // namespace platform
