#pragma once

namespace rix::bench {

/// Registers rows agreement/itk/...: a photograph and a volume with unequal spacings and oblique axes, resampled in the
/// world by us and by ITK. The counter `difference` is the greatest one, in parts of the range.
void registerAgreement();
/// Whether a row that ran found more than both can differ by.
bool foundDisagreement();

/// Registers rows itk/... for those of ours that ITK has, as far as `float` samples.
void registerItkResampling(int threads);

}  // namespace rix::bench
