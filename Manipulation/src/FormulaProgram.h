#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <rix/algorithms/OptimLevel.h>
#include <rix/formulas/Formula.h>
#include <rix/image/ImageTypes.h>

#include "FormulaKernels.h"
#include "MathKernels.h"

namespace rix::manipulation {

/// A formula of images as steps over rows: each takes rows of images, numbers and intermediate rows and gives an
/// intermediate row. What is computed from numbers alone is computed once, in double precision.
class FormulaProgram {
public:
    /// @param item an expression over the names a, b, c and d
    /// @throws RuleException for another name, and for a formula with too many intermediate results
    explicit FormulaProgram(const formulas::FormulaItem& item);

    /// Whether an image is named: 0 stands for a.
    bool names(std::size_t image) const { return m_named[image]; }
    /// Whether the outermost operation is a comparison or logical.
    bool isTruth() const { return m_isTruth; }
    std::size_t registers() const { return m_registers; }
    /// Rough cost of a voxel.
    double nanoseconds() const { return m_nanoseconds; }

private:
    template <class T>
    friend class BoundProgram;

    enum class Kind : std::uint8_t { Image, Number, Register };
    struct Operand {
        Kind kind;
        std::size_t index;
    };
    enum class StepKind : std::uint8_t { Unary, Function, Binary };
    struct Step {
        StepKind kind;
        std::uint8_t operation;  ///< of the enumeration of the kind
        Operand left;            ///< or the only one
        Operand right;
        std::size_t target;
    };

    void take(const formulas::FormulaInstruction& instruction);
    void join(StepKind kind, std::uint8_t operation);
    Operand number(double value);
    Operand pop();
    double fold(const Step& step) const;
    static double costOf(const Step& step);

    std::vector<Step> m_steps;
    std::vector<double> m_numbers;
    std::vector<Operand> m_stack;  ///< the result alone, once all is taken
    bool m_named[4] = {};
    bool m_isTruth = false;
    std::size_t m_registers = 0;
    double m_nanoseconds = 0.1;
};

/// A program with the kernels of a level, computed in one precision.
/// @tparam T float or double
template <class T>
class BoundProgram {
public:
    /// @param streams results go past the caches, if the last step can do that
    BoundProgram(const FormulaProgram& program, OptimLevelType level, bool streams);

    /// Whether they do.
    bool streams() const { return m_streams; }

    /// @param images rows of the images that the formula names, by their place; others are not looked at
    /// @param registers working memory of `registers()` rows of `capacity`
    /// @param out may be one of the images' rows
    void run(std::span<const ConstRawData> images, T* registers, std::size_t capacity, T* out, std::size_t count) const;

private:
    struct BoundStep {
        BinaryRow<T> binary = nullptr;
        MathRow<T> unary = nullptr;
    };

    const FormulaProgram& m_program;
    std::vector<BoundStep> m_steps;
    std::vector<T> m_numbers;
    bool m_streams = false;
};

}  // namespace rix::manipulation
