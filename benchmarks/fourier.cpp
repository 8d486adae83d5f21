// Fourier transforms of single precision, 1 and 2 threads, beside oneMKL called directly and the roof of copying the
// image.

#include <complex>
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_MKL
#include <mkl_dfti.h>
#include <mkl_service.h>
#endif

#include <rix/filtering/frequency/FourierTransform2d.h>
#include <rix/filtering/frequency/FourierTransform3d.h>
#include <rix/filtering/frequency/InverseFourierTransform2d.h>
#include <rix/filtering/frequency/InverseFourierTransform3d.h>

#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

using namespace filtering::frequency;

struct Size {
    std::size_t columns;
    std::size_t rows;
    std::size_t planes;
    std::size_t samples() const { return columns * rows * planes; }
    std::size_t coefficients() const { return (columns / 2 + 1) * rows * planes; }
};

std::string nameOf(const char* library, const char* way, const Size& n, int threads) {
    std::string extents = std::to_string(n.columns) + 'x' + std::to_string(n.rows);
    if (n.planes > 1) {
        extents += 'x' + std::to_string(n.planes);
    }
    return std::string(library) + '/' + way + "/f32/" + extents + "/threads:" + std::to_string(threads);
}

io::MemoryImage imageOf(const Size& n) {
    io::MemoryImage image = randomImage(RIX_FLOAT32, n.columns, n.rows * n.planes);
    if (!image.reserve(RIX_FLOAT32, n.columns, n.rows, n.planes, 1, 1)) {
        std::abort();
    }
    return image;
}

template <class Transform>
void prepare(Transform& transform, const ImageModel& input, ImageModel& output, int threads) {
    transform.settings().setMaximumNumberOfThreads(threads);
    transform.setInputImage(&input);
    transform.setOutputImage(&output);
    transform.run();
}

template <class Forward, class Inverse>
void measure(benchmark::State& state, const Size& n, int threads, bool inverse) {
    const io::MemoryImage image = imageOf(n);
    io::MemoryImage spectrum;
    io::MemoryImage back;
    Forward forward;
    prepare(forward, image, spectrum, threads);
    Inverse backward;
    prepare(backward, spectrum, back, threads);
    BaseAlgorithm& measured = inverse ? static_cast<BaseAlgorithm&>(backward) : forward;
    for (auto _ : state) {
        measured.run();
    }
    setBytes(state, n.samples() * sizeof(float) + n.coefficients() * sizeof(std::complex<float>));
}

#ifdef RIX_HAVE_MKL
/// As its manual says: one descriptor of all axes, out of place, made once.
void measureMkl(benchmark::State& state, const Size& n, int threads, bool inverse) {
    io::MemoryImage image = imageOf(n);
    io::MemoryImage spectrum = randomImage(RIX_COMPLEX_FLOAT32, n.columns / 2 + 1, n.rows * n.planes);
    mkl_set_num_threads(threads);
    DFTI_DESCRIPTOR_HANDLE handle = nullptr;
    const auto columns = static_cast<MKL_LONG>(n.columns);
    const auto rows = static_cast<MKL_LONG>(n.rows);
    const MKL_LONG width = columns / 2 + 1;
    MKL_LONG lengths[3] = {static_cast<MKL_LONG>(n.planes), rows, columns};
    MKL_LONG samples[4] = {0, rows * columns, columns, 1};
    MKL_LONG coefficients[4] = {0, rows * width, width, 1};
    const MKL_LONG axes = n.planes > 1 ? 3 : 2;
    if (axes == 2) {
        samples[1] = columns;
        coefficients[1] = width;
        samples[2] = coefficients[2] = 1;
    }
    MKL_LONG status = DftiCreateDescriptor(&handle, DFTI_SINGLE, DFTI_REAL, axes, axes == 2 ? lengths + 1 : lengths);
    status |= DftiSetValue(handle, DFTI_PLACEMENT, DFTI_NOT_INPLACE);
    status |= DftiSetValue(handle, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX);
    status |= DftiSetValue(handle, DFTI_INPUT_STRIDES, inverse ? coefficients : samples);
    status |= DftiSetValue(handle, DFTI_OUTPUT_STRIDES, inverse ? samples : coefficients);
    status |= DftiSetValue(handle, DFTI_BACKWARD_SCALE, 1.0 / static_cast<double>(n.samples()));
    status |= DftiCommitDescriptor(handle);
    void* const from = inverse ? spectrum.getInternalBuffer() : image.getInternalBuffer();
    void* const to = inverse ? image.getInternalBuffer() : spectrum.getInternalBuffer();
    for (auto _ : state) {
        status |= inverse ? DftiComputeBackward(handle, from, to) : DftiComputeForward(handle, from, to);
    }
    if (status != DFTI_NO_ERROR) {
        state.SkipWithError("oneMKL refused");
    }
    DftiFreeDescriptor(&handle);
    setBytes(state, n.samples() * sizeof(float) + n.coefficients() * sizeof(std::complex<float>));
}
#endif

void add(const std::string& name, void (*function)(benchmark::State&, const Size&, int, bool), const Size& n,
         int threads, bool inverse) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { function(state, n, threads, inverse); })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const Size& n : {Size{256, 256, 1}, Size{4096, 4096, 1}, Size{4099, 4099, 1}, Size{256, 256, 256}}) {
            for (const bool inverse : {false, true}) {
                const char* const way = inverse ? "inverse" : "forward";
                add(nameOf("rix", way, n, threads),
                    n.planes > 1 ? &measure<FourierTransform3d, InverseFourierTransform3d>
                                 : &measure<FourierTransform2d, InverseFourierTransform2d>,
                    n, threads, inverse);
#ifdef RIX_HAVE_MKL
                add(nameOf("mkl", way, n, threads), &measureMkl, n, threads, inverse);
#endif
            }
        }
        const Size n{4096, 4096, 1};
        registerRoof("copy", n.samples() * sizeof(float), n.coefficients() * sizeof(std::complex<float>), threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
