#include <rix/geometry/Projection.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include <rix/access/BlockSize.h>
#include <rix/access/Buffer.h>
#include <rix/access/Looks.h>
#include <rix/access/OrderedKeys.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/properties/EnumInfo.h>
#include <rix/simd/Loops.h>

#include "ExtremeKernels.h"
#include "Mapped.h"

namespace rix::geometry {

namespace {

using access::KeyOf;

Components axisOf(const Projection &projection) {
  return static_cast<Components>(projection.getAxis());
}

bool keepsType(const Projection &projection) {
  return projection.getStatistic() == Projection::MAXIMUM ||
         projection.getStatistic() == Projection::MINIMUM;
}

VoxelTypes typeOf(const Projection &projection) {
  const VoxelTypes type = projection.getInputImage()->getVoxelType();
  switch (projection.getStatistic()) {
  case Projection::MAXIMUM:
  case Projection::MINIMUM:
    return type;
  case Projection::INDEX_OF_MAXIMUM:
    return RIX_UINT32;
  case Projection::SUM:
    return RIX_FLOAT64;
  default:
    return type == RIX_FLOAT64 || type == RIX_INT32 || type == RIX_UINT32
               ? RIX_FLOAT64
               : RIX_FLOAT32;
  }
}

ImageHeader headerOf(const Projection &projection) {
  const ImageModel &input = *projection.getInputImage();
  AxisMaps maps = identityMaps(input);
  maps[axisOf(projection)].extent = 1;
  ImageHeader header = headerOfRun(projection, input, maps);
  header.voxelType = typeOf(projection);
  if (!keepsType(projection)) {
    header.interpretation = RIX_VALUE;
  }
  return header;
}

/// Lines that are projected at a time, side by side.
std::size_t breadthOf(const Projection &projection) {
  constexpr std::size_t most = 4096;
  constexpr std::size_t mostKeys = std::size_t{1} << 17; // of medians
  const std::size_t length =
      projection.getInputImage()->getNumOf(axisOf(projection));
  return projection.getStatistic() == Projection::MEDIAN
             ? std::clamp<std::size_t>(mostKeys / length, 1, most)
             : most;
}

access::Plan cut(const Projection &projection) {
  const ImageModel &input = *projection.getInputImage();
  const Components axis = axisOf(projection);
  auto extents = helper::getExtents(input);
  const std::size_t length = extents[axis];
  extents[axis] = 1;
  access::Plan plan(extents, access::JoinedAxes::None);
  if (plan.voxelCount() == 0) {
    return plan;
  }
  constexpr double nanoseconds = 0.5;
  constexpr std::size_t voxelsOfBlock = std::size_t{1} << 18;
  plan.setSmall(static_cast<double>(plan.voxelCount()) *
                    static_cast<double>(length) * nanoseconds <
                access::smallWorkNanoseconds());
  const std::size_t breadth = breadthOf(projection);
  const std::size_t columns = std::min(extents[COLUMNS], breadth);
  const std::size_t rows = std::max<std::size_t>(
      access::scaledToBlocks(voxelsOfBlock) / length / columns, 1);
  plan.cut(COLUMNS, {(extents[COLUMNS] + breadth - 1) / breadth, 0, 1});
  plan.cut(ROWS, {0, rows, 1});
  for (const Components other : {PLANS, SEQUENCE, SPECTRAL_SERIES}) {
    plan.cut(other, {0, 1, 1});
  }
  return plan;
}

/// The samples of lines beside each other, one of each line at a time.
template <class T> class Lines {
public:
  Lines(const ImageModel &input, Components axis)
      : m_axis(axis), m_length(input.getNumOf(axis)), m_rows(input) {}

  std::size_t length() const { return m_length; }

  /// All samples of a line, where lines are rows; else null.
  const T *lineAt(const access::RowSegment &segment) {
    if (m_axis != COLUMNS) {
      return nullptr;
    }
    access::RowSegment source = segment;
    source.count = m_length;
    m_looks.add(m_length / 16 + 1);
    return m_rows.read(source);
  }

  /// Calls `use(index, samples)` for all indices along the lines that a segment
  /// of the output stands for.
  template <class Use>
  void forEach(const access::RowSegment &segment, const Use &use) {
    access::RowSegment source = segment;
    if (m_axis == COLUMNS) {
      source.count = m_length;
      const T *const samples = m_rows.read(source);
      for (std::size_t i = 0; i < m_length; ++i) {
        use(i, samples + i);
      }
      m_looks.add(m_length / 4 + 1);
      return;
    }
    std::size_t *const places[] = {&source.column, &source.row, &source.plane,
                                   &source.sequence, &source.spectral};
    for (std::size_t i = 0; i < m_length; ++i) {
      *places[m_axis] = i;
      use(i, m_rows.read(source));
      m_looks.add(segment.count / 4 + 1);
    }
  }

private:
  Components m_axis;
  std::size_t m_length;
  access::RowReader<T> m_rows;
  access::Looks m_looks;
};

constexpr bool isNan(auto value) { return value != value; }

/// NaN has the key `ofNan`, beyond those of all values.
template <class T> constexpr KeyOf<T> keyOfSample(T sample, KeyOf<T> ofNan) {
  return isNan(sample) ? ofNan : access::keyOf(sample);
}

template <class T> constexpr T sampleOfKey(KeyOf<T> key) {
  const T sample = access::valueOfKey<T>(key);
  return isNan(sample) ? std::numeric_limits<T>::quiet_NaN() : sample;
}

template <class T> class Projector {
public:
  using Key = KeyOf<T>;

  Projector(const ImageModel &input, Components axis, std::size_t breadth,
            OptimLevelType level)
      : m_lines(input, axis), m_breadth(breadth), m_level(level) {}

  template <bool isLargest>
  void extremes(const access::RowSegment &segment, T *out) {
    using Rank = RankOf<T>;
    // A key is a rank whose sign is the other way round.
    constexpr Key sign = std::is_signed_v<Rank>
                             ? static_cast<Key>(Key{1} << (8 * sizeof(Key) - 1))
                             : Key{0};
    constexpr Key ofNan = isLargest ? Key{0} : std::numeric_limits<Key>::max();
    const ExtremeKernels<T> kernels = extremeKernels<T>(isLargest, m_level);
    auto *const best = reinterpret_cast<Rank *>(m_keys.reserve(m_breadth));
    std::fill_n(best, segment.count, static_cast<Rank>(ofNan ^ sign));
    if (const T *const line = m_lines.lineAt(segment)) {
      *best = kernels.along(line, m_lines.length(), *best);
    } else {
      m_lines.forEach(segment, [&](std::size_t /*index*/, const T *samples) {
        kernels.beside(samples, best, segment.count);
      });
    }
    std::transform(best, best + segment.count, out, [](Rank rank) {
      return sampleOfKey<T>(static_cast<Key>(static_cast<Key>(rank) ^ sign));
    });
  }

  void indices(const access::RowSegment &segment, std::uint32_t *out) {
    Key *const best = m_keys.reserve(m_breadth);
    std::fill_n(best, segment.count, Key{0});
    std::fill_n(out, segment.count, 0U);
    m_lines.forEach(segment, [&](std::size_t index, const T *samples) {
      RIX_INDEPENDENT_ITERATIONS
      for (std::size_t x = 0; x < segment.count; ++x) {
        const Key key = keyOfSample(samples[x], Key{0});
        out[x] = key > best[x] ? static_cast<std::uint32_t>(index) : out[x];
        best[x] = std::max(best[x], key);
      }
    });
  }

  void sums(const access::RowSegment &segment, double *out) {
    std::fill_n(out, segment.count, 0.0);
    m_lines.forEach(segment, [&](std::size_t /*index*/, const T *samples) {
      RIX_INDEPENDENT_ITERATIONS
      for (std::size_t x = 0; x < segment.count; ++x) {
        out[x] += static_cast<double>(samples[x]);
      }
    });
  }

  void means(const access::RowSegment &segment, double *out) {
    sums(segment, out);
    const auto length = static_cast<double>(m_lines.length());
    std::transform(out, out + segment.count, out,
                   [length](double sum) { return sum / length; });
  }

  void deviations(const access::RowSegment &segment, double *out) {
    double *const mean = m_means.reserve(m_breadth);
    means(segment, mean);
    std::fill_n(out, segment.count, 0.0);
    m_lines.forEach(segment, [&](std::size_t /*index*/, const T *samples) {
      RIX_INDEPENDENT_ITERATIONS
      for (std::size_t x = 0; x < segment.count; ++x) {
        const double difference = static_cast<double>(samples[x]) - mean[x];
        out[x] += difference * difference;
      }
    });
    const auto length = static_cast<double>(m_lines.length());
    std::transform(out, out + segment.count, out,
                   [length](double sum) { return std::sqrt(sum / length); });
  }

  void medians(const access::RowSegment &segment, double *out) {
    constexpr Key ofNan = std::numeric_limits<Key>::max();
    const std::size_t length = m_lines.length();
    Key *const keys = m_keys.reserve(m_breadth * length);
    m_lines.forEach(segment, [&](std::size_t index, const T *samples) {
      for (std::size_t x = 0; x < segment.count; ++x) {
        keys[x * length + index] = keyOfSample(samples[x], ofNan);
      }
    });
    for (std::size_t x = 0; x < segment.count; ++x) {
      Key *const line = keys + x * length;
      Key *const upper = line + length / 2;
      std::nth_element(line, upper, line + length);
      const Key lower =
          length % 2 == 0 ? *std::max_element(line, upper) : *upper;
      out[x] = lower == *upper
                   ? static_cast<double>(sampleOfKey<T>(lower))
                   : 0.5 * static_cast<double>(sampleOfKey<T>(lower)) +
                         0.5 * static_cast<double>(sampleOfKey<T>(*upper));
    }
  }

  /// @param keysOfLine how many keys of each line are kept at a time
  static std::size_t bytes(std::size_t breadth, std::size_t keysOfLine) {
    using access::Scratch;
    return Scratch::held(breadth * keysOfLine * sizeof(Key)) +
           Scratch::held(breadth * sizeof(double));
  }

private:
  Lines<T> m_lines;
  std::size_t m_breadth;
  OptimLevelType m_level;
  access::Buffer<Key> m_keys;
  access::Buffer<double> m_means;
};

/// Calls `row(projector, segment, out)` for the rows of the output.
template <class T, class Out, class Row>
void project(Projection &projection, OptimLevelType level, const Row &row) {
  const ImageModel &input = *projection.getInputImage();
  const access::Plan plan = cut(projection);
  access::run(
      projection.executionContext(), plan,
      [&](const access::Block &block, access::BlockProgress &progress) {
        Projector<T> projector(input, axisOf(projection),
                               block.columns().length(), level);
        access::RowWriter<Out> writer(*projection.getOutputImage(), plan);
        plan.forEachSegment(block, [&](const access::RowSegment &segment) {
          row(projector, segment, writer.open(segment));
          writer.flush();
          progress.add(segment.count);
        });
      });
}

template <class T>
void projectSamples(Projection &projection, OptimLevelType level) {
  using Rows = Projector<T>;
  const auto through =
      [&]<class Out>(void (Rows::*row)(const access::RowSegment &, Out *)) {
        project<T, Out>(projection, level,
                        [row](Rows &rows, const access::RowSegment &segment,
                              Out *out) { (rows.*row)(segment, out); });
      };
  switch (projection.getStatistic()) {
  case Projection::MAXIMUM:
    return through(&Rows::template extremes<true>);
  case Projection::MINIMUM:
    return through(&Rows::template extremes<false>);
  case Projection::MEAN:
    return through(&Rows::means);
  case Projection::SUM:
    return through(&Rows::sums);
  case Projection::MEDIAN:
    return through(&Rows::medians);
  case Projection::STANDARD_DEVIATION:
    return through(&Rows::deviations);
  case Projection::INDEX_OF_MAXIMUM:
    return through(&Rows::indices);
  }
}

void declare(Projection &projection, algorithms::Properties &properties) {
  properties.input(projection.inputImage, "The image that is projected.",
                   AddRulesForRealImage(), AddRuleAssertPlaced());
  projection.axis = Projection::PLANS;
  properties.input(projection.axis, "The axis along which lines lie.");
  properties.input(projection.statistic, "What is told of each line.");
  declareOutput(
      properties, projection.outputImage, "The projection.",
      [&projection] { return headerOf(projection); }, projection.inputImage);
}

void process(Projection &projection, OptimLevelType level) {
  access::dispatch(access::Reals{}, projection.getInputImage()->getVoxelType(),
                   [&](auto tag) {
                     projectSamples<typename decltype(tag)::type>(projection,
                                                                  level);
                   });
}

std::size_t memoryOf(const Projection &projection) {
  const ImageModel &input = *projection.getInputImage();
  const std::size_t length = input.getNumOf(axisOf(projection));
  const access::Plan plan = cut(projection);
  const std::size_t breadth = plan.largestPart(COLUMNS);
  std::size_t bytes = 0;
  access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
    using T = typename decltype(tag)::type;
    const std::size_t read = axisOf(projection) == COLUMNS ? length : breadth;
    bytes = Projector<T>::bytes(
                breadth,
                projection.getStatistic() == Projection::MEDIAN ? length : 1) +
            2 * access::Scratch::held(read * sizeof(T)) +
            2 * access::Scratch::held(breadth * sizeof(double));
  });
  return bytes * (plan.isSmall()
                      ? 1
                      : std::min<std::size_t>(projection.getMaximumThreads(),
                                              plan.blockCount()));
}

constexpr algorithms::Definition<Projection> definition{
    .summary = "Projects an image along an axis: maximum, mean, median and "
               "others of each line.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

} // namespace

const EnumInfo &Projection::getInfoAxis() {
  static const EnumInfo info(
      "Axis", "COLUMNS = 0, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES");
  return info;
}

const EnumInfo &Projection::getInfoStatistic() {
  static const EnumInfo info("Statistic",
                             "MAXIMUM = 0, MINIMUM, MEAN, SUM, MEDIAN, "
                             "STANDARD_DEVIATION, INDEX_OF_MAXIMUM");
  return info;
}

RIX_DEFINE_ALGORITHM(Projection, definition)

} // namespace rix::geometry
