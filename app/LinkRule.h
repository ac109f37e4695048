#pragma once

#include <QStringView>

namespace vellumcap {

/// Whether `text` is a URI by the grammar of RFC 3986, appendix A, with a host that is not empty.
/// Any scheme is accepted. Text with a character that RFC 3986 does not allow, such as a space, is
/// no link.
bool isLink(QStringView text);

} // namespace vellumcap
