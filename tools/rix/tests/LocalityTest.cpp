// What a plan does block by block has the bits of the whole: held against every class of the registry.

#include <cstring>
#include <map>

#include <gtest/gtest.h>

#include <rix/description/Algorithms.h>
#include <rix/description/Values.h>
#include <rix/image/MemoryImage.h>
#include <rix/properties/Property.h>

#include "Sanitizers.h"
#include "plan/PlanImages.h"
#include "plan/Planning.h"

namespace rix::cli {
namespace {

/// Objects of several sizes in noise.
std::unique_ptr<io::MemoryImage> makeScene(VoxelTypes type, const Extents& extents, Interpretations meaning) {
    auto image = std::make_unique<io::MemoryImage>();
    EXPECT_TRUE(image->reserve(type, extents[0], extents[1], extents[2], extents[3], extents[4]));
    image->setInterpretation(meaning);
    std::uint32_t chance = 12345;
    for (std::size_t i = 0; i < extents[0] * extents[1] * extents[2] * extents[3] * extents[4]; ++i) {
        chance = chance * 1664525U + 1013904223U;
        const bool isObject = (i % extents[0] / 9 + i / extents[0] / 7) % 3 == 0;
        const std::uint32_t value = (chance >> 26U) + (isObject ? 90U : 20U);
        if (type == RIX_FLOAT32) {
            reinterpret_cast<float*>(image->getInternalBuffer())[i] = static_cast<float>(value) / 7.0F;
        } else {
            image->getInternalBuffer()[i] = static_cast<std::uint8_t>(meaning == RIX_VALUE    ? value
                                                                      : meaning == RIX_BINARY ? isObject
                                                                                              : value / 32);
        }
    }
    return image;
}

struct Scene {
    VoxelTypes type;
    Interpretations meaning;
    Extents extents;
};

constexpr std::array scenes{
    Scene{RIX_UINT8, RIX_VALUE, {90, 70, 1, 2, 1}},   Scene{RIX_FLOAT32, RIX_VALUE, {90, 70, 1, 1, 1}},
    Scene{RIX_UINT8, RIX_BINARY, {90, 70, 1, 1, 1}},  Scene{RIX_UINT8, RIX_LABEL, {90, 70, 1, 1, 1}},
    Scene{RIX_UINT8, RIX_VALUE, {44, 40, 24, 1, 1}},  Scene{RIX_FLOAT32, RIX_VALUE, {44, 40, 24, 1, 1}},
    Scene{RIX_UINT8, RIX_BINARY, {44, 40, 24, 1, 1}},
};

/// A class with its required images, and a value for one of its choices.
class Case {
public:
    Case(const AlgoInfo& info, const std::string& choice, const std::string& value, const ImageModel& scene) {
        m_run.algorithm = description::createAlgorithm(info);
        if (!choice.empty()) {
            description::setValue(description::findProperty(*m_run.algorithm, choice), value);
        }
        for (BaseProperty* const property : description::listProperties(*m_run.algorithm)) {
            if (description::imageRoleOf(*property) == description::ImageRole::Input &&
                description::isRequired(*property)) {
                dynamic_cast<Property<const ImageModel*>&>(*property).set(&scene);
            } else if (description::imageRoleOf(*property) == description::ImageRole::Output) {
                m_made[property->getName()] = std::make_unique<io::MemoryImage>();
                dynamic_cast<Property<ImageModel*>&>(*property).set(m_made[property->getName()].get());
            }
        }
        m_run.resultObjects.create(*m_run.algorithm);
    }
    bool isForBlocks(Extents& shape) {
        try {
            m_run.algorithm->applyAllRules();
            return cli::isForBlocks(m_run, shape);
        } catch (const Exception&) {
            return false;  // not an operation on such an image
        }
    }
    BaseAlgorithm& algorithm() { return *m_run.algorithm; }
    const std::map<std::string, std::unique_ptr<io::MemoryImage>>& made() const { return m_made; }

private:
    PreparedRun m_run;
    std::map<std::string, std::unique_ptr<io::MemoryImage>> m_made;
};

std::vector<std::uint8_t> bytesOf(const ImageModel& image, const Box& box) {
    const auto copy = copyOf(image, box);
    std::size_t elements = 0;
    EXPECT_TRUE(helper::getElementCount(*copy, elements));
    const std::uint8_t* const begin = copy->getInternalBuffer();
    return {begin, begin + elements * helper::getElementSize(*copy)};
}

/// @return whether the class is done in blocks of such an image
bool comparesEqual(const AlgoInfo& info, const std::string& choice, const std::string& value, const ImageModel& scene) {
    Case whole(info, choice, value, scene);
    Extents shape{};
    if (!whole.isForBlocks(shape)) {
        return false;
    }
    const BorderInfluence influence = whole.algorithm().describe().borderInfluence;
    try {
        whole.algorithm().run();
    } catch (const Exception&) {
        return false;
    }
    // Blocks that begin at several places, which sums over windows of several lengths must not show.
    bool isCut = false;
    for (const std::size_t blocks : {2U, 5U, 12U}) {
        const BlockGrid grid = cutIntoBlocks(shape, blocks, influence);
        isCut = isCut || grid.blocks() > 1;
        for (std::size_t block = grid.blocks() - 1; block > 0; block = block * 2 / 3) {
            const Box inner = grid.boxOf(block);
            const Box source = grid.sourceOf(block, influence);
            const auto part = copyOf(scene, source);
            Case cut(info, choice, value, *part);
            cut.algorithm().run();
            Box within = inner;
            for (std::size_t axis = 0; axis < within.first.size(); ++axis) {
                within.first[axis] -= source.first[axis];
            }
            for (const auto& [name, image] : whole.made()) {
                EXPECT_TRUE(bytesOf(*image, inner) == bytesOf(*cut.made().at(name), within))
                    << info.getName() << ' ' << name << ' ' << choice << '=' << value << " block " << block << " of "
                    << grid.blocks() << ' ' << helper::describeImage(scene);
                if (testing::Test::HasFailure()) {
                    return true;
                }
            }
        }
    }
    return isCut;
}

TEST(Locality, HasTheBitsOfTheWholeForEveryClassAndChoice) {
    std::size_t compared = 0;
    test::Sampling sampling(8);
    for (const Scene& scene : scenes) {
        const auto image = makeScene(scene.type, scene.extents, scene.meaning);
        for (const AlgoInfo* const info : description::listedClasses()) {
            if (!sampling.takesNext()) {
                continue;
            }
            compared += comparesEqual(*info, {}, {}, *image) ? 1U : 0U;
            const auto algorithm = description::createAlgorithm(*info);
            for (const BaseProperty* const property : description::listProperties(*algorithm)) {
                const EnumInfo* const values = description::enumerationOf(*property);
                if (values == nullptr || property->isOutput()) {
                    continue;
                }
                for (const std::string& value : description::labelsOf(*values)) {
                    static_cast<void>(comparesEqual(*info, property->getName(), value, *image));
                }
            }
        }
    }
    EXPECT_GT(compared, test::sanitized ? 15U : 150U);
}

TEST(Locality, OfWindowsOfAllLengths) {
    const auto image = makeScene(RIX_FLOAT32, {170, 130, 1, 1, 1}, RIX_VALUE);
    const std::map<std::string, std::vector<std::string>> lengths = {
        {"kernelSizeX", {"2", "7", "8", "17", "60", "93", "169", "400"}},
        {"kernelSizeY", {"9", "59", "129", "131"}},
        {"kernelRadius", {"4"}},
        {"standardDeviationX", {"0.3", "2.7", "3", "4", "11"}},
        {"standardDeviation", {"0.3", "2.7", "3", "4", "11"}},
        {"standardDeviation2", {"3", "7"}},
        {"outerStandardDeviation", {"2.7", "4"}},
        {"maximumScale", {"2", "8"}},
        {"radius", {"2", "7", "20", "40"}},
        {"numberOfIterations", {"3"}},
    };
    std::size_t compared = 0;
    for (const AlgoInfo* const info : description::listedClasses()) {
        const auto algorithm = description::createAlgorithm(*info);
        for (const BaseProperty* const property : description::listProperties(*algorithm)) {
            const auto found = lengths.find(property->getName());
            for (std::size_t i = 0; found != lengths.end() && i < found->second.size(); ++i) {
                compared += comparesEqual(*info, found->first, found->second[i], *image) ? 1U : 0U;
            }
        }
    }
    EXPECT_GT(compared, 40U);
}

}  // namespace
}  // namespace rix::cli
