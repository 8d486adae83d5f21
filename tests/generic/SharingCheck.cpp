#include <rix/access/BlockSize.h>
#include <rix/access/ImageModelProxy.h>

#include "Checks.h"
#include "Properties.h"
#include "WatchedScheduler.h"

namespace rix::test {

namespace {

/// Where an input and an output of the same extents lie in one image.
struct Layout {
    enum class Kind {
        Itself,     ///< both are the image
        ViewOfIt,   ///< the input is the image, the output a view of all of it
        TwoViews,   ///< two boxes of the image
        Opaque,     ///< two boxes, the input's one without addresses
        Converted,  ///< the output is the image, the input a view that converts its samples to another type
    };
    String text;
    Kind kind = Kind::TwoViews;
    Extents inputAt{};
    Extents outputAt{};
    bool mustRun = false;  ///< the boxes are apart in memory, so that nothing may be refused on their account
};

std::vector<Layout> layoutsFor(const Extents& n) {
    using Kind = Layout::Kind;
    std::vector<Layout> layouts{
        {"the input itself", Kind::Itself},
        {"a view of the input", Kind::ViewOfIt},
        {"another view of the same region", Kind::TwoViews, {1, 1, 0, 0, 0}, {1, 1, 0, 0, 0}},
        {"the same region, seen without addresses", Kind::Opaque},
        {"the image that the input converts", Kind::Converted},
        {"a row down and two columns back", Kind::TwoViews, {2, 0, 0, 0, 0}, {0, 1, 0, 0, 0}},
        {"a row down, seen without addresses", Kind::Opaque, {}, {0, 1, 0, 0, 0}},
        {"beside it", Kind::TwoViews, {}, {n[COLUMNS], 0, 0, 0, 0}},
        {"the frames behind it", Kind::TwoViews, {}, {0, 0, 0, n[SEQUENCE], 0}, n[SPECTRAL_SERIES] == 1},
    };
    const auto addShifted = [&](const char* text, const Extents& by, bool mustRun) {
        layouts.push_back({String(text) + " further", Kind::TwoViews, {}, by, mustRun});
        layouts.push_back({String(text) + " before", Kind::TwoViews, by, {}, mustRun});
    };
    addShifted("three columns", {3, 0, 0, 0, 0}, false);
    addShifted("a row", {0, 1, 0, 0, 0}, false);
    addShifted("a plane", {0, 0, 1, 0, 0}, n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES] == 1);
    return layouts;
}

/// An input and an output in one image.
class SharedImage {
public:
    /// @param outputType of the image, where the input converts it
    SharedImage(const io::MemoryImage& content, const Layout& layout, VoxelTypes outputType) {
        using Kind = Layout::Kind;
        const Extents n = helper::getExtents(content);
        if (layout.kind == Kind::Converted) {
            m_ground = std::make_unique<io::MemoryImage>();
            if (!m_ground->reserve(content.getElementType(), outputType, n[0], n[1], n[2], n[3], n[4])) {
                throw std::runtime_error("no memory for the image of a test");
            }
            copyMeaning(content, *m_ground);
            m_converting = std::make_unique<ImageModelProxy>(m_ground.get(), content.getVoxelType());
            m_input = m_converting.get();
            m_output = m_ground.get();
        } else {
            Extents margins;
            for (std::size_t axis = 0; axis < margins.size(); ++axis) {
                margins[axis] = std::max(layout.inputAt[axis], layout.outputAt[axis]);
            }
            m_ground = makeGround(content, margins);
            const auto makeView = [&](const Extents& at) {
                return std::make_unique<ImageModelSizeProxy>(m_ground.get(),
                                                             std::vector<std::size_t>(at.begin(), at.end()),
                                                             std::vector<std::size_t>(n.begin(), n.end()));
            };
            m_inputView = makeView(layout.inputAt);
            m_outputView = makeView(layout.outputAt);
            m_opaque = std::make_unique<OpaqueImage>(m_inputView.get());
            const bool isGround = layout.kind == Kind::Itself || layout.kind == Kind::ViewOfIt;
            m_input = isGround                      ? static_cast<ImageModel*>(m_ground.get())
                      : layout.kind == Kind::Opaque ? static_cast<ImageModel*>(m_opaque.get())
                                                    : m_inputView.get();
            m_output = layout.kind == Kind::Itself ? static_cast<ImageModel*>(m_ground.get()) : m_outputView.get();
        }
        copySamples(content, *m_input);
        m_before = std::make_unique<io::MemoryImage>(*m_ground);
    }

