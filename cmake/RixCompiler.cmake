# Language level, flags and launchers that hold for everything of our own.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT RIX_SANITIZE)  # there the tests reach what is internal through the shared libraries
  set(CMAKE_CXX_VISIBILITY_PRESET hidden)
  set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
endif()
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(RIX_CCACHE ccache)
find_program(RIX_ENV env)
if(RIX_CCACHE AND RIX_ENV AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # What one clone compiled serves every other, wherever it lies: the cache sees paths below the tree relative to the
  # build folder. Precompiled headers are cached, too, which needs the two allowances, and that files are compared as
  # they are and not as preprocessed: g++ knows the headers inside by their bytes, and would read those again of which
  # the comments alone have changed.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${RIX_ENV} CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_DEPEND=1
    CCACHE_SLOPPINESS=pch_defines,time_macros)
  if(RIX_SANITIZE OR NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    list(APPEND CMAKE_CXX_COMPILER_LAUNCHER CCACHE_NOHASHDIR=1)  # for debuggers the build folder is in the object
  endif()
  list(APPEND CMAKE_CXX_COMPILER_LAUNCHER ${RIX_CCACHE})
endif()
file(RELATIVE_PATH rix_source_from_build ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})

# What our own targets are compiled with. Users of the library get none of it.
add_library(rix_compile_options INTERFACE)
target_compile_options(rix_compile_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wold-style-cast -Wnull-dereference -Wimplicit-fallthrough
  # Contracting a * b + c into one rounding would make results depend on the level of optimisation.
  -ffp-contract=off
  # Nobody reads errno, and roots become instructions.
  -fno-math-errno
  # The source position kept in exceptions must not show where the tree was built.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= -fmacro-prefix-map=${rix_source_from_build}=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 reports these inside inlined code of the standard library that is correct.
  target_compile_options(rix_compile_options INTERFACE -Wno-null-dereference -Wno-restrict -Wno-stringop-overflow)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # clang reports what g++'s standard library itself deprecates and uses (the buffer of std::stable_sort), and that an
  # enumerator, which may be negative by its type, is an index; loops that it leaves as they are where nothing is
  # optimised, although they may be made vectors; and that the members of a base have no braces of their own.
  target_compile_options(rix_compile_options INTERFACE -Wno-deprecated-declarations -Wno-sign-conversion
    -Wno-pass-failed -Wno-missing-braces)
endif()
if(RIX_WARNINGS_AS_ERRORS)
  target_compile_options(rix_compile_options INTERFACE -Werror)
endif()

if(RIX_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)  # everything tells the fuzzer which way it went
endif()
if(RIX_SANITIZE)
  # Everything is instrumented, tests and tools included. Undefined behaviour ends the program: a test must fail.
  add_compile_options(-fsanitize=${RIX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${RIX_SANITIZE})
  if(RIX_SANITIZE MATCHES "undefined")
    # Most of what these find, a null pointer, an object that is gone, an access beyond one, the address sanitizer finds
    # at the access; they would take a fifth of the compile time.
    add_compile_options(-fno-sanitize=null,vptr,object-size)
    if(NOT RIX_FUZZ)
      # Together a quarter of the compile time that remains: the fuzzers check them, one of which runs every algorithm
      # on rows at any address.
      add_compile_options(-fno-sanitize=pointer-overflow,alignment)
    endif()
  endif()
  # Reports name sources as seen from the tree, whichever clone compiled them first.
  add_compile_options(-fdebug-prefix-map=${PROJECT_SOURCE_DIR}/= -fdebug-prefix-map=${rix_source_from_build}=
    -fdebug-prefix-map=${PROJECT_BINARY_DIR}=.)
endif()

# A shared library has to name all that it needs. Sanitized programs of clang carry the sanitizer's runtime themselves.
set(RIX_NO_UNDEFINED -Wl,--no-undefined)
if(RIX_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(RIX_NO_UNDEFINED "")
endif()

# The linker of LLVM takes a third of the time for the test programs, which are as large as the whole library each.
find_program(RIX_LLD ld.lld)

# rix_compile_fast(TARGET... [COMPUTES])
# For what takes long to compile and short to run, which is most of the tests and tools: under the sanitizers, which
# instrument every line, it is not optimised; else it is only a little, unless it goes over voxels for users. The options
# and the JSON of the command line are most of what it compiles, and optimised fully they take twice as long for nothing
# that a user notices.
function(rix_compile_fast)
  cmake_parse_arguments(ARG "COMPUTES" "" "" ${ARGN})
  foreach(target ${ARG_UNPARSED_ARGUMENTS})
    if(RIX_SANITIZE)
      target_compile_options(${target} PRIVATE -O0)
    elseif(NOT ARG_COMPUTES)
      target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
    endif()
  endforeach()
endfunction()

# rix_compile_fast_sources(FILE...)
# The same for sources of a module: loops over pairs of sample types, whose optimisation under the sanitizers takes
# several times what their tests then save.
function(rix_compile_fast_sources)
  if(RIX_SANITIZE)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O0 SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# rix_mute_bounds(TARGET FILE...)
# For some sources of a target: g++ 12 sees accesses beyond the bounds of texts that are put together, in inlined code of
# the standard library that is correct; in precompiled headers it takes that code for ours.
function(rix_mute_bounds target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES
      COMPILE_OPTIONS "-Wno-array-bounds;-Wno-stringop-overread")
  endif()
endfunction()

# rix_run_fast(FILE...)
# The exceptions from the rule: tests that compute for long, with references in the same file.
function(rix_run_fast)
  if(RIX_SANITIZE)
    # Precompiled headers are for the flags of the target.
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O1 SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# rix_compile_together(TARGET FILE...)
# These files of the target are compiled as one: they share headers that take longer than what the files say themselves.
# With clang, which the checks compile everything with, each is compiled alone, and has to include what it uses.
function(rix_compile_together target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP together)
  endif()
endfunction()
