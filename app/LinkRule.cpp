#include "app/LinkRule.h"

#include <QUrl>

#include <algorithm>

namespace vellumcap {

namespace {

bool isHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

/// unreserved, gen-delims or sub-delims of RFC 3986, section 2; "%" is checked by
/// percentSignsAreEscapes().
bool isUrlCharacter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9')
        || QStringView(u"-._~:/?#[]@!$&'()*+,;=").contains(c);
}

bool percentSignsAreEscapes(QStringView text)
{
    for (qsizetype at = text.indexOf(u'%'); at >= 0; at = text.indexOf(u'%', at + 1)) {
        if (at + 2 >= text.size() || !isHexDigit(text[at + 1]) || !isHexDigit(text[at + 2])) {
            return false;
        }
    }
    return true;
}

/// Brackets may only enclose an address in the host, and there is at most one "#".
bool delimitersArePlacedCorrectly(QStringView text)
{
    const qsizetype authority = text.indexOf(u"://");
    if (authority < 0) {
        return false;
    }
    const QStringView rest = text.sliced(authority + 3);
    const auto isEnd = [](QChar c) { return c == u'/' || c == u'?' || c == u'#'; };
    const auto end = std::find_if(rest.begin(), rest.end(), isEnd);
    const QStringView afterHost = rest.sliced(end - rest.begin());
    return !afterHost.contains(u'[') && !afterHost.contains(u']') && text.count(u'#') <= 1;
}

} // namespace

bool isLink(QStringView text)
{
    const auto allowed = [](QChar c) { return c == u'%' || isUrlCharacter(c); };
    if (!std::all_of(text.begin(), text.end(), allowed) || !percentSignsAreEscapes(text)
        || !delimitersArePlacedCorrectly(text)) {
        return false;
    }
    const QUrl url(text.toString(), QUrl::StrictMode);
    return url.isValid() && !url.scheme().isEmpty() && !url.host().isEmpty();
}

} // namespace vellumcap
