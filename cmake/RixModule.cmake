# A module is a folder with include/, src/ and tests/. Its sources are compiled once, into an object library that sees
# only its own headers and those of the modules that it names: a layer can't include what lies above it.

# rix_add_module(NAME SOURCES file... [DEPENDS module...] [LIBRARIES target...] [PUBLIC_LIBRARIES target...])
# LIBRARIES are what the sources use, PUBLIC_LIBRARIES what the public headers include.
function(rix_add_module NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;LIBRARIES;PUBLIC_LIBRARIES" ${ARGN})
  set(target rix_${NAME})
  add_library(${target} OBJECT ${ARG_SOURCES})
  target_include_directories(${target}
    PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
    PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src)
  set(below "")
  foreach(module ${ARG_DEPENDS})
    list(APPEND below rix_${module})
  endforeach()
  target_link_libraries(${target} PUBLIC ${below} vessel ${ARG_PUBLIC_LIBRARIES}
    PRIVATE rix_compile_options ${ARG_LIBRARIES})
  rix_precompile_module(${target})
  set_property(GLOBAL APPEND PROPERTY RIX_MODULES ${target})
  set_property(GLOBAL APPEND PROPERTY RIX_MODULE_LIBRARIES ${ARG_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY RIX_MODULE_PUBLIC_LIBRARIES ${ARG_PUBLIC_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY RIX_PUBLIC_INCLUDE_DIRS ${CMAKE_CURRENT_SOURCE_DIR}/include)
endfunction()

# rix_add_tests(NAME SOURCES file... [LIBRARIES target...])
# One test program. It links the archive of all modules, so that tests reach what the shared library hides; the archive
# is made of the very objects of the shared library.
function(rix_add_tests NAME)
  if(NOT RIX_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(target test_${NAME})
  add_executable(${target} ${ARG_SOURCES})
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/Core/internal
                             ${PROJECT_SOURCE_DIR}/tests/support)
  target_link_libraries(${target} PRIVATE rix_compile_options ${ARG_LIBRARIES} lumora_rix_internals rix_test_support)
  rix_compile_fast(${target})
  rix_precompile_test(${target})
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()

if(RIX_BUILD_TESTS)
  enable_testing()
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()
