#pragma once

#include "platform/barcode/Detector.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QSize>

#include <optional>

/// Messages between the program and its decoders: the kind, the version of the protocol, then fixed
/// fields in this machine's byte order. The read functions return nullopt unless every field is in
/// its range and no bytes are left over. Writing a message that was read gives the same bytes.
namespace platform::decoder {

/// A decoder's first message.
struct Greeting {
    int refusal = 0; ///< errno of the failure to enter the sandbox; 0: it serves requests
};

struct Request {
    quint64 number = 0; ///< repeated by the reply
    QSize size; ///< of the Format_Grayscale8 picture in the shared memory
    qsizetype bytesPerLine = 0;
    qsizetype newMemory = 0; ///< bytes of the shared memory sent along; 0: same as before
    std::optional<LiveFrame> frame;

    qsizetype bytes() const { return bytesPerLine * size.height(); }
};

struct Reply {
    quint64 number = 0;
    std::optional<Detection> detection; ///< none when detection failed
};

QByteArray written(const Greeting& greeting);
QByteArray written(const Request& request);
/// Omits the codes that exceed the size of a message, texts that are too long or not valid UTF-16,
/// and corners other than four finite ones.
QByteArray written(const Reply& reply);

std::optional<Greeting> readGreeting(QByteArrayView message);
std::optional<Request> readRequest(QByteArrayView message);
std::optional<Reply> readReply(QByteArrayView message);

} // namespace platform::decoder
