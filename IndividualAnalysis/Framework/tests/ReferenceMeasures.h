#pragma once

// The definitions of the measures of shape and intensity, followed pixel by pixel.

#include "ReferenceObjects.h"

namespace rix::individual_analysis::test_tools {

using Position = std::array<std::int64_t, 3>;

/// The size of the convex hull of points with whole coordinates: each plane (line) through some of them that has all
/// others on one side carries a pyramid about the origin, whose base is again a hull.
double hullSize(const std::vector<std::vector<std::int64_t>>& points);

/// The part of all directions of the plane (of space) that are closest to the step to one neighbour.
struct DirectionShare {
    Position step;
    double length;  ///< of the step, in the world
    double share;
};

/// Found by walking over all directions in small steps, once for each spacing.
const std::vector<DirectionShare>& directionShares(std::size_t axes, const std::array<double, 3>& spacing);

/// An object with what references ask of it.
struct ReferenceObject {
    const std::vector<Pixel>& pixels;
    const ImageModel& image;

    std::size_t axes() const { return image.getNumOf(PLANS) > 1 ? 3 : 2; }
    double spacing(std::size_t axis) const { return image.getSpacingOf(static_cast<Components>(axis)); }
    double count() const { return static_cast<double>(pixels.size()); }
    double size() const { return count() * spacing(0) * spacing(1) * (axes() == 3 ? spacing(2) : 1.0); }
    double world(const Pixel& pixel, std::size_t axis) const {
        return image.getOriginOf(static_cast<Components>(axis)) + static_cast<double>(pixel.at[axis]) * spacing(axis);
    }
    double mean(const std::function<double(const Pixel&)>& value) const {
        double sum = 0.0;
        for (const Pixel& pixel : pixels) {
            sum += value(pixel);
        }
        return sum / count();
    }
    std::int64_t lowest(std::size_t axis) const {
        return std::min_element(pixels.begin(), pixels.end(),
                                [axis](const Pixel& a, const Pixel& b) { return a.at[axis] < b.at[axis]; })
            ->at[axis];
    }
    std::int64_t highest(std::size_t axis) const {
        return std::max_element(pixels.begin(), pixels.end(),
                                [axis](const Pixel& a, const Pixel& b) { return a.at[axis] < b.at[axis]; })
            ->at[axis];
    }
    std::vector<double> sortedValues() const {
        std::vector<double> values;
        for (const Pixel& pixel : pixels) {
            values.push_back(pixel.values.at(0));
        }
        std::sort(values.begin(), values.end());
        return values;
    }
    double percentile(double p) const {
        const std::vector<double> values = sortedValues();
        const double place = p / 100.0 * static_cast<double>(values.size() - 1);
        const auto lower = static_cast<std::size_t>(place);
        const std::size_t upper = std::min(lower + 1, values.size() - 1);
        return values[lower] + (place - static_cast<double>(lower)) * (values[upper] - values[lower]);
    }
    double centre(std::size_t axis) const {
        return mean([&](const Pixel& p) { return world(p, axis); });
    }
    double moment(std::size_t i, std::size_t j) const {
        const double ci = centre(i);
        const double cj = centre(j);
        return mean([&](const Pixel& p) { return (world(p, i) - ci) * (world(p, j) - cj); }) +
               (i == j ? spacing(i) * spacing(i) / 12.0 : 0.0);
    }

    /// The closed cells of the pixels of each dimension, at doubled coordinates: their alternating sum.
    double euler() const {
        std::set<Position> cells;
        for (const Pixel& pixel : pixels) {
            for (int dx = 0; dx <= 2; ++dx) {
                for (int dy = 0; dy <= 2; ++dy) {
                    for (int dz = axes() == 3 ? 0 : 1; dz <= (axes() == 3 ? 2 : 1); ++dz) {
                        cells.insert({2 * pixel.at[0] + dx, 2 * pixel.at[1] + dy, 2 * pixel.at[2] + dz});
                    }
                }
            }
        }
        double sum = 0.0;
        for (const Position& cell : cells) {
            int dimension = 0;
            for (std::size_t axis = 0; axis < axes(); ++axis) {
                dimension += cell[axis] % 2 != 0 ? 1 : 0;
            }
            sum += dimension % 2 == 0 ? 1.0 : -1.0;
        }
        return sum;
    }

    /// Entries of lines along a step.
    double entries(const Position& step) const {
        std::set<Position> all;
        for (const Pixel& pixel : pixels) {
            all.insert(pixel.at);
        }
        double sum = 0.0;
        for (const Position& at : all) {
            sum += all.contains({at[0] + step[0], at[1] + step[1], at[2] + step[2]}) ? 0.0 : 1.0;
        }
        return sum;
    }
    /// The perimeter or surface, with the share of each direction found by walking over all directions.
    double boundary() const {
        const double cell = spacing(0) * spacing(1) * (axes() == 3 ? spacing(2) : 1.0);
        double sum = 0.0;
        for (const DirectionShare& direction : directionShares(axes(), {spacing(0), spacing(1), spacing(2)})) {
            sum += direction.share * entries(direction.step) * cell / direction.length;
        }
        return sum * (axes() == 3 ? 4.0 : M_PI);
    }

    /// All corners of all pixels, counted in pixels.
    std::set<Position> latticeCorners() const {
        std::set<Position> all;
        for (const Pixel& pixel : pixels) {
            for (int c = 0; c < (axes() == 3 ? 8 : 4); ++c) {
                all.insert({pixel.at[0] + (c & 1), pixel.at[1] + (c >> 1 & 1), pixel.at[2] + (c >> 2 & 1)});
            }
        }
        return all;
    }
    double hull() const {
        std::vector<std::vector<std::int64_t>> points;
        for (const Position& at : latticeCorners()) {
            points.emplace_back(at.begin(), at.begin() + static_cast<std::ptrdiff_t>(axes()));
        }
        return hullSize(points) * size() / count();
    }
    /// The same corners in the world.
    std::vector<std::array<double, 3>> corners() const {
        std::vector<std::array<double, 3>> result;
        for (const Position& at : latticeCorners()) {
            result.push_back({static_cast<double>(at[0]) * spacing(0), static_cast<double>(at[1]) * spacing(1),
                              axes() == 3 ? static_cast<double>(at[2]) * spacing(2) : 0.0});
        }
        return result;
    }
    double diameter() const {
        double largest = 0.0;
        const auto all = corners();
        for (const auto& a : all) {
            for (const auto& b : all) {
                largest = std::max(largest, std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]));
            }
        }
        return largest;
    }
    double widthAt(double angle) const {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        for (const auto& corner : corners()) {
            const double at = corner[0] * std::cos(angle) + corner[1] * std::sin(angle);
            low = std::min(low, at);
            high = std::max(high, at);
        }
        return high - low;
    }
};

}  // namespace rix::individual_analysis::test_tools
