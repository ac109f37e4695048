#pragma once

#include "platform/barcode/Detector.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QSize>

#include <optional>

/// What the program and its decoders say to each other: fixed fields in this machine's byte order,
/// behind the message's kind and the version of the protocol. A reader takes a message only when
/// every field is in its range and nothing is left over; then writing it again gives the same
/// bytes.
namespace platform::decoder {

/// A decoder's first message.
struct Greeting {
    int refusal = 0; ///< errno of what kept it from locking itself in, and so from serving
};

struct Request {
    quint64 number = 0; ///< that the reply repeats
    QSize size; ///< of the picture of Format_Grayscale8 that lies in the shared memory
    qsizetype bytesPerLine = 0;
    qsizetype newMemory = 0; ///< bytes of the shared memory that comes along; 0: as before
    std::optional<LiveFrame> frame;

    qsizetype bytes() const { return bytesPerLine * size.height(); }
};

struct Reply {
    quint64 number = 0;
    std::optional<Detection> detection;
};

QByteArray written(const Greeting& greeting);
QByteArray written(const Request& request);
/// Of codes there are at most as many as a message may hold; a text that is too long or not valid
/// UTF-16 counts as none, as do corners other than four finite ones.
QByteArray written(const Reply& reply);

std::optional<Greeting> readGreeting(QByteArrayView message);
std::optional<Request> readRequest(QByteArrayView message);
std::optional<Reply> readReply(QByteArrayView message);

} // namespace platform::decoder
