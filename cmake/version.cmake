# Reads the version from the one header that holds it.
file(STRINGS "${CMAKE_CURRENT_LIST_DIR}/../include/wkagent/version.h" WKAGENT_VERSION_LINE
  REGEX "define WKAGENT_VERSION \"")
string(REGEX REPLACE ".*\"([0-9.]+)\".*" "\\1" WKAGENT_VERSION "${WKAGENT_VERSION_LINE}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  "${CMAKE_CURRENT_LIST_DIR}/../include/wkagent/version.h")
