#pragma once

namespace platform {

/// Makes the platform's widgets known to screen readers. Every widget calls it when it is made;
/// only the first call has an effect.
void installAccessibility();

} // namespace platform
