#include "platform/store/StoreText.h"

#include <string_view>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

bool isPlain(char16_t unit)
{
    if (unit < u' ') {
        return unit == u'\t' || unit == u'\n' || unit == u'\r';
    }
    return unit < 0xfffe;
}

/// The number of code units of the character at `at`; zero if XML cannot represent it.
qsizetype plainLength(QStringView text, qsizetype at)
{
    const char16_t unit = text[at].unicode();
    if (!QChar::isSurrogate(unit)) {
        return isPlain(unit) ? 1 : 0;
    }
    const bool isPair = QChar::isHighSurrogate(unit) && at + 1 < text.size()
        && QChar::isLowSurrogate(text[at + 1].unicode());
    return isPair ? 2 : 0;
}

int hexDigit(char16_t character)
{
    if (character >= u'0' && character <= u'9') {
        return character - u'0';
    }
    return character >= u'a' && character <= u'f' ? character - u'a' + 10 : -1;
}

/// The code unit that uXXXX represents.
std::optional<char16_t> escapedUnit(QStringView text)
{
    if (text.size() < 5 || text[0] != u'u') {
        return std::nullopt;
    }
    unsigned unit = 0;
    for (const QChar character : text.mid(1, 4)) {
        const int digit = hexDigit(character.unicode());
        if (digit < 0) {
            return std::nullopt;
        }
        unit = unit * 16 + static_cast<unsigned>(digit);
    }
    return static_cast<char16_t>(unit);
}

std::string_view referenceFor(char character)
{
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '\r':
        return "&#13;";
    default:
        return {};
    }
}

} // namespace

bool needsEscape(QStringView text)
{
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype length = plainLength(text, at);
        if (length == 0) {
            return true;
        }
        at += length;
    }
    return false;
}

QString escaped(QStringView text)
{
    QString result;
    result.reserve(text.size() + 16);
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype length = plainLength(text, at);
        if (length == 0) {
            result += u"\\u%1"_s.arg(text[at].unicode(), 4, 16, QLatin1Char('0'));
            ++at;
            continue;
        }
        if (text[at] == u'\\') {
            result += u'\\';
        }
        result += text.mid(at, length);
        at += length;
    }
    return result;
}

std::optional<QString> unescaped(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        if (text[at] != u'\\') {
            result += text[at++];
            continue;
        }
        const QStringView rest = text.mid(at + 1);
        if (rest.startsWith(u'\\')) {
            result += u'\\';
            at += 2;
            continue;
        }
        const std::optional<char16_t> unit = escapedUnit(rest);
        if (!unit) {
            return std::nullopt;
        }
        result += QChar(*unit);
        at += 6;
    }
    return result;
}

void appendXmlText(QByteArray& output, QStringView text)
{
    const QByteArray bytes = text.toUtf8();
    const char* run = bytes.constData();
    const char* const end = run + bytes.size();
    for (const char* at = run; at != end; ++at) {
        const std::string_view reference = referenceFor(*at);
        if (!reference.empty()) {
            output.append(run, at - run);
            output.append(reference.data(), static_cast<qsizetype>(reference.size()));
            run = at + 1;
        }
    }
    output.append(run, end - run);
}

} // namespace platform
