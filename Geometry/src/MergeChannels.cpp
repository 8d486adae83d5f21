#include <rix/geometry/MergeChannels.h>

#include "Joined.h"

namespace rix::geometry {

namespace {

/// On every image but the first.
class RuleSameBesideChannels : public Rules<ImageProperty> {
public:
    explicit RuleSameBesideChannels(const ImageProperty& first) : m_first(first) {}
    void apply(ImageProperty& property) override {
        const std::array<const ImageProperty*, 2> both{&m_first, &property};
        assertJoinable(both, SPECTRAL_SERIES);
    }
    String describe() const override {
        return "must have the extents of " + m_first.getName() + " but for its channels";
    }

private:
    const ImageProperty& m_first;
};

void declare(MergeChannels& merge, algorithms::Properties& properties) {
    declareImages(merge, properties);
    for (ImageProperty* const image :
         {static_cast<ImageProperty*>(&merge.inputImage2), static_cast<ImageProperty*>(&merge.inputImage3),
          static_cast<ImageProperty*>(&merge.inputImage4)}) {
        image->getImpl()->addRule(std::make_shared<RuleSameBesideChannels>(merge.inputImage1));
    }
    declareJoined(merge, properties, "The image with all channels.",
                  [](const MergeChannels& /*merge*/) { return SPECTRAL_SERIES; });
}

void process(MergeChannels& merge, OptimLevelType level) {
    join(merge.executionContext(), imagesOf(merge), SPECTRAL_SERIES, *merge.getOutputImage(), level);
}

constexpr algorithms::Definition<MergeChannels> definition{
    .summary = "Puts images together as the channels of one.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(MergeChannels, definition)

}  // namespace rix::geometry
