# The build stamp that the provider logs, reproducible: SOURCE_DATE_EPOCH when it is set, else the commit's date, else
# (no git: a source archive) the newest date that is the same for everybody, the project file's own.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git log -1 --format=%ct WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
                  OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT commit_time)
    file(TIMESTAMP ${CMAKE_SOURCE_DIR}/CMakeLists.txt commit_time "%s" UTC)
  endif()
  set(ENV{SOURCE_DATE_EPOCH} ${commit_time})
endif()
string(TIMESTAMP QUARNEL_BUILD_STAMP "%b %d %Y %H:%M:%S" UTC)
