# The content of an installation: the library with its log configuration in the same folder, the headers, and what CMake, pkg-config
# and Python find. A component is a Debian package (VqDebian.cmake).
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME Development)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/VqWebServices")
# The library searches its own folder for its log configuration.
set(library_folder "${CMAKE_INSTALL_LIBDIR}")
if(WIN32)
  set(library_folder "${CMAKE_INSTALL_BINDIR}")
endif()

set(exported VqWebServices vqws_c)
if(WIN32)
  # The package's configuration makes VqWebServices::C there, since its import library differs by compiler.
  set(exported VqWebServices)
  install(FILES "${VQ_VISUAL_C_LIBRARY}" DESTINATION "${CMAKE_INSTALL_LIBDIR}")
endif()
# Two sets of targets: the one of the C interface knows nothing of Qt.
foreach(target IN LISTS exported)
  set(component Runtime)
  set(targets VqWebServicesTargets)
  if(target STREQUAL "vqws_c")
    set(component CInterface)
    set(targets VqWebServicesCTargets)
  endif()
  install(TARGETS ${target} EXPORT ${targets}
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${component}
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component} NAMELINK_COMPONENT Development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development)
endforeach()
install(DIRECTORY "${CMAKE_SOURCE_DIR}/include/" "${CMAKE_BINARY_DIR}/include/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(FILES "${CMAKE_SOURCE_DIR}/config/WebServices.logconfig" DESTINATION "${library_folder}" COMPONENT Runtime)
install(DIRECTORY "${CMAKE_SOURCE_DIR}/config/" DESTINATION "${CMAKE_INSTALL_DATADIR}/VqWebServices" FILES_MATCHING PATTERN "*.example")
# The pages for those who use, install and support the library.
set(pages_folder "${CMAKE_INSTALL_DATADIR}/VqWebServices")
install(DIRECTORY "${CMAKE_SOURCE_DIR}/docs/getting-started" DESTINATION "${pages_folder}")
set(pages account-server c-interface caches concepts configuration file-formats platforms security threading tokens troubleshooting
  upgrading)
list(TRANSFORM pages PREPEND "${CMAKE_SOURCE_DIR}/docs/")
list(TRANSFORM pages APPEND .md)
install(FILES ${pages} "${CMAKE_SOURCE_DIR}/CHANGELOG.md" DESTINATION "${pages_folder}")
foreach(binding IN ITEMS csharp python)
  install(FILES "${CMAKE_SOURCE_DIR}/bindings/${binding}/README.md" DESTINATION "${pages_folder}/bindings/${binding}")
endforeach()
install(CODE "set(PAGES \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${pages_folder}\")")
install(SCRIPT "${CMAKE_SOURCE_DIR}/cmake/VqInstalledPages.cmake")
# For Python no compiler is needed: the package is the same for all systems.
set(python_folder lib/python3/dist-packages)
if(WIN32)
  set(python_folder python)
endif()
install(DIRECTORY "${CMAKE_SOURCE_DIR}/bindings/python/vqws" DESTINATION "${python_folder}" COMPONENT Python
  PATTERN __pycache__ EXCLUDE PATTERN .mypy_cache EXCLUDE)
file(GLOB csharp_files "${CMAKE_SOURCE_DIR}/bindings/csharp/*.cs" "${CMAKE_SOURCE_DIR}/bindings/csharp/*.csproj")
install(FILES ${csharp_files} DESTINATION "${CMAKE_INSTALL_DATADIR}/VqWebServices/csharp")
install(EXPORT VqWebServicesTargets NAMESPACE VqWebServices:: DESTINATION "${package_folder}")
if(NOT WIN32)
  install(EXPORT VqWebServicesCTargets NAMESPACE VqWebServices:: DESTINATION "${package_folder}")
endif()
configure_package_config_file("${CMAKE_SOURCE_DIR}/cmake/VqWebServicesConfig.cmake.in"
  "${CMAKE_BINARY_DIR}/VqWebServicesConfig.cmake" INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/VqWebServicesConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/VqWebServicesConfig.cmake" "${CMAKE_BINARY_DIR}/VqWebServicesConfigVersion.cmake"
  DESTINATION "${package_folder}")
if(NOT WIN32)
  # The folders are told from that of the file, so that the installation may be moved.
  set(pc_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  file(RELATIVE_PATH VQ_PREFIX_FROM_PC "/${pc_folder}" /)
  string(REGEX REPLACE "/$" "" VQ_PREFIX_FROM_PC "${VQ_PREFIX_FROM_PC}")
  foreach(name IN ITEMS VqWebServices vqws)
    configure_file("${CMAKE_SOURCE_DIR}/cmake/${name}.pc.in" "${CMAKE_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${CMAKE_BINARY_DIR}/${name}.pc" DESTINATION "${pc_folder}")
  endforeach()
endif()
