// Point operations at each level and 1 and 2 threads, beside OpenCV and the roof of the same bytes. benchmarks/report
// prints the table of ratios.

#include <map>
#include <memory>
#include <string>
#include <tuple>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

#include <rix/devices/Cpu.h>
#include <rix/point_operations/ArithmeticOperationWithImage.h>
#include <rix/point_operations/ArithmeticOperationWithValue.h>
#include <rix/point_operations/ConvertImage.h>
#include <rix/point_operations/LogicalOperationWithImage.h>
#include <rix/point_operations/LogicalOperationWithValue.h>
#include <rix/point_operations/MaskImage.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

using namespace point_operations;

/// Operands and results of one measurement, ours and the peer's; the operands are the same memory.
struct Workspace {
    Workspace(const io::MemoryImage& one, const io::MemoryImage& other) : first(one), second(other) {}

    const io::MemoryImage& first;
    const io::MemoryImage& second;
    io::MemoryImage output;
#ifdef RIX_HAVE_OPENCV
    cv::Mat a;
    cv::Mat b;
    cv::Mat result;
#endif
};

#ifdef RIX_HAVE_OPENCV
using Peer = void (*)(Workspace&);

cv::Mat matOf(const io::MemoryImage& image) {
    static constexpr int depths[] = {CV_8U, CV_16U, -1, -1, CV_8S, CV_16S, CV_32S, -1, CV_32F, CV_64F};
    return {static_cast<int>(image.getNumOf(ROWS)), static_cast<int>(image.getNumOf(COLUMNS)),
            depths[image.getVoxelType()], const_cast<RawData>(image.getInternalBuffer())};
}
#define RIX_PEER(...) [](Workspace& w) { __VA_ARGS__; }
#else
using Peer = const void*;
#define RIX_PEER(...) nullptr
#endif

struct Operation {
    const char* name;
    VoxelTypes first;
    VoxelTypes second;  ///< as `first` for operations that have one image only
    std::size_t inBytes;
    std::size_t outBytes;
    std::unique_ptr<BaseAlgorithm> (*ours)(Workspace&);
    Peer peer;
};

template <ArithmeticOperators::ArithmeticOperatorType op>
std::unique_ptr<BaseAlgorithm> arithmetic(Workspace& w) {
    auto algorithm = std::make_unique<ArithmeticOperationWithImage>();
    algorithm->setInputImage1(&w.first);
    algorithm->setInputImage2(&w.second);
    algorithm->setArithmeticOperator(op);
    algorithm->setOutputImage(&w.output);
    return algorithm;
}

template <ArithmeticOperators::ArithmeticOperatorType op, int value>
std::unique_ptr<BaseAlgorithm> arithmeticWithValue(Workspace& w) {
    auto algorithm = std::make_unique<ArithmeticOperationWithValue>();
    algorithm->setInputImage(&w.first);
    algorithm->setValue(value);
    algorithm->setArithmeticOperator(op);
    algorithm->setOutputImage(&w.output);
    return algorithm;
}

template <LogicalOperators::LogicalOperatorType op>
std::unique_ptr<BaseAlgorithm> logical(Workspace& w) {
    auto algorithm = std::make_unique<LogicalOperationWithImage>();
    algorithm->setInputImage1(&w.first);
    algorithm->setInputImage2(&w.second);
    algorithm->setLogicalOperator(op);
    algorithm->setOutputImage(&w.output);
    return algorithm;
}

template <LogicalOperators::LogicalOperatorType op, int value>
std::unique_ptr<BaseAlgorithm> logicalWithValue(Workspace& w) {
    auto algorithm = std::make_unique<LogicalOperationWithValue>();
    algorithm->setInputImage(&w.first);
    algorithm->setValue(value);
    algorithm->setLogicalOperator(op);
    algorithm->setOutputImage(&w.output);
    return algorithm;
}

std::unique_ptr<BaseAlgorithm> mask(Workspace& w) {
    auto algorithm = std::make_unique<MaskImage>();
    algorithm->setInputImage(&w.first);
    algorithm->setInputBinaryImage(&w.second);
    algorithm->setOutputImage(&w.output);
    return algorithm;
}

template <ConvertImage::OutputType type>
std::unique_ptr<BaseAlgorithm> convert(Workspace& w) {
    auto algorithm = std::make_unique<ConvertImage>();
    algorithm->setInputImage(&w.first);
    algorithm->setOutputType(type);
    algorithm->setOutputImage(&w.output);
    return algorithm;
}

using A = ArithmeticOperators;
using L = LogicalOperators;
using C = ConvertImage;

