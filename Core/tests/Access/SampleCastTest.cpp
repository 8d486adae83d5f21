// Rows of samples between all types: the kernels of every level do what the conversion of one sample does.

#include "Access/CastKernels.h"
#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::sameSample;

template <class F>
void forEachType(F&& function) {
    for (const VoxelTypes type : test::allTypes) {
        dispatch(AllTypes{}, type, function);
    }
}

/// Ordinary and extreme values, and those around the bounds of what integers hold.
template <class T>
std::vector<T> interestingSamples() {
    const io::MemoryImage image =
        test::makeRandomImage({.voxelType = voxelTypeOf<T>, .extents = {1500, 1, 1, 1, 1}}, 11, test::Extremes::All);
    const T* const first = reinterpret_cast<const T*>(image.getImageBuffer());
    std::vector<T> samples(first, first + 1500);
    if constexpr (std::is_floating_point_v<T> || isComplex<T>) {
        using Real =
            std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, std::complex<float>>, float, double>;
        for (const double bound :
             {0.0, 255.0, 32768.0, 65536.0, 0x1p31, 0x1p32, 0x1p52, 0x1p62, 0x1p63, 0x1p64, 1e30}) {
            for (const double step : {-1.0, -0.6, -0.5, 0.0, 0.5, 0.6, 1.0}) {
                const Real value = static_cast<Real>(bound + step);
                samples.push_back(T(value));
                samples.push_back(T(-value));
                samples.push_back(T(std::nextafter(value, Real(0))));
            }
        }
    }
    return samples;
}

/// The kernels of every level with either kind of stores.
std::vector<CastKernels> allKernels() {
    std::vector<CastKernels> all;
    for (const Stores stores : {Stores::Cached, Stores::Streaming}) {
        const CastKernelsOfLevels levels = castKernelsOfLevels(stores);
        all.insert(all.end(), levels.kernels.begin(), levels.kernels.begin() + levels.count);
    }
    return all;
}

TEST(CastKernels, OfEveryLevelAndPairOfTypesFollowTheCastOfASample) {
    const std::vector<CastKernels> kernels = allKernels();
    ASSERT_GE(kernels.size(), 2U);
    forEachType([&](auto fromTag) {
        using From = typename decltype(fromTag)::type;
        const std::vector<From> from = interestingSamples<From>();
        forEachType([&](auto toTag) {
            using To = typename decltype(toTag)::type;
            SCOPED_TRACE(helper::voxelTypesToString(voxelTypeOf<From>) + " to " +
                         helper::voxelTypesToString(voxelTypeOf<To>));
            std::vector<To> expected;
            for (const From& sample : from) {
                expected.push_back(castSample<To>(sample));
            }
            for (std::size_t level = 0; level < kernels.size(); ++level) {
                const CastKernel kernel = (*kernels[level].casts)[voxelTypeOf<From>][voxelTypeOf<To>];
                // All lengths of a few vectors from odd places; then everything.
                for (std::size_t length = 0; length <= 140; ++length) {
                    const std::size_t start = length % 7;
                    const To untouched = To(77);
                    std::vector<To> out(length + 1, untouched);
                    kernel(reinterpret_cast<ConstRawData>(from.data() + start), reinterpret_cast<RawData>(out.data()),
                           length);
                    ASSERT_TRUE(sameSample(out[length], untouched)) << "writes beyond a row of " << length;
                    ASSERT_TRUE(std::equal(out.begin(), out.end() - 1,
                                           expected.begin() + static_cast<std::ptrdiff_t>(start), &sameSample<To>))
                        << "a row of " << length << ", level " << level;
                }
                std::vector<To> all(from.size());
                kernel(reinterpret_cast<ConstRawData>(from.data()), reinterpret_cast<RawData>(all.data()), all.size());
                for (std::size_t i = 0; i < all.size(); ++i) {
                    ASSERT_TRUE(sameSample(all[i], expected[i]))
                        << "level " << level << ", sample " << i << " of value " << +from[i] << ": " << +all[i]
                        << " instead of " << +expected[i];
                }
            }
        });
    });
}

TEST(CastKernels, TellWhatIsNotZero) {
    const std::vector<CastKernels> kernels = allKernels();
    forEachType([&](auto tag) {
        using T = typename decltype(tag)::type;
        std::vector<T> from = interestingSamples<T>();
        for (std::size_t i = 0; i < from.size(); i += 3) {
            from[i] = T(0);
        }
        for (std::size_t level = 0; level < kernels.size(); ++level) {
            std::vector<std::uint8_t> out(from.size());
            (*kernels[level].toBinary)[voxelTypeOf<T>](reinterpret_cast<ConstRawData>(from.data()), out.data(),
                                                       out.size());
            for (std::size_t i = 0; i < out.size(); ++i) {
                ASSERT_EQ(out[i], from[i] == T(0) ? 0 : 1)
                    << helper::voxelTypesToString(voxelTypeOf<T>) << ", level " << level << ", sample " << i;
            }
        }
        std::vector<float> wide(from.size());
        castSamplesToBinary(voxelTypeOf<T>, reinterpret_cast<ConstRawData>(from.data()), RIX_FLOAT32,
                            reinterpret_cast<RawData>(wide.data()), wide.size());
        for (std::size_t i = 0; i < wide.size(); ++i) {
            ASSERT_EQ(wide[i], from[i] == T(0) ? 0.0F : 1.0F);
        }
    });
}

TEST(CastSamples, RefuseWhatIsNoType) {
    std::uint8_t byte = 1;
    EXPECT_THROW(castSamples(static_cast<VoxelTypes>(3), &byte, RIX_UINT8, &byte, 1), InvalidCall);
    EXPECT_THROW(castSamples(RIX_UINT8, &byte, static_cast<VoxelTypes>(12), &byte, 1), InvalidCall);
    EXPECT_THROW(castSamples(RIX_UINT8, &byte, static_cast<VoxelTypes>(-1), &byte, 1), InvalidCall);
}

}  // namespace
}  // namespace rix::access
