# The CMPI declarations: the system's when it has them with CMPI 2.0's memory table, else the project's own.
include(CheckCXXSourceCompiles)
add_library(cmpi INTERFACE)
find_path(CMPI_INCLUDE_DIR cmpift.h PATH_SUFFIXES cmpi NO_CACHE)
if(CMPI_INCLUDE_DIR)
  set(CMAKE_REQUIRED_INCLUDES ${CMPI_INCLUDE_DIR})
  check_cxx_source_compiles("
    #include <cmpidt.h>
    #include <cmpift.h>
    int main() { const CMPIBroker *broker = nullptr; return broker != nullptr && broker->mft->mark != nullptr; }"
    CMPI_HEADERS_USABLE)
  unset(CMAKE_REQUIRED_INCLUDES)
endif()
if(CMPI_HEADERS_USABLE)
  target_include_directories(cmpi SYSTEM INTERFACE ${CMPI_INCLUDE_DIR})
else()
  target_include_directories(cmpi INTERFACE ${CMAKE_SOURCE_DIR}/cim/include)
endif()