const Operation operations[] = {
    {"add.u8u8.i16", RIX_UINT8, RIX_UINT8, 2, 2, &arithmetic<A::ADD>,
     RIX_PEER(cv::add(w.a, w.b, w.result, cv::noArray(), CV_16S))},
    {"sub.u8u8.i16", RIX_UINT8, RIX_UINT8, 2, 2, &arithmetic<A::SUBTRACT>,
     RIX_PEER(cv::subtract(w.a, w.b, w.result, cv::noArray(), CV_16S))},
    {"mul.u8u8.u16", RIX_UINT8, RIX_UINT8, 2, 2, &arithmetic<A::MULTIPLY>,
     RIX_PEER(cv::multiply(w.a, w.b, w.result, 1, CV_16U))},
    {"div.i16", RIX_INT16, RIX_INT16, 4, 2, &arithmetic<A::DIVIDE>, RIX_PEER(cv::divide(w.a, w.b, w.result))},
    {"min.u8", RIX_UINT8, RIX_UINT8, 2, 1, &arithmetic<A::MINIMUM>, RIX_PEER(cv::min(w.a, w.b, w.result))},
    {"max.u8", RIX_UINT8, RIX_UINT8, 2, 1, &arithmetic<A::MAXIMUM>, RIX_PEER(cv::max(w.a, w.b, w.result))},
    {"add.f32", RIX_FLOAT32, RIX_FLOAT32, 8, 4, &arithmetic<A::ADD>, RIX_PEER(cv::add(w.a, w.b, w.result))},
    {"div.f32", RIX_FLOAT32, RIX_FLOAT32, 8, 4, &arithmetic<A::DIVIDE>, RIX_PEER(cv::divide(w.a, w.b, w.result))},
    {"addc.u8.i16", RIX_UINT8, RIX_UINT8, 1, 2, &arithmeticWithValue<A::ADD, 3>,
     RIX_PEER(cv::add(w.a, cv::Scalar(3), w.result, cv::noArray(), CV_16S))},
    {"mulc.u8.i16", RIX_UINT8, RIX_UINT8, 1, 2, &arithmeticWithValue<A::MULTIPLY, 3>,
     RIX_PEER(cv::multiply(w.a, cv::Scalar(3), w.result, 1, CV_16S))},
    {"mulc.f32", RIX_FLOAT32, RIX_FLOAT32, 4, 4, &arithmeticWithValue<A::MULTIPLY, 3>,
     RIX_PEER(cv::multiply(w.a, cv::Scalar(3), w.result))},
    {"and.u8", RIX_UINT8, RIX_UINT8, 2, 1, &logical<L::AND>, RIX_PEER(cv::bitwise_and(w.a, w.b, w.result))},
    {"xor.u8", RIX_UINT8, RIX_UINT8, 2, 1, &logical<L::XOR>, RIX_PEER(cv::bitwise_xor(w.a, w.b, w.result))},
    {"andc.u8", RIX_UINT8, RIX_UINT8, 1, 1, &logicalWithValue<L::AND, 15>,
     RIX_PEER(cv::bitwise_and(w.a, cv::Scalar(15), w.result))},
    {"mask.u8", RIX_UINT8, RIX_UINT8, 2, 1, &mask,
     RIX_PEER(w.result.create(w.a.size(), w.a.type()); w.result.setTo(0); w.a.copyTo(w.result, w.b))},
    {"mask.f32", RIX_FLOAT32, RIX_UINT8, 5, 4, &mask,
     RIX_PEER(w.result.create(w.a.size(), w.a.type()); w.result.setTo(0); w.a.copyTo(w.result, w.b))},
    {"cvt.f32.u8", RIX_FLOAT32, RIX_FLOAT32, 4, 1, &convert<C::UNSIGNED_INTEGER_8_BIT>,
     RIX_PEER(w.a.convertTo(w.result, CV_8U))},
    {"cvt.u8.f32", RIX_UINT8, RIX_UINT8, 1, 4, &convert<C::FLOAT_32_BIT>, RIX_PEER(w.a.convertTo(w.result, CV_32F))},
    {"cvt.u16.u8", RIX_UINT16, RIX_UINT16, 2, 1, &convert<C::UNSIGNED_INTEGER_8_BIT>,
     RIX_PEER(w.a.convertTo(w.result, CV_8U))},
    {"cvt.u8.u16", RIX_UINT8, RIX_UINT8, 1, 2, &convert<C::UNSIGNED_INTEGER_16_BIT>,
     RIX_PEER(w.a.convertTo(w.result, CV_16U))},
    {"cvt.f32.i16", RIX_FLOAT32, RIX_FLOAT32, 4, 2, &convert<C::SIGNED_INTEGER_16_BIT>,
     RIX_PEER(w.a.convertTo(w.result, CV_16S))},
    {"cvt.i16.f32", RIX_INT16, RIX_INT16, 2, 4, &convert<C::FLOAT_32_BIT>, RIX_PEER(w.a.convertTo(w.result, CV_32F))},
    {"cvt.f64.f32", RIX_FLOAT64, RIX_FLOAT64, 8, 4, &convert<C::FLOAT_32_BIT>,
     RIX_PEER(w.a.convertTo(w.result, CV_32F))},
    {"cvt.f32.f64", RIX_FLOAT32, RIX_FLOAT32, 4, 8, &convert<C::FLOAT_64_BIT>,
     RIX_PEER(w.a.convertTo(w.result, CV_64F))},
};

