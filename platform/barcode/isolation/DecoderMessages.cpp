#include "platform/barcode/isolation/DecoderMessages.h"

#include "platform/barcode/isolation/DecoderLimits.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

namespace platform::decoder {
namespace {

constexpr quint32 version = 1;
constexpr quint32 lastSymbology = static_cast<quint32>(Symbology::UpcE);
constexpr qsizetype cornerCount = 4;
constexpr double furthestCorner = 2.0 * largestSide; // pixels from the picture's origin
constexpr quint32 mostUnits = static_cast<quint32>(longestText);

enum class Kind : quint32 { Greeting = 0x56430001, Request, Reply };

// The part of a rectangle that can be inside a picture.
QRect placeInPicture(const QRect& located)
{
    return located & QRect(0, 0, largestSide, largestSide);
}

class Writer {
public:
    explicit Writer(Kind kind)
    {
        put(static_cast<quint32>(kind));
        put(version);
    }

    template <typename Field> void put(Field field)
    {
        static_assert(std::is_arithmetic_v<Field>);
        m_bytes.append(reinterpret_cast<const char*>(&field), sizeof field);
    }
    void putFlag(bool isSet) { put(isSet ? quint32{ 1 } : quint32{ 0 }); }
    void put(const QRect& rect)
    {
        for (const int field : { rect.x(), rect.y(), rect.width(), rect.height() }) {
            put<qint32>(field);
        }
    }
    void put(const QString& text)
    {
        m_bytes.append(reinterpret_cast<const char*>(text.utf16()), text.size() * qsizetype{ 2 });
    }

    QByteArray bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

/// Reads a message field by field and records whether one was missing or out of range.
class Reader {
public:
    Reader(QByteArrayView message, Kind kind)
        : m_rest(message)
    {
        const auto kindRead = take<quint32>();
        const auto versionRead = take<quint32>();
        require(kindRead == static_cast<quint32>(kind) && versionRead == version
            && message.size() <= largestMessage);
    }

    void require(bool condition) { m_isValid = m_isValid && condition; }
    bool isValid() const { return m_isValid; }
    bool isWhollyRead() const { return m_isValid && m_rest.isEmpty(); }

    template <typename Field> Field take()
    {
        static_assert(std::is_arithmetic_v<Field>);
        Field field = 0;
        takeBytes(reinterpret_cast<char*>(&field), sizeof field);
        return field;
    }

    template <typename Field> Field take(Field least, Field most)
    {
        const auto field = take<Field>();
        require(field >= least && field <= most);
        return m_isValid ? field : least;
    }

    bool takeFlag() { return take<quint32>(0, 1) == 1; }

    QRect takeRect()
    {
        const int x = take<qint32>(0, largestSide);
        const int y = take<qint32>(0, largestSide);
        const int width = take<qint32>(0, largestSide);
        const int height = take<qint32>(0, largestSide);
        const QRect rect(x, y, width, height);
        require(rect == placeInPicture(rect));
        return rect;
    }

    QString takeText(qsizetype length)
    {
        QString text(length, Qt::Uninitialized);
        takeBytes(reinterpret_cast<char*>(text.data()), length * 2);
        require(m_isValid && text.isValidUtf16());
        return text;
    }

private:
    void takeBytes(char* to, qsizetype count)
    {
        require(m_rest.size() >= count);
        if (m_isValid) {
            std::copy_n(m_rest.begin(), count, to);
            m_rest = m_rest.sliced(count);
        }
    }

