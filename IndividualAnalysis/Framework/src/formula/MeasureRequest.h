#pragma once

#include <memory>

#include <rix/individual_analysis/MeasureGroup.h>

namespace rix::individual_analysis {

/// Whether there are grey values to be measured.
enum class IntensityUse { Absent, Present };

/// True when a name stands for something in requests: a measure, one of its values, a preset, a function, a column that
/// every table has.
bool isTaken(const MeasureNamesHandler& names, const String& name, DimensionalMode mode);

/// Turns a request into the measures that it asks for. An item of the request is the name of a measure ("Feret") or of
/// one of its values ("FeretMaximum"), a preset ("Basic"), a formula, or a formula with a name ("Roundness = ...") that
/// other formulas may use.
/// @throws RuleException for a text that cannot be read, a name that nobody knows or that does not exist for objects of
///         this dimension, a measure of grey values without any, formulas that depend on each other in a circle, and
///         units that do not fit
std::shared_ptr<const MeasureGroup> readMeasureRequest(const String& text, DimensionalMode mode,
                                                       IntensityUse intensity);

}  // namespace rix::individual_analysis
