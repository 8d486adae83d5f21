// Values of properties as texts: what is accepted is written so that it reads back to the same value.

#include <memory>
#include <vector>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/properties/BaseProperty.h>

#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    fuzz::Bytes bytes(data, size);
    AlgoInfo& info = AlgoInfo::getAlgorithmsInfoByIndex(bytes.below(AlgoInfo::getNumOfAlgorithm()));
    const std::unique_ptr<BaseAlgorithm> algorithm = info.createInstance(nullptr);
    if (algorithm->getNumOfInputProperties() == 0) {
        return fuzz::accepted;
    }
    BaseProperty& property = *algorithm->getInputProperty(bytes.below(algorithm->getNumOfInputProperties()));
    const String text(bytes.rest());
    String before;
    const bool hasText = property.write(before);
    String normalised;
    const bool isAccepted = property.read(text, normalised);
    String value;
    if (!property.write(value)) {
        return fuzz::accepted;
    }
    const std::string where = info.getName() + '.' + property.getName() + " = '" + text + "' -> '" + value + '\'';
    fuzz::require(isAccepted || !hasText || value == before, "what is refused changes nothing", where);
    if (isAccepted) {
        String again;
        String valueAgain;
        fuzz::require(property.read(normalised, again), "the normalised text is accepted", where);
        fuzz::require(property.write(valueAgain) && valueAgain == value, "it has the same value", where);
        fuzz::require(property.read(value, again), "the written text is accepted", where);
        fuzz::require(property.write(valueAgain) && valueAgain == value, "it reads back to the value", where);
    }
    return fuzz::accepted;
}
