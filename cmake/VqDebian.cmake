# The Debian packages, one for each component of the installation: the two libraries, each named after its soname, what is needed to
# build against them, the support tool, and the module for Python.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime CInterface Development Tools Python)
set(CPACK_COMPONENTS_GROUPING IGNORE)
# A package of the distribution itself, should there be one, is the newer one.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0velquor1)
set(CPACK_DEBIAN_VERSION "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Each library finds those of the same build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}/bin")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Once there was one package for all.
set(CPACK_DEBIAN_PACKAGE_CONFLICTS vqwebservices)
set(CPACK_DEBIAN_PACKAGE_REPLACES vqwebservices)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)

set(description "Sign in once in the browser with OAuth 1.0: then every product of the user
has fresh tokens, signed requests and events about every change, until the
user signs out anywhere.")
# CPack would put it in front of each description.
unset(CPACK_PACKAGE_DESCRIPTION_SUMMARY)
function(vq_debian_package component name section summary)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  install(FILES "${CMAKE_SOURCE_DIR}/cmake/debian/copyright" "${CMAKE_BINARY_DIR}/debian/changelog.gz"
    "${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz" DESTINATION "share/doc/${name}" COMPONENT ${component})
endfunction()
vq_debian_package(Runtime libvqwebservices13 libs "one signed-in user for every desktop product")
vq_debian_package(CInterface libvqws1 libs "one signed-in user for every desktop product, C interface")
vq_debian_package(Development libvqwebservices-dev libdevel "one signed-in user for every desktop product, headers and pages")
vq_debian_package(Tools vqws utils "support tool for the products of a signed-in user")
vq_debian_package(Python python3-vqws python "one signed-in user for every desktop product, module for Python")
# The C interface jumps into the library of the same build, which no other one of its soname can be.
set(CPACK_COMPONENT_CINTERFACE_DEPENDS Runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime CInterface)
set(CPACK_COMPONENT_TOOLS_DEPENDS Runtime)
set(CPACK_COMPONENT_PYTHON_DEPENDS CInterface)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS qtbase5-dev)
if(VQ_QT STREQUAL "6")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS qt6-base-dev)
endif()
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS python3)

find_program(VQ_GZIP gzip REQUIRED)
string(TIMESTAMP VQ_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file("${CMAKE_SOURCE_DIR}/cmake/debian/changelog.in" "${CMAKE_BINARY_DIR}/debian/changelog.Debian" @ONLY)
configure_file("${CMAKE_SOURCE_DIR}/CHANGELOG.md" "${CMAKE_BINARY_DIR}/debian/changelog" COPYONLY)
execute_process(COMMAND "${VQ_GZIP}" -9nfk changelog changelog.Debian WORKING_DIRECTORY "${CMAKE_BINARY_DIR}/debian"
  COMMAND_ERROR_IS_FATAL ANY)

# The release that has had each version of the C interface first: products depend on that one and not on the newest.
set(first_release_1.0 13.4.4.1804)
file(STRINGS "${CMAKE_SOURCE_DIR}/WebServicesCore/vqws.exports" lines REGEX "^vqws_")
set(symbols)
foreach(line IN LISTS lines)
  string(REGEX REPLACE ".* " "" version "${line}")
  if(NOT DEFINED first_release_${version})
    message(FATAL_ERROR "cmake/VqDebian.cmake does not know which release had version ${version} of the C interface first.")
  endif()
  string(REPLACE " " "@VQWS_" symbol "${line}")
  list(APPEND symbols " ${symbol} ${first_release_${version}}" " VQWS_${version}@VQWS_${version} ${first_release_${version}}")
endforeach()
list(REMOVE_DUPLICATES symbols)
list(SORT symbols)
list(JOIN symbols "\n" symbols)

set(debian "${CMAKE_SOURCE_DIR}/cmake/debian")
function(vq_debian_library component name library version first_release)
  string(TOUPPER ${component} key)
  set(folder "${CMAKE_BINARY_DIR}/debian/${name}")
  file(WRITE "${folder}/shlibs" "${library} ${version} ${name} (>= ${first_release})\n")
  set(control "${folder}/shlibs" "${debian}/triggers")
  if(ARGN)
    file(WRITE "${folder}/symbols" "${library}.so.${version} ${name} #MINVER#\n${ARGN}\n")
    list(APPEND control "${folder}/symbols")
  endif()
  set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA "${control}" PARENT_SCOPE)
  configure_file("${debian}/${name}.overrides" "${folder}/${name}" @ONLY)
  install(FILES "${folder}/${name}" DESTINATION share/lintian/overrides COMPONENT ${component})
endfunction()
# Names in C++ are many, and the compiler makes some of them: a product needs the release that it was built against, or a later one.
vq_debian_library(Runtime libvqwebservices13 libVqWebServices 13 ${PROJECT_VERSION})
vq_debian_library(CInterface libvqws1 libvqws 1 ${first_release_1.0} "${symbols}")
