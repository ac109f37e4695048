#pragma once

#include "platform/barcode/Search.h"

#include <QByteArrayView>

#include <span>

namespace platform {

/// One way of reading a still picture.
struct StillAttempt {
    const char* name;
    void (*run)(Search& search);
};

/// In the order in which they are tried: what reads most for its time comes first.
std::span<const StillAttempt> stillAttempts();

/// Tries one after another until a code is found or the time is over that a picture of this size
/// may take: a second for twelve megapixels.
void searchStill(Search& search);

} // namespace platform
