#include "Lines.h"

#include <cstring>

#include <rix/access/Rows.h>
#include <rix/access/SampleCast.h>
#include <rix/access/VoxelTypeLists.h>

#include "RunKernels.h"

namespace rix::individual_analysis {

namespace {

template <class T>
class TypedLabelLines : public LabelLines {
public:
    TypedLabelLines(const ImageModel& image, OptimLevelType level)
        : m_reader(image), m_find(individual_analysis::findRuns<T>(level)) {}

    std::size_t findRuns(const access::RowSegment& line, Run* runs) override {
        return m_find(m_reader.read(line), line.count, runs);
    }

private:
    access::RowReader<T> m_reader;
    FindRuns<T> m_find;
};

template <class T>
class TypedIntensityLines : public IntensityLines {
public:
    TypedIntensityLines(const ImageModel& image, OptimLevelType level)
        : m_reader(image), m_kernels(intensityKernels<T>(level)) {}

    void read(const access::RowSegment& line) override { m_row = m_reader.read(line); }
    double value(std::size_t column) const override { return static_cast<double>(m_row[column]); }
    void copyRow(double* target, std::size_t count) const override { access::castRow(m_row, target, count); }
    void sum(unsigned parts, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) const override {
        m_kernels.sum[parts](m_row, runs, count, shifts, sums);
    }
    void moments(const Run* runs, std::size_t count, double* moments) const override {
        m_kernels.moments(m_row, runs, count, moments);
    }
    void copy(const Run& run, RawData target) const override {
        std::memcpy(target, m_row + run.begin, (run.end - run.begin) * sizeof(T));
    }

private:
    access::RowReader<T> m_reader;
    IntensityKernels<T> m_kernels;
    const T* m_row = nullptr;
};

}  // namespace

std::unique_ptr<LabelLines> makeLabelLines(const ImageModel& image, OptimLevelType level) {
    std::unique_ptr<LabelLines> lines;
    access::dispatch(access::UnsignedIntegers{}, image.getVoxelType(), [&](auto tag) {
        lines = std::make_unique<TypedLabelLines<typename decltype(tag)::type>>(image, level);
    });
    return lines;
}

std::unique_ptr<IntensityLines> makeIntensityLines(const ImageModel& image, OptimLevelType level) {
    std::unique_ptr<IntensityLines> lines;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        lines = std::make_unique<TypedIntensityLines<typename decltype(tag)::type>>(image, level);
    });
    return lines;
}

}  // namespace rix::individual_analysis
