#pragma once

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>

#include "Testing.h"

/// An algorithm that is known by its registry entry only, with values to run it with.
namespace rix::test {

/// What an input image of an example holds; none leaves the property unset.
using ImageRecipe = std::optional<ImageTraits>;

/// Whether a number is an extent of what an algorithm makes; these are varied as `Example::withExtents` does.
bool isExtent(const String& property);

/// Values of all properties of an algorithm with which it runs.
struct Example {
    AlgoInfo* info = nullptr;
    std::vector<ImageRecipe> images;   ///< one for every input that holds an image, in order
    std::map<String, double> numbers;  ///< the inputs that are not at their defaults, choices included

    /// The same example on images of another size, or of another type where they have interpretation value. What makes
    /// an image without one to begin with is given the size by its numbers.
    Example withExtents(const Extents& extents) const;
    Example withVoxelType(VoxelTypes type) const;
    Example withNumber(const String& property, double value) const;
    Extents extents() const;
    String toText() const;
};

/// Everything that a run gave.
struct Results {
    std::map<String, io::MemoryImage> images;
    std::map<String, String> texts;  ///< tables and plain values, exactly
};

/// Bit for bit, but for complex samples, which may differ by so many units in the last place.
::testing::AssertionResult resultsEqual(const Results& expected, const Results& actual, std::uint64_t complexUnits = 2);

using InputImages = std::vector<std::shared_ptr<const io::MemoryImage>>;

/// The images of an example: the same at every call. Unset ones are null.
InputImages makeInputs(const Example& example);

/// An algorithm object with the values of an example and outputs to fill.
class Subject {
public:
    explicit Subject(const Example& example, Storage inputs = Storage::Memory);
    /// With inputs of other storage; none where an input cannot be stored so.
    static std::unique_ptr<Subject> make(const Example& example, const InputImages& images, Storage inputs);

    BaseAlgorithm& algorithm() { return *m_algorithm; }
    const Example& example() const { return m_example; }
    /// Puts the example's values into all properties.
    void restore();
    /// Replaces the outputs by images of a storage, shaped as in `shapes`; false where one cannot be stored so.
    bool storeOutputs(const Results& shapes, Storage storage);
    /// Fills the output images with a byte, so that samples which a run leaves out show.
    void spoilOutputs(std::uint8_t value);
    /// Replaces the outputs by new, empty images in memory.
    void renewOutputs();
    /// Wraps every image in a view that passes all but the rows that its gate stops.
    void gateRows(const RowGate& gate);

    Results results() const;
    /// Reads the outputs, before their results are of use.
    bool outputsAreReadable() const;
    bool surroundingsAreUntouched() const;
    ::testing::AssertionResult inputsAreUntouched() const;

private:
    Subject(const Example& example, const InputImages& images);
    bool storeInputs(Storage storage);

    Example m_example;
    InputImages m_contents;
    std::vector<StoredImage> m_inputs;   ///< of the properties that are set
    std::vector<StoredImage> m_outputs;  ///< one for every output that holds an image
    std::vector<std::unique_ptr<OpaqueImage>> m_gates;
    std::vector<ImageModel*> m_inputSlots;  ///< what each input image property is given
    std::vector<ImageModel*> m_outputSlots;
    std::vector<std::shared_ptr<void>> m_objects;
    std::unique_ptr<BaseAlgorithm> m_algorithm;
};

/// What came of a run.
struct Outcome {
    bool succeeded = false;
    bool isOfTheFamily = false;  ///< what was thrown derives from `rix::Exception`
    bool isOutOfMemory = false;  ///< and says that memory was short
    String exceptionClass;       ///< empty after a success
    std::vector<String> levels;  ///< innermost first
    String text() const;
    bool names(const String& word) const;
};

Outcome runOnce(BaseAlgorithm& algorithm, InteractionInterface* interaction = nullptr);

/// After any run: not running, nothing locked.
::testing::AssertionResult isReady(const BaseAlgorithm& algorithm);

}  // namespace rix::test
