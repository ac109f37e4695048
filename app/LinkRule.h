#pragma once

#include <QStringView>

namespace vellumcap {

/// Whether `text` is a URL according to RFC 3986 with a scheme and a host. Any scheme is accepted;
/// text with a character that RFC 3986 does not allow, such as a space, is no link.
bool isLink(QStringView text);

} // namespace vellumcap
