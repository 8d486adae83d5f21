#pragma once

#include <mkl_dfti.h>

namespace rix::filtering::frequency {

/// Throws for what oneMKL reports. @throws MemoryError, UnexpectedError
void checkMkl(MKL_LONG status);

/// A Fourier transform of oneMKL, on the calling thread alone. Committed, it is only read: any number of threads may
/// use it.
class MklTransform {
public:
    /// Along one axis. @param domain DFTI_REAL or DFTI_COMPLEX
    MklTransform(DFTI_CONFIG_VALUE precision, DFTI_CONFIG_VALUE domain, MKL_LONG length);
    /// Of real samples along several axes, out of place. @param lengths the slowest axis first
    MklTransform(DFTI_CONFIG_VALUE precision, MKL_LONG axes, MKL_LONG* lengths);
    ~MklTransform();
    MklTransform(const MklTransform&) = delete;
    MklTransform& operator=(const MklTransform&) = delete;

    template <class Value>
    void set(DFTI_CONFIG_PARAM parameter, Value value) {
        checkMkl(DftiSetValue(m_handle, parameter, value));
    }
    void commit() { checkMkl(DftiCommitDescriptor(m_handle)); }

    DFTI_DESCRIPTOR_HANDLE handle() const { return m_handle; }

private:
    MklTransform();
    void prepare();

    DFTI_DESCRIPTOR_HANDLE m_handle = nullptr;
};

}  // namespace rix::filtering::frequency
