#pragma once

#include "platform/barcode/PictureView.h"

#include <QList>
#include <QPolygonF>

namespace platform {

/// Where something like a code stands: a quadrilateral around a place where edges are dense,
/// clockwise on the screen from any corner.
struct Place {
    QPolygonF outline;
    double likelihood = 0; ///< grows with how many edges there are, and how dense
};

/// The places that look most like codes, the likeliest first. The picture is judged in
/// square cells, of which `cellsAcross` lie along its larger side: a code that is found is at least
/// four of them wide, and its modules are not much larger than one.
QList<Place> likelyPlaces(const PictureView& picture, int cellsAcross, qsizetype atMost);

/// By how much brightness changes over two pixels, across and down, at one pixel of a picture and
/// its likes: of most pictures little, of noisy ones much.
int medianEdge(const PictureView& picture);

} // namespace platform
