#pragma once

#include "platform/barcode/Search.h"

namespace platform {

/// Makes one attempt after another until one finds a code, or until the processor time for a
/// picture of this size is spent: a second for twelve megapixels.
void searchStill(Search& search);

} // namespace platform
