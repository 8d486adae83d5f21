# Packages of an installation: five for Debian (without Python four) and one archive that runs wherever it is unpacked. scripts/package builds
# and tries them.

set(CPACK_PACKAGE_NAME lumora-rix)
set(CPACK_PACKAGE_CONTACT "The developers of lumora_rix <lumora-rix@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "2D and 3D image processing")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB TGZ)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL libraries development program documentation)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(rix_library_package liblumora-rix${PROJECT_VERSION_MAJOR})
set(rix_same_libraries "${rix_library_package} (= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME ${rix_library_package})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "Shared libraries of lumora_rix.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liblumora-rix-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${rix_same_libraries}, libeigen3-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, CMake package and pkg-config files of lumora_rix.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME lumora-rix)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${rix_same_libraries}")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "The command line rix, with its manual page, completion and examples.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME lumora-rix-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION "The pages of lumora_rix with their pictures.")

if(RIX_HAVE_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-lumora-rix)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  math(EXPR rix_next_python "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${rix_same_libraries}, python3-numpy, \
python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}), python3 (<< ${Python_VERSION_MAJOR}.${rix_next_python})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pandas, python3-xarray, python3-tqdm")
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "The Python package rix.")
endif()

# The manual page and the completions are asked of the program that was built; scripts/package does it.
set(rix_asked ${PROJECT_BINARY_DIR}/asked)
install(FILES ${rix_asked}/rix.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program OPTIONAL)
install(FILES ${rix_asked}/rix DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program OPTIONAL)
install(FILES ${rix_asked}/_rix DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT program OPTIONAL)

include(CPack)
