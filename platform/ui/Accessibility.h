#pragma once

namespace platform {

/// Registers what screen readers are told about the widgets of this folder. Called once, by the
/// application's constructor. Main thread.
void installAccessibility();

} // namespace platform
