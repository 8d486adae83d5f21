// Measures how long runs go on after a request to cancel: every algorithm of the registry on large images, cancelled
// at random moments. Prints the latencies of each case and of all.
//
// The second three numbers are milliseconds of processor time, which a busy machine does not lengthen.
//
// usage: measure_cancellation [CANCELS [MEGAVOXELS [SEED [NAME]]]]    (1000, 32, 1 and all; else cases with NAME in
// their names)

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <rix/Library.h>
#include <rix/devices/Cpu.h>
#include <rix/individual_analysis/LabelAnalysis.h>

#include "ExampleFinder.h"
#include "Subject.h"

namespace rix::test {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// Something that is run and cancelled; made when its turn comes, as images are large.
struct Case {
    String name;
    std::function<std::unique_ptr<Subject>()> make;
};

/// An image of any size that repeats a random one: filling a large one value by value would take longer than its runs.
std::shared_ptr<const io::MemoryImage> repeated(ImageTraits traits, const Extents& extents, std::uint64_t seed) {
    traits.extents = {std::min<std::size_t>(extents[COLUMNS], 1021), std::min<std::size_t>(extents[ROWS], 509), 1, 1,
                      1};
    const io::MemoryImage tile = makeRandomImage(traits, seed);
    auto image = std::make_shared<io::MemoryImage>();
    traits.extents = extents;
    if (!image->reserve(traits.elementType, traits.voxelType, extents[0], extents[1], extents[2], extents[3],
                        extents[4])) {
        throw std::bad_alloc();
    }
    const std::size_t size = helper::getElementSize(tile);
    const std::size_t columns = extents[COLUMNS];
    for (std::size_t line = 0; line < extents[ROWS] * extents[PLANS]; ++line) {
        const ConstRawData from = tile.getInternalBuffer() + line % tile.getNumOf(ROWS) * tile.getNumOf(COLUMNS) * size;
        RawData to = image->getInternalBuffer() + line * columns * size;
        for (std::size_t x = 0; x < columns; x += tile.getNumOf(COLUMNS)) {
            std::memcpy(to + x * size, from, std::min(columns - x, tile.getNumOf(COLUMNS)) * size);
        }
    }
    copyMeaning(tile, *image);
    setDistinctCalibration(*image);
    return image;
}

std::shared_ptr<const io::MemoryImage> labelImage(const Extents& extents, const SampleFunction& label) {
    auto image = std::make_shared<io::MemoryImage>(
        makeImageFromSamples({.voxelType = RIX_UINT32, .extents = extents, .interpretation = RIX_LABEL}, label));
    setDistinctCalibration(*image);
    return image;
}

Extents extentsOf(double megavoxels, bool isPlanar) {
    const auto voxels = static_cast<std::size_t>(megavoxels * 1048576.0);
    return isPlanar ? Extents{8191, std::max<std::size_t>(voxels / 8191, 1), 1, 1, 1}
                    : Extents{509, 511, std::max<std::size_t>(voxels / 509 / 511, 2), 1, 1};
}

/// Every class of the registry with values with which it runs.
void appendRegistry(double megavoxels, std::vector<Case>& cases) {
    for (const std::string& name : registeredNames()) {
        cases.push_back({name, [name, megavoxels] {
                             const auto example = findExample(AlgoInfo::fromName(name));
                             const Extents extents = extentsOf(megavoxels, example->extents()[PLANS] == 1);
                             InputImages images;
                             for (const ImageRecipe& recipe : example->images) {
                                 images.push_back(recipe.has_value() ? repeated(*recipe, extents, 7 + images.size())
                                                                     : nullptr);
                             }
                             return Subject::make(*example, images, Storage::Memory);
                         }});
    }
}

/// What is hard to interrupt in measuring: tables of many objects, and single objects of enormous size.
void appendLabels(double megavoxels, std::vector<Case>& cases) {
    const Extents plane = extentsOf(megavoxels, true);
    const Extents volume = extentsOf(megavoxels, false);
    const auto side = static_cast<double>(plane[ROWS]);
    const auto add = [&cases](const char* name, const Extents& extents, const SampleFunction& label) {
        cases.push_back({String("LabelAnalysis, ") + name, [extents, label] {
                             const Example example{
                                 .info = &AlgoInfo::fromName("LabelAnalysis"), .images = {}, .numbers = {}};
                             const auto grey = repeated({.voxelType = RIX_FLOAT32}, extents, 5);
                             auto made = Subject::make(example, {labelImage(extents, label), grey}, Storage::Memory);
                             dynamic_cast<individual_analysis::LabelAnalysis&>(made->algorithm())
                                 .setMeasures("Basic, Shape, Convexity, Intensity, Median");
                             return made;
                         }});
    };
    add("many objects", plane, [](std::size_t x, std::size_t y, auto...) { return 1 + x / 5 + 1639 * (y / 4); });
    add("many objects, sparse labels", plane,
        [](std::size_t x, std::size_t y, auto...) { return (1 + x / 5 + 1639 * (y / 4)) * 1000; });
    add("one object", plane, [side](std::size_t x, std::size_t y, auto...) {
        const double dx = static_cast<double>(x) - side / 2;
        const double dy = static_cast<double>(y) - side / 2;
        return dx * dx + dy * dy <= side * side / 4 ? 1 : 0;
    });
    add("many objects in space", volume,
        [](std::size_t x, std::size_t y, std::size_t z, auto...) { return 1 + x / 3 + 170 * (y / 3 + 171 * (z / 3)); });
    add("one object in space", volume, [](std::size_t x, std::size_t y, std::size_t z, auto...) {
        return (x * 31 + y * 17 + z * 7) % 5 == 0 ? 0 : 1;
    });
}

/// How long a run went on after the request.
struct Latency {
    double milliseconds;
    double ofProcessors;  ///< of all threads: what other programs on the machine take does not count
};

double processorMilliseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
}

