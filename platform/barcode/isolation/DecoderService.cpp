#include "platform/barcode/isolation/DecoderService.h"

#include "platform/barcode/QRCodeGenerator.h"
#include "platform/barcode/isolation/DecoderChannel.h"
#include "platform/barcode/isolation/DecoderLimits.h"
#include "platform/barcode/isolation/DecoderMessages.h"
#include "platform/barcode/isolation/DecoderSandbox.h"
#include "platform/barcode/isolation/SharedPixels.h"

#include <cstdlib>
#include <unistd.h>
#include <utility>

namespace platform::decoder {
namespace {

constexpr int niceness = 5; // windows have priority
constexpr int moduleSide = 4; // pixels

// The program's own descriptors are closed on exec; those that it inherited may not be.
void dropInheritedState()
{
    ::close_range(lifelineDescriptor + 1, ~0U, 0);
    if (::chdir("/") == 0) {
        [[maybe_unused]] const int level = ::nice(niceness);
    }
}

QImage enlarged(const QImage& modules)
{
    QImage picture(modules.size() * moduleSide, QImage::Format_Grayscale8);
    for (int y = 0; y < picture.height(); ++y) {
        const uchar* from = modules.constScanLine(y / moduleSide);
        uchar* line = picture.scanLine(y);
        for (int x = 0; x < picture.width(); ++x) {
            line[x] = from[x / moduleSide];
        }
    }
    return picture;
}

// Has the libraries initialise themselves, such as by opening files, while that is allowed.
void warmUp()
{
    QImage blank(256, 256, QImage::Format_Grayscale8);
    blank.fill(0xff);
    for (const char* message : { "UTF-8: gr\xC3\xBC\xC3\x9F", "Latin: gr\xFC\xDF",
             "Shift JIS: \x93\xFA\x96\x7B\x8C\xEA" }) {
        detectCodes(enlarged(QRCodeGenerator::outputImage(message)), std::nullopt);
    }
    detectCodes(blank, std::nullopt);
    detectCodes(blank, LiveFrame());
}

class Service {
public:
    explicit Service(Channel channel)
        : m_channel(std::move(channel))
    {
    }

    bool greet(int refusal) const { return m_channel.send(written(Greeting{ refusal })); }

    /// Serves until the program closes the channel. False after an invalid request or a failure.
    template <typename Detect> bool answerAll(const Detect& detect)
    {
        while (auto message = m_channel.receiveWithDescriptor()) {
            const auto request = readRequest(message->bytes);
            if (!request || !takePixels(*request, std::move(message->descriptor))) {
                return false;
            }
            const Reply reply{ request->number, detect(picture(*request), request->frame) };
            if (m_pixels.size() > largestKept) {
                m_pixels = MappedMemory();
            }
            if (!m_channel.send(written(reply))) {
                return false;
            }
        }
        return true;
    }

private:
    bool takePixels(const Request& request, FileDescriptor descriptor)
    {
        if (request.newMemory > 0) {
            m_pixels = MappedMemory(); // unmapped first, to stay within the memory limit
            m_pixels = MappedMemory(descriptor, request.newMemory, MappedMemory::Access::Read);
        }
        descriptor.close();
        return request.bytes() <= m_pixels.size();
    }

    // Constant pixels: changing the image would copy them.
    QImage picture(const Request& request) const
    {
        const uchar* pixels = m_pixels.data();
        return { pixels, request.size.width(), request.size.height(), request.bytesPerLine,
            QImage::Format_Grayscale8 };
    }

    Channel m_channel;
    MappedMemory m_pixels;
};

} // namespace

int serve(
    const std::function<std::optional<Detection>(const QImage&, std::optional<LiveFrame>)>& detect)
{
    dropInheritedState();
    if (!dieWith(lifelineDescriptor)) {
        return EXIT_FAILURE;
    }
    warmUp();
    Service service{ Channel(FileDescriptor(socketDescriptor)) };
    const Result<void> locked = lockIn(socketDescriptor);
    if (!service.greet(locked ? 0 : locked.error().code) || !locked) {
        return EXIT_FAILURE;
    }
    return service.answerAll(detect) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace platform::decoder
