#pragma once

#include "platform/barcode/Locator.h"
#include "platform/barcode/PictureView.h"

#include <QTransform>

#include <vector>

namespace platform {

/// Finds the rows and columns of square modules at a place, for matrix codes that are too bent,
/// too slanted or too unevenly printed for an engine to follow, and draws them evenly.
class ModuleGrid {
public:
    ModuleGrid(const PictureView& picture, const Place& place);

    /// How many guesses there are at the number of modules a side, the most likely first.
    std::size_t guesses() const { return m_guesses.size(); }

    /// Straight: the rows and columns of a flat code, though unevenly spaced. Bent: they may bend
    /// on their way.
    enum class Lines { Straight, Bent };

    /// Draws the modules of a guess in small squares on white paper.
    void draw(std::size_t index, Lines lines, PictureBuffer& to);
    /// Of what was drawn last, to the picture; exact at the corners of the code.
    const QTransform& toPicture() const { return m_toPicture; }

private:
    using Profile = std::vector<double>; ///< how much brightness changes at each pixel of a side

    struct Teeth {
        double strength = 0;
        double begin = 0;
        double end = 0;
    };
    struct Guess {
        int modules = 0;
        double strength = 0;
        Teeth columns;
        Teeth rows;
        bool isFitted = false;
        QPolygonF corners; ///< in the straightened picture
    };

    static Teeth fittedTeeth(const Profile& profile, int modules);
    static std::vector<double> linesOf(const Profile& profile, int modules);
    void guess();
    void fit(Guess& guess);
    double unrest(const QPolygonF& corners, int modules) const;

    PictureBuffer m_straight; ///< the place as a square
    PictureBuffer m_edges; ///< how much brightness changes at each of its pixels
    PictureBuffer m_unrest; ///< and around, within half a module
    QTransform m_straightToPicture;
    QTransform m_toPicture;
    std::vector<Guess> m_guesses;
};

} // namespace platform
