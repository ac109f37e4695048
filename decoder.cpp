#include "platform/barcode/Detector.h"
#include "platform/barcode/isolation/DecoderService.h"

#include <unistd.h>

/// The process that searches pictures for codes. Started by Vellumcap; ends at once when it is
/// started without Vellumcap.
int main()
{
    // The sandbox forbids most of what exit handlers do, and none is needed.
    ::_exit(platform::decoder::serve(platform::detectCodes));
}
