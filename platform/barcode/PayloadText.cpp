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

// The half-width katakana of JIS X 0201 have the same bytes as characters of ISO 8859-1. Text in
// ISO 8859-1 rarely has four of these characters in succession.
bool holdsHalfWidthWord(const QString& text)
{
    constexpr int shortestWord = 4;
    int length = 0;
    return std::any_of(text.begin(), text.end(), [&length](QChar character) {
        const bool isHalfWidth = character >= QChar(0xFF61) && character <= QChar(0xFF9F);
        length = isHalfWidth ? length + 1 : 0;
        return length >= shortestWord;
    });
}

} // namespace

std::optional<QString> payloadText(QByteArrayView bytes)
{
    if (QUtf8StringView(bytes.data(), bytes.size()).isValidUtf8()) {
        return QString::fromUtf8(bytes);
    }
    auto japanese = fromShiftJis(bytes);
    if (japanese && holdsHalfWidthWord(*japanese)) {
        return japanese;
    }
    return std::all_of(bytes.begin(), bytes.end(), isAssignedInLatin)
        ? std::optional(QString::fromLatin1(bytes))
        : japanese;
}

} // namespace platform
