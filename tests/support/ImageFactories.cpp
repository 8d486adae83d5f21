#include "ImageFactories.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include <rix/access/VoxelTypeLists.h>

namespace rix::test {

template <class T>
T SampleValue::as() const {
    if constexpr (access::isComplex<T>) {
        using Part = typename T::value_type;
        return m_isInteger ? T(static_cast<Part>(m_integer))
                           : T(static_cast<Part>(m_real.real()), static_cast<Part>(m_real.imag()));
    } else if constexpr (std::is_floating_point_v<T>) {
        return m_isInteger ? static_cast<T>(m_integer) : static_cast<T>(m_real.real());
    } else {
        if (m_isInteger) {
            return static_cast<T>(m_integer);
        }
        const double truncated = std::trunc(m_real.real());
        if (!(truncated >= std::numeric_limits<T>::min() && truncated <= std::numeric_limits<T>::max())) {
            throw std::range_error("the real value " + std::to_string(m_real.real()) + " doesn't fit the sample type");
        }
        return static_cast<T>(truncated);
    }
}

void fillImage(ImageModel& image, const SampleFunction& function) {
    const Extents n = helper::getExtents(image);
    const std::size_t samples = helper::getElementNumber(image.getElementType());
    access::dispatch(access::AllTypes{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        std::vector<T> buffer(n[COLUMNS] * samples);
        const bool done = forEachRow(image, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
            for (std::size_t i = 0; i < buffer.size(); ++i) {
                buffer[i] = function(i / samples, y, z, t, s, i % samples).template as<T>();
            }
            return image.writeRowAt(n[COLUMNS], reinterpret_cast<ConstRawData>(buffer.data()), 0, y, z, t, s);
        });
        if (!done) {
            throw std::runtime_error("the image refused a row");
        }
    });
}

io::MemoryImage makeImageFromSamples(const ImageTraits& traits, const SampleFunction& function) {
    io::MemoryImage image;
    const Extents& n = traits.extents;
    if (!image.reserve(traits.elementType, traits.voxelType, n[COLUMNS], n[ROWS], n[PLANS], n[SEQUENCE],
                       n[SPECTRAL_SERIES])) {
        throw std::runtime_error("no memory for the image of a test");
    }
    for (int axis = RIX_COMPONENTS_FIRST; axis < RIX_COMPONENTS_SIZE; ++axis) {
        image.setSpacingOf(static_cast<Components>(axis), 1.0);
    }
    image.setInterpretation(traits.interpretation);
    fillImage(image, function);
    return image;
}

namespace {

/// Scrambles a counter into 64 random bits (the finaliser of SplitMix64): sample i needs no sample before it, and the
/// standard library's distributions, which differ between implementations, have no part in it.
std::uint64_t randomBits(std::uint64_t seed, std::uint64_t index) {
    std::uint64_t bits = (seed * 0xD1342543DE82EF95u) + (index + 1) * 0x9E3779B97F4A7C15u;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9u;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBu;
    return bits ^ (bits >> 31);
}

template <class T>
std::vector<T> extremesOf(Extremes extremes) {
    using Limits = std::numeric_limits<T>;
    std::vector<T> values;
    if (extremes == Extremes::None) {
        return values;
    }
    values = {Limits::lowest(), Limits::max(), T(0), T(1)};
    if constexpr (std::is_signed_v<T>) {
        values.push_back(T(-1));
    }
    if constexpr (std::is_floating_point_v<T>) {
        values.insert(values.end(), {-T(0), Limits::min(), -Limits::min(), Limits::denorm_min(), T(0.5), T(-2.5)});
        if (extremes == Extremes::All) {
            values.insert(values.end(), {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()});
        }
    }
    return values;
}

template <class T>
T randomSample(std::uint64_t bits, const std::vector<T>& extremes) {
    const bool extreme = bits % 4 == 0;
    bits >>= 2;
    if (extreme && !extremes.empty()) {
        return extremes[bits % extremes.size()];
    }
    if constexpr (std::is_floating_point_v<T>) {
        constexpr double step = 2000.0 / static_cast<double>(std::uint64_t{1} << 32);
        return static_cast<T>(static_cast<double>(bits >> 30) * step - 1000.0);
    } else {
        return static_cast<T>(bits);
    }
}

}  // namespace

io::MemoryImage makeRandomImage(const ImageTraits& traits, std::uint64_t seed, Extremes extremes) {
    io::MemoryImage image = makeImage(traits, [](auto...) { return 1; });
    std::size_t count = 0;
    if (!helper::getElementCount(image, count)) {
        throw std::runtime_error("the image of a test is too large");
    }
    count *= helper::getElementNumber(traits.elementType);
    access::dispatch(access::AllTypes{}, traits.voxelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* const samples = reinterpret_cast<T*>(image.getInternalBuffer());
        const auto fill = [&](auto sampleAt) {
            bool allZero = true;
            for (std::size_t i = 0; i < count; ++i) {
                samples[i] = sampleAt(i);
                allZero = allZero && samples[i] == T(0);
            }
            if (allZero && count > 0) {
                samples[count / 2] = T(1);
            }
        };
        if (traits.interpretation != RIX_VALUE) {
            const std::uint64_t values = traits.interpretation == RIX_BINARY ? 2 : 10;
            fill([&](std::size_t i) { return SampleValue(randomBits(seed, i) % values).as<T>(); });
        } else if constexpr (access::isComplex<T>) {
            using Part = typename T::value_type;
            const std::vector<Part> values = extremesOf<Part>(extremes);
            fill([&](std::size_t i) {
                return T(randomSample<Part>(randomBits(seed, 2 * i), values),
                         randomSample<Part>(randomBits(seed, 2 * i + 1), values));
            });
        } else {
            const std::vector<T> values = extremesOf<T>(extremes);
            fill([&](std::size_t i) { return randomSample<T>(randomBits(seed, i), values); });
        }
    });
    return image;
}

void setDistinctCalibration(ImageModel& image) {
    for (int axis = RIX_COMPONENTS_FIRST; axis < RIX_COMPONENTS_SIZE; ++axis) {
        image.setOriginOf(static_cast<Components>(axis), -3.5 + 10.0 * axis);
        image.setSpacingOf(static_cast<Components>(axis), 0.25 * (axis + 1));
    }
    image.setSpatialUnitName("micrometre");
    image.setSequenceUnitName("second");
    // A rotation about two axes: every direction differs from the default and from the others.
    image.setSpatialDirections({{0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}});
}

}  // namespace rix::test
