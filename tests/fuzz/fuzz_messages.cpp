// Reads arbitrary bytes as messages. A message that is accepted must give the same bytes again.

#include "platform/barcode/isolation/DecoderMessages.h"

#include <cstdlib>

namespace {

template <typename Message> void check(const std::optional<Message>& message, QByteArrayView bytes)
{
    if (message && written(*message) != bytes) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using namespace platform::decoder;
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    check(readReply(bytes), bytes);
    check(readRequest(bytes), bytes);
    check(readGreeting(bytes), bytes);
    return 0;
}
