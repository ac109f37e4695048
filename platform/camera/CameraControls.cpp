#include "platform/camera/CameraControls.h"

#include "platform/camera/CameraRegistry.h"
#include "platform/camera/V4L2Device.h"

#include <algorithm>
#include <linux/videodev2.h>

namespace platform {

CameraControls::CameraControls(CameraNode node)
    : m_node(std::move(node))
{
    if (!m_node.devicePath.isEmpty()) {
        auto device = std::make_unique<V4L2Device>(m_node.devicePath);
        if (device->isOpen()) {
            m_device = std::move(device);
        }
    }
}

CameraControls::~CameraControls() = default;

bool CameraControls::isSupported(FocusMode mode) const
{
    switch (mode) {
    case FocusMode::Locked:
        return has(V4L2_CID_FOCUS_AUTO) || has(V4L2_CID_FOCUS_ABSOLUTE);
    case FocusMode::AutoFocus:
        return has(V4L2_CID_AUTO_FOCUS_START);
    case FocusMode::ContinuousAutoFocus:
        return has(V4L2_CID_FOCUS_AUTO);
    }
    return false;
}

/// V4L2 has no control that adjusts the exposure once.
bool CameraControls::isSupported(ExposureMode mode) const
{
    switch (mode) {
    case ExposureMode::Locked:
        return has(V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL);
    case ExposureMode::AutoExpose:
        return false;
    case ExposureMode::ContinuousAutoExposure:
        return automaticExposure().has_value();
    }
    return false;
}

bool CameraControls::isSupported(WhiteBalanceMode mode) const
{
    switch (mode) {
    case WhiteBalanceMode::Locked:
    case WhiteBalanceMode::ContinuousAutoWhiteBalance:
        return has(V4L2_CID_AUTO_WHITE_BALANCE);
    case WhiteBalanceMode::AutoWhiteBalance:
        return has(V4L2_CID_DO_WHITE_BALANCE);
    }
    return false;
}

void CameraControls::set(FocusMode mode)
{
    if (!isSupported(mode)) {
        return;
    }
    switch (mode) {
    case FocusMode::Locked:
        set(V4L2_CID_FOCUS_AUTO, 0);
        break;
    case FocusMode::AutoFocus:
        set(V4L2_CID_FOCUS_AUTO, 0);
        set(V4L2_CID_AUTO_FOCUS_START, 1);
        break;
    case FocusMode::ContinuousAutoFocus:
        set(V4L2_CID_FOCUS_AUTO, 1);
        break;
    }
}

void CameraControls::set(ExposureMode mode)
{
    if (isSupported(mode)) {
        set(V4L2_CID_EXPOSURE_AUTO,
            mode == ExposureMode::Locked ? static_cast<int>(V4L2_EXPOSURE_MANUAL)
                                         : *automaticExposure());
    }
}

void CameraControls::set(WhiteBalanceMode mode)
{
    if (!isSupported(mode)) {
        return;
    }
    switch (mode) {
    case WhiteBalanceMode::Locked:
        set(V4L2_CID_AUTO_WHITE_BALANCE, 0);
        break;
    case WhiteBalanceMode::AutoWhiteBalance:
        set(V4L2_CID_AUTO_WHITE_BALANCE, 0);
        set(V4L2_CID_DO_WHITE_BALANCE, 1);
        break;
    case WhiteBalanceMode::ContinuousAutoWhiteBalance:
        set(V4L2_CID_AUTO_WHITE_BALANCE, 1);
        break;
    }
}

bool CameraControls::claimPriority()
{
    return m_device == nullptr || m_device->claimPriority();
}

bool CameraControls::isCovered() const
{
    return m_device != nullptr && m_device->control(V4L2_CID_PRIVACY).value_or(0) != 0;
}

bool CameraControls::isBusy() const
{
    return m_device != nullptr && m_device->isBusy();
}

bool CameraControls::has(quint32 control) const
{
    return m_device != nullptr
        ? m_device->hasControl(control)
        : std::any_of(m_node.controls.begin(), m_node.controls.end(),
            [control](const CameraControl& each) { return each.id == control; });
}

bool CameraControls::has(quint32 control, int choice) const
{
    return m_device != nullptr ? m_device->hasChoice(control, choice)
                               : std::any_of(m_node.controls.begin(), m_node.controls.end(),
                                   [=](const CameraControl& each) {
                                       return each.id == control && each.choices.contains(choice);
                                   });
}

void CameraControls::set(quint32 control, int value)
{
    if (!has(control)) {
        return;
    }
    // Fails when the camera has just been unplugged.
    [[maybe_unused]] const bool isSet = m_device != nullptr
        ? m_device->setControl(control, value)
        : CameraRegistry::shared().setControl(m_node.name, control, value);
}

/// Most cameras adjust the exposure time only, since their aperture is fixed.
std::optional<int> CameraControls::automaticExposure() const
{
    for (const int choice : { V4L2_EXPOSURE_AUTO, V4L2_EXPOSURE_APERTURE_PRIORITY }) {
        if (has(V4L2_CID_EXPOSURE_AUTO, choice)) {
            return choice;
        }
    }
    return std::nullopt;
}

} // namespace platform