/// None when the run was over before the request.
std::optional<Latency> cancelAfter(BaseAlgorithm& algorithm, double milliseconds) {
    Clock::time_point asked;
    double processorsAsked = 0.0;
    std::atomic<bool> isOver{false};
    std::thread canceller([&] {
        while (!algorithm.running() && !isOver) {  // a short run may be over before this thread sees it
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(Milliseconds(milliseconds));
        asked = Clock::now();
        processorsAsked = processorMilliseconds();
        algorithm.cancelExecution();
    });
    const Outcome outcome = runOnce(algorithm);
    const Clock::time_point ended = Clock::now();
    const double processorsEnded = processorMilliseconds();
    isOver = true;
    canceller.join();
    if (!outcome.succeeded && outcome.exceptionClass != "UserCancelException") {
        std::fprintf(stderr, "%s\n", outcome.text().c_str());
        std::exit(1);
    }
    if (outcome.succeeded) {
        return std::nullopt;
    }
    return Latency{Milliseconds(ended - asked).count(), processorsEnded - processorsAsked};
}

double quantile(const std::vector<double>& sorted, double part) {
    return sorted[std::min(sorted.size() - 1, static_cast<std::size_t>(part * static_cast<double>(sorted.size())))];
}

void print(const String& name, double milliseconds, const std::vector<Latency>& latencies) {
    if (latencies.empty()) {
        std::printf("%-44s %9.1f  no run was cancelled before its end\n", name.c_str(), milliseconds);
        return;
    }
    std::printf("%-44s %9.1f %8zu", name.c_str(), milliseconds, latencies.size());
    for (double Latency::* const kind : {&Latency::milliseconds, &Latency::ofProcessors}) {
        std::vector<double> sorted;
        for (const Latency& latency : latencies) {
            sorted.push_back(latency.*kind);
        }
        std::sort(sorted.begin(), sorted.end());
        std::printf(" %8.2f %8.2f %8.2f", quantile(sorted, 0.5), quantile(sorted, 0.99), sorted.back());
    }
    std::printf("\n");
    std::fflush(stdout);
}

void measure(std::size_t cancels, double megavoxels, std::uint64_t seed, const String& part) {
    std::vector<Case> cases;
    appendRegistry(megavoxels, cases);
    appendLabels(megavoxels, cases);  // the slowest last
    std::erase_if(cases, [&](const Case& each) { return each.name.find(part) == String::npos; });
    if (cases.empty()) {
        std::fprintf(stderr, "no case has \"%s\" in its name\n", part.c_str());
        std::exit(2);
    }
    const std::size_t ofCase = (cancels + cases.size() - 1) / cases.size();
    std::printf("%zu cancels a case, images of %.0f megavoxels, %zu processors; milliseconds\n", ofCase, megavoxels,
                devices::Cpu::logicalProcessors());
    std::printf("%-44s %9s %8s %8s %8s %8s %8s %8s %8s\n", "case", "run", "cancels", "p50", "p99", "greatest",
                "cpu p50", "cpu p99", "greatest");
    std::mt19937_64 random(seed);
    std::vector<Latency> all;
    for (const Case& each : cases) {
        const std::unique_ptr<Subject> subject = each.make();
        const auto begin = Clock::now();
        if (const Outcome outcome = runOnce(subject->algorithm()); !outcome.succeeded) {
            std::printf("%-44s is refused: %s\n", each.name.c_str(), outcome.text().c_str());
            continue;
        }
        const double length = Milliseconds(Clock::now() - begin).count();
        std::uniform_real_distribution<double> moment(0.0, length);
        std::vector<Latency> latencies;
        for (std::size_t i = 0; i < ofCase; ++i) {
            if (const auto latency = cancelAfter(subject->algorithm(), moment(random))) {
                latencies.push_back(*latency);
            }
        }
        print(each.name, length, latencies);
        all.insert(all.end(), latencies.begin(), latencies.end());
    }
    print("all", 0.0, all);
}

}  // namespace
}  // namespace rix::test

int main(int argc, char** argv) {
    const auto argument = [&](int index, double usual) { return argc > index ? std::atof(argv[index]) : usual; };
    rix::test::measure(static_cast<std::size_t>(argument(1, 1000)), argument(2, 32),
                       static_cast<std::uint64_t>(argument(3, 1)), argc > 4 ? argv[4] : "");
    return 0;
}
