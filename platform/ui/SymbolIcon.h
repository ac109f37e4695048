#pragma once

#include <QIcon>
#include <QString>

namespace platform {

/// An icon from a one-colour SVG resource, drawn sharp at any size and scale in the colour that
/// the palette gives to text at that moment, so that it follows light and dark windows.
QIcon symbolIcon(const QString& svgPath);

} // namespace platform
