#pragma once

#include <QStringView>

namespace vellumcap {

/// Whether `text` is a URL as RFC 3986 writes it, with a scheme and a host. The scheme is not
/// looked at; text with characters that a URL cannot hold, such as a space, is no link.
bool isLink(QStringView text);

} // namespace vellumcap
