# log4cplus has a CMake package on Windows, and only a plain library on Debian. This defines one target name for both.
if(NOT TARGET log4cplus::log4cplus)
  find_path(VQ_LOG4CPLUS_INCLUDE log4cplus/logger.h REQUIRED)
  find_library(VQ_LOG4CPLUS_LIBRARY log4cplus REQUIRED)
  add_library(log4cplus::log4cplus UNKNOWN IMPORTED)
  set_target_properties(log4cplus::log4cplus PROPERTIES
    IMPORTED_LOCATION "${VQ_LOG4CPLUS_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${VQ_LOG4CPLUS_INCLUDE}")
endif()
