#pragma once

#include "platform/barcode/Locator.h"
#include "platform/barcode/PictureView.h"

#include <QTransform>

#include <vector>

namespace platform {

/// Finds the rows and columns of square modules at a place and redraws them evenly, for matrix
/// codes that are too bent, slanted or unevenly printed for an engine.
class ModuleGrid {
public:
    ModuleGrid(const PictureView& picture, const Place& place);

    /// The number of guesses at the modules per side; the first guess is the most likely.
    std::size_t guesses() const { return m_guesses.size(); }

    /// Straight: rows and columns are straight, but may be unevenly spaced. Bent: they may also be
    /// bent.
    enum class Lines { Straight, Bent };

    /// Draws the modules of a guess as small squares with a white quiet zone.
    void draw(std::size_t index, Lines lines, PictureBuffer& to);
    /// From the last drawing to the picture; exact at the corners of the code.
    const QTransform& toPicture() const { return m_toPicture; }

private:
    using Profile = std::vector<double>; ///< sum of brightness changes at each pixel of a side

    /// Equally spaced lines between modules, in one direction.
    struct Comb {
        double strength = 0;
        double begin = 0;
        double end = 0;
    };
    struct Guess {
        int modules = 0;
        double strength = 0;
        Comb columns;
        Comb rows;
        bool isFitted = false;
        QPolygonF corners; ///< in the rectified square; set once fitted
    };

    static Comb fittedComb(const Profile& profile, int modules);
    static std::vector<double> linesOf(const Profile& profile, int modules);
    void guess();
    void fit(Guess& guess);
    double roughness(const QPolygonF& corners, int modules) const;

    PictureBuffer m_square; ///< the place rectified to a square
    PictureBuffer m_edges; ///< edge strength at each pixel of the square
    PictureBuffer m_roughness; ///< m_edges averaged over half a module
    QTransform m_squareToPicture;
    QTransform m_toPicture;
    std::vector<Guess> m_guesses;
};

} // namespace platform
