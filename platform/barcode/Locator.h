#pragma once

#include "platform/barcode/PictureView.h"

#include <QList>
#include <QPolygonF>

namespace platform {

/// The likely place of a code: an area with dense edges.
struct Place {
    QPolygonF outline; ///< a quadrilateral, clockwise on the screen, from any corner
    double likelihood = 0; ///< grows with the number and the density of edges
};

/// Returns at most `maximum` places, the most likely first. Divides the picture into square cells,
/// `cellsAcross` along its larger side. Finds codes that are at least four cells wide and whose
/// modules are not much larger than a cell.
QList<Place> likelyPlaces(const PictureView& picture, int cellsAcross, qsizetype maximum);

/// Median edge strength over all pixels: low for clean pictures, high for noisy ones. The strength
/// is the sum of the horizontal and the vertical difference in brightness over two pixels.
int medianEdge(const PictureView& picture);

} // namespace platform
