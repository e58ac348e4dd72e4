# The collectors that scripts/install-deps has unpacked, else those of the machine.
set(collectors "${PROJECT_SOURCE_DIR}/build/collectors/usr")
find_program(WKAGENT_RSYSLOGD rsyslogd HINTS "${collectors}/sbin" PATHS /usr/sbin REQUIRED)
find_path(WKAGENT_RSYSLOG_MODULES lmnsd_ossl.so
  HINTS "${collectors}/lib/${CMAKE_LIBRARY_ARCHITECTURE}"
  PATHS "/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}" /usr/lib
  PATH_SUFFIXES rsyslog REQUIRED)
find_program(WKAGENT_SYSLOG_NG syslog-ng HINTS "${collectors}/sbin" PATHS /usr/sbin REQUIRED)
find_path(WKAGENT_SYSLOG_NG_MODULES libafsocket.so
  HINTS "${collectors}/lib/syslog-ng" PATHS /usr/lib/syslog-ng
  PATH_SUFFIXES 3.38 REQUIRED)
cmake_path(GET WKAGENT_SYSLOG_NG_MODULES PARENT_PATH WKAGENT_SYSLOG_NG_LIBRARIES)
