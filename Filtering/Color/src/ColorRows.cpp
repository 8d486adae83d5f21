#include "ColorRows.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <deque>
#include <numeric>
#include <vector>

#include <rix/access/Pieces.h>
#include <rix/access/RoundingKernels.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/image/ImageModelSizeProxy.h>

#include "ColorKernels.h"

namespace rix::filtering::color {

namespace {

constexpr std::size_t mostImages = mostChannels + 1;  // with opacity
constexpr double nanosecondsPerStep = 1.5;

/// The channels of an image, each as an image.
template <class Image>
std::deque<ImageModelSizeProxy> channelViews(Image& image) {
    std::deque<ImageModelSizeProxy> channels;
    const auto extents = helper::getExtents(image);
    for (std::size_t channel = 0; channel < extents[SPECTRAL_SERIES]; ++channel) {
        channels.emplace_back(
            &image, std::vector<std::size_t>{0, 0, 0, 0, channel},
            std::vector<std::size_t>{extents[COLUMNS], extents[ROWS], extents[PLANS], extents[SEQUENCE], 1});
    }
    return channels;
}

/// The steps from a space to another along the tree whose root is `RGB`.
template <class Real>
std::vector<ColorStep<Real>> stepsOf(const ColorWork& work, OptimLevelType level) {
    using Space = ConvertColorSpace::ColorSpace;
    const auto wayToRgb = [](Space space) {
        std::vector<Space> way{space};
        while (way.back() != ConvertColorSpace::RGB) {
            way.push_back(neighborOf(way.back()));
        }
        return way;
    };
    std::vector<Space> up = wayToRgb(work.from);
    std::vector<Space> down = wayToRgb(work.to);
    while (!up.empty() && !down.empty() && up.back() == down.back()) {
        up.pop_back();
        down.pop_back();
    }
    std::vector<ColorStep<Real>> steps;
    for (const Space space : up) {
        steps.push_back(stepTowardsRgb<Real>(space, level));
    }
    std::for_each(down.rbegin(), down.rend(), [&](Space space) { steps.push_back(stepFromRgb<Real>(space, level)); });
    return steps;
}

/// Single precision for what is read of it, or is an integer that it holds.
bool isComputedInDoubles(const ImageModel& input) {
    return helper::getSizeOf(input.getVoxelType()) > 2 && input.getVoxelType() != RIX_FLOAT32;
}

/// Buffers of a thread: as many samples for each channel.
template <class Sample>
class Planes {
public:
    Planes(std::size_t channels, std::size_t samples) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            // Not at the same place of their pages, where a load would wait for the store of another channel.
            const std::size_t shift = channel * 4 * access::lineBytes;
            m_buffers[channel] = access::Scratch(samples * sizeof(Sample) + shift);
            m_rows[channel] = reinterpret_cast<Sample*>(m_buffers[channel].data() + shift);
        }
    }
    Sample* const* rows() const { return m_rows.data(); }

private:
    std::array<access::Scratch, mostImages> m_buffers;
    std::array<Sample*, mostImages> m_rows{};
};

/// What each byte stands for: colours of 8 bits pass the curve of sRGB by 256 numbers.
template <class Real>
using ByteTable = std::array<Real, 256>;

template <class Real>
void lookUp(const ByteTable<Real>& table, const Real* bytes, Real* out, std::size_t count) {
    const auto* const in = reinterpret_cast<const std::uint8_t*>(bytes);
    std::size_t i = 0;
    for (; i + sizeof(std::uint64_t) <= count; i += sizeof(std::uint64_t)) {  // eight with one load
        std::uint64_t eight = 0;
        std::memcpy(&eight, in + i, sizeof(eight));
        for (std::size_t k = 0; k < sizeof(eight); ++k) {
            constexpr std::size_t last = sizeof(eight) - 1;
            const std::size_t shift = 8 * (std::endian::native == std::endian::little ? k : last - k);
            out[i + k] = table[(eight >> shift) & 255U];
        }
    }
    for (; i < count; ++i) {
        out[i] = table[in[i]];
    }
}