    QByteArrayView m_rest;
    bool m_isValid = true;
};

bool isCorner(QPointF point)
{
    const auto isPlace = [](double coordinate) { return std::abs(coordinate) <= furthestCorner; };
    return isPlace(point.x()) && isPlace(point.y()); // false for a NaN, too
}

bool areCorners(const QPolygonF& corners)
{
    return corners.size() == cornerCount && std::all_of(corners.begin(), corners.end(), isCorner);
}

void put(Writer& writer, const BarcodeObservation& code)
{
    const bool hasText = code.payloadStringValue && code.payloadStringValue->size() <= longestText
        && code.payloadStringValue->isValidUtf16();
    const QString text = hasText ? *code.payloadStringValue : QString();
    const QPolygonF corners = areCorners(code.corners) ? code.corners : QPolygonF();
    writer.put(static_cast<quint32>(code.symbology));
    writer.putFlag(hasText);
    writer.put(static_cast<quint32>(text.size()));
    writer.putFlag(!corners.isEmpty());
    for (const QPointF& corner : corners) {
        writer.put(corner.x());
        writer.put(corner.y());
    }
    writer.put(text);
}

BarcodeObservation takeCode(Reader& reader)
{
    BarcodeObservation code;
    code.symbology = static_cast<Symbology>(reader.take<quint32>(0, lastSymbology));
    const bool hasText = reader.takeFlag();
    const auto length = reader.take<quint32>(0, hasText ? mostUnits : 0);
    if (reader.takeFlag()) {
        for (qsizetype i = 0; i < cornerCount; ++i) {
            const auto x = reader.take<double>();
            const auto y = reader.take<double>();
            code.corners.append(QPointF(x, y));
        }
        reader.require(areCorners(code.corners));
    }
    const QString text = reader.takeText(length);
    if (hasText) {
        code.payloadStringValue = text;
    }
    return code;
}

struct WrittenCodes {
    QByteArray bytes;
    quint32 count = 0;
};

/// As many of the codes as fit into `room` bytes.
WrittenCodes writtenCodes(const QList<BarcodeObservation>& codes, qsizetype room)
{
    WrittenCodes written;
    for (const BarcodeObservation& code : codes) {
        Writer writer(Kind::Reply);
        const qsizetype header = writer.bytes().size();
        put(writer, code);
        const QByteArray next = writer.bytes().mid(header);
        if (written.count == mostCodes || written.bytes.size() + next.size() > room) {
            break;
        }
        written.bytes += next;
        ++written.count;
    }
    return written;
}

} // namespace

QByteArray written(const Greeting& greeting)
{
    Writer writer(Kind::Greeting);
    writer.put<qint32>(greeting.refusal);
    return writer.bytes();
}

QByteArray written(const Request& request)
{
    Writer writer(Kind::Request);
    writer.put(request.number);
    writer.put<qint32>(request.size.width());
    writer.put<qint32>(request.size.height());
    writer.put<qint64>(request.bytesPerLine);
    writer.put<qint64>(request.newMemory);
    writer.putFlag(request.frame.has_value());
    if (request.frame) {
        writer.put(request.frame->number);
        writer.put(placeInPicture(request.frame->located));
    }
    return writer.bytes();
}

QByteArray written(const Reply& reply)
{
    Writer writer(Kind::Reply);
    writer.put(reply.number);
    writer.putFlag(reply.detection.has_value());
    if (!reply.detection) {
        return writer.bytes();
    }
    writer.put(placeInPicture(reply.detection->located));
    const qsizetype room
        = largestMessage - writer.bytes().size() - static_cast<qsizetype>(sizeof(quint32));
    const WrittenCodes codes = writtenCodes(reply.detection->codes, room);
    writer.put(codes.count);
    return writer.bytes() + codes.bytes;
}

std::optional<Greeting> readGreeting(QByteArrayView message)
{
    Reader reader(message, Kind::Greeting);
    const Greeting greeting{ reader.take<qint32>(0, 0x7fff) };
    return reader.isWhollyRead() ? std::optional(greeting) : std::nullopt;
}

std::optional<Request> readRequest(QByteArrayView message)
{
    Reader reader(message, Kind::Request);
    Request request;
    request.number = reader.take<quint64>();
    const int width = reader.take<qint32>(1, largestSide);
    const int height = reader.take<qint32>(1, largestSide);
    request.size = { width, height };
    request.bytesPerLine = reader.take<qint64>(width, largestPicture);
    request.newMemory = reader.take<qint64>(0, largestPicture);
    reader.require(request.bytes() <= largestPicture);
    if (reader.takeFlag()) {
        request.frame.emplace();
        request.frame->number = reader.take<quint64>();
        request.frame->located = reader.takeRect();
    }
    return reader.isWhollyRead() ? std::optional(request) : std::nullopt;
}

std::optional<Reply> readReply(QByteArrayView message)
{
    Reader reader(message, Kind::Reply);
    Reply reply;
    reply.number = reader.take<quint64>();
    if (reader.takeFlag()) {
        reply.detection.emplace();
        reply.detection->located = reader.takeRect();
        const auto count = reader.take<quint32>(0, static_cast<quint32>(mostCodes));
        for (quint32 i = 0; i < count && reader.isValid(); ++i) {
            reply.detection->codes.append(takeCode(reader));
        }
    }
    return reader.isWhollyRead() ? std::optional(std::move(reply)) : std::nullopt;
}

} // namespace platform::decoder
