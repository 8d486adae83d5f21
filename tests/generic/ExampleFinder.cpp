#include "ExampleFinder.h"

#include "Properties.h"
#include "WatchedScheduler.h"

namespace rix::test {

namespace {

/// Input images worth trying, likeliest first. Their extents are those of the search.
const ImageRecipe candidateImages[] = {
    ImageTraits{.voxelType = RIX_UINT8},
    ImageTraits{.voxelType = RIX_UINT8, .interpretation = RIX_BINARY},
    ImageTraits{.voxelType = RIX_UINT16, .interpretation = RIX_LABEL},
    ImageTraits{.voxelType = RIX_FLOAT32},
    ImageTraits{.voxelType = RIX_COMPLEX_FLOAT32},
    std::nullopt,
};

/// For all numbers of an algorithm at once; none leaves the defaults, at first but for the quick numbers below.
const std::optional<double> candidateNumbers[] = {std::nullopt, std::nullopt, 3.0, 1.0, 0.5};

/// In place of defaults with which a run takes long, most tests running an example many times, or with which it leaves
/// images as they are: extents of a scaled image of which one grows, one shrinks and one changes little, and turns.
const std::map<String, double> quickNumbers{
    {"numberOfObjects", 6.0}, {"searchRadius", 1.0},   {"kernelRadius", 2.0},  {"numberOfIterations", 3.0},
    {"sizeX", 43.0},          {"sizeY", 9.0},          {"sizeZ", 4.0},         {"angle", 25.0},
    {"maximumScale", 3.0},    {"numberOfScales", 2.0}, {"angleX", 10.0},       {"angleY", -15.0},
    {"angleZ", 30.0},         {"scaleX", 1.25},        {"maximumRadius", 2.0}, {"scale", 2.0}};

/// As many steps of a run, each of which takes longer than the one before.
const std::set<String> numbersOfSteps{"maximumRadius"};

/// Uneven, so that vectors have remainders; volumes first, for algorithms that take nothing less, colours last.
const Extents candidateExtents[] = {{37, 21, 5, 1, 1}, {37, 21, 1, 1, 1}, {37, 21, 1, 1, 3}};

/// One of each kind of shape, in growing order: the first whose work is cut is taken.
std::vector<Extents> largeExtents(const Extents& small) {
    constexpr std::ptrdiff_t steps = sanitized ? 3 : 5;
    const Extents planar[] = {
        {401, 301, 1, 1, 1}, {801, 501, 1, 1, 1}, {1201, 1001, 1, 1, 1}, {1601, 1203, 1, 1, 1}, {2401, 2003, 1, 1, 1}};
    const Extents spatial[] = {
        {201, 101, 6, 1, 1}, {401, 301, 5, 1, 1}, {601, 401, 5, 1, 1}, {801, 601, 5, 1, 1}, {1201, 801, 5, 1, 1}};
    const auto* const sizes = small[PLANS] == 1 ? planar : spatial;
    std::vector<Extents> large(sizes, sizes + steps);
    for (Extents& extents : large) {
        extents[SPECTRAL_SERIES] = small[SPECTRAL_SERIES];
    }
    return large;
}

/// Whether there is anything to see in the results: an output image with all elements alike tells little.
bool isTelling(const Results& results) {
    return std::all_of(results.images.begin(), results.images.end(), [](const auto& named) {
        const io::MemoryImage& image = named.second;
        std::size_t count = 0;
        if (!helper::getElementCount(image, count)) {
            return false;
        }
        const std::size_t size = helper::getElementSize(image);
        const ConstRawData samples = image.getInternalBuffer();
        for (std::size_t i = 1; i < count; ++i) {
            if (std::memcmp(samples, samples + i * size, size) != 0) {
                return true;
            }
        }
        return false;
    });
}

/// All images of a type, and each of several alone.
std::vector<Example> withEveryType(const Example& example) {
    std::vector<Example> examples;
    for (const VoxelTypes type : allTypes) {
        examples.push_back(example.withVoxelType(type));
        for (std::size_t i = 0; i < example.images.size() && example.images.size() > 1; ++i) {
            examples.push_back(example);
            if (ImageRecipe& image = examples.back().images[i]; image.has_value()) {
                image->voxelType = type;
            }
        }
    }
    return examples;
}

std::vector<Example> withEveryChoice(const Example& example) {
    std::vector<Example> examples;
    const std::unique_ptr<BaseAlgorithm> algorithm = example.info->createInstance(nullptr);
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        if (const EnumInfo* const enumeration = enumerationOf(property)) {
            for (const int value : valuesOf(*enumeration)) {
                examples.push_back(example.withNumber(property->getName(), value));
            }
        }
    }
    return examples;
}

std::vector<Example> withOtherNumbers(const Example& example) {
    std::vector<Example> examples;
    const std::unique_ptr<BaseAlgorithm> algorithm = example.info->createInstance(nullptr);
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        for (const double number : {2.0, 100.0}) {
            const String& name = property->getName();
            if (holdsNumber(property) && !isExtent(name)) {
                examples.push_back(
                    example.withNumber(name, numbersOfSteps.count(name) != 0 ? std::min(number, 4.0) : number));
            }
        }
    }
    return examples;
}

