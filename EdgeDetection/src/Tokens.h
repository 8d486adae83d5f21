#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <rix/access/Blocks.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/rules/Rules.h>

namespace rix::edge_detection {

/// A voxel that votes. Its direction is its normal, in space as it was given; 0 where it has none.
struct Token {
    std::array<float, 3> direction;
    std::uint32_t column;

    bool isOriented() const { return direction[0] != 0.0F || direction[1] != 0.0F || direction[2] != 0.0F; }
};

/// The tokens of an image, row by row.
class Tokens {
public:
    /// Counts them. @param orientations angles of tangents in one channel, or directions in three; null for none
    Tokens(access::ExecutionContext& context, const ImageModel& objects, const ImageModel* orientations);
    /// Reads them.
    void collect(access::ExecutionContext& context);

    /// The most that they take, and what a thread holds meanwhile.
    static std::size_t bytes(const ImageModel& objects);
    static std::size_t rowBytes(const ImageModel& objects);

    std::size_t count() const { return m_firsts.back(); }
    std::size_t rows() const { return m_firsts.size() - 1; }
    std::size_t rowOf(std::size_t y, std::size_t z, std::size_t t) const {
        return (t * m_extents[PLANS] + z) * m_extents[ROWS] + y;
    }
    /// Those of a row up to `reach` columns from an interval.
    std::span<const Token> near(std::size_t row, const access::Interval& columns, std::size_t reach) const;

private:
    const ImageModel& m_objects;
    const ImageModel* m_orientations;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    access::CountedVector<std::size_t> m_firsts;  ///< of each row, and the end of the last
    access::CountedVector<Token> m_tokens;
};

/// 1 where there is a token, else 0. A step of the run.
void fillTokens(access::ExecutionContext& context, const ImageModel& objects, ImageModel& output);

/// Orientations fit the tokens, and have a channel for each component.
class RuleOrientations : public Rules<Property<const ImageModel*>> {
public:
    RuleOrientations(const Property<const ImageModel*>& objects, std::size_t channels)
        : m_objects(objects), m_channels(channels) {}
    void apply(Property<const ImageModel*>& property) override;
    String describe() const override;

private:
    const Property<const ImageModel*>& m_objects;
    std::size_t m_channels;
};

}  // namespace rix::edge_detection
