#include "platform/barcode/PayloadText.h"

#include <QStringDecoder>

#include <algorithm>

namespace platform {
namespace {

bool isAssignedInLatin(char byte)
{
    const auto code = static_cast<uchar>(byte);
    return code < 0x80 || code >= 0xA0;
}

bool isLayout(QChar character)
{
    return character == u'\t' || character == u'\n' || character == u'\r';
}

std::optional<QString> fromShiftJis(QByteArrayView bytes)
{
    QStringDecoder decoder("Shift_JIS", QStringDecoder::Flag::Stateless);
    if (!decoder.isValid()) {
        return std::nullopt;
    }
    const QString text = decoder(bytes);
    const bool isComplete
        = !decoder.hasError() && std::none_of(text.begin(), text.end(), [](QChar character) {
              return character == QChar::ReplacementCharacter
                  || character.category() == QChar::Other_PrivateUse
                  || (character.category() == QChar::Other_Control && !isLayout(character));
          });
    return isComplete ? std::optional(text) : std::nullopt;
}

} // namespace

std::optional<QString> payloadText(QByteArrayView bytes)
{
    if (QUtf8StringView(bytes.data(), bytes.size()).isValidUtf8()) {
        return QString::fromUtf8(bytes);
    }
    if (std::all_of(bytes.begin(), bytes.end(), isAssignedInLatin)) {
        return QString::fromLatin1(bytes);
    }
    return fromShiftJis(bytes);
}

} // namespace platform
