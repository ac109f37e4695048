// From pixels to codes, in this process: a fault of a library ends the fuzzer, and would end a
// decoder. To go on after one: -fork=1 -ignore_crashes=1.

#include "platform/barcode/isolation/DecoderLimits.h"
#include "platform/barcode/isolation/DecoderMessages.h"
#include "tests/fuzz/FuzzedPicture.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using namespace platform::decoder;
    const auto picture = fuzz::pictureOf(QByteArrayView(data, static_cast<qsizetype>(size)));
    if (picture.grey.isNull()) {
        return 0;
    }
    const auto detection = platform::detectCodes(picture.grey, picture.frame);
    // Whatever was found, a decoder has to be able to tell it.
    const QByteArray message = written(Reply{ 1, detection });
    if (!readReply(message)) {
        std::abort();
    }
    return 0;
}
