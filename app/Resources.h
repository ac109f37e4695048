#pragma once

namespace vellumcap {

/// Registers the resources of the program's library. Called once, before any of them is used.
void loadResources();

} // namespace vellumcap
