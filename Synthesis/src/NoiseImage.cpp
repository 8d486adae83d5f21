// Both algorithms of noise: one draws what the other adds.

#include <rix/synthesis/NoiseImage.h>

#include <rix/algorithms/InputMeaning.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/When.h>
#include <rix/synthesis/AddNoise.h>

#include "Generation.h"
#include "Noise.h"
#include "Poisson.h"

namespace rix::synthesis {

namespace {

/// Rough costs of a voxel in nanoseconds, for deciding whether threads pay and how long blocks are.
constexpr double drawCost = 3.0;
constexpr double countCost = 60.0;

template <class Algorithm>
void declareNoise(Algorithm& algorithm, algorithms::Properties& properties) {
    const auto isPoisson = [&algorithm] { return algorithm.getDistribution() == Algorithm::POISSON; };
    properties.input(algorithm.distribution, "How the noise is distributed.");
    properties.input(algorithm.seed, "Which of the sequences of random numbers is used.");
    properties.input(algorithm.mean, "The mean of the noise.", AddRuleAssertFinite());
    if constexpr (std::is_same_v<Algorithm, NoiseImage>) {
        AddRuleWhen("for counts", isPoisson,
                    AddRuleInRange<double>(0.0, largestPoissonMean, Bound::Included, Bound::Included))(algorithm.mean);
    }
    properties.input(algorithm.standardDeviation, "Its standard deviation, of uniform and normal noise.",
                     AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    algorithm.density = 0.05;
    properties.input(algorithm.density, "The share of voxels that are salt or pepper.",
                     AddRuleInRange<double>(0.0, 1.0, Bound::Included, Bound::Included));
    properties.input(algorithm.pepperValue, "The value of pepper.");
    algorithm.saltValue = 255.0;
    properties.input(algorithm.saltValue, "The value of salt.");
    properties.onlyWith(algorithm.distribution, {Algorithm::SALT_AND_PEPPER}, algorithm.density, algorithm.pepperValue,
                        algorithm.saltValue);
}

template <class Algorithm>
NoiseParameters parametersOf(const Algorithm& algorithm) {
    return {static_cast<NoiseKind>(algorithm.getDistribution()),
            algorithm.getSeed(),
            algorithm.getMean(),
            algorithm.getStandardDeviation(),
            algorithm.getDensity(),
            algorithm.getPepperValue(),
            algorithm.getSaltValue()};
}

template <class Algorithm>
double costOf(const Algorithm& algorithm) {
    return algorithm.getDistribution() == Algorithm::POISSON ? countCost : drawCost;
}

void declareImageOfNoise(NoiseImage& generator, algorithms::Properties& properties) {
    declareShape(generator, properties);
    generator.standardDeviation = 1.0;
    declareNoise(generator, properties);
    declareImage(generator, properties, "The noise.");
}

void processImageOfNoise(NoiseImage& generator, OptimLevelType level) {
    ImageModel& output = *generator.getOutputImage();
    const NoiseParameters parameters = parametersOf(generator);
    const Noise noise(parameters, level);
    if (parameters.kind == NoiseKind::Gaussian && output.getVoxelType() == RIX_FLOAT32) {
        const access::Position first = algorithms::firstOfPass(generator);
        const auto mean = static_cast<float>(parameters.mean);
        const auto deviation = static_cast<float>(parameters.standardDeviation);
        access::generateRowsAt<float>(generator.executionContext(), output, drawCost,
                                      [&](access::Position at, float* out, std::size_t count) {
                                          at.sequence += first.sequence;
                                          at.spectral += first.spectral;
                                          noise.gaussians(at, out, count, mean, deviation);
                                      });
        return;
    }
    const bool adds = parameters.kind == NoiseKind::Gaussian || parameters.kind == NoiseKind::Uniform;
    generate(generator, output, costOf(generator), [&](const access::Position& at, double* row, std::size_t count) {
        std::fill_n(row, count, adds ? 0.0 : parameters.mean);
        noise.apply(at, row, count);
    });
}

constexpr algorithms::Definition<NoiseImage> imageOfNoise{
    .summary = "Makes an image of noise.",
    .kind = AlgorithmKind::Point,
    .declare = &declareImageOfNoise,
    .process = &processImageOfNoise,
};

void declareAddition(AddNoise& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image that noise is added to.", AddRulesForRealImage());
    algorithm.standardDeviation = 10.0;
    declareNoise(algorithm, properties);
    algorithm.countsPerUnit = 1.0;
    properties.input(algorithm.countsPerUnit, "Counts that a voxel of value 1 stands for, of POISSON.",
                     AddRuleAssertPositiveOnly(), AddRuleAssertFinite());
    properties.onlyWith(algorithm.distribution, {AddNoise::POISSON}, algorithm.countsPerUnit);
    properties.output(algorithm.outputImage,
                      "The image with noise. Integers are rounded to nearest and clamped to what their type holds.",
                      AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE}));
}

void processAddition(AddNoise& algorithm, OptimLevelType level) {
    NoiseParameters parameters = parametersOf(algorithm);
    parameters.countsPerUnit = algorithm.getCountsPerUnit();
    const Noise noise(parameters, level);
    const access::Position first = algorithms::firstOfPass(algorithm);
    ImageModel& output = *algorithm.getOutputImage();
    access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto addToRow = [&](const access::Position& row, const T* in, T* out, std::size_t count) {
            double piece[pieceVoxels];
            forEachPieceOfRow(row, first, count, [&](const auto& at, auto done, auto n) {
                std::copy_n(in + done, n, piece);
                noise.apply(at, piece, n);
                access::roundSamples(piece, out + done, n);
            });
        };
        algorithms::readAsItWas(algorithm, [&](const ImageModel& input) {
            access::transformRowsAt<T, T>(algorithm.executionContext(), input, output, costOf(algorithm), addToRow);
        });
    });
}

constexpr algorithms::Definition<AddNoise> addition{
    .summary = "Adds noise to an image.",
    .kind = AlgorithmKind::Point,
    .declare = &declareAddition,
    .process = &processAddition,
    .prepare = &algorithms::rememberMeaning<AddNoise>,
};

}  // namespace

const EnumInfo& NoiseImage::getInfoDistribution() {
    static const EnumInfo info("Distribution", "UNIFORM = 0, GAUSSIAN, POISSON, SALT_AND_PEPPER");
    return info;
}

const EnumInfo& AddNoise::getInfoDistribution() {
    static const EnumInfo info("Distribution", "UNIFORM = 0, GAUSSIAN, POISSON, SALT_AND_PEPPER, SPECKLE");
    return info;
}

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, NoiseImage, algorithms::NoState, imageOfNoise)
RIX_DEFINE_ALGORITHM_WITH(AddNoise, algorithms::InputMeaning, addition)

}  // namespace rix::synthesis
