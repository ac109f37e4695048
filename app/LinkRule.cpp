#include "app/LinkRule.h"

#include <QList>
#include <QString>

#include <algorithm>
#include <optional>
#include <utility>

// The functions here are named after the rules of RFC 3986, appendix A. QUrl does not follow them:
// it checks host names as the domain name system has them, whatever the scheme.

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

bool isAlpha(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isHexDigit(QChar c)
{
    return isDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

bool areDigits(QStringView text)
{
    return std::all_of(text.begin(), text.end(), isDigit);
}

bool areHexDigits(QStringView text)
{
    return std::all_of(text.begin(), text.end(), isHexDigit);
}

bool isUnreservedOrSubDelim(QChar c)
{
    return isAlpha(c) || isDigit(c) || QStringView(u"-._~!$&'()*+,;=").contains(c);
}

/// The part of `text` before the first of `delimiters`, and the part from there on.
std::pair<QStringView, QStringView> splitAt(QStringView text, QStringView delimiters)
{
    const auto isDelimiter = [delimiters](QChar c) { return delimiters.contains(c); };
    const auto end = std::find_if(text.begin(), text.end(), isDelimiter) - text.begin();
    return { text.first(end), text.sliced(end) };
}

/// Whether `text` has nothing but unreserved characters, sub-delims, percent-escapes and `others`.
bool hasOnly(QStringView text, QStringView others)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (text[at] == u'%') {
            if (at + 2 >= text.size() || !areHexDigits(text.sliced(at + 1, 2))) {
                return false;
            }
            at += 2;
        } else if (!isUnreservedOrSubDelim(text[at]) && !others.contains(text[at])) {
            return false;
        }
    }
    return true;
}

bool isScheme(QStringView text)
{
    const auto isAllowed
        = [](QChar c) { return isAlpha(c) || isDigit(c) || QStringView(u"+-.").contains(c); };
    return !text.isEmpty() && isAlpha(text.front())
        && std::all_of(text.begin(), text.end(), isAllowed);
}

bool isDecOctet(QStringView text)
{
    return !text.isEmpty() && text.size() <= 3 && areDigits(text) && text.toInt() <= 255
        && (text.size() == 1 || text.front() != u'0');
}

bool isIPv4Address(QStringView text)
{
    const auto octets = text.split(u'.');
    return octets.size() == 4 && std::all_of(octets.begin(), octets.end(), isDecOctet);
}

/// The number of 16-bit groups in `text`, if all of them are well formed.
std::optional<qsizetype> groupCount(QStringView text)
{
    if (text.isEmpty()) {
        return 0;
    }
    const auto groups = text.split(u':');
    const auto isGroup = [](QStringView group) {
        return !group.isEmpty() && group.size() <= 4 && areHexDigits(group);
    };
    if (!std::all_of(groups.begin(), groups.end(), isGroup)) {
        return std::nullopt;
    }
    return groups.size();
}

bool isIPv6Address(QStringView text)
{
    QString groups = text.toString();
    // An IPv4 address at the end stands for two groups.
    const qsizetype last = text.lastIndexOf(u':') + 1;
    if (isIPv4Address(text.sliced(last))) {
        groups.replace(last, text.size() - last, u"0:0"_s);
    }
    const qsizetype gap = groups.indexOf(u"::");
    if (gap < 0) {
        return groupCount(groups) == 8;
    }
    const auto before = groupCount(QStringView(groups).first(gap));
    const auto after = groupCount(QStringView(groups).sliced(gap + 2));
    return before && after && *before + *after <= 7;
}

bool isIPvFuture(QStringView text)
{
    const qsizetype dot = text.indexOf(u'.');
    return dot > 1 && text.front().toLower() == u'v' && areHexDigits(text.sliced(1, dot - 1))
        && dot + 1 < text.size() && !text.contains(u'%') && hasOnly(text.sliced(dot + 1), u":");
}

bool isIPLiteral(QStringView text)
{
    if (text.size() < 2 || !text.startsWith(u'[') || !text.endsWith(u']')) {
        return false;
    }
    const QStringView address = text.sliced(1).chopped(1);
    return isIPv6Address(address) || isIPvFuture(address);
}

/// Unlike in the RFC, the name may not be empty.
bool isRegName(QStringView text)
{
    return !text.isEmpty() && hasOnly(text, {});
}

bool isAuthority(QStringView text)
{
    const qsizetype at = text.indexOf(u'@');
    const QStringView hostAndPort = text.sliced(at + 1);
    const qsizetype addressEnd = hostAndPort.lastIndexOf(u']') + 1; // the colons before are its own
    const auto [name, port] = splitAt(hostAndPort.sliced(addressEnd), u":");
    const QStringView host = hostAndPort.first(addressEnd + name.size());
    return (at < 0 || hasOnly(text.first(at), u":")) && (isIPLiteral(host) || isRegName(host))
        && areDigits(port.mid(1));
}

} // namespace

bool isLink(QStringView text)
{
    const qsizetype schemeEnd = text.indexOf(u"://");
    if (schemeEnd < 0 || !isScheme(text.first(schemeEnd))) {
        return false;
    }
    const auto [beforeFragment, fragment] = splitAt(text.sliced(schemeEnd + 3), u"#");
    const auto [authority, pathAndQuery] = splitAt(beforeFragment, u"/?");
    return isAuthority(authority) && hasOnly(pathAndQuery, u":@/?")
        && hasOnly(fragment.mid(1), u":@/?");
}

} // namespace vellumcap