struct Shape {
    std::size_t columns;
    std::size_t rows;
};

enum class Content { First, Second, Mask };

/// Made once: measurements come in random order, and filling an image takes longer than measuring on it. The two
/// operands of an operation are two images, or it would read half the memory.
const io::MemoryImage& operand(VoxelTypes type, const Shape& shape, Content content) {
    static std::map<std::tuple<VoxelTypes, std::size_t, Content>, io::MemoryImage> images;
    io::MemoryImage& image = images[{type, shape.columns, content}];
    if (image.getNumOf(COLUMNS) == 0) {
        image = randomImage(type, shape.columns, shape.rows);
        RawData samples = image.getInternalBuffer();
        for (std::size_t i = 0; content == Content::Mask && i < shape.columns * shape.rows; ++i) {
            samples[i] = samples[i] % 3 == 0 ? 0 : samples[i];
        }
    }
    return image;
}

std::unique_ptr<Workspace> makeWorkspace(const Operation& operation, const Shape& shape) {
    const Content content = operation.ours == &mask ? Content::Mask : Content::Second;
    auto w = std::make_unique<Workspace>(operand(operation.first, shape, Content::First),
                                         operand(operation.second, shape, content));
#ifdef RIX_HAVE_OPENCV
    w->a = matOf(w->first);
    w->b = matOf(w->second);
#endif
    return w;
}

std::string labelOf(const Operation& operation, const Shape& shape) {
    return std::string(operation.name) + '/' +
           (shape.columns == shape.rows ? std::to_string(shape.columns)
                                        : std::to_string(shape.columns) + 'x' + std::to_string(shape.rows));
}

void registerOurs(const Operation& operation, const Shape& shape, OptimLevelType level, int threads) {
    static constexpr const char* levels[] = {"scalar", "sse", "avx"};
    const std::string name =
        "rix/" + labelOf(operation, shape) + '/' + levels[level] + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     const auto workspace = makeWorkspace(operation, shape);
                                     const auto algorithm = operation.ours(*workspace);
                                     algorithm->settings().setMaximumNumberOfThreads(threads);
                                     algorithm->setAutoCpuDispatch(false);
                                     algorithm->setOptimLevel(level);
                                     algorithm->run();  // makes the output, which is kept
                                     for (auto _ : state) {
                                         algorithm->run();
                                     }
                                     setBytes(state,
                                              shape.columns * shape.rows * (operation.inBytes + operation.outBytes));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

void registerPeer([[maybe_unused]] const Operation& operation, [[maybe_unused]] const Shape& shape,
                  [[maybe_unused]] int threads) {
#ifdef RIX_HAVE_OPENCV
    const std::string name = "opencv/" + labelOf(operation, shape) + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     const auto workspace = makeWorkspace(operation, shape);
                                     cv::setNumThreads(threads);
                                     operation.peer(*workspace);
                                     for (auto _ : state) {
                                         operation.peer(*workspace);
                                     }
                                     setBytes(state,
                                              shape.columns * shape.rows * (operation.inBytes + operation.outBytes));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
#endif
}

/// In memory, in the cache; narrow images have as many voxels as the first.
constexpr Shape shapes[] = {{4096, 4096}, {512, 512}, {3, 5592405}, {17, 986895}, {100, 167772}};

void registerAll() {
    for (const Operation& operation : operations) {
        for (const Shape& shape : shapes) {
            for (const int threads : {1, 2}) {
                for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
                    if (devices::Cpu::supports(level)) {
                        registerOurs(operation, shape, level, threads);
                    }
                }
                registerPeer(operation, shape, threads);
                const std::size_t voxels = shape.columns * shape.rows;
                registerRoof(labelOf(operation, shape).c_str(), voxels * operation.inBytes, voxels * operation.outBytes,
                             threads);
            }
        }
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
