#include "VoteField.h"

#include <cmath>
#include <cstdlib>
#include <numbers>

#include <rix/access/Looks.h>

namespace rix::edge_detection {

namespace {

constexpr std::size_t n = VoteField::coefficients;
/// What vectors fill; as many floats as the widest has.
constexpr std::size_t group = 16;

using Coefficients = std::array<double, n>;

double decay(double square, double u, double scale) {
    const double c = -16.0 * std::log(0.1) * (scale - 1.0) / (std::numbers::pi * std::numbers::pi);
    const double angle = std::asin(std::sqrt(u));
    return std::exp(-(square * angle * angle / u + c * 4.0 * u / square) / (scale * scale));
}

/// The polynomial through the values at Chebyshev's points between 0 and 1/2.
Coefficients polynomialOf(double square, double scale) {
    std::array<double, n> places{};
    std::array<double, n> differences{};
    for (std::size_t i = 0; i < n; ++i) {
        const double turn = (2.0 * static_cast<double>(i) + 1.0) * std::numbers::pi / (2.0 * static_cast<double>(n));
        places[i] = 0.25 + 0.25 * std::cos(turn);
        differences[i] = decay(square, places[i], scale);
    }
    for (std::size_t k = 1; k < n; ++k) {
        for (std::size_t i = n - 1; i >= k; --i) {
            differences[i] = (differences[i] - differences[i - 1]) / (places[i] - places[i - k]);
        }
    }
    Coefficients result{};
    for (std::size_t k = n; k-- > 0;) {
        for (std::size_t i = n - 1; i > 0; --i) {
            result[i] = result[i - 1] - places[k] * result[i];
        }
        result[0] = differences[k] - places[k] * result[0];
    }
    return result;
}

/// The means of u^k over all directions of a tangent (in planes) or of a normal (in space), of those within 45 degrees.
std::array<double, n + 1> meansOfPowers(std::size_t axes) {
    std::array<double, n + 1> means{};
    for (std::size_t k = 0; k <= n; ++k) {
        const double power = static_cast<double>(k);
        if (axes == 3) {
            means[k] = std::pow(0.5, power + 0.5) / (2.0 * power + 1.0);
        } else if (k == 0) {
            means[k] = 0.5;
        } else {
            // By parts, from that of the power before.
            const double edge = std::pow(0.5, power) * 2.0 / std::numbers::pi;
            means[k] = ((2.0 * power - 1.0) * means[k - 1] - edge) / (2.0 * power);
        }
    }
    return means;
}

struct Extent {
    std::size_t rows = 0;
    std::size_t floats = 0;
};

/// Calls `use(y, z, reach)` for the rows of a field with y and z from 0 on.
template <class Use>
void forEachRow(std::size_t axes, std::size_t reach, const Use& use) {
    for (std::size_t z = 0; z <= (axes == 3 ? reach : 0); ++z) {
        for (std::size_t y = 0; y <= reach; ++y) {
            const std::size_t across = y * y + z * z;
            if (across <= reach * reach) {
                auto along = static_cast<std::size_t>(std::sqrt(static_cast<double>(reach * reach - across)));
                while (along * along + across > reach * reach) {
                    --along;
                }
                use(y, z, along);
            }
        }
    }
}

std::size_t strideOf(std::size_t reach) {
    return (2 * reach + 1 + group - 1) / group * group;
}

std::size_t floatsOf(std::size_t axes, std::size_t reach) {
    std::size_t floats = 0;
    forEachRow(axes, reach,
               [&](std::size_t, std::size_t, std::size_t along) { floats += VoteRow::Arrays * strideOf(along); });
    return floats;
}

std::size_t rowsOf(std::size_t axes, std::size_t reach) {
    return (reach + 1) * (axes == 3 ? reach + 1 : 1);
}

}  // namespace

std::size_t VoteField::reachOf(double scale) {
    return static_cast<std::size_t>(std::ceil(scale * std::sqrt(std::log(2000.0))));
}

VoteField::VoteField(std::size_t axes, double scale) : m_axes(axes), m_reach(reachOf(scale)) {
    access::resizeWithLooks(m_samples, floatsOf(axes, m_reach), 0.0F);
    m_rows.resize(rowsOf(axes, m_reach), VoteRow{nullptr, 0, 0});
    const std::array<double, n + 1> means = meansOfPowers(axes);
    // Coefficients, and what a ball gives across and along, by the square of the distance.
    access::CountedVector<std::array<float, n + 2>> known(m_reach * m_reach + 1, std::array<float, n + 2>{});
    access::Looks looks;
    float* samples = m_samples.data();
    forEachRow(axes, m_reach, [&](std::size_t y, std::size_t z, std::size_t along) {
        VoteRow& row = m_rows[y + z * (m_reach + 1)];
        row = {samples, strideOf(along), along};
        m_size += (2 * along + 1) * (y > 0 ? 2 : 1) * (z > 0 ? 2 : 1);
        for (std::size_t i = 0; i <= 2 * along; ++i) {
            const double x = static_cast<double>(i) - static_cast<double>(along);
            const auto square = static_cast<std::size_t>(x * x) + y * y + z * z;
            if (square == 0) {
                continue;
            }
            auto& values = known[square];
            if (values[0] == 0.0F) {
                const Coefficients p = polynomialOf(static_cast<double>(square), scale);
                double all = 0.0;
                double inDirection = 0.0;
                for (std::size_t k = 0; k < n; ++k) {
                    values[k] = static_cast<float>(p[k]);
                    all += p[k] * means[k];
                    inDirection += p[k] * means[k + 1];
                }
                const double across = (all - inDirection) / static_cast<double>(axes - 1);
                values[n] = static_cast<float>(across);
                values[n + 1] = static_cast<float>(inDirection - across);
                looks.add(10);
            }
            const double inverse = 1.0 / std::sqrt(static_cast<double>(square));
            samples[VoteRow::AlongX * row.stride + i] = static_cast<float>(x * inverse);
            samples[VoteRow::Inverse * row.stride + i] = static_cast<float>(inverse);
            for (std::size_t k = 0; k < n + 2; ++k) {
                samples[(VoteRow::Polynomial + k) * row.stride + i] = values[k];
            }
        }
        looks.add(along + 1);
        samples += VoteRow::Arrays * row.stride;
    });
}

std::size_t VoteField::bytes(std::size_t axes, double scale) {
    const std::size_t reach = reachOf(scale);
    return floatsOf(axes, reach) * sizeof(float) + rowsOf(axes, reach) * sizeof(VoteRow) +
           (reach * reach + 1) * sizeof(std::array<float, n + 2>);
}

const VoteRow* VoteField::row(std::ptrdiff_t y, std::ptrdiff_t z) const {
    const auto height = static_cast<std::size_t>(std::abs(y));
    const auto depth = static_cast<std::size_t>(std::abs(z));
    if (height > m_reach || depth > m_reach) {
        return nullptr;
    }
    const VoteRow& found = m_rows[height + depth * (m_reach + 1)];
    return found.samples == nullptr ? nullptr : &found;
}

float VoteField::ballEntry(std::size_t entry, const std::array<std::ptrdiff_t, 3>& at) const {
    const VoteRow* const found = row(at[1], at[2]);
    if (found == nullptr || static_cast<std::size_t>(std::abs(at[0])) > found->reach) {
        return 0.0F;
    }
    const auto i = static_cast<std::size_t>(at[0] + static_cast<std::ptrdiff_t>(found->reach));
    const float inverse = found->array(VoteRow::Inverse)[i];
    std::array<float, 3> direction{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        direction[axis] = static_cast<float>(at[axis]) * inverse;
    }
    constexpr std::size_t first[2][6] = {{0, 0, 1, 0, 0, 0}, {0, 0, 0, 1, 1, 2}};
    constexpr std::size_t second[2][6] = {{0, 1, 1, 0, 0, 0}, {0, 1, 2, 1, 2, 2}};
    const std::size_t a = first[m_axes - 2][entry];
    const std::size_t b = second[m_axes - 2][entry];
    return (a == b ? found->array(VoteRow::BallAcross)[i] : 0.0F) +
           found->array(VoteRow::BallAlong)[i] * (direction[a] * direction[b]);
}

ArcMeans::ArcMeans() {
    for (std::size_t i = 0; i < steps + 2; ++i) {
        const double y = static_cast<double>(std::min(i, steps)) / static_cast<double>(steps) * std::sqrt(0.5);
        const double width = 0.5 + y * y;  // 1 - w
        const double cosine = std::min(std::sqrt(0.5 / width), 1.0);
        const double sine = std::sqrt(std::max(1.0 - cosine * cosine, 0.0));
        double mean = 1.0 - std::acos(cosine) * 2.0 / std::numbers::pi;
        double power = cosine;
        table[i * means] = static_cast<float>(mean);
        for (std::size_t j = 1; j < means; ++j) {
            const double twice = 2.0 * static_cast<double>(j);
            mean = ((twice - 1.0) * mean - power * sine * 2.0 / std::numbers::pi) / twice;
            power *= cosine * cosine;
            table[i * means + j] = static_cast<float>(mean);
        }
    }
}

}  // namespace rix::edge_detection
