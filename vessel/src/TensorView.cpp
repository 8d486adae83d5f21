#include <vessel/TensorView.h>

namespace vessel {

TensorView::~TensorView() = default;

}  // namespace vessel
