#include "platform/barcode/ModuleGrid.h"

#include "platform/barcode/PictureFilters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace platform {
namespace {

constexpr int side = 480; // pixels of the rectified square
constexpr int minimumModules = 10;
constexpr int maximumModules = 80;
constexpr std::size_t maximumGuesses = 3;
constexpr double minimumStrength = 1.2; // of a guess
constexpr int modulePixels = 4;
constexpr int quietZone = 3; // modules

QPolygonF square(double size)
{
    return { QPointF(0, 0), QPointF(size, 0), QPointF(size, size), QPointF(0, size) };
}

QTransform quadTransform(const QPolygonF& from, const QPolygonF& to)
{
    QTransform transform;
    return QTransform::quadToQuad(from, to, transform) ? transform : QTransform();
}

int sampled(const PictureView& picture, QPointF at)
{
    const int x = std::clamp(static_cast<int>(at.x()), 0, picture.width - 1);
    const int y = std::clamp(static_cast<int>(at.y()), 0, picture.height - 1);
    return picture.row(y)[x];
}

double valueAt(const std::vector<double>& profile, double position)
{
    const auto i = static_cast<std::ptrdiff_t>(std::lround(position));
    return i < 0 || i >= std::ssize(profile) ? 0 : profile[static_cast<std::size_t>(i)];
}

double meanOf(const std::vector<double>& profile)
{
    double sum = 0;
    for (const double value : profile) {
        sum += value;
    }
    return std::max(1.0, sum / static_cast<double>(profile.size()));
}

struct Profiles {
    std::vector<double> columns = std::vector<double>(side);
    std::vector<double> rows = std::vector<double>(side);
};

// Column profile over the rows from begin to end, and row profile over the columns from begin to
// end.
Profiles profilesOf(const PictureView& picture, int begin, int end)
{
    Profiles profiles;
    for (int along = std::max(1, begin); along < end; ++along) {
        const uchar* row = picture.row(along);
        for (int i = 1; i < side; ++i) {
            profiles.columns[static_cast<std::size_t>(i)] += std::abs(row[i] - row[i - 1]);
        }
    }
    for (int i = 1; i < side; ++i) {
        const uchar* above = picture.row(i - 1);
        const uchar* here = picture.row(i);
        int sum = 0;
        for (int along = std::max(1, begin); along < end; ++along) {
            sum += std::abs(here[along] - above[along]);
        }
        profiles.rows[static_cast<std::size_t>(i)] = sum;
    }
    return profiles;
}

// The middle of module i at the position `across`, interpolated between the lines of two bands.
double middle(const std::vector<std::vector<double>>& bands, int i, double across)
{
    const auto last = static_cast<double>(bands.size() - 1);
    const double band
        = std::clamp(across / side * static_cast<double>(bands.size()) - 0.5, 0.0, last);
    const auto first = static_cast<std::size_t>(band);
    const std::size_t second = std::min(first + 1, bands.size() - 1);
    const auto in = [i](const std::vector<double>& lines) {
        return (lines[static_cast<std::size_t>(i)] + lines[static_cast<std::size_t>(i) + 1]) / 2;
    };
    const double share = band - static_cast<double>(first);
    return in(bands[first]) * (1 - share) + in(bands[second]) * share;
}

} // namespace

ModuleGrid::ModuleGrid(const PictureView& picture, const Place& place)
    : m_squareToPicture(quadTransform(square(side), place.outline))
{
    PictureFilters::warp(picture, m_squareToPicture, QSize(side, side), m_square);
    guess();
    if (!m_guesses.empty()) {
        PictureFilters::findEdges(m_square.view(), m_edges);
    }
}

// The comb whose lines have the strongest edges, compared with the middles between them.
ModuleGrid::Comb ModuleGrid::fittedComb(const Profile& profile, int modules)
{
    const double mean = meanOf(profile);
    const double step = static_cast<double>(side) / modules / 8;
    Comb best;
    for (int i = -4; i <= 4; ++i) {
        for (int j = -4; j <= 4; ++j) {
            const double begin = i * step;
            const double end = side + j * step;
            const double pitch = (end - begin) / modules;
            double onLines = 0;
            double within = 0;
            for (int k = 1; k < modules; ++k) {
                onLines += valueAt(profile, begin + k * pitch);
                within += valueAt(profile, begin + (k + 0.5) * pitch);
            }
            const double strength = (onLines - within) / (modules - 1) / mean;
            if (strength > best.strength) {
                best = { strength, begin, end };
            }
        }
    }
    return best;
}

void ModuleGrid::guess()
{
    const Profiles profiles = profilesOf(m_square.view(), 0, side);
    for (int modules = minimumModules; modules <= maximumModules; ++modules) {
        Guess guess{ modules, 0, fittedComb(profiles.columns, modules),
            fittedComb(profiles.rows, modules), false, {} };
        // A comb with many lines matches by chance less often than one with few.
        guess.strength = std::min(guess.columns.strength, guess.rows.strength)
            * std::sqrt(static_cast<double>(modules));
        if (guess.strength > minimumStrength) {
            m_guesses.push_back(guess);
        }
    }
    std::sort(m_guesses.begin(), m_guesses.end(),
        [](const Guess& a, const Guess& b) { return a.strength > b.strength; });
    m_guesses.resize(std::min(maximumGuesses, m_guesses.size()));
}

double ModuleGrid::roughness(const QPolygonF& corners, int modules) const
{
    const QTransform toSquare = quadTransform(square(modules), corners);
    qint64 sum = 0;
    for (int y = 0; y < modules; ++y) {
        for (int x = 0; x < modules; ++x) {
            sum += sampled(m_roughness.view(), toSquare.map(QPointF(x + 0.5, y + 0.5)));
        }
    }
    return static_cast<double>(sum);
}

