# Third-party packages. All come from the distribution; scripts/setup installs them.

find_package(TBB REQUIRED)
find_package(Eigen3 REQUIRED NO_MODULE)
find_package(Boost 1.74 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
pkg_check_modules(LIBCPUID REQUIRED IMPORTED_TARGET libcpuid)
pkg_check_modules(HWY REQUIRED IMPORTED_TARGET libhwy)
pkg_check_modules(LIBELF REQUIRED IMPORTED_TARGET libelf)
find_package(TIFF REQUIRED)
find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)
find_package(ZLIB REQUIRED)
pkg_check_modules(BLOSC REQUIRED IMPORTED_TARGET blosc)
pkg_check_modules(ZSTD REQUIRED IMPORTED_TARGET libzstd)
find_package(pugixml REQUIRED)
find_package(CLI11 REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)

# Vector math. The interface is the same without oneMKL: Eigen's arrays then serve it.
add_library(rix_vector_math INTERFACE)
set(RIX_HAVE_MKL OFF)
if(RIX_WITH_MKL)
  find_path(MKL_INCLUDE_DIR mkl_vml.h PATH_SUFFIXES mkl)
  find_library(MKL_INTERFACE_LIBRARY mkl_intel_lp64)
  find_library(MKL_THREAD_LIBRARY mkl_intel_thread)
  find_library(MKL_CORE_LIBRARY mkl_core)
  # The OpenMP runtime of LLVM under the name of the ABI that oneMKL was built for; the versioned folders are where
  # the distribution keeps it when no default version was chosen.
  file(GLOB RIX_LLVM_LIBRARY_DIRS /usr/lib/llvm-*/lib)
  find_library(MKL_OPENMP_LIBRARY NAMES iomp5 HINTS ${RIX_LLVM_LIBRARY_DIRS})
  if(MKL_INCLUDE_DIR AND MKL_INTERFACE_LIBRARY AND MKL_THREAD_LIBRARY AND MKL_CORE_LIBRARY AND MKL_OPENMP_LIBRARY)
    set(RIX_HAVE_MKL ON)
    target_include_directories(rix_vector_math SYSTEM INTERFACE ${MKL_INCLUDE_DIR})
    target_compile_definitions(rix_vector_math INTERFACE RIX_HAVE_MKL=1)
    # Not "as needed": oneMKL's layers find each other's symbols only when all of them are loaded.
    target_link_libraries(rix_vector_math INTERFACE -Wl,--push-state,--no-as-needed ${MKL_INTERFACE_LIBRARY}
      ${MKL_THREAD_LIBRARY} ${MKL_CORE_LIBRARY} ${MKL_OPENMP_LIBRARY} -Wl,--pop-state)
  endif()
endif()
if(RIX_HAVE_MKL)
  message(STATUS "Vector math: oneMKL")
else()
  message(STATUS "Vector math: Eigen")
endif()

# The Python package. Debian's interpreter comes first: it is the one that has NumPy from scripts/setup, while another
# one on the path seldom has. -DPython_EXECUTABLE=... chooses any other.
set(RIX_HAVE_PYTHON OFF)
# An interpreter that isn't built for it can't carry the thread sanitizer.
if(RIX_WITH_PYTHON AND NOT RIX_SANITIZE MATCHES "thread")
  if(NOT Python_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python_EXECUTABLE /usr/bin/python3)
  endif()
  find_package(Python 3.9 COMPONENTS Interpreter Development.Module NumPy)
  if(Python_Interpreter_FOUND AND Python_Development.Module_FOUND AND Python_NumPy_FOUND)
    # Only now: without a Python that was found it looks for one itself, and fails where there is none.
    find_package(pybind11 2.10 CONFIG)
    set(RIX_HAVE_PYTHON ${pybind11_FOUND})
  endif()
endif()
if(RIX_HAVE_PYTHON)
  message(STATUS "Python package: for Python ${Python_VERSION}")
else()
  message(STATUS "Python package: not built")
endif()
