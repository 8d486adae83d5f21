# Headers that are compiled once and then loaded by every source of a group of targets: the standard library, the test
# framework and what nearly all of the group include. Sources include what they use all the same: "scripts/check
# headers" compiles every public header alone, and the preset "clang" has no precompiled headers
# (CMAKE_DISABLE_PRECOMPILE_HEADERS).

set(rix_precompiled_std
  <algorithm> <array> <atomic> <cmath> <complex> <cstddef> <cstdint> <filesystem> <functional> <limits> <map> <memory>
  <mutex> <numeric> <optional> <set> <span> <sstream> <stdexcept> <string> <string_view> <tuple> <type_traits>
  <unordered_map> <utility> <variant> <vector>)
set(rix_precompiled_algorithms
  <rix/access/Run.h> <rix/algorithms/BaseAlgorithm.h> <rix/image/MemoryImage.h> <rix/rules/Rules.h>)

# rix_precompile(TARGET HEADERS header... | LIKE carrier)
# Gives a target its own precompiled headers or those of a carrier, which has to be compiled with the same flags.
function(rix_precompile TARGET)
  cmake_parse_arguments(ARG "" "LIKE" "HEADERS" ${ARGN})
  if(ARG_LIKE)
    target_precompile_headers(${TARGET} REUSE_FROM ${ARG_LIKE})
  else()
    target_precompile_headers(${TARGET} PRIVATE ${ARG_HEADERS})
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${TARGET} PRIVATE -fpch-preprocess)  # else the compiler cache passes such sources by
  endif()
endfunction()

# rix_add_carrier(NAME LIBRARIES target... HEADERS header...)
# A target that holds nothing but precompiled headers.
function(rix_add_carrier NAME)
  cmake_parse_arguments(ARG "" "" "LIBRARIES;HEADERS" ${ARGN})
  set(source ${PROJECT_BINARY_DIR}/${NAME}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "// Holds precompiled headers.\n")
  add_library(${NAME} OBJECT ${source})
  target_link_libraries(${NAME} PRIVATE rix_compile_options ${ARG_LIBRARIES})
  rix_precompile(${NAME} HEADERS ${ARG_HEADERS})
endfunction()

# The core takes headers that lie below all of its layers only: a layer must not see what lies above it.
function(rix_precompile_module target)
  if(target STREQUAL "rix_core")
    rix_precompile(rix_core HEADERS ${rix_precompiled_std} <Eigen/Core>)
    return()
  endif()
  if(NOT TARGET rix_precompiled_modules)
    rix_add_carrier(rix_precompiled_modules LIBRARIES rix_core
      HEADERS ${rix_precompiled_std} ${rix_precompiled_algorithms})
  endif()
  rix_precompile(${target} LIKE rix_precompiled_modules)
endfunction()

function(rix_precompile_test target)
  if(NOT TARGET rix_precompiled_tests)
    rix_add_carrier(rix_precompiled_tests LIBRARIES rix_core vessel GTest::gtest GTest::gmock
      HEADERS ${rix_precompiled_std} ${rix_precompiled_algorithms} <gmock/gmock.h> <gtest/gtest.h>)
    rix_compile_fast(rix_precompiled_tests)
    # As the programs are compiled that load it.
    set_target_properties(rix_precompiled_tests PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(rix_precompiled_tests PRIVATE ${CMAKE_CXX_COMPILE_OPTIONS_PIE})
  endif()
  rix_precompile(${target} LIKE rix_precompiled_tests)
  if(RIX_LLD)
    target_link_options(${target} PRIVATE -fuse-ld=lld)
  endif()
endfunction()
