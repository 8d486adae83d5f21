#include "ReferenceMeasures.h"
#include "Testing.h"

namespace rix::individual_analysis::test_tools {

double hullSize(const std::vector<std::vector<std::int64_t>>& points) {
    const std::size_t axes = points.front().size();
    if (axes == 1) {
        const auto [low, high] = std::minmax_element(points.begin(), points.end());
        return static_cast<double>((*high)[0] - (*low)[0]);
    }
    std::set<std::vector<std::int64_t>> known;
    double sum = 0.0;
    const auto visit = [&](const auto& p, const auto& q, const auto& r) {
        std::vector<std::int64_t> n{q[1] - p[1], p[0] - q[0]};
        if (axes == 3) {
            for (std::size_t i = 0; i < 3; ++i) {
                const std::size_t j = (i + 1) % 3;
                const std::size_t k = (i + 2) % 3;
                n.resize(3);
                n[i] = (q[j] - p[j]) * (r[k] - p[k]) - (q[k] - p[k]) * (r[j] - p[j]);
            }
        }
        std::int64_t divisor = 0;
        for (const std::int64_t c : n) {
            divisor = std::gcd(divisor, c);
        }
        if (divisor == 0) {
            return;
        }
        std::transform(n.begin(), n.end(), n.begin(), [=](std::int64_t c) { return c / divisor; });
        const auto height = [&n](const auto& point) {
            return std::inner_product(n.begin(), n.end(), point.begin(), std::int64_t{0});
        };
        std::int64_t low = height(p);
        std::int64_t high = low;
        for (const auto& point : points) {
            low = std::min(low, height(point));
            high = std::max(high, height(point));
        }
        if (height(p) == low) {
            std::transform(n.begin(), n.end(), n.begin(), std::negate<>());
            high = -low;
        }
        if (height(p) != high || !known.insert(n).second) {
            return;
        }
        const auto widest = std::max_element(n.begin(), n.end(),
                                             [](std::int64_t a, std::int64_t b) { return std::abs(a) < std::abs(b); });
        std::vector<std::vector<std::int64_t>> base;
        for (auto point : points) {
            if (height(point) == high) {
                point.erase(point.begin() + (widest - n.begin()));
                base.push_back(point);
            }
        }
        sum += static_cast<double>(high) * hullSize(base) / static_cast<double>(std::abs(*widest));
    };
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t j = i + 1; j < points.size(); ++j) {
            for (std::size_t k = axes == 3 ? j + 1 : j; k < (axes == 3 ? points.size() : j + 1); ++k) {
                visit(points[i], points[j], points[k]);
            }
        }
    }
    return sum / static_cast<double>(axes);
}

namespace {

std::vector<DirectionShare> walkOverDirections(std::size_t axes, const std::array<double, 3>& spacing) {
    std::vector<DirectionShare> directions;
    for (int z = axes == 3 ? -1 : 0; z <= (axes == 3 ? 1 : 0); ++z) {
        for (int y = -1; y <= 1; ++y) {
            for (int x = -1; x <= 1; ++x) {
                if (x != 0 || y != 0 || z != 0) {
                    directions.push_back(
                        {{x, y, z}, std::hypot(x * spacing[0], y * spacing[1], axes == 3 ? z * spacing[2] : 0.0), 0.0});
                }
            }
        }
    }
    const auto visit = [&](double x, double y, double z, double part) {
        const auto cosine = [&](const DirectionShare& direction) {
            return (static_cast<double>(direction.step[0]) * spacing[0] * x +
                    static_cast<double>(direction.step[1]) * spacing[1] * y +
                    (axes == 3 ? static_cast<double>(direction.step[2]) * spacing[2] * z : 0.0)) /
                   direction.length;
        };
        const auto nearest =
            std::max_element(directions.begin(), directions.end(),
                             [&](const DirectionShare& a, const DirectionShare& b) { return cosine(a) < cosine(b); });
        nearest->share += part;
    };
    if (axes == 2) {
        for (int i = 0; i < 20000; ++i) {
            const double angle = (i + 0.5) / 20000 * 2 * M_PI;
            visit(std::cos(angle), std::sin(angle), 0.0, 1.0 / 20000);
        }
    } else {
        for (int i = 0; i < 40000; ++i) {  // points of equal area on a spiral
            const double z = 1.0 - (2.0 * i + 1.0) / 40000;
            const double angle = 2.399963229728653 * i;
            visit(std::sqrt(1 - z * z) * std::cos(angle), std::sqrt(1 - z * z) * std::sin(angle), z, 1.0 / 40000);
        }
    }
    return directions;
}

}  // namespace

const std::vector<DirectionShare>& directionShares(std::size_t axes, const std::array<double, 3>& spacing) {
    static std::map<std::pair<std::size_t, std::array<double, 3>>, std::vector<DirectionShare>> known;
    const auto [place, isNew] = known.try_emplace({axes, spacing});
    if (isNew) {
        place->second = walkOverDirections(axes, spacing);
    }
    return place->second;
}

}  // namespace rix::individual_analysis::test_tools
