// Searches pictures for codes in this process: a crash of a library ends the fuzzer, as it would
// end a decoder. To continue after a crash: -fork=1 -ignore_crashes=1.

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
    // A decoder must be able to send every result.
    const QByteArray message = written(Reply{ 1, detection });
    if (!readReply(message)) {
        std::abort();
    }
    return 0;
}
