# What an installation holds beside the command line: the shared libraries, the public headers of every module, the CMake
# package, the pkg-config files and the pages. Everything is found relative to where it lies, so that the prefix may be
# chosen at installation time and the folder moved later.

include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)  # of what says nothing else

set(rix_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/lumora_rix)
set(rix_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH rix_prefix_from_pkgconfig /prefix/${rix_pkgconfig_dir} /prefix)

# rix_install_library(TARGET PACKAGE NAME) makes TARGET the imported target PACKAGE::NAME of users.
function(rix_install_library TARGET PACKAGE NAME)
  set_target_properties(${TARGET} PROPERTIES EXPORT_NAME ${NAME} INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${TARGET} EXPORT ${TARGET}-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT development)
  install(EXPORT ${TARGET}-targets NAMESPACE ${PACKAGE}:: DESTINATION ${rix_package_dir})
endfunction()

# rix_install_pkgconfig(NAME DESCRIPTION REQUIRES LIBRARIES)
function(rix_install_pkgconfig NAME DESCRIPTION REQUIRES LIBRARIES)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/lumora_rix.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${NAME}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${NAME}.pc DESTINATION ${rix_pkgconfig_dir})
endfunction()

rix_install_library(vessel vessel vessel)
rix_install_library(lumora_rix lumora_rix lumora_rix)
# The public headers use Eigen's matrices, so whoever compiles against them needs Eigen.
rix_install_pkgconfig(lumora_rix "${PROJECT_DESCRIPTION}" eigen3 "-llumora_rix -lvessel")
if(TARGET lumora_rix_io)
  rix_install_library(lumora_rix_io lumora_rix io)
  rix_install_pkgconfig(lumora_rix_io "Image files for lumora_rix" lumora_rix -llumora_rix_io)
endif()

get_property(rix_include_dirs GLOBAL PROPERTY RIX_PUBLIC_INCLUDE_DIRS)
foreach(dir ${rix_include_dirs})
  install(DIRECTORY ${dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
endforeach()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/lumora_rix-config.cmake.in
  ${PROJECT_BINARY_DIR}/lumora_rix-config.cmake
  INSTALL_DESTINATION ${rix_package_dir}
  NO_SET_AND_CHECK_MACRO)
# Before 1.0 every minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/lumora_rix-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/lumora_rix-config.cmake ${PROJECT_BINARY_DIR}/lumora_rix-config-version.cmake
  DESTINATION ${rix_package_dir})

# The pages with their pictures and code, laid out as in the source, so that their links lead somewhere; the examples lie
# where the command line looks for them.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
file(RELATIVE_PATH rix_examples_from_doc /prefix/${CMAKE_INSTALL_DOCDIR}
  /prefix/${CMAKE_INSTALL_DATADIR}/lumora_rix/examples)
install(CODE "file(CREATE_LINK ${rix_examples_from_doc}
  \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DOCDIR}/examples\" SYMBOLIC)" COMPONENT documentation)
