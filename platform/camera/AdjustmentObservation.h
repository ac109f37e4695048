#pragma once

#include "platform/services/Observers.h"

#include <QString>

#include <functional>
#include <memory>

namespace platform {

/// Calls an observer whenever a camera begins or ends to adjust itself. The destructor ends the
/// observation, after a running call has returned.
class AdjustmentObservation {
public:
    /// Observes the focus of a V4L2 device; `observer` is called on a thread of its own. Null when
    /// the device does not report its focus.
    static std::unique_ptr<AdjustmentObservation> ofFocus(
        const QString& devicePath, std::function<void(bool isAdjusting)> observer);
    ~AdjustmentObservation();
    AdjustmentObservation(const AdjustmentObservation&) = delete;
    AdjustmentObservation& operator=(const AdjustmentObservation&) = delete;

private:
    class FocusWatch;
    AdjustmentObservation(
        std::shared_ptr<FocusWatch> watch, std::function<void(bool isAdjusting)> observer);

    const std::shared_ptr<FocusWatch> m_watch;
    Observation m_observation;
};

} // namespace platform
