#pragma once

#include "platform/barcode/PictureView.h"

#include <QList>
#include <QPolygonF>

namespace platform {

/// Where something like a code stands: a quadrilateral around a place where edges are dense,
/// clockwise on the screen from any corner.
struct Place {
    QPolygonF outline;
    double edges = 0; ///< how many pixels of edges there are in it
};

/// The places that look most like codes, those with the most edges first. The picture is judged in
/// square cells, of which `cellsAcross` lie along its larger side: a code that is found is at least
/// four of them wide, and its modules are not much larger than one.
QList<Place> likelyPlaces(const PictureView& picture, int cellsAcross, qsizetype atMost);

} // namespace platform
