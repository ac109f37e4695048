#include "platform/barcode/Detector.h"
#include "platform/barcode/isolation/DecoderService.h"

#include <unistd.h>

/// The process that looks for codes in pictures. Vellumcap starts it; by hand it ends at once.
int main()
{
    // Nothing is left to be tidied up, and little of that would be allowed.
    ::_exit(platform::decoder::serve(platform::detectCodes));
}