void appendAccepted(const std::vector<Example>& examples, std::vector<Example>& accepted) {
    std::copy_if(examples.begin(), examples.end(), std::back_inserter(accepted), isAccepted);
}

}  // namespace

std::vector<std::string> registeredNames() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < AlgoInfo::getNumOfAlgorithm(); ++i) {
        names.push_back(AlgoInfo::getAlgorithmsInfoByIndex(i).getName());
    }
    return names;
}

bool isAccepted(const Example& example) {
    return runOnce(Subject(example).algorithm()).succeeded;
}

std::optional<Example> findExample(AlgoInfo& info) {
    Example example;
    example.info = &info;
    const std::unique_ptr<BaseAlgorithm> algorithm = example.info->createInstance(nullptr);
    std::vector<String> numberNames;
    std::size_t imageCount = 0;
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        imageCount += holdsImage(property) ? 1U : 0U;
        if (holdsNumber(property)) {
            numberNames.push_back(property->getName());
        }
    }

    // All images of one kind first, then all combinations.
    const std::size_t kinds = std::size(candidateImages);
    std::vector<std::vector<std::size_t>> combinations;
    std::size_t count = 1;
    for (std::size_t i = 0; i < imageCount; ++i) {
        count *= kinds;
    }
    for (std::size_t kind = 0; kind < kinds; ++kind) {
        combinations.emplace_back(imageCount, kind);
    }
    for (std::size_t code = 0; code < count; ++code) {
        std::vector<std::size_t> combination;
        for (std::size_t rest = code, i = 0; i < imageCount; ++i, rest /= kinds) {
            combination.push_back(rest % kinds);
        }
        combinations.push_back(combination);
    }

    std::set<String> refusals;
    std::optional<Example> dull;
    for (const std::optional<double>& number : candidateNumbers) {
        const bool isFirst = &number == std::begin(candidateNumbers);
        example.numbers.clear();
        for (const String& name : numberNames) {
            if (number.has_value()) {
                example.numbers[name] = *number;
            } else if (const auto quick = quickNumbers.find(name); isFirst && quick != quickNumbers.end()) {
                example.numbers[name] = quick->second;
            }
        }
        for (const auto& combination : combinations) {
            example.images.clear();
            for (const std::size_t kind : combination) {
                example.images.push_back(candidateImages[kind]);
            }
            for (const Extents& extents : candidateExtents) {
                const Example tried = example.withExtents(extents);
                Subject subject(tried);
                const Outcome outcome = runOnce(subject.algorithm());
                if (!outcome.succeeded) {
                    refusals.insert(outcome.text());
                } else if (isTelling(subject.results())) {
                    return tried;
                } else if (!dull.has_value()) {
                    dull = tried;
                }
            }
        }
    }
    if (dull.has_value()) {
        return dull;
    }
    String reasons;
    for (const String& refusal : refusals) {
        reasons += "\n" + refusal;
    }
    ADD_FAILURE() << "No values were found with which " << info.getName() << " runs. It takes what the search does not "
                  << "try: teach the search (candidateImages, candidateNumbers, or a kind of property). Its answers "
                  << "were:" << reasons;
    return std::nullopt;
}

Example largeExample(const Example& example) {
    Example large = example;
    for (const Extents& extents : largeExtents(example.extents())) {
        const Example tried = example.withExtents(extents);
        Subject subject(tried);
        const auto watched = std::make_shared<WatchedScheduler>(sharedSerialScheduler(), nullptr);
        subject.algorithm().setBlockScheduler(watched);
        if (!runOnce(subject.algorithm()).succeeded) {
            break;
        }
        large = tried;
        if (watched->blocks() > 1) {
            break;
        }
    }
    return large;
}

std::vector<Example> variantsOf(const Example& example) {
    std::vector<Example> variants{example};
    appendAccepted(withEveryType(example), variants);
    appendAccepted(withEveryChoice(example), variants);
    return variants;
}

std::vector<Example> combinationsOf(const Example& example) {
    std::vector<Example> typed;
    appendAccepted(withEveryType(example), typed);
    std::vector<Example> combinations;
    for (const Example& each : typed) {
        combinations.push_back(each);
        appendAccepted(withEveryChoice(each), combinations);
        appendAccepted(withOtherNumbers(each), combinations);
    }
    return combinations;
}

}  // namespace rix::test
