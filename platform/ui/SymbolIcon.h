#pragma once

#include <QIcon>
#include <QString>

namespace platform {

/// An icon from an SVG resource of one colour, sharp at any size and scale. It is drawn in the
/// palette's current text colour, and so follows light and dark windows.
QIcon symbolIcon(const QString& svgPath);

} // namespace platform
