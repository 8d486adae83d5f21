#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <rix/rules/ImageAssertions.h>

#include "LaidKernel.h"

// What convolutions ask of their kernels.

namespace rix::filtering::linear {

inline void assertWeights(const BaseProperty& property, const std::vector<double>& weights) {
    if (!std::all_of(weights.begin(), weights.end(), [](double weight) { return std::isfinite(weight); })) {
        rules::refuse(rules::parameterText(property) + " must have finite coefficients.");
    }
}

inline void assertCount(const BaseProperty& property, std::size_t count) {
    if (count > mostCoefficients) {
        rules::refuse(rules::parameterText(property) + " must have at most " + std::to_string(mostCoefficients) +
                          " coefficients.",
                      "It has " + std::to_string(count) + '.');
    }
}

/// Of the kernel as a value: not too large, and finite.
template <class Kernel>
class RuleKernel : public Rules<Property<Kernel>> {
public:
    using ValueType = Kernel;
    bool isIndividual() const override { return true; }
    void apply(Property<Kernel>& property) override {
        assertCount(property, property.get().getValues().size());
        assertWeights(property, property.get().getValues());
    }
    String describe() const override { return "must have finite coefficients, at most 2^18"; }
};

template <class Kernel>
using AddRuleKernel = rules::RuleAdder<RuleKernel<Kernel>>;

/// Of the kernel as an image: there where the value has no coefficients; not too large, and finite.
template <class Kernel>
class RuleKernelImage : public Rules<Property<const ImageModel*>> {
public:
    explicit RuleKernelImage(const Property<Kernel>& kernel) : m_kernel(kernel) {}
    void apply(Property<const ImageModel*>& property) override {
        const ImageModel* const image = property.get();
        if (image == nullptr) {
            if (m_kernel.get().getValues().empty()) {
                rules::refuse(rules::parameterText(property) + " must be set where " + rules::quotedName(m_kernel) +
                              " has no coefficients.");
            }
            return;
        }
        std::size_t count = 1;
        for (const Components axis : {COLUMNS, ROWS, PLANS}) {
            const std::size_t extent = image->getNumOf(axis);
            count = extent > mostCoefficients || count > mostCoefficients ? mostCoefficients + 1 : count * extent;
        }
        assertCount(property, count);
        assertWeights(property, weightsOf(*image));
    }
    String describe() const override {
        return "must be set where " + rules::quotedName(m_kernel) +
               " has no coefficients, and have finite ones, at most 2^18";
    }

private:
    const Property<Kernel>& m_kernel;
};

template <class Kernel>
class AddRuleKernelImage {
public:
    explicit AddRuleKernelImage(const Property<Kernel>& kernel) : m_kernel(kernel) {}
    std::shared_ptr<Rules<Property<const ImageModel*>>> operator()(Property<const ImageModel*>& property) const {
        const std::shared_ptr<Rules<Property<const ImageModel*>>> rule =
            std::make_shared<RuleKernelImage<Kernel>>(m_kernel);
        property.getImpl()->addRule(rule);
        return rule;
    }

private:
    const Property<Kernel>& m_kernel;
};

}  // namespace rix::filtering::linear