template <class Real>
class Conversion {
public:
    Conversion(OptimLevelType level, const ImageModel& input, ImageModel& output, const ColorWork& work)
        : m_level(level),
          m_decode(decodeRow<Real>(level)),
          m_encode(encodeRow<Real>(level)),
          m_round(access::roundingRow(access::voxelTypeOf<Real>, output.getVoxelType(), level)),
          m_stream(access::streamRow(level)),
          m_inputs(channelViews(input)),
          m_output(output),
          m_outputs(channelViews(output)),
          m_work(work),
          m_colorsIn(channelsOf(work.from)),
          m_colorsOut(channelsOf(work.to)),
          m_steps(stepsOf<Real>(work, level)),
          m_inputCode(codeOf(work.from, work.largestIn)),
          m_outputCode(codeOf(work.to, work.largestOut)),
          m_decodes(access::contains(access::Integers{}, input.getVoxelType())),
          m_encodes(access::contains(access::Integers{}, output.getVoxelType())),
          m_outputType(output.getVoxelType()) {
        const auto toLinear = stepFromRgb<Real>(ConvertColorSpace::LINEAR_RGB, level);
        m_looksUp = input.getVoxelType() == RIX_UINT8 && !work.inputIsBinary && work.from == ConvertColorSpace::RGB &&
                    !m_steps.empty() && m_steps.front() == toLinear;
        if (m_looksUp) {
            std::iota(m_opacities.begin(), m_opacities.end(), Real(0));
            m_decode(m_opacities.data(), m_linear.data(), m_linear.size(), m_inputCode[0]);
            ByteTable<Real> others = m_linear;
            ByteTable<Real> more = m_linear;
            Real* const rows[] = {m_linear.data(), others.data(), more.data()};
            toLinear(rows, rows, m_linear.size());
            m_steps.erase(m_steps.begin());
            if (m_work.largestIn != m_work.largestOut) {
                m_decode(m_opacities.data(), m_opacities.data(), m_opacities.size(), opacityCode());
            }
        }
    }

    void run(access::ExecutionContext& context) {
        const auto image = [](auto& channels, std::size_t i) { return &channels[std::min(i, channels.size() - 1)]; };
        const access::Plan plan =
            access::cutLines({image(m_inputs, 0), image(m_inputs, 1), image(m_inputs, 2), image(m_inputs, 3),
                              image(m_outputs, 0), image(m_outputs, 1), image(m_outputs, 2), image(m_outputs, 3)},
                             nanosecondsPerStep * static_cast<double>(m_steps.size() + 1));
        const access::Stores stores = access::storesFor(m_output);
        const std::size_t capacity = access::pieceSamples(mostImages * sizeof(Real), stores);
        const access::RowConversion conversion(pieceInput(0), m_level);
        access::run(context, plan, [&](const access::Block& block) {
            std::deque<access::PieceReader> readers;
            std::deque<access::PieceWriter> writers;
            for (std::size_t i = 0; i < m_inputs.size(); ++i) {
                readers.emplace_back(pieceInput(i), conversion, plan, capacity);
            }
            for (ImageModelSizeProxy& channel : m_outputs) {
                writers.emplace_back(channel, plan, stores);
            }
            const Planes<Real> reals(mostImages, capacity);
            const Planes<std::uint8_t> streamed(stores == access::Stores::Streaming ? m_outputs.size() : 0,
                                                capacity * sizeof(Real));
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                for (access::PieceReader& reader : readers) {
                    reader.read(segment);
                }
                for (access::PieceWriter& writer : writers) {
                    writer.open(segment);
                }
                access::forEachPiece(segment.count, capacity, writers.front(),
                                     [&](std::size_t first, std::size_t count) {
                                         const Real* in[mostImages];
                                         for (std::size_t i = 0; i < readers.size(); ++i) {
                                             in[i] = reinterpret_cast<const Real*>(readers[i].piece(first, count));
                                         }
                                         compute(in, reals.rows(), count);
                                         for (std::size_t i = 0; i < writers.size(); ++i) {
                                             store(reals.rows()[i], streamed.rows()[i], writers[i].piece(first), count);
                                         }
                                     });
                for (access::PieceWriter& writer : writers) {
                    writer.flush();
                }
            });
        });
    }