    ImageModel& input() const { return *m_input; }
    ImageModel& output() const { return *m_output; }
    bool isAsBefore() const {
        return imagesEqual(*m_before, *m_ground, {.headers = ComparisonOptions::Headers::ExtentsAndTypes});
    }
    /// Whether everything but the output is as it was. The output's samples are lost.
    bool restIsAsBefore() const {
        if (m_output == m_ground.get()) {
            return true;
        }
        spoil(*m_output, 0);
        const auto offset = m_outputView->firstElement();
        const auto n = helper::getExtents(*m_output);
        ImageModelSizeProxy outputBefore(m_before.get(), offset, std::vector<std::size_t>(n.begin(), n.end()));
        spoil(outputBefore, 0);
        return isAsBefore();
    }

private:
    std::unique_ptr<io::MemoryImage> m_ground;
    std::unique_ptr<io::MemoryImage> m_before;
    std::unique_ptr<ImageModelSizeProxy> m_inputView;
    std::unique_ptr<ImageModelSizeProxy> m_outputView;
    std::unique_ptr<OpaqueImage> m_opaque;
    std::unique_ptr<ImageModelProxy> m_converting;
    ImageModel* m_input = nullptr;
    ImageModel* m_output = nullptr;
};

/// An image input of an example and an image output.
struct Pair {
    const Example& example;
    const InputImages& images;
    String input;
    const io::MemoryImage& content;
    String output;
};

/// A run on the given images instead of the pair's own.
struct PairRun {
    PairRun(const Pair& pair, ImageModel& input, ImageModel* output)
        : subject(Subject::make(pair.example, pair.images, Storage::Memory)) {
        setImage(subject->algorithm().getPropertyfromName(pair.input), &input);
        if (output != nullptr) {
            setImage(subject->algorithm().getPropertyfromName(pair.output), output);
        }
    }
    Outcome in(std::shared_ptr<access::BlockScheduler> scheduler) {
        subject->algorithm().setBlockScheduler(std::move(scheduler));
        return runOnce(subject->algorithm());
    }
    std::unique_ptr<Subject> subject;
};

::testing::AssertionResult isSafe(const Pair& pair, const Layout& layout, VoxelTypes outputType) {
    const SharedImage separate(pair.content, layout, outputType);
    if (!imagesEqual(pair.content, separate.input())) {
        return ::testing::AssertionSuccess();  // the output's type does not hold the input's values
    }
    // A view is the better comparison: rows and blocks are those of the shared image. Some refuse what cannot be
    // shaped.
    const SharedImage other(pair.content, layout, outputType);
    auto alone = std::make_unique<PairRun>(pair, separate.input(), &other.output());
    const bool acceptsView = alone->in(sharedSerialScheduler()).succeeded;
    if (!acceptsView) {
        alone = std::make_unique<PairRun>(pair, separate.input(), nullptr);
        if (const Outcome outcome = alone->in(sharedSerialScheduler()); !outcome.succeeded) {
            return ::testing::AssertionFailure() << "an output of its own is refused: " << outcome.text();
        }
    }
    Results expected = alone->subject->results();
    if (acceptsView) {
        expected.images.insert_or_assign(pair.output, copyOf(other.output()));
    }

    const std::shared_ptr<access::BlockScheduler> orders[] = {sharedSerialScheduler(),
                                                              std::make_shared<access::ShuffledScheduler>(3)};
    for (const auto& order : orders) {
        const SharedImage shared(pair.content, layout, outputType);
        PairRun run(pair, shared.input(), &shared.output());
        BaseAlgorithm& algorithm = run.subject->algorithm();
        const io::MemoryImage& wanted = expected.images.at(pair.output);
        const bool promised = layout.kind == Layout::Kind::Itself && algorithm.describe().inPlace &&
                              wanted.getVoxelType() == pair.content.getVoxelType() &&
                              helper::getExtents(wanted) == helper::getExtents(pair.content);
        const Outcome outcome = run.in(order);
        if (const auto ready = isReady(algorithm); !ready) {
            return ready;
        }
        if (outcome.succeeded) {
            Results results = run.subject->results();
            results.images.insert_or_assign(pair.output, copyOf(shared.output()));
            if (const auto equal = resultsEqual(expected, results); !equal) {
                return equal;
            }
            if (!shared.restIsAsBefore()) {
                return ::testing::AssertionFailure() << "samples beside the output were written";
            }
            continue;
        }
        if (outcome.exceptionClass != "RuleException" || !outcome.names(pair.output)) {
            return ::testing::AssertionFailure() << "not refused by name: " << outcome.text();
        }
        if (!shared.isAsBefore()) {
            return ::testing::AssertionFailure() << "refused, but something was written";
        }
        if (promised) {
            return ::testing::AssertionFailure() << "describe() says that it runs in place: " << outcome.text();
        }
        if (layout.mustRun && acceptsView) {
            return ::testing::AssertionFailure() << "refused, although no sample is shared: " << outcome.text();
        }
        break;  // by its rules, whatever the order
    }
    return ::testing::AssertionSuccess();
}

}  // namespace

::testing::AssertionResult isSafeOnSharedSamples(const Example& example) {
    const access::ScopedBlockBytes manyBlocks(1024);
    const InputImages images = makeInputs(example);
    Subject subject(example);
    const Outcome outcome = runOnce(subject.algorithm());
    if (!outcome.succeeded) {
        return ::testing::AssertionFailure() << example.toText() << ": " << outcome.text();
    }
    std::size_t slot = 0;
    for (BaseProperty* const input : inputsOf(subject.algorithm())) {
        const auto content = holdsImage(input) ? images.at(slot++) : nullptr;
        if (content == nullptr) {
            continue;
        }
        for (const auto& [output, image] : subject.results().images) {
            const Pair pair{example, images, input->getName(), *content, output};
            for (const Layout& layout : layoutsFor(helper::getExtents(*content))) {
                if (const auto safe = isSafe(pair, layout, image.getVoxelType()); !safe) {
                    return ::testing::AssertionFailure() << example.toText() << ": " << output << " is to "
                                                         << pair.input << " " << layout.text << ": " << safe.message();
                }
            }
        }
    }
    return ::testing::AssertionSuccess();
}

}  // namespace rix::test
