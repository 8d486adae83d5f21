#include "Tokens.h"

#include <algorithm>
#include <cmath>

#include <rix/access/Looks.h>
#include <rix/access/PointFilters.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/rules/RuleSupport.h>

namespace rix::edge_detection {

namespace {

constexpr std::size_t rowsOfPart = 64;
constexpr double nanosecondsPerVoxel = 1.0;

bool isToken(double value) {
    return value != 0.0 && value == value;
}

access::RowSegment segmentOf(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t row) {
    access::RowSegment segment;
    segment.row = row % extents[ROWS];
    segment.plane = row / extents[ROWS] % extents[PLANS];
    segment.sequence = row / extents[ROWS] / extents[PLANS];
    segment.count = extents[COLUMNS];
    return segment;
}

/// Calls `use(row)` for all rows, in parallel parts.
template <class Use>
void forEachRow(access::ExecutionContext& context, std::size_t rows, std::size_t columns, const Use& use) {
    const std::size_t parts = (rows + rowsOfPart - 1) / rowsOfPart;
    const double nanoseconds = nanosecondsPerVoxel * static_cast<double>(rowsOfPart * columns);
    access::forEachPart(context, parts, nanoseconds, [&](std::size_t part) {
        access::Looks looks;
        const access::Interval interval = access::partOf(rows, parts, part);
        for (std::size_t row = interval.begin; row < interval.end; ++row) {
            use(row);
            looks.add(columns / 64 + 1);
        }
    });
}

}  // namespace

Tokens::Tokens(access::ExecutionContext& context, const ImageModel& objects, const ImageModel* orientations)
    : m_objects(objects), m_orientations(orientations), m_extents(helper::getExtents(objects)) {
    const std::size_t rows = m_extents[ROWS] * m_extents[PLANS] * m_extents[SEQUENCE];
    access::resizeWithLooks(m_firsts, rows + 1, std::size_t{0});
    forEachRow(context, rows, m_extents[COLUMNS], [&](std::size_t row) {
        access::RowReader<double> reader(objects);
        const double* const values = reader.read(segmentOf(m_extents, row));
        m_firsts[row + 1] = static_cast<std::size_t>(std::count_if(values, values + m_extents[COLUMNS], &isToken));
    });
    access::Looks looks;
    for (std::size_t row = 0; row < rows; ++row) {
        m_firsts[row + 1] += m_firsts[row];
        looks.add(row % 64 == 0 ? 1 : 0);
    }
}

void Tokens::collect(access::ExecutionContext& context) {
    access::resizeWithLooks(m_tokens, count());
    forEachRow(context, rows(), m_extents[COLUMNS], [&](std::size_t row) {
        if (m_firsts[row] == m_firsts[row + 1]) {
            return;
        }
        access::RowReader<double> reader(m_objects);
        const access::RowSegment segment = segmentOf(m_extents, row);
        const double* const values = reader.read(segment);
        Token* token = m_tokens.data() + m_firsts[row];
        for (std::size_t x = 0; x < segment.count; ++x) {
            if (isToken(values[x])) {
                *token++ = {{0.0F, 0.0F, 0.0F}, static_cast<std::uint32_t>(x)};
            }
        }
        if (m_orientations == nullptr) {
            return;
        }
        const bool areAngles = m_orientations->getNumOf(SPECTRAL_SERIES) == 1;
        Token* const tokens = m_tokens.data() + m_firsts[row];
        const std::size_t count = m_firsts[row + 1] - m_firsts[row];
        access::RowReader<double, 3> directions(*m_orientations);
        std::array<const double*, 3> components{};
        for (std::size_t axis = 0; axis < (areAngles ? 1U : 3U); ++axis) {
            access::RowSegment there = segment;
            there.spectral = axis;
            components[axis] = directions.read(there, axis);
        }
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t x = tokens[i].column;
            std::array<double, 3> direction{};
            if (areAngles) {
                direction = {-std::sin(components[0][x]), std::cos(components[0][x]), 0.0};
            } else {
                const double length = std::hypot(components[0][x], components[1][x], components[2][x]);
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    direction[axis] = components[axis][x] / length;
                }
            }
            const double sum = direction[0] + direction[1] + direction[2];
            for (std::size_t axis = 0; axis < 3; ++axis) {
                tokens[i].direction[axis] = std::isfinite(sum) ? static_cast<float>(direction[axis]) : 0.0F;
            }
        }
    });
}

std::size_t Tokens::bytes(const ImageModel& objects) {
    const auto extents = helper::getExtents(objects);
    const std::size_t rows = extents[ROWS] * extents[PLANS] * extents[SEQUENCE];
    return (rows + 1) * sizeof(std::size_t) + rows * extents[COLUMNS] * sizeof(Token);
}

std::size_t Tokens::rowBytes(const ImageModel& objects) {
    return 8 * access::Scratch::held(objects.getNumOf(COLUMNS) * sizeof(double));
}

std::span<const Token> Tokens::near(std::size_t row, const access::Interval& columns, std::size_t reach) const {
    const Token* const begin = m_tokens.data() + m_firsts[row];
    const Token* const end = m_tokens.data() + m_firsts[row + 1];
    const Token* const first =
        std::partition_point(begin, end, [&](const Token& token) { return token.column + reach < columns.begin; });
    return {first,
            std::partition_point(first, end, [&](const Token& token) { return token.column < columns.end + reach; })};
}

void fillTokens(access::ExecutionContext& context, const ImageModel& objects, ImageModel& output) {
    access::transformRows<double, float>(context, objects, output, nanosecondsPerVoxel,
                                         [](const double* in, float* out, std::size_t count) {
                                             for (std::size_t x = 0; x < count; ++x) {
                                                 out[x] = isToken(in[x]) ? 1.0F : 0.0F;
                                             }
                                         });
}

void RuleOrientations::apply(Property<const ImageModel*>& property) {
    if (property.get() == nullptr) {
        return;
    }
    auto wanted = helper::getExtents(*m_objects.get());
    wanted[SPECTRAL_SERIES] = m_channels;
    if (helper::getExtents(*property.get()) != wanted) {
        rules::refuse(rules::parameterText(property) + " must have the extents of " + rules::parameterText(m_objects) +
                          " and " + std::to_string(m_channels) + (m_channels == 1 ? " channel." : " channels."),
                      "Make it from the same image.");
    }
}

String RuleOrientations::describe() const {
    return "must have the extents of the tokens and " + std::to_string(m_channels) +
           (m_channels == 1 ? " channel" : " channels");
}

}  // namespace rix::edge_detection
