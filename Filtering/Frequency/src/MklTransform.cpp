#include "MklTransform.h"

#include <string>

#include <dlfcn.h>

#include <rix/exceptions/Exception.h>

namespace rix::filtering::frequency {

namespace {

/// oneMKL loads its kernels for the processor when they are first needed, and these look for oneMKL's core among the
/// symbols that all see. Where this library is seen by its loader only, as in an interpreter, so is the core, and
/// oneMKL would end the process.
void showCoreToKernels() {
    static const bool shown = [] {
        for (const char* const library : {"libmkl_core.so", "libmkl_intel_thread.so", "libmkl_intel_lp64.so"}) {
            ::dlopen(library, RTLD_LAZY | RTLD_GLOBAL | RTLD_NOLOAD);  // for good: null where it is linked otherwise
        }
        return true;
    }();
    static_cast<void>(shown);
}

}  // namespace

void checkMkl(MKL_LONG status) {
    if (status == DFTI_NO_ERROR) {
        return;
    }
    const std::string reason = DftiErrorMessage(status);
    if (DftiErrorClass(status, DFTI_MEMORY_ERROR) != 0) {
        throw MemoryError("There is no memory for a Fourier transform: " + reason);
    }
    throw UnexpectedError("The Fourier transform failed: " + reason);
}

MklTransform::MklTransform() {
    showCoreToKernels();
}

MklTransform::~MklTransform() {
    if (m_handle != nullptr) {
        DftiFreeDescriptor(&m_handle);
    }
}

MklTransform::MklTransform(DFTI_CONFIG_VALUE precision, DFTI_CONFIG_VALUE domain, MKL_LONG length) : MklTransform() {
    checkMkl(DftiCreateDescriptor(&m_handle, precision, domain, 1, length));
    prepare();
}

MklTransform::MklTransform(DFTI_CONFIG_VALUE precision, MKL_LONG axes, MKL_LONG* lengths) : MklTransform() {
    checkMkl(axes == 1 ? DftiCreateDescriptor(&m_handle, precision, DFTI_REAL, 1, lengths[0])
                       : DftiCreateDescriptor(&m_handle, precision, DFTI_REAL, axes, lengths));
    prepare();
    set(DFTI_PLACEMENT, DFTI_NOT_INPLACE);
}

void MklTransform::prepare() {
    constexpr MKL_LONG single = 1;
    set(DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX);
    set(DFTI_THREAD_LIMIT, single);
}

}  // namespace rix::filtering::frequency
