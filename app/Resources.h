#pragma once

namespace vellumcap {

/// Makes the resources of the program's library known; called once before any is used.
void loadResources();

} // namespace vellumcap