private:
    access::PieceInput pieceInput(std::size_t channel) const {
        return {m_inputs[channel], m_looksUp ? RIX_UINT8 : access::voxelTypeOf<Real>, m_work.inputIsBinary};
    }
    ChannelCode opacityCode() const { return {m_work.largestIn / m_work.largestOut, 0.0, 0.0}; }

    /// @param in rows of the input's samples, bytes where these are looked up; they stay as they are @param out rows
    /// for those of the output
    void compute(const Real* const* in, Real* const* out, std::size_t count) const {
        const Real* const* values = in;
        if (m_looksUp) {
            for (std::size_t i = 0; i < m_colorsIn; ++i) {
                lookUp(m_linear, in[i], out[i], count);
            }
            values = out;
        } else if (m_decodes || m_steps.empty()) {
            for (std::size_t i = 0; i < m_colorsIn; ++i) {
                decodeOr(m_decodes, in[i], out[i], count, m_inputCode[i]);
            }
            values = out;
        }
        for (const ColorStep<Real> step : m_steps) {
            step(values, out, count);
            values = out;
        }
        for (std::size_t i = 0; i < m_colorsOut && m_encodes; ++i) {
            m_encode(out[i], out[i], count, m_outputCode[i]);
        }
        if (m_inputs.size() > m_colorsIn && m_looksUp) {
            lookUp(m_opacities, in[m_colorsIn], out[m_colorsOut], count);
        } else if (m_inputs.size() > m_colorsIn) {
            decodeOr(m_work.largestIn != m_work.largestOut, in[m_colorsIn], out[m_colorsOut], count, opacityCode());
        }
    }
    void decodeOr(bool decodes, const Real* in, Real* out, std::size_t count, const ChannelCode& code) const {
        if (decodes) {
            m_decode(in, out, count, code);
        } else {
            std::memcpy(out, in, count * sizeof(Real));
        }
    }

    void store(const Real* values, std::uint8_t* streamed, RawData out, std::size_t count) const {
        const RawData target = streamed != nullptr ? streamed : out;
        m_round(values, target, count);
        if (streamed != nullptr) {
            m_stream(out, target, count * helper::getSizeOf(m_outputType));
        }
    }

    OptimLevelType m_level;
    CodeRow<Real> m_decode;
    CodeRow<Real> m_encode;
    access::RoundingRow m_round;
    access::StreamRow m_stream;
    std::deque<ImageModelSizeProxy> m_inputs;
    const ImageModel& m_output;
    std::deque<ImageModelSizeProxy> m_outputs;
    ColorWork m_work;
    std::size_t m_colorsIn;
    std::size_t m_colorsOut;
    std::vector<ColorStep<Real>> m_steps;
    std::array<ChannelCode, mostChannels> m_inputCode;
    std::array<ChannelCode, mostChannels> m_outputCode;
    bool m_decodes;
    bool m_encodes;
    VoxelTypes m_outputType;
    bool m_looksUp = false;
    ByteTable<Real> m_linear{};
    ByteTable<Real> m_opacities{};
};

}  // namespace

void convertColors(access::ExecutionContext& context, OptimLevelType level, const ImageModel& input, ImageModel& output,
                   const ColorWork& work) {
    if (isComputedInDoubles(input)) {
        Conversion<double>(level, input, output, work).run(context);
    } else {
        Conversion<float>(level, input, output, work).run(context);
    }
}

std::size_t colorMemory(std::size_t threads) {
    const std::size_t buffer =
        access::pieceSamples(1, access::Stores::Cached) / mostImages + access::Scratch::granularity;
    // Of each channel the samples as 0 and 1, converted, computed, and before they are streamed.
    return threads * 4 * mostImages * buffer;
}

}  // namespace rix::filtering::color