// Moves the corners by smaller and smaller steps to where the edges at the middles of the modules
// are weakest.
void ModuleGrid::fit(Guess& guess)
{
    PictureFilters::average(m_edges.view(), side / guess.modules / 4, m_roughness);
    const Comb& columns = guess.columns;
    const Comb& rows = guess.rows;
    guess.corners = { QPointF(columns.begin, rows.begin), QPointF(columns.end, rows.begin),
        QPointF(columns.end, rows.end), QPointF(columns.begin, rows.end) };
    double least = roughness(guess.corners, guess.modules);
    constexpr double finest = 0.7; // pixels
    double step = static_cast<double>(side) / guess.modules / 2;
    while (step > finest) {
        for (int move = 0; move < 2 * 16; ++move) {
            QPolygonF moved = guess.corners;
            const double distance = move % 2 == 0 ? step : -step;
            moved[move / 4 % 4] += move % 4 < 2 ? QPointF(distance, 0) : QPointF(0, distance);
            const double found = roughness(moved, guess.modules);
            if (found < least) {
                least = found;
                guess.corners = moved;
            }
        }
        step /= 2;
    }
    guess.isFitted = true;
}

// The lines between modules, with the outer ones, that have the strongest edges while their
// distances stay close to the mean: dynamic programming over line and position.
std::vector<double> ModuleGrid::linesOf(const Profile& profile, int modules)
{
    constexpr double impossible = -std::numeric_limits<double>::infinity();
    const double pitch = static_cast<double>(side) / modules;
    const double stiffness = 2 * meanOf(profile);
    const int nearest = std::max(1, static_cast<int>(pitch * 0.75));
    const int farthest = static_cast<int>(std::ceil(pitch * 1.25));
    const auto tolerance = static_cast<int>(pitch * 1.5);
    const auto outerTolerance = static_cast<int>(pitch * 0.6);
    const auto lineCount = static_cast<std::size_t>(modules) + 1;
    std::vector<std::vector<double>> best(lineCount, std::vector<double>(side + 1, impossible));
    std::vector<std::vector<int>> before(lineCount, std::vector<int>(side + 1, 0));
    std::fill_n(best.front().begin(), outerTolerance + 1, 0.0);
    for (std::size_t line = 1; line < lineCount; ++line) {
        const auto expected = static_cast<int>(static_cast<double>(line) * pitch);
        const bool isOuter = line + 1 == lineCount;
        const int first = isOuter ? side - outerTolerance : std::max(nearest, expected - tolerance);
        for (int at = first; at <= std::min(side, expected + tolerance); ++at) {
            const auto here = static_cast<std::size_t>(at);
            const double edge = isOuter ? 0 : valueAt(profile, at);
            for (int distance = nearest; distance <= std::min(farthest, at); ++distance) {
                const double sum = best[line - 1][static_cast<std::size_t>(at - distance)] + edge
                    - std::abs(distance - pitch) / pitch * stiffness;
                if (sum > best[line][here]) {
                    best[line][here] = sum;
                    before[line][here] = at - distance;
                }
            }
        }
    }
    const auto end = std::max_element(best.back().begin(), best.back().end());
    std::vector<double> lines(lineCount);
    int at = static_cast<int>(end - best.back().begin());
    for (std::size_t line = lineCount; line-- > 0;) {
        lines[line] = *end == impossible ? static_cast<double>(line) * pitch : at;
        at = before[line][static_cast<std::size_t>(at)];
    }
    return lines;
}

void ModuleGrid::draw(std::size_t index, Lines lines, PictureBuffer& to)
{
    Guess& guess = m_guesses[index];
    if (!guess.isFitted) {
        fit(guess);
    }
    const QTransform toSquare = quadTransform(square(side), guess.corners);
    PictureBuffer fitted;
    PictureFilters::warp(m_square.view(), toSquare, QSize(side, side), fitted);
    const int bands = lines == Lines::Straight ? 1 : 4;
    std::vector<std::vector<double>> columns;
    std::vector<std::vector<double>> rows;
    for (int band = 0; band < bands; ++band) {
        const int overlap = bands > 1 ? side / 16 : 0;
        const Profiles profiles
            = profilesOf(fitted.view(), std::max(0, band * side / bands - overlap),
                std::min(side, (band + 1) * side / bands + overlap));
        columns.push_back(linesOf(profiles.columns, guess.modules));
        rows.push_back(linesOf(profiles.rows, guess.modules));
    }
    PictureBuffer modules;
    modules.resize(guess.modules, guess.modules);
    for (int y = 0; y < guess.modules; ++y) {
        for (int x = 0; x < guess.modules; ++x) {
            const double down = middle(rows, y, (x + 0.5) * side / guess.modules);
            const double right = middle(columns, x, down);
            modules.row(y)[x] = static_cast<uchar>(
                sampled(fitted.view(), QPointF(right, middle(rows, y, right))));
        }
    }
    PictureBuffer enlarged;
    PictureFilters::repeatPixels(modules.view(), modulePixels, enlarged);
    constexpr int margin = quietZone * modulePixels;
    PictureFilters::frame(enlarged.view(), margin, to);
    const double pixel = static_cast<double>(side) / (guess.modules * modulePixels);
    m_toPicture = QTransform::fromTranslate(-margin, -margin) * QTransform::fromScale(pixel, pixel)
        * toSquare * m_squareToPicture;
}

} // namespace platform
