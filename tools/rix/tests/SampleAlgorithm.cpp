// The program with one more algorithm, which behaves as a test asks: it takes as long as needed, fails in every way and
// answers in every kind of output.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/EnumInfo.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>

#include "Interrupts.h"
#include "Program.h"

namespace rix::sample {
namespace {

enum Behaviour : int { COPY, WAIT, WAIT_DEAF, FAIL, RUN_OUT_OF_MEMORY, FAIL_STRANGELY };

const EnumInfo& behaviours() {
    static const EnumInfo info("Behaviour", "COPY = 0, WAIT, WAIT_DEAF, FAIL, RUN_OUT_OF_MEMORY, FAIL_STRANGELY");
    return info;
}

class MustBeGiven : public Rules<Property<const ImageModel*>> {
public:
    void apply(Property<const ImageModel*>& property) override {
        if (property.get() == nullptr) {
            throw RuleException("the sample needs an image");
        }
    }
    bool isIndividual() const override { return true; }
    String describe() const override { return "must be given"; }
};

struct SamplePrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    Property<ImageModel*> changedImage;
    PropertySingleChoice behaviour{&behaviours()};
    Property<unsigned int> count;
    Property<ImageModel*> outputImage;
    Property<ImageModel*> outputCopy;
    Property<double> outputThird;
    Property<String> outputText;
};

}  // namespace

AlgoInfo& sampleRecord();

class Sample : public BaseAlgorithm {
public:
    explicit Sample(algorithms::AbstractPrivateImplementation* given)
        : BaseAlgorithm(given != nullptr ? given : new SamplePrivate) {
        SamplePrivate& mine = state();
        mine.inputImage.getImpl()->addRule(std::make_shared<MustBeGiven>());
        mine.changedImage.setIsInputOutput(true);
        addInput(mine.inputImage, "inputImage", "What is copied");
        addInput(mine.changedImage, "changedImage", "Its first byte is raised by one");
        addInput(mine.behaviour, "behaviour", "What happens");
        addInput(mine.count, "count", "A number");
        addOutput(mine.outputImage, "outputImage", "The copy");
        addOutput(mine.outputCopy, "outputCopy", "Another copy");
        addOutput(mine.outputThird, "outputThird", "A third of the number");
        addOutput(mine.outputText, "outputText", "A text");
    }
    AlgoInfo& getClassInfo() const override { return sampleRecord(); }
    SamplePrivate& state() const { return dynamic_cast<SamplePrivate&>(*implementation()); }
};

namespace {

void copy(const ImageModel& from, ImageModel* to) {
    if (to == nullptr) {
        return;
    }
    to->enforceSameCharacteristics(&from, ALL_CHARACTERISTICS);
    const auto n = helper::getExtents(from);
    std::vector<std::uint8_t> row(n[COLUMNS] * helper::getElementSize(from));
    for (std::size_t y = 0; y < n[ROWS]; ++y) {
        if (!from.readRowAt(n[COLUMNS], row.data(), 0, y, 0, 0, 0) ||
            !to->writeRowAt(n[COLUMNS], row.data(), 0, y, 0, 0, 0)) {
            throw RuntimeError("a row is refused");
        }
    }
}

void raiseFirstByte(ImageModel& image) {
    std::vector<std::uint8_t> element(helper::getElementSize(image));
    bool done = image.readRowAt(1, element.data(), 0, 0, 0, 0, 0);
    ++element[0];
    done = done && image.writeRowAt(1, element.data(), 0, 0, 0, 0, 0);
    if (!done) {
        throw RuntimeError("the first element is refused");
    }
}

class SampleRunner : public ScalarRunnable {
public:
    bool isRunnable(BaseAlgorithm* /*algorithm*/) const override { return true; }
    void run(BaseAlgorithm* algorithm) const override {
        SamplePrivate& state = dynamic_cast<Sample&>(*algorithm).state();
        switch (state.behaviour.get()) {
            case WAIT:
            case WAIT_DEAF: wait(*algorithm, state.behaviour.get() == WAIT); break;
            case FAIL: throw ProcessingException("the sample fails");
            case RUN_OUT_OF_MEMORY: throw std::bad_alloc();
            case FAIL_STRANGELY: throw 7;
            default: break;
        }
        copy(*state.inputImage.get(), state.outputImage.get());
        copy(*state.inputImage.get(), state.outputCopy.get());
        if (ImageModel* changed = state.changedImage.get()) {
            raiseFirstByte(*changed);
        }
        answer(state.outputThird, state.count.get() / 3.0);
        answer(state.outputText, String("counted"));
    }

private:
    /// Every property is locked during a run, so that nobody changes it; the run itself may.
    template <class T>
    static void answer(Property<T>& property, const T& value) {
        property.getImpl()->lock(false);
        property.set(value);
        property.getImpl()->lock(true);
    }
    /// Far longer than a test lasts.
    static void wait(BaseAlgorithm& algorithm, bool listens) {
        std::fputs("sample: running\n", stderr);
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(10);
        while (std::chrono::steady_clock::now() < end) {
            if (listens) {
                algorithm.executionContext().throwIfCancelled();
            } else if (cli::Interrupts::requested()) {
                std::fputs("sample: asked to stop\n", stderr);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
};

}  // namespace

AlgoInfo& sampleRecord() {
    static AlgoInfo info(
        "Sample", "samples",
        [](algorithms::AbstractPrivateImplementation* given) -> std::unique_ptr<BaseAlgorithm> {
            return std::make_unique<Sample>(given);
        },
        AlgoVisibilityType::PUBLIC_ALGORITHM, "");
    static const bool filled = (info.addRunner(std::make_shared<SampleRunner>()), true);
    static_cast<void>(filled);
    return info;
}

}  // namespace rix::sample

int main(int argc, char** argv) {
    rix::AlgoInfo::registerClass(rix::sample::sampleRecord(), "sample");
    const int exitCode = rix::cli::runProgram(argc, argv);
    rix::AlgoInfo::unregisterClass(rix::sample::sampleRecord());
    return exitCode;
}
