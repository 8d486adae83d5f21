// Connected thresholds against chains of neighbours that are followed one by one.

#include <rix/segmentation/ConnectedThreshold2d.h>
#include <rix/segmentation/ConnectedThreshold3d.h>
#include <rix/segmentation/HysteresisThresholding2d.h>
#include <rix/segmentation/HysteresisThresholding3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

/// Where chains lead from starts through what they may go through.
std::vector<double> followed(const std::vector<bool>& isStart, const std::vector<bool>& isWithin, const Extents& n,
                             std::size_t axes, int farthest) {
    std::vector<double> found(isStart.size(), 0.0);
    std::vector<Extents> chain;
    const auto indexOf = [&](const Extents& p) {
        return p[0] + n[0] * (p[1] + n[1] * (p[2] + n[2] * (p[3] + n[3] * p[4])));
    };
    const auto take = [&](const Extents& p) {
        if (isWithin[indexOf(p)] && found[indexOf(p)] == 0) {
            found[indexOf(p)] = 1;
            chain.push_back(p);
        }
    };
    forEachPosition(n, [&](const Extents& start) {
        if (isStart[indexOf(start)]) {
            take(start);
        }
        while (!chain.empty()) {
            const Extents p = chain.back();
            chain.pop_back();
            for (int k = 0; k < 27; ++k) {
                const std::int64_t d[3] = {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1};
                Extents to = p;
                bool isInside = d[0] * d[0] + d[1] * d[1] + d[2] * d[2] <= farthest && (axes == 3 || d[2] == 0);
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    to[axis] += static_cast<std::size_t>(d[axis]);
                    isInside = isInside && to[axis] < n[axis];
                }
                if (isInside) {
                    take(to);
                }
            }
        }
    });
    return found;
}

template <class Filter>
void compareConnected(Filter& filter, const ImageModel& gray, const ImageModel* markers, int neighborhood) {
    constexpr bool ofVolumes = requires { Filter::CONNECTIVITY_26; };
    io::MemoryImage out;
    filter.setInputGrayImage(&gray);
    filter.neighborhood = neighborhood;
    filter.setOutputBinaryImage(&out);
    filter.run();
    const std::vector<double> values = samplesOf<double>(gray);
    std::vector<bool> isStart;
    std::vector<bool> isWithin;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double lower = filter.getLowerThreshold();
        const double upper = filter.getUpperThreshold();
        if (markers != nullptr) {
            const double marker = samplesOf<double>(*markers)[i];
            isStart.push_back(marker != 0 && !std::isnan(marker));
            isWithin.push_back(lower <= values[i] && values[i] <= upper);
        } else {
            isStart.push_back(values[i] >= upper);
            isWithin.push_back(values[i] >= lower);
        }
    }
    const int farthest = ofVolumes ? neighborhood + 1 : neighborhood == 0 ? 1 : 2;
    const auto expected = followed(isStart, isWithin, helper::getExtents(gray), ofVolumes ? 3 : 2, farthest);
    EXPECT_EQ(samplesOf<double>(out), expected) << "neighborhood " << neighborhood;
    EXPECT_EQ(out.getInterpretation(), RIX_BINARY);
    EXPECT_EQ(out.getSpacingOf(ROWS), gray.getSpacingOf(ROWS));
}

TEST(ConnectedThreshold, FollowsChainsOfTheDefinition) {
    const Extents extents{19, 14, 3, 1, 2};
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32, RIX_FLOAT32, RIX_FLOAT64}) {
        io::MemoryImage gray = makeImage({.voxelType = type, .extents = extents}, [&](std::size_t x, std::size_t y,
                                                                                      std::size_t z, std::size_t,
                                                                                      std::size_t c) {
            const std::uint64_t random = ((x * 7919 + y * 104729 + z * 129 + c * 31) * 0x9E3779B97F4A7C15U) >> 29;
            const bool isReal = type == RIX_FLOAT32 || type == RIX_FLOAT64;
            return isReal && random % 17 == 0 ? std::nan("") : static_cast<double>(random % 100) + (isReal ? 0.5 : 0);
        });
        gray.setSpacingOf(ROWS, 0.25);
        const io::MemoryImage markers =
            makeImage({.voxelType = type, .extents = extents},
                      [](std::size_t x, std::size_t y, auto...) { return (x * 3 + y * 5) % 29 == 0 ? 2 : 0; });
        segmentation::ConnectedThreshold2d connected2d;
        segmentation::ConnectedThreshold3d connected3d;
        segmentation::HysteresisThresholding2d hysteresis2d;
        segmentation::HysteresisThresholding3d hysteresis3d;
        // Of integers the same as 36 and 84.
        const auto setLimits = [](auto& filter) {
            filter.setLowerThreshold(35.5);
            filter.setUpperThreshold(84.25);
        };
        setLimits(connected2d);
        setLimits(connected3d);
        setLimits(hysteresis2d);
        setLimits(hysteresis3d);
        connected2d.setInputMarkerImage(&markers);
        connected3d.setInputMarkerImage(&markers);
        for (const int neighborhood : {0, 1}) {
            compareConnected(connected2d, gray, &markers, neighborhood);
            compareConnected(hysteresis2d, gray, nullptr, neighborhood);
        }
        for (const int neighborhood : {0, 1, 2}) {
            compareConnected(connected3d, gray, &markers, neighborhood);
            compareConnected(hysteresis3d, gray, nullptr, neighborhood);
        }
        connected2d.setLowerThreshold(90);
        compareConnected(connected2d, gray, &markers, 1);  // an empty range
        hysteresis2d.setLowerThreshold(90);
        EXPECT_THROW(hysteresis2d.run(), RuleException);
        hysteresis2d.setLowerThreshold(std::nan(""));
        EXPECT_THROW(hysteresis2d.run(), RuleException);
    }
}

}  // namespace
}  // namespace rix::test
