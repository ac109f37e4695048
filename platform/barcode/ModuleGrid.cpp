#include "platform/barcode/ModuleGrid.h"

#include "platform/barcode/PictureFilters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace platform {
namespace {

constexpr int side = 480; // of the straightened picture
constexpr int fewestModules = 10;
constexpr int mostModules = 80;
constexpr std::size_t mostGuesses = 3;
constexpr double weakest = 1.2; // strength of a guess that is worth a try
constexpr int modulePixels = 4;
constexpr int quietZone = 3; // modules

QPolygonF square(double size)
{
    return { QPointF(0, 0), QPointF(size, 0), QPointF(size, size), QPointF(0, size) };
}

QTransform between(const QPolygonF& from, const QPolygonF& to)
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

// Over the columns' part, and over the rows' part, of a square picture that lies in between.
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

// Where the middle of module i lies, given the lines in bands across the picture.
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
    : m_straightToPicture(between(square(side), place.outline))
{
    PictureFilters::warp(picture, m_straightToPicture, QSize(side, side), m_straight);
    guess();
    if (!m_guesses.empty()) {
        PictureFilters::findEdges(m_straight.view(), m_edges);
    }
}

// The comb of equal teeth that meets most edges between modules and fewest within.
ModuleGrid::Teeth ModuleGrid::fittedTeeth(const Profile& profile, int modules)
{
    const double mean = meanOf(profile);
    const double step = side / double(modules) / 8;
    Teeth best;
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
    const Profiles profiles = profilesOf(m_straight.view(), 0, side);
    for (int modules = fewestModules; modules <= mostModules; ++modules) {
        Guess guess{ modules, 0, fittedTeeth(profiles.columns, modules),
            fittedTeeth(profiles.rows, modules), false, {} };
        // Many teeth meet edges by chance less easily than few.
        guess.strength
            = std::min(guess.columns.strength, guess.rows.strength) * std::sqrt(double(modules));
        if (guess.strength > weakest) {
            m_guesses.push_back(guess);
        }
    }
    std::sort(m_guesses.begin(), m_guesses.end(),
        [](const Guess& a, const Guess& b) { return a.strength > b.strength; });
    m_guesses.resize(std::min(mostGuesses, m_guesses.size()));
}

double ModuleGrid::unrest(const QPolygonF& corners, int modules) const
{
    const QTransform toStraight = between(square(modules), corners);
    qint64 sum = 0;
    for (int y = 0; y < modules; ++y) {
        for (int x = 0; x < modules; ++x) {
            sum += sampled(m_unrest.view(), toStraight.map(QPointF(x + 0.5, y + 0.5)));
        }
    }
    return static_cast<double>(sum);
}

// Moves the corners until the middles of the modules lie where brightness changes least.
void ModuleGrid::fit(Guess& guess)
{
    PictureFilters::average(m_edges.view(), side / guess.modules / 4, m_unrest);
    const Teeth& columns = guess.columns;
    const Teeth& rows = guess.rows;
    guess.corners = { QPointF(columns.begin, rows.begin), QPointF(columns.end, rows.begin),
        QPointF(columns.end, rows.end), QPointF(columns.begin, rows.end) };
    double least = unrest(guess.corners, guess.modules);
    constexpr double finest = 0.7; // pixels
    double step = side / double(guess.modules) / 2;
    while (step > finest) {
        for (int move = 0; move < 2 * 16; ++move) {
            QPolygonF moved = guess.corners;
            const double distance = move % 2 == 0 ? step : -step;
            moved[move / 4 % 4] += move % 4 < 2 ? QPointF(distance, 0) : QPointF(0, distance);
            const double found = unrest(moved, guess.modules);
            if (found < least) {
                least = found;
                guess.corners = moved;
            }
        }
        step /= 2;
    }
    guess.isFitted = true;
}

// The lines between modules, the outer ones included, that meet the strongest edges while their
// distances stay near the mean: dynamic programming over line and position.
std::vector<double> ModuleGrid::linesOf(const Profile& profile, int modules)
{
    constexpr double impossible = -std::numeric_limits<double>::infinity();
    const double pitch = side / double(modules);
    const double stiffness = 2 * meanOf(profile);
    const int nearest = std::max(1, static_cast<int>(pitch * 0.75));
    const int farthest = static_cast<int>(std::ceil(pitch * 1.25));
    const auto strays = static_cast<int>(pitch * 1.5);
    const auto outerStrays = static_cast<int>(pitch * 0.6);
    const auto lineCount = static_cast<std::size_t>(modules) + 1;
    std::vector<std::vector<double>> best(lineCount, std::vector<double>(side + 1, impossible));
    std::vector<std::vector<int>> before(lineCount, std::vector<int>(side + 1, 0));
    std::fill_n(best.front().begin(), outerStrays + 1, 0.0);
    for (std::size_t line = 1; line < lineCount; ++line) {
        const auto expected = static_cast<int>(static_cast<double>(line) * pitch);
        const bool isOuter = line + 1 == lineCount;
        const int first = isOuter ? side - outerStrays : std::max(nearest, expected - strays);
        for (int at = first; at <= std::min(side, expected + strays); ++at) {
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
    const QTransform toStraight = between(square(side), guess.corners);
    PictureBuffer fitted;
    PictureFilters::warp(m_straight.view(), toStraight, QSize(side, side), fitted);
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
    const double pixel = side / double(guess.modules * modulePixels);
    m_toPicture = QTransform::fromTranslate(-margin, -margin) * QTransform::fromScale(pixel, pixel)
        * toStraight * m_straightToPicture;
}

} // namespace platform
